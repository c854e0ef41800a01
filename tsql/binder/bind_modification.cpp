// Binding of INSERT, UPDATE and DELETE.
#include <algorithm>

#include "tsql/binder/binder.h"

namespace ledgerwick::tsql {

std::vector<std::int32_t> Binder::BindInsertColumns(const Table& table,
                                                    std::span<const Name> columns, Position at) {
  std::vector<std::int32_t> indexes;
  bool gives_identity = false;
  for (const Name& column : columns) {
    const std::int32_t index = table.FindColumn(column.text);
    if (index < 0) throw errors::InvalidColumn(column.text, At(column.offset));
    const TableColumn& found = table.columns[static_cast<std::size_t>(index)];
    if (!found.computed_sql.empty()) throw errors::ComputedChanged(found.name, At(column.offset));
    if (std::find(indexes.begin(), indexes.end(), index) != indexes.end()) {
      throw errors::ColumnTwice(column.text, At(column.offset));
    }
    gives_identity = gives_identity || found.is_identity;
    indexes.push_back(index);
  }
  if (table.identity) {
    const bool takes = catalogue_.TakesIdentity(table);
    if (gives_identity && !takes) throw errors::IdentityGiven(table.name, at);
    if (!gives_identity && takes) throw errors::IdentityNotGiven(table.name, at);
  }
  if (columns.empty()) {
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
      const TableColumn& column = table.columns[i];
      if (column.is_identity || !column.computed_sql.empty()) continue;
      indexes.push_back(static_cast<std::int32_t>(i));
    }
  }
  return indexes;
}

void Binder::StoreColumns(BoundQuery& query, const Table& table,
                          const std::vector<std::int32_t>& columns) {
  for (BoundSelect* select : query.selects) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const Type& type = table.columns[static_cast<std::size_t>(columns[i])].type;
      select->items[i].expr = Coerce(select->items[i].expr, type, Conversion::Store);
    }
  }
}

// The source in FROM that `name` stands for, or nullptr: the one that is called so there, or else
// the one instance of that table, whatever it is called. Throws 8154 where several have other
// names.
Source* Binder::FindTarget(const ObjectName& name, const Scope& scope) {
  const bool bare = name.database.text.empty() && name.schema.text.empty();
  const Table* table = FindTable(name);
  Source* called_so = nullptr;
  Source* instance = nullptr;
  std::size_t instances = 0;
  for (Source* source : scope.sources) {
    if (table != nullptr && source->table == table) {
      if (!source->aliased) return source;
      instance = source;
      ++instances;
    }
    if (bare && EqualText(source->exposed, name.object.text)) called_so = source;
  }
  if (called_so != nullptr) return called_so;
  if (instances > 1) throw errors::AmbiguousTarget(name.object.text, At(name.object.offset));
  return instance;
}

BoundModification Binder::BindModification(const ObjectName& name,
                                           std::span<const Assignment> assignments,
                                           const From* from, const Expr* where) {
  Scope scope;
  BoundModification bound;
  if (from != nullptr) {
    bound.from = BindFrom(*from, scope);
    bound.target = FindTarget(name, scope);
  }
  if (bound.target == nullptr) {
    // The target need not stand in FROM: it joins every row, and WHERE picks.
    BoundFrom* own = BindTableSource(name, {}, scope);
    bound.target = own->source;
    if (from == nullptr) {
      bound.from = own;
    } else {
      auto* join = arena_.Make<BoundFrom>();
      join->kind = BoundFromKind::Inner;
      join->left = own;
      join->right = bound.from;
      bound.from = join;
    }
  }
  if (bound.target->table == nullptr || bound.target->table->kind != TableKind::Table) {
    throw errors::NotUpdatable(name.object.text, At(name.object.offset));
  }
  scope.clause = Scope::Clause::Where;
  if (where != nullptr) bound.where = BindPredicate(*where, scope);
  for (const Assignment& assignment : assignments) BindAssignment(assignment, name, bound, scope);
  return bound;
}

// Only the target's columns are assigned, by whichever of its names.
void Binder::BindAssignment(const Assignment& assignment, const ObjectName& name,
                            BoundModification& modification, Scope& scope) {
  const Source& target = *modification.target;
  const Name& column = assignment.column;
  const TextView qualifier = assignment.qualifier.text;
  if (!qualifier.empty() && !EqualText(qualifier, target.exposed) &&
      !EqualText(qualifier, name.object.text)) {
    throw errors::MultiPartUnbound(Text(qualifier) + u"." + Text(column.text),
                                   At(assignment.qualifier.offset));
  }
  const std::int32_t index = target.table->FindColumn(column.text);
  if (index < 0) throw errors::InvalidColumn(column.text, At(column.offset));
  const TableColumn& assigned = target.table->columns[static_cast<std::size_t>(index)];
  const Type& type = assigned.type;
  if (assigned.is_identity) throw errors::IdentityUpdated(assigned.name, At(column.offset));
  if (!assigned.computed_sql.empty()) {
    throw errors::ComputedChanged(assigned.name, At(column.offset));
  }
  if (type.kind == TypeKind::RowVersion) throw errors::RowVersionUpdated(At(column.offset));
  modification.values.push_back(Coerce(Bind(*assignment.value, scope), type, Conversion::Store));
  std::vector<std::int32_t>& columns = modification.columns;
  if (std::find(columns.begin(), columns.end(), index) != columns.end()) {
    throw errors::ColumnTwice(column.text, At(column.offset));
  }
  columns.push_back(index);
}

}  // namespace ledgerwick::tsql
