// ALTER TABLE.
#include <algorithm>

#include "tsql/base/characters.h"
#include "tsql/run/new_table.h"

namespace ledgerwick::tsql {
namespace {

// A default that SQLite can give to the rows that are there: a literal.
bool IsConstant(const std::string& sql) { return sql.find('(') == std::string::npos; }

bool NamesColumn(const std::string& sql, const TableColumn& column) {
  return sql.find(column.sql) != std::string::npos;
}

bool HasName(const std::vector<Text>& columns, const Text& name) {
  return std::any_of(columns.begin(), columns.end(),
                     [&](const Text& column) { return EqualText(column, name); });
}

// A change that leaves every value as it is and every order, too.
bool OnlyWidens(const Type& from, const Type& to) noexcept {
  const bool varies = from.kind == TypeKind::VarChar || from.kind == TypeKind::NVarChar ||
                      from.kind == TypeKind::VarBinary;
  const bool longer =
      to.length == kMaxLength || (from.length != kMaxLength && to.length >= from.length);
  return varies && from.kind == to.kind && longer && from.nullable == to.nullable;
}

}  // namespace

void Interpreter::Perform(const AlterTableStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const Table& table = binder.RequireTable(statement.target);
  if (table.kind != TableKind::Table) {
    throw errors::CannotAlter(table.name, binder.At(statement.target.object.offset));
  }
  Transaction transaction(storage_);
  switch (statement.what) {
    case AlterKind::Add:
      Add(statement, table, binder, arena);
      break;
    case AlterKind::Drop:
      for (const DroppedPart& part : statement.drops) {
        const Table& now = NewBinder(arena).RequireTable(statement.target);
        part.is_column ? DropColumn(now, part, binder) : DropConstraint(now, part, binder);
      }
      break;
    case AlterKind::Column:
      AlterColumn(statement.definitions[0], table, binder, arena);
      break;
    case AlterKind::Switch:
      Switch(statement, table, binder);
  }
  transaction.Commit();
  session_.last_error = 0;
}

// The table as it is, with the keys that its declaration has.
Interpreter::NewTable Interpreter::Existing(const Table& table) {
  NewTable made;
  made.exists = true;
  made.table = table;
  for (UniqueKey& key : UniqueKeysOf(storage_, table)) {
    if (key.kind != KeyKind::Index) made.keys.push_back(std::move(key));
  }
  return made;
}

void Interpreter::Add(const AlterTableStatement& statement, const Table& before, Binder& binder,
                      Arena& arena) {
  const DatabaseId database = before.database;
  if (!statement.definitions.empty()) {
    AddColumns(statement, before, binder, arena);
    catalogue_.Refresh();  // `before` is no more
  }
  const Table& table = *catalogue_.Find(database, {}, statement.target.object.text);
  NewTable made = Existing(table);
  const std::size_t keys = made.keys.size();
  AddKeys(statement.rules.keys, made, binder);
  for (std::size_t i = keys; i < made.keys.size(); ++i) AddKey(table, made.keys[i]);
  // Those of new columns came with them.
  TableRules rules = statement.rules;
  std::vector<DefaultRule> defaults;
  for (const DefaultRule& rule : rules.defaults) {
    const bool is_new = std::any_of(
        statement.definitions.begin(), statement.definitions.end(),
        [&](const ColumnDefinition& c) { return EqualText(c.name.text, rule.column.text); });
    if (!is_new) defaults.push_back(rule);
  }
  rules.defaults = defaults;
  AddRules(rules, made, binder, arena);
  if (made.constraints.empty()) return;
  MakeConstraintTables(storage_, table.database);
  for (Constraint& c : made.constraints) {
    c.trusted = statement.looks;
    if (c.kind == ConstraintKind::Default) {
      // In the place of the mark that another one was dropped.
      for (const Constraint& old : ConstraintsOf(storage_, table.database, table.name)) {
        if (old.kind == c.kind && old.columns == c.columns) {
          RemoveConstraint(storage_, table.database, old);
        }
      }
    } else if (statement.looks) {
      RequireRule(c, table.sql, table.database, "ALTER TABLE");
    }
    AddConstraint(storage_, table.database, c);
  }
  GuardAgain(table, made.constraints);
}

// Rows that are there already have NULL in a new column that may be null, unless WITH VALUES says
// otherwise, and the default in one that may not.
void Interpreter::AddColumns(const AlterTableStatement& statement, const Table& table,
                             Binder& binder, Arena& arena) {
  NewTable made = Existing(table);
  const std::size_t before = table.columns.size();
  for (const ColumnDefinition& definition : statement.definitions) {
    AddColumn(definition, made, binder);
    if (made.table.columns.back().type.kind == TypeKind::RowVersion) {
      throw errors::CannotAlter(table.name, binder.At(definition.name.offset));
    }
  }
  AddComputed(statement.definitions, made, arena);
  std::string values;
  bool simple = true;
  for (std::size_t i = 0; i < before; ++i) {
    if (table.columns[i].computed_sql.empty()) values += ", " + table.columns[i].sql;
  }
  for (std::size_t i = before; i < made.table.columns.size(); ++i) {
    TableColumn& column = made.table.columns[i];
    const ColumnDefinition& definition = statement.definitions[i - before];
    const Position at = binder.At(definition.name.offset);
    for (const TableKey& key : statement.rules.keys) {
      const bool named = std::any_of(key.columns.begin(), key.columns.end(), [&](const auto& k) {
        return EqualText(k.name.text, column.name);
      });
      if (key.primary && named && !definition.null_written) column.type.nullable = false;
    }
    bool with_values = false;
    for (const DefaultRule& rule : statement.rules.defaults) {
      if (!EqualText(rule.column.text, column.name)) continue;
      AddDefault(rule, made, binder, arena);
      with_values = rule.with_values;
    }
    if (!column.computed_sql.empty()) {
      simple = simple && !column.persisted && column.type.nullable;
      continue;
    }
    const bool has_value = column.is_identity || !column.default_sql.empty();
    if (!column.type.nullable && !has_value && HasRow("FROM " + table.sql)) {
      throw errors::NewColumnNotNull(column.name, table.name, at);
    }
    std::string value = "NULL";
    if (column.is_identity) {
      value = std::to_string(definition.seed) + " + " + std::to_string(definition.step) +
              " * (row_number() OVER (ORDER BY _rowid_) - 1)";
    } else if (!column.default_sql.empty() && (!column.type.nullable || with_values)) {
      value = column.default_sql;
    }
    values += ", " + value;
    simple = simple && !column.is_identity && (column.type.nullable || has_value) &&
             IsConstant(column.default_sql) && (column.default_sql.empty() || value != "NULL");
  }
  if (simple) {
    for (std::size_t i = before; i < made.table.columns.size(); ++i) {
      const TableColumn& column = made.table.columns[i];
      std::string sql = "ALTER TABLE " + table.sql + " ADD COLUMN " +
                        ColumnDeclaration(ToUtf8(column.name), column.type);
      if (!column.computed_sql.empty()) {
        sql += " GENERATED ALWAYS AS (" + column.computed_sql + ") VIRTUAL";
      } else if (!column.default_sql.empty()) {
        sql += " DEFAULT (" + column.default_sql + ")";
      }
      storage_.Execute(sql);
    }
  } else {
    Rebuild(made, table, values.substr(2));
  }
  if (made.constraints.empty() && made.table.identity.has_value() == table.identity.has_value()) {
    return;
  }
  MakeConstraintTables(storage_, table.database);
  for (const Constraint& c : made.constraints) AddConstraint(storage_, table.database, c);
  for (std::size_t i = before; i < made.table.columns.size(); ++i) {
    const TableColumn& column = made.table.columns[i];
    if (!column.is_identity) continue;
    AddIdentity(storage_, table.database, table.name, column.name, *made.table.identity);
    storage_.Execute(std::string("UPDATE ") + SchemaName(table.database) + "." + kIdentityTable +
                     " SET last = (SELECT max(" + column.sql + ") FROM " + table.sql +
                     ") WHERE tab = " + QuoteLiteral(ToUtf8(table.name)));
  }
  MakeGuards(storage_, table.database, table.name);
}

// A key that is added to a table is an index of the storage's.
void Interpreter::AddKey(const Table& table, const UniqueKey& key) {
  std::string columns;
  for (std::size_t i = 0; i < key.columns.size(); ++i) {
    const TableColumn& column = table.columns[static_cast<std::size_t>(key.columns[i])];
    if (key.kind == KeyKind::Primary && column.type.nullable) {
      throw errors::KeyOnNullable(table.name, {});
    }
    columns += (i == 0 ? "" : ", ") + column.sql + (key.descending[i] != 0 ? " DESC" : "");
  }
  const std::string index = AddedKeyName(table.name, key.name, key.kind == KeyKind::Primary);
  try {
    storage_.Execute(std::string("CREATE UNIQUE INDEX ") + SchemaName(table.database) + "." +
                     QuoteIdentifier(index) + " ON " + QuoteIdentifier(ToUtf8(table.name)) + " (" +
                     columns + ")");
    MakeNullIndexes(table);
  } catch (const ConstraintFailure&) {
    UniqueKey all = key;
    all.nulls_equal = true;
    throw errors::DuplicateIndexKey(table.name, key.name, DuplicateIn(table, all).value_or(""));
  }
}

void Interpreter::DropConstraint(const Table& table, const DroppedPart& part, Binder& binder) {
  const Position at = binder.At(part.name.offset);
  if (catalogue_.HasConstraints(table.database)) {
    for (const Constraint& c : ConstraintsOf(storage_, table.database, table.name)) {
      if (c.kind == ConstraintKind::Computed || !EqualText(c.name, part.name.text)) continue;
      RemoveConstraint(storage_, table.database, c);
      if (c.kind == ConstraintKind::Default) {
        // The storage may know it, too: a mark says that there is none.
        Constraint none;
        none.kind = c.kind;
        none.table = c.table;
        none.made = true;
        none.columns = c.columns;
        AddConstraint(storage_, table.database, none);
      }
      const Constraint dropped[] = {c};
      GuardAgain(table, dropped);
      return;
    }
  }
  for (const UniqueKey& key : UniqueKeysOf(storage_, table)) {
    if (key.kind != KeyKind::Index && EqualText(key.name, part.name.text)) {
      return DropKey(table, key, at);
    }
  }
  if (!part.if_exists) throw errors::NotConstraint(part.name.text, at);
}

void Interpreter::DropKey(const Table& table, const UniqueKey& key, Position at) {
  const std::vector<Text> columns = NamesOf(table, key.columns);
  if (catalogue_.HasConstraints(table.database)) {
    for (const Constraint& c : ReferencesTo(storage_, table.database, table.name)) {
      const bool same = c.referenced.size() == columns.size() &&
                        std::all_of(columns.begin(), columns.end(),
                                    [&](const Text& name) { return HasName(c.referenced, name); });
      if (same) throw errors::KeyReferenced(key.name, c.table, c.name, at);
    }
  }
  if (!key.index.empty()) {
    const std::string schema = SchemaName(table.database);
    for (const std::string& index : {key.index, NullIndexName(key.index)}) {
      storage_.Execute("DROP INDEX IF EXISTS " + schema + "." + QuoteIdentifier(index));
    }
    return;
  }
  NewTable made = Existing(table);
  std::erase_if(made.keys, [&](const UniqueKey& k) { return k.name == key.name; });
  if (key.kind == KeyKind::Primary) {
    for (TableColumn& column : made.table.columns) column.is_row_number = false;
  }
  Rebuild(made, table, {});
}

// What else uses a column; nothing where nothing does.
std::optional<Text> Interpreter::UserOf(const Table& table, std::int32_t index, bool by_defaults) {
  const TableColumn& column = table.columns[static_cast<std::size_t>(index)];
  const SqliteStatement indexes = storage_.Prepare(
      "SELECT l.name FROM pragma_index_list(?1, ?2) AS l, pragma_index_info(l.name, ?2) AS i WHERE "
      "l.origin = 'c' AND NOT l.partial AND i.cid = " +
      std::to_string(index));
  const std::string name = ToUtf8(table.name);
  sqlite3_bind_text(indexes.get(), 1, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
  sqlite3_bind_text(indexes.get(), 2, SchemaName(table.database), -1, SQLITE_STATIC);
  if (storage_.Step(indexes.get())) {
    const std::string_view stored = ColumnText(indexes.get(), 0);
    return ToText(stored.substr(stored.rfind('.') + 1));
  }
  for (const UniqueKey& key : UniqueKeysOf(storage_, table)) {
    if (std::find(key.columns.begin(), key.columns.end(), index) != key.columns.end()) {
      return key.name;
    }
  }
  if (!catalogue_.HasConstraints(table.database)) return std::nullopt;
  for (const Constraint& c : ConstraintsOf(storage_, table.database, table.name)) {
    switch (c.kind) {
      case ConstraintKind::Default:
        if (by_defaults && !c.name.empty() && HasName(c.columns, column.name)) return c.name;
        break;
      case ConstraintKind::Check:
        if (NamesColumn(c.sql, column)) return c.name;
        break;
      case ConstraintKind::Reference:
        if (HasName(c.columns, column.name)) return c.name;
        break;
      case ConstraintKind::Computed:
        if (!HasName(c.columns, column.name) && NamesColumn(c.sql, column)) return c.columns[0];
    }
  }
  for (const Constraint& c : ReferencesTo(storage_, table.database, table.name)) {
    if (HasName(c.referenced, column.name)) return c.name;
  }
  return std::nullopt;
}

void Interpreter::DropColumn(const Table& table, const DroppedPart& part, Binder& binder) {
  const Position at = binder.At(part.name.offset);
  const std::int32_t index = table.FindColumn(part.name.text);
  if (index < 0) {
    if (part.if_exists) return;
    throw errors::NoColumnToAlter(u"DROP COLUMN", part.name.text, table.name, at);
  }
  const TableColumn& column = table.columns[static_cast<std::size_t>(index)];
  if (const std::optional<Text> user = UserOf(table, index, true)) {
    throw errors::ColumnInUse(u"DROP COLUMN", column.name, *user, at);
  }
  if (catalogue_.HasConstraints(table.database)) {
    for (const Constraint& c : ConstraintsOf(storage_, table.database, table.name)) {
      if (HasName(c.columns, column.name)) RemoveConstraint(storage_, table.database, c);
    }
    if (column.is_identity) storage_.Execute(ForgetTable(table.database, table.name).back());
  }
  if (column.type.kind == TypeKind::RowVersion) {
    for (const char* event : {"INSERT", "UPDATE"}) {
      storage_.Execute(std::string("DROP TRIGGER IF EXISTS ") + SchemaName(table.database) + "." +
                       QuoteIdentifier(ToUtf8(table.name) + "." + event));
    }
  }
  storage_.Execute("ALTER TABLE " + table.sql + " DROP COLUMN " + column.sql);
}

void Interpreter::AlterColumn(const ColumnDefinition& definition, const Table& table,
                              Binder& binder, Arena& arena) {
  const Position at = binder.At(definition.name.offset);
  const std::int32_t index = table.FindColumn(definition.name.text);
  if (index < 0) {
    throw errors::NoColumnToAlter(u"ALTER COLUMN", definition.name.text, table.name, at);
  }
  NewTable made = Existing(table);
  TableColumn& column = made.table.columns[static_cast<std::size_t>(index)];
  const Type before = column.type;
  if (!column.computed_sql.empty()) throw errors::CannotAlterColumn(column.name, u"COMPUTED", at);
  if (before.kind == TypeKind::RowVersion || definition.type.kind == TypeKind::RowVersion) {
    throw errors::CannotAlterColumn(column.name, u"timestamp", at);
  }
  column.type = ColumnType(definition);
  if (column.is_identity) column.type.nullable = false;
  if (column.type == before) return;
  if (!OnlyWidens(before, column.type)) {
    if (const auto user = UserOf(table, index, before.kind != column.type.kind)) {
      throw errors::ColumnInUse(u"ALTER COLUMN", column.name, *user, at);
    }
  }
  if (!column.type.nullable && HasRow("FROM " + table.sql + " WHERE " + column.sql + " IS NULL")) {
    throw errors::NullNotAllowed(column.name, table.name, false);
  }
  std::string values;
  for (const TableColumn& c : table.columns) {
    if (!c.computed_sql.empty()) continue;
    values += ", " + (c.name == column.name
                          ? NewCompiler(arena).CompileConversion(table, index, column.type)
                          : c.sql);
  }
  Rebuild(made, table, values.substr(2));
}

// NOCHECK CONSTRAINT and CHECK CONSTRAINT.
void Interpreter::Switch(const AlterTableStatement& statement, const Table& table, Binder& binder) {
  std::vector<Constraint> kept;
  if (catalogue_.HasConstraints(table.database)) {
    kept = ConstraintsOf(storage_, table.database, table.name);
  }
  std::erase_if(kept, [](const Constraint& c) {
    return c.kind != ConstraintKind::Check && c.kind != ConstraintKind::Reference;
  });
  for (const Name& name : statement.switched) {
    if (std::none_of(kept.begin(), kept.end(),
                     [&](const Constraint& c) { return EqualText(c.name, name.text); })) {
      throw errors::NoConstraint(name.text, binder.At(name.offset));
    }
  }
  for (Constraint& c : kept) {
    const bool named = statement.switched.empty() ||
                       std::any_of(statement.switched.begin(), statement.switched.end(),
                                   [&](const Name& name) { return EqualText(c.name, name.text); });
    if (!named) continue;
    if (statement.looks && statement.on) {
      RequireRule(c, table.sql, table.database, "ALTER TABLE");
    }
    c.trusted = statement.on && (statement.looks || (c.enabled && c.trusted));
    c.enabled = statement.on;
    SwitchConstraint(storage_, table.database, c);
  }
  if (!kept.empty()) GuardAgain(table, kept);
}

}  // namespace ledgerwick::tsql
