// The constraints of a table: DEFAULT, CHECK and FOREIGN KEY.
#include <algorithm>

#include "tsql/run/new_table.h"

namespace ledgerwick::tsql {
namespace {

std::vector<std::int32_t> Sorted(std::vector<std::int32_t> columns) {
  std::sort(columns.begin(), columns.end());
  return columns;
}

bool SameType(const Type& a, const Type& b) noexcept {
  return a.kind == b.kind && a.precision == b.precision && a.scale == b.scale;
}

// True when the rows of some table are reached twice from one table, by references that `acts`.
bool MeetsTwice(std::span<const Constraint> references, const auto& acts) {
  for (const Constraint& start : references) {
    std::vector<TextView> reached{start.referenced_table};
    for (std::size_t i = 0; i < reached.size(); ++i) {
      for (const Constraint& c : references) {
        if (!acts(c) || !EqualText(c.referenced_table, reached[i])) continue;
        const bool again = std::any_of(reached.begin(), reached.end(),
                                       [&](TextView table) { return EqualText(table, c.table); });
        if (again) return true;
        reached.push_back(c.table);
      }
    }
  }
  return false;
}

}  // namespace

void Interpreter::AddRules(const TableRules& rules, NewTable& made, Binder& binder, Arena& arena) {
  for (const DefaultRule& rule : rules.defaults) AddDefault(rule, made, binder, arena);
  for (const CheckRule& rule : rules.checks) AddCheck(rule, made, binder, arena);
  for (const ReferenceRule& rule : rules.references) AddReference(rule, made, binder);
}

void Interpreter::AddDefault(const DefaultRule& rule, NewTable& made, Binder& binder,
                             Arena& arena) {
  Table& table = made.table;
  const Position at = binder.At(rule.column.offset);
  const std::int32_t index = table.FindColumn(rule.column.text);
  if (index < 0) throw errors::InvalidColumn(rule.column.text, at);
  TableColumn& column = table.columns[static_cast<std::size_t>(index)];
  if (column.is_identity) throw errors::DefaultOnIdentity(table.name, column.name, at);
  if (column.type.kind == TypeKind::RowVersion) {
    throw errors::DefaultOnRowVersion(table.name, column.name, at);
  }
  if (!column.computed_sql.empty()) throw errors::ComputedChanged(column.name, at);
  if (!column.default_sql.empty()) throw errors::DefaultExists(at);
  Constraint added;
  added.kind = ConstraintKind::Default;
  added.table = table.name;
  added.columns = {column.name};
  added.name = NewName(rule.name, u"DF", added.columns, made, binder);
  added.made = rule.name.text.empty();
  added.definition = u"(" + Text(rule.text) + u")";
  added.sql = NewCompiler(arena).CompileDefault(*rule.value, column.type);
  column.default_sql = added.sql;
  made.constraints.push_back(std::move(added));
}

void Interpreter::AddCheck(const CheckRule& rule, NewTable& made, Binder& binder, Arena& arena) {
  Constraint added;
  added.kind = ConstraintKind::Check;
  added.table = made.table.name;
  if (!rule.column.text.empty()) added.columns = {Text(rule.column.text)};
  added.sql = NewCompiler(arena).CompileCheck(*rule.condition, made.table);
  added.name = NewName(rule.name, u"CK", added.columns, made, binder);
  added.made = rule.name.text.empty();
  added.definition = rule.text;
  made.constraints.push_back(std::move(added));
}

// A key of a temporary table is not kept, as the server says.
void Interpreter::AddReference(const ReferenceRule& rule, NewTable& made, Binder& binder) {
  const DatabaseId database = made.table.database;
  Constraint added;
  added.kind = ConstraintKind::Reference;
  added.table = made.table.name;
  const Position at = binder.At(rule.table.object.offset);
  std::vector<std::int32_t> columns;
  for (const Name& name : rule.columns) {
    columns.push_back(made.table.FindColumn(name.text));
    if (columns.back() < 0) {
      throw errors::ReferenceColumn(rule.name.text, name.text, made.table.name, false,
                                    binder.At(name.offset));
    }
  }
  added.columns = NamesOf(made.table, columns);
  added.name = NewName(rule.name, u"FK", added.columns, made, binder);
  added.made = rule.name.text.empty();
  if (made.table.name.starts_with(u'#')) return;
  const TextView other = rule.table.database.text;
  if (!other.empty() && catalogue_.FindDatabase(other, {}) != database) {
    throw errors::ReferenceAcrossDatabases(added.name, at);
  }
  const bool own = EqualText(rule.table.object.text, made.table.name);
  const Table* parent =
      own ? &made.table : catalogue_.Find(database, rule.table.schema.text, rule.table.object.text);
  if (parent == nullptr || parent->kind != TableKind::Table) {
    throw errors::ReferenceToNoTable(added.name, rule.table.object.text, at);
  }
  added.referenced_table = parent->name;
  const std::vector<UniqueKey> keys = own ? made.keys : UniqueKeysOf(storage_, *parent);
  std::vector<std::int32_t> referenced;
  for (const Name& name : rule.referenced) {
    referenced.push_back(parent->FindColumn(name.text));
    if (referenced.back() < 0) {
      throw errors::ReferenceColumn(added.name, name.text, parent->name, true,
                                    binder.At(name.offset));
    }
  }
  for (const UniqueKey& key : keys) {
    if (rule.referenced.empty() && key.kind == KeyKind::Primary) referenced = key.columns;
  }
  if (referenced.empty()) throw errors::NoPrimaryKeyToReference(added.name, parent->name, at);
  if (referenced.size() != columns.size()) throw errors::ReferenceCount(made.table.name, at);
  if (std::none_of(keys.begin(), keys.end(), [&](const UniqueKey& key) {
        return Sorted(key.columns) == Sorted(referenced);
      })) {
    throw errors::NoKeyToReference(parent->name, added.name, at);
  }
  added.referenced = NamesOf(*parent, referenced);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const TableColumn& mine = made.table.columns[static_cast<std::size_t>(columns[i])];
    const TableColumn& theirs = parent->columns[static_cast<std::size_t>(referenced[i])];
    if (SameType(mine.type, theirs.type)) continue;
    throw errors::ReferenceTypes(parent->name, theirs.name, made.table.name, mine.name, added.name,
                                 at);
  }
  added.on_delete = rule.on_delete;
  added.on_update = rule.on_update;
  RequireNoCycle(added, made, at);
  made.constraints.push_back(std::move(added));
}

// What cascades must reach every table on one way.
void Interpreter::RequireNoCycle(const Constraint& reference, const NewTable& made, Position at) {
  std::vector<Constraint> references;
  if (catalogue_.HasConstraints(made.table.database)) {
    references = AllReferences(storage_, made.table.database);
  }
  for (const Constraint& c : made.constraints) {
    if (c.kind == ConstraintKind::Reference) references.push_back(c);
  }
  references.push_back(reference);
  const auto deletes = [](const Constraint& c) { return c.on_delete != ReferenceAction::NoAction; };
  const auto updates = [](const Constraint& c) { return c.on_update != ReferenceAction::NoAction; };
  if ((deletes(reference) && MeetsTwice(references, deletes)) ||
      (updates(reference) && MeetsTwice(references, updates))) {
    throw errors::CascadeCycle(reference.name, reference.table, at);
  }
}

// Keeps what the storage does not know of a table that has just been made.
void Interpreter::KeepRules(const NewTable& made) {
  const DatabaseId database = made.table.database;
  const bool has_rules = !made.constraints.empty() || made.table.identity;
  if (catalogue_.HasConstraints(database)) {
    // What a table of that name has left, which went with a call or a transaction.
    for (const std::string& sql : ForgetTable(database, made.table.name)) storage_.Execute(sql);
  } else if (has_rules) {
    MakeConstraintTables(storage_, database);
  }
  if (!has_rules) return;
  for (const Constraint& c : made.constraints) AddConstraint(storage_, database, c);
  for (const TableColumn& column : made.table.columns) {
    if (!column.is_identity) continue;
    AddIdentity(storage_, database, made.table.name, column.name, *made.table.identity);
  }
  GuardAgain(made.table, made.constraints);
}

// For a table some of whose constraints, these, have changed.
void Interpreter::GuardAgain(const Table& table, std::span<const Constraint> constraints) {
  MakeGuards(storage_, table.database, table.name);
  for (const Constraint& c : constraints) {
    if (c.kind != ConstraintKind::Reference || c.referenced_table == table.name) continue;
    MakeGuards(storage_, table.database, c.referenced_table);
  }
}

}  // namespace ledgerwick::tsql
