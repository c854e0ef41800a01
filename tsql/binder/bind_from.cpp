// Binding of names of tables, and of FROM.

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

std::int32_t Source::Count() const noexcept {
  return static_cast<std::int32_t>(query != nullptr ? names.size() : table->columns.size());
}

TextView Source::NameOf(std::int32_t column) const noexcept {
  const auto i = static_cast<std::size_t>(column);
  return query != nullptr ? names[i] : TextView(table->columns[i].name);
}

Type Source::TypeOf(std::int32_t column) const noexcept {
  const auto i = static_cast<std::size_t>(column);
  return query != nullptr ? query->types[i] : table->columns[i].type;
}

std::int32_t Source::Find(TextView name) const {
  if (query == nullptr) return table->FindColumn(name);
  std::int32_t found = -1;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!EqualText(names[i], name)) continue;
    if (found >= 0) return -2;
    found = static_cast<std::int32_t>(i);
  }
  return found;
}

DatabaseId Binder::RequireDatabase(const ObjectName& name) {
  const auto database = catalogue_.FindDatabase(name.database.text, name.object.text);
  if (!database) throw errors::InvalidObject(FullName(name), At(name.object.offset));
  return *database;
}

const Table* Binder::FindTable(const ObjectName& name) {
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

void Binder::BindFrom(From& from, Scope& scope) {
  const Nesting nesting;
  if (from.kind == FromKind::Table) return BindTableSource(from, scope);
  if (from.kind == FromKind::Derived) return BindDerived(from, scope);
  const std::size_t first = scope.sources.size();
  BindFrom(*from.left, scope);
  const std::size_t middle = scope.sources.size();
  BindFrom(*from.right, scope);
  const std::size_t last = scope.sources.size();
  if (from.kind == FromKind::Left || from.kind == FromKind::Full) MarkMissing(scope, middle, last);
  if (from.kind == FromKind::Right || from.kind == FromKind::Full)
    MarkMissing(scope, first, middle);
  if (from.on == nullptr) return;
  // The condition sees the tables of this join alone.
  const std::size_t visible = scope.first_visible;
  scope.first_visible = first;
  scope.clause = Scope::Clause::On;
  BindPredicate(*from.on, scope);
  scope.first_visible = visible;
}

Source* Binder::AddSource(From& from, Scope& scope, TextView exposed, bool aliased) {
  Source* source = arena_.Make<Source>();
  source->id = next_source_++;
  source->exposed = exposed;
  source->aliased = aliased;
  from.source = source;
  scope.sources.push_back(source);
  return source;
}

void Binder::BindTableSource(From& from, Scope& scope) {
  const Table& table = RequireTable(from.table);
  const bool aliased = !from.alias.text.empty();
  const TextView exposed = aliased ? from.alias.text : TextView(from.table.object.text);
  for (const Source* other : scope.sources) {
    if (!EqualText(other->exposed, exposed)) continue;
    if (aliased || other->aliased || other->database == table.database) {
      throw errors::DuplicateExposedName(exposed, At(from.table.object.offset));
    }
  }
  Source* source = AddSource(from, scope, exposed, aliased);
  source->table = &table;
  source->database = table.database;
  if (table.kind == TableKind::View) BindView(table, *source);
}

// A view stands for its query, parsed from the text that was stored when it was created.
void Binder::BindView(const Table& view, Source& source) {
  if (++view_depth_ > kDeepestView) throw errors::NestedTooDeeply({});
  const bool was_in_view = in_view_;
  in_view_ = true;
  const std::span<Statement*> statements = ParseBatch(view.definition, arena_).statements;
  // A foreign hand may have written anything there.
  if (statements.empty() || statements[0]->kind != StatementKind::CreateView) {
    throw errors::InvalidObject(view.name, {});
  }
  Query* query = statements[0]->query;
  BindQueryIn(*query, nullptr, true);
  std::vector<TextView> names(query->names.begin(), query->names.end());
  for (std::size_t i = 0; i < statements[0]->columns.size() && i < names.size(); ++i) {
    names[i] = statements[0]->columns[i].text;
  }
  source.query = query;
  source.names = arena_.Copy(names);
  in_view_ = was_in_view;
  --view_depth_;
}

void Binder::BindDerived(From& from, Scope& scope) {
  BindQueryIn(*from.query, nullptr, true);
  std::vector<TextView> names(from.query->names.begin(), from.query->names.end());
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
  Source* source = AddSource(from, scope, alias, true);
  source->query = from.query;
  source->names = arena_.Copy(names);
}

void Binder::AddStarColumns(const Source& source, std::uint32_t offset,
                            std::vector<SelectItem>& items) {
  for (std::int32_t column = 0; column < source.Count(); ++column) {
    Expr* expr = arena_.Make<Expr>();
    expr->kind = ExprKind::Column;
    expr->offset = offset;
    expr->text = source.NameOf(column);
    expr->source = const_cast<Source*>(&source);
    expr->column = column;
    expr->type = source.TypeOf(column);
    if (source.may_be_missing) expr->type.nullable = true;
    SelectItem item;
    item.expr = expr;
    items.push_back(item);
  }
}

}  // namespace ledgerwick::tsql
