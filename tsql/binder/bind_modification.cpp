// Binding of INSERT, UPDATE and DELETE.
#include <algorithm>

#include "tsql/binder/binder.h"

namespace ledgerwick::tsql {

std::vector<std::int32_t> Binder::BindInsertColumns(const Table& table,
                                                    std::span<const Name> columns) {
  std::vector<std::int32_t> indexes;
  for (const Name& column : columns) {
    const std::int32_t index = table.FindColumn(column.text);
    if (index < 0) throw errors::InvalidColumn(column.text, At(column.offset));
    if (std::find(indexes.begin(), indexes.end(), index) != indexes.end()) {
      throw errors::ColumnTwice(column.text, At(column.offset));
    }
    indexes.push_back(index);
  }
  if (columns.empty()) {
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
      indexes.push_back(static_cast<std::int32_t>(i));
    }
  }
  return indexes;
}

void Binder::StoreColumns(Query& query, const Table& table,
                          const std::vector<std::int32_t>& columns) {
  for (Select* select : query.selects) {
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

Source* Binder::BindModification(Statement& statement, std::vector<std::int32_t>& columns) {
  Scope scope;
  Source* target = nullptr;
  if (statement.from != nullptr) {
    BindFrom(*statement.from, scope);
    target = FindTarget(statement.target, scope);
  }
  if (target == nullptr) {
    // The target need not stand in FROM: it joins every row, and WHERE picks.
    From* own = arena_.Make<From>();
    own->table = statement.target;
    BindTableSource(*own, scope);
    target = own->source;
    if (statement.from == nullptr) {
      statement.from = own;
    } else {
      From* cross = arena_.Make<From>();
      cross->kind = FromKind::Cross;
      cross->left = own;
      cross->right = statement.from;
      statement.from = cross;
    }
  }
  if (target->table == nullptr || target->table->kind != TableKind::Table) {
    throw errors::NotUpdatable(statement.target.object.text, At(statement.target.object.offset));
  }
  scope.clause = Scope::Clause::Where;
  if (statement.where != nullptr) BindPredicate(*statement.where, scope);
  for (Assignment& assignment : statement.assignments) {
    const std::int32_t column = BindAssignment(assignment, statement, *target, scope);
    if (std::find(columns.begin(), columns.end(), column) != columns.end()) {
      throw errors::ColumnTwice(assignment.column.text, At(assignment.column.offset));
    }
    columns.push_back(column);
  }
  return target;
}

// Only the target's columns are assigned, by whichever of its names. Returns the column.
std::int32_t Binder::BindAssignment(Assignment& assignment, const Statement& statement,
                                    const Source& target, Scope& scope) {
  const Name& column = assignment.column;
  const TextView qualifier = assignment.qualifier.text;
  if (!qualifier.empty() && !EqualText(qualifier, target.exposed) &&
      !EqualText(qualifier, statement.target.object.text)) {
    throw errors::MultiPartUnbound(Text(qualifier) + u"." + Text(column.text),
                                   At(assignment.qualifier.offset));
  }
  const std::int32_t index = target.table->FindColumn(column.text);
  if (index < 0) throw errors::InvalidColumn(column.text, At(column.offset));
  const Type& type = target.table->columns[static_cast<std::size_t>(index)].type;
  assignment.value = Coerce(Bind(assignment.value, scope), type, Conversion::Store);
  return index;
}

}  // namespace ledgerwick::tsql
