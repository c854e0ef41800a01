// Binding of names of tables, and of FROM.
#include <utility>

#include "tsql/binder/binder.h"
#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {
namespace {

constexpr int kDeepestView = 32;

void MarkMissing(const Scope& scope, std::size_t from, std::size_t to) noexcept {
  for (std::size_t i = from; i < to; ++i) scope.sources[i]->may_be_missing = true;
}

}  // namespace

Text FullName(const ObjectName& name) {
  Text full;
  if (!name.database.text.empty()) {
    full.append(name.database.text).append(u".").append(name.schema.text).append(u".");
  } else if (!name.schema.text.empty()) {
    full.append(name.schema.text).append(u".");
  }
  return full.append(name.object.text);
}

DatabaseId Binder::RequireDatabase(const ObjectName& name) {
  const auto database = catalogue_.FindDatabase(name.database.text, name.object.text);
  if (!database) throw errors::InvalidObject(FullName(name), At(name.object.offset));
  return *database;
}

const Table* Binder::FindTable(const ObjectName& name) {
  reads_schema_ = true;
  if (catalogue_.IsMaster(name.database.text)) {
    return catalogue_.FindInMaster(name.schema.text, name.object.text);
  }
  const auto database = catalogue_.FindDatabase(name.database.text, name.object.text);
  return database ? catalogue_.Find(*database, name.schema.text, name.object.text) : nullptr;
}

DatabaseId Binder::RequireNewName(const ObjectName& name) {
  const TextView object = name.object.text;
  if (ObjectExists(name)) throw errors::ObjectExists(object, At(name.object.offset));
  for (const TextView own : {TextView(u"ledgerwick_"), TextView(u"sqlite_")}) {
    if (!EqualText(object.substr(0, own.size()), own)) continue;
    throw errors::ReservedName(object, At(name.object.offset));
  }
  return RequireDatabase(name);
}

bool Binder::ObjectExists(const ObjectName& name) {
  return FindTable(name) != nullptr || FindProcedure(name) != nullptr;
}

const ProcedureText* Binder::FindProcedure(const ObjectName& name) {
  reads_schema_ = true;
  if (catalogue_.IsMaster(name.database.text)) {
    return Catalogue::FindProcedureInMaster(name.object.text);
  }
  const auto database = catalogue_.FindDatabase(name.database.text, name.object.text);
  if (!database) return nullptr;
  return catalogue_.FindProcedure(*database, name.schema.text, name.object.text);
}

const Table& Binder::RequireTable(const ObjectName& name) {
  const Table* table = FindTable(name);
  if (table == nullptr) {
    const Name& first = !name.database.text.empty() ? name.database
                        : !name.schema.text.empty() ? name.schema
                                                    : name.object;
    throw errors::InvalidObject(FullName(name), At(first.offset));
  }
  return *table;
}

// A RIGHT JOIN is turned round behind its tables' binding, so that stars and messages keep the
// order in which they are written.
BoundFrom* Binder::BindFrom(const From& from, Scope& scope) {
  const Nesting nesting;
  if (from.kind == FromKind::Table) return BindTableSource(from.table, from.alias, scope);
  if (from.kind == FromKind::Derived) return BindDerived(from, scope);
  const std::size_t first = scope.sources.size();
  auto* join = arena_.Make<BoundFrom>();
  join->left = BindFrom(*from.left, scope);
  const std::size_t middle = scope.sources.size();
  join->right = BindFrom(*from.right, scope);
  const std::size_t last = scope.sources.size();
  switch (from.kind) {
    case FromKind::Left:
      join->kind = BoundFromKind::Left;
      MarkMissing(scope, middle, last);
      break;
    case FromKind::Right:
      join->kind = BoundFromKind::Left;
      std::swap(join->left, join->right);
      MarkMissing(scope, first, middle);
      break;
    case FromKind::Full:
      join->kind = BoundFromKind::Full;
      MarkMissing(scope, first, last);
      break;
    case FromKind::Inner:
    case FromKind::Cross:
    case FromKind::Table:
    case FromKind::Derived:
      join->kind = BoundFromKind::Inner;
  }
  if (from.on == nullptr) return join;
  // The condition sees the tables of this join alone.
  const std::size_t visible = scope.first_visible;
  scope.first_visible = first;
  scope.clause = Scope::Clause::On;
  join->on = BindPredicate(*from.on, scope);
  scope.first_visible = visible;
  return join;
}

BoundFrom* Binder::AddSource(Scope& scope, TextView exposed, bool aliased) {
  auto* source = arena_.Make<Source>();
  source->id = next_source_++;
  source->exposed = exposed;
  source->aliased = aliased;
  scope.sources.push_back(source);
  auto* from = arena_.Make<BoundFrom>();
  from->source = source;
  return from;
}

BoundFrom* Binder::BindTableSource(const ObjectName& name, const Name& alias, Scope& scope) {
  if (creates_view_ && name.object.text.starts_with(u'#')) {
    throw errors::ViewOfTemporary(At(name.object.offset));
  }
  const Table& table = RequireTable(name);
  const bool aliased = !alias.text.empty();
  const TextView exposed = aliased ? alias.text : name.object.text;
  for (const Source* other : scope.sources) {
    if (!EqualText(other->exposed, exposed)) continue;
    if (aliased || other->aliased || other->database == table.database) {
      throw errors::DuplicateExposedName(exposed, At(name.object.offset));
    }
  }
  BoundFrom* from = AddSource(scope, exposed, aliased);
  from->source->table = &table;
  from->source->database = table.database;
  if (table.kind == TableKind::View) BindView(table, *from->source);
  return from;
}

// A view stands for its query, parsed from the text that was stored when it was created.
void Binder::BindView(const Table& view, Source& source) {
  if (++view_depth_ > kDeepestView) throw errors::NestedTooDeeply({});
  const bool was_in_view = in_view_;
  in_view_ = true;
  const Statements statements = ParseBatch(view.definition, arena_).statements;
  const auto* definition =
      statements.empty() ? nullptr : As<CreateViewStatement>(*statements.front());
  // A foreign hand may have written anything there.
  if (definition == nullptr) throw errors::InvalidObject(view.name, {});
  source.query = BindQueryIn(*definition->query, nullptr, true);
  std::vector<TextView> names(source.query->names.begin(), source.query->names.end());
  for (std::size_t i = 0; i < definition->columns.size() && i < names.size(); ++i) {
    names[i] = definition->columns[i].text;
  }
  source.names = arena_.Copy(names);
  in_view_ = was_in_view;
  --view_depth_;
}

BoundFrom* Binder::BindDerived(const From& from, Scope& scope) {
  BoundQuery* query = BindQueryIn(*from.query, nullptr, true);
  std::vector<TextView> names(query->names.begin(), query->names.end());
  const TextView alias = from.alias.text;
  if (!from.column_aliases.empty()) {
    if (from.column_aliases.size() != names.size()) {
      throw errors::ColumnListLength(alias, from.column_aliases.size() > names.size(),
                                     At(from.alias.offset));
    }
    for (std::size_t i = 0; i < names.size(); ++i) names[i] = from.column_aliases[i].text;
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i].empty())
      throw errors::DerivedColumnNameMissing(i + 1, alias, At(from.alias.offset));
    for (std::size_t k = 0; k < i; ++k) {
      if (EqualText(names[i], names[k])) {
        throw errors::DuplicateDerivedColumn(names[i], alias, At(from.alias.offset));
      }
    }
  }
  for (const Source* other : scope.sources) {
    if (EqualText(other->exposed, alias)) {
      throw errors::DuplicateExposedName(alias, At(from.alias.offset));
    }
  }
  BoundFrom* bound = AddSource(scope, alias, true);
  bound->source->query = query;
  bound->source->names = arena_.Copy(names);
  return bound;
}

void Binder::AddStarColumns(const Source& source, std::uint32_t offset,
                            std::vector<WrittenItem>& items) {
  for (std::int32_t column = 0; column < source.Count(); ++column) {
    auto* expr = arena_.Make<BoundExpr>();
    expr->kind = ExprKind::Column;
    expr->offset = offset;
    expr->text = source.NameOf(column);
    expr->source = &source;
    expr->column = column;
    expr->type = source.TypeOf(column);
    if (source.may_be_missing) expr->type.nullable = true;
    items.push_back({nullptr, expr});
  }
}

}  // namespace ledgerwick::tsql
