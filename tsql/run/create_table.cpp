// CREATE TABLE: columns and keys.
#include <algorithm>

#include "tsql/run/new_table.h"

namespace ledgerwick::tsql {
namespace {

bool IsNamed(const TableKey& key, TextView column) {
  return std::any_of(key.columns.begin(), key.columns.end(),
                     [&](const KeyColumn& k) { return EqualText(k.name.text, column); });
}

const TableKey* PrimaryOf(std::span<const TableKey> keys) {
  const auto found =
      std::find_if(keys.begin(), keys.end(), [](const TableKey& key) { return key.primary; });
  return found == keys.end() ? nullptr : &*found;
}

// An int that alone is the primary key. The storage would not give it a default.
bool IsRowNumber(const TableColumn& column, const TableRules& rules) {
  const TableKey* primary = PrimaryOf(rules.keys);
  return column.type.kind == TypeKind::Int && column.computed_sql.empty() && primary != nullptr &&
         primary->columns.size() == 1 && !primary->columns[0].descending &&
         IsNamed(*primary, column.name) &&
         std::none_of(rules.defaults.begin(), rules.defaults.end(),
                      [&](const DefaultRule& d) { return EqualText(d.column.text, column.name); });
}

bool CanBeIdentity(const Type& type) noexcept {
  if (type.kind == TypeKind::Decimal) return type.scale == 0;
  return type.kind >= TypeKind::TinyInt && type.kind <= TypeKind::BigInt;
}

}  // namespace

Type ColumnType(const ColumnDefinition& column) {
  Type type = column.type;
  if ((IsText(type.kind) || IsBinary(type.kind)) && type.length == 0) type.length = 1;
  return type;
}

RowVersionSql RowVersionsOf(const Table& table) {
  for (const TableColumn& column : table.columns) {
    if (column.type.kind != TypeKind::RowVersion) continue;
    return RowVersionSqlOf(table.database, ToUtf8(table.name), ToUtf8(column.name));
  }
  return {};
}

std::vector<Text> NamesOf(const Table& table, const std::vector<std::int32_t>& columns) {
  std::vector<Text> names;
  for (const std::int32_t column : columns) {
    names.push_back(table.columns[static_cast<std::size_t>(column)].name);
  }
  return names;
}

std::string Interpreter::NewTable::CreateSql(const std::string& sql_name) const {
  std::string sql = "CREATE TABLE " + sql_name + " (";
  for (const TableColumn& column : table.columns) {
    if (&column != &table.columns.front()) sql += ", ";
    if (column.is_row_number) {
      sql += column.sql + " " + kRowNumberType + " NOT NULL";
      continue;
    }
    sql += ColumnDeclaration(ToUtf8(column.name), column.type);
    if (!column.computed_sql.empty()) {
      sql += " GENERATED ALWAYS AS (" + column.computed_sql + ")" +
             (column.persisted ? " STORED" : " VIRTUAL");
    } else if (!column.default_sql.empty()) {
      sql += " DEFAULT (" + column.default_sql + ")";
    }
  }
  for (const UniqueKey& key : keys) {
    sql += ", CONSTRAINT " + QuoteIdentifier(ToUtf8(key.name));
    sql += key.kind == KeyKind::Primary ? " PRIMARY KEY (" : " UNIQUE (";
    for (std::size_t i = 0; i < key.columns.size(); ++i) {
      sql += (i > 0 ? ", " : "") + table.columns[static_cast<std::size_t>(key.columns[i])].sql;
      if (key.descending[i] != 0) sql += " DESC";
    }
    sql += ")";
  }
  return sql + ")";
}

void Interpreter::AddColumn(const ColumnDefinition& definition, NewTable& made, Binder& binder) {
  Table& table = made.table;
  const Name& name = definition.name;
  const Position at = binder.At(name.offset);
  const auto index = static_cast<std::int32_t>(table.columns.size());
  if (!table.column_by_name.emplace(name.text, index).second) {
    throw errors::DuplicateColumn(name.text, table.name, at);
  }
  TableColumn column{
      Text(name.text), QuoteIdentifier(ToUtf8(name.text)), ColumnType(definition), {}};
  if (column.type.kind == TypeKind::RowVersion &&
      std::any_of(table.columns.begin(), table.columns.end(),
                  [](const TableColumn& c) { return c.type.kind == TypeKind::RowVersion; })) {
    throw errors::SecondRowVersion(table.name, name.text, at);
  }
  if (definition.is_identity) {
    if (table.identity) throw errors::SeveralIdentities(table.name, at);
    if (!CanBeIdentity(column.type) || definition.step == 0) {
      throw errors::IdentityType(name.text, at);
    }
    if (definition.null_written) throw errors::IdentityNullable(name.text, table.name, at);
    table.identity = {0, definition.seed, definition.step};
    column.is_identity = true;
    column.type.nullable = false;
  }
  table.columns.push_back(std::move(column));
}

// Computed columns see all the others, wherever they stand, but no other computed one.
void Interpreter::AddComputed(std::span<const ColumnDefinition> definitions, NewTable& made,
                              Arena& arena) {
  Table plain = made.table;
  std::erase_if(plain.column_by_name, [&](const auto& named) {
    const TableColumn& column = plain.columns[static_cast<std::size_t>(named.second)];
    return column.type.kind == TypeKind::Null || !column.computed_sql.empty();
  });
  for (const ColumnDefinition& definition : definitions) {
    if (definition.computed == nullptr) continue;
    TableColumn& column =
        made.table.columns[static_cast<std::size_t>(made.table.FindColumn(definition.name.text))];
    column.computed_sql =
        NewCompiler(arena).CompileComputed(*definition.computed, plain, column.type);
    column.persisted = definition.persisted;
    column.type.nullable = !definition.not_null_written;
    Constraint kept;
    kept.kind = ConstraintKind::Computed;
    kept.table = made.table.name;
    kept.definition = u"(" + Text(definition.computed_text) + u")";
    kept.sql = column.computed_sql;
    kept.persisted = column.persisted;
    kept.columns = {column.name};
    made.constraints.push_back(std::move(kept));
  }
}

// The keys name columns that there are, and one of them at most is the primary key.
void Interpreter::AddKeys(std::span<const TableKey> keys, NewTable& made, Binder& binder) {
  for (const TableKey& key : keys) {
    const Position at = binder.At(key.columns[0].name.offset);
    UniqueKey added;
    added.kind = key.primary ? KeyKind::Primary : KeyKind::Unique;
    for (const KeyColumn& column : key.columns) {
      const std::int32_t index = made.table.FindColumn(column.name.text);
      if (index < 0) throw errors::InvalidColumn(column.name.text, binder.At(column.name.offset));
      added.columns.push_back(index);
      added.descending.push_back(column.descending ? 1 : 0);
    }
    const bool second = std::any_of(made.keys.begin(), made.keys.end(),
                                    [](const UniqueKey& k) { return k.kind == KeyKind::Primary; });
    if (key.primary && second) {
      throw made.exists ? errors::PrimaryKeyExists(made.table.name, at)
                        : errors::SeveralPrimaryKeys(made.table.name, at);
    }
    added.name = NewName(key.name, key.primary ? u"PK" : u"UQ", NamesOf(made.table, added.columns),
                         made, binder);
    made.keys.push_back(std::move(added));
  }
}

// Names of constraints are unique in a database; those of the session's tables are nobody else's.
Text Interpreter::NewName(const Name& written, TextView prefix, std::span<const Text> columns,
                          NewTable& made, Binder& binder) {
  const DatabaseId database = made.table.database;
  const auto kept = [&](TextView name) {
    return database != DatabaseId::Session && catalogue_.HasConstraints(database) &&
           ConstraintExists(storage_, database, name);
  };
  if (written.text.empty()) {
    std::vector<Text> parts(columns.begin(), columns.end());
    for (;;) {
      Text name = MadeName(prefix, made.table.name, parts);
      if (!kept(name) && made.names.emplace(name, true).second) return name;
      parts.emplace_back(u"+");  // another one on the same columns
    }
  }
  const TextView name = written.text;
  const bool taken =
      !made.names.emplace(name, true).second || EqualText(name, made.table.name) ||
      (database != DatabaseId::Session && (binder.ObjectExists({{}, {}, written}) || kept(name) ||
                                           KeyExists(storage_, database, name)));
  if (taken) throw errors::ObjectExists(name, binder.At(written.offset));
  return Text(name);
}

Interpreter::NewTable Interpreter::Declare(const CreateTableStatement& statement,
                                           DatabaseId database, Binder& binder, Arena& arena) {
  NewTable made;
  made.table.database = database;
  made.table.name = statement.target.object.text;
  made.table.sql = std::string(SchemaName(database)) + "." +
                   QuoteIdentifier(ToUtf8(statement.target.object.text));
  for (const ColumnDefinition& column : statement.definitions) AddColumn(column, made, binder);
  AddComputed(statement.definitions, made, arena);
  const TableKey* primary = PrimaryOf(statement.rules.keys);
  for (std::size_t i = 0; i < statement.definitions.size(); ++i) {
    TableColumn& column = made.table.columns[i];
    if (primary == nullptr || !IsNamed(*primary, column.name)) continue;
    // A column of the primary key admits no null, and must not say that it does.
    const ColumnDefinition& definition = statement.definitions[i];
    if (definition.null_written) {
      throw errors::KeyOnNullable(made.table.name, binder.At(definition.name.offset));
    }
    column.type.nullable = false;
    column.is_row_number = IsRowNumber(column, statement.rules);
  }
  AddKeys(statement.rules.keys, made, binder);
  AddRules(statement.rules, made, binder, arena);
  return made;
}

void Interpreter::Perform(const CreateTableStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const DatabaseId database = binder.RequireNewName(statement.target);
  const NewTable made = Declare(statement, database, binder, arena);
  const RowVersionSql versions = RowVersionsOf(made.table);
  if (database == DatabaseId::Session) KeepTemporary(made.table.sql);
  Transaction transaction(storage_);
  for (const std::string& before : versions.before) storage_.Execute(before);
  storage_.Execute(made.CreateSql(made.table.sql));
  MakeNullIndexes(made.table);
  for (const std::string& after : versions.after) storage_.Execute(after);
  KeepRules(made);
  transaction.Commit();
  session_.last_error = 0;
}

// The indexes for NULLs beside all that is unique in a table that is there.
void Interpreter::MakeNullIndexes(const Table& table) {
  for (const UniqueKey& key : UniqueKeysOf(storage_, table)) {
    std::vector<TableColumn> columns;
    for (const std::int32_t column : key.columns) {
      columns.push_back(table.columns[static_cast<std::size_t>(column)]);
    }
    const std::string name = ToUtf8(table.name);
    const std::string main = key.index.empty() ? ConstraintIndexName(name, columns) : key.index;
    const std::string sql = CreateNullIndex(table.database, name, main, columns);
    if (!sql.empty()) storage_.Execute(sql);
  }
}

}  // namespace ledgerwick::tsql
