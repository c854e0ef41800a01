// Statements that change the schema.
#include <algorithm>
#include <optional>

#include "tsql/run/interpreter.h"

namespace ledgerwick::tsql {
namespace {

std::string KeySql(std::span<const KeyColumn> columns, const Table* table) {
  std::string sql = "(";
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i > 0) sql += ", ";
    const std::int32_t index = table == nullptr ? -1 : table->FindColumn(columns[i].name.text);
    sql += index >= 0 ? table->columns[static_cast<std::size_t>(index)].sql
                      : QuoteIdentifier(ToUtf8(columns[i].name.text));
    if (columns[i].descending) sql += " DESC";
  }
  return sql + ")";
}

// The type of a column; without a length it holds one character or byte.
Type ColumnType(const ColumnDefinition& column) {
  Type type = column.type;
  if ((IsText(type.kind) || IsBinary(type.kind)) && type.length == 0) type.length = 1;
  return type;
}

bool Names(const TableKey& key, const ColumnDefinition& column) {
  return std::any_of(key.columns.begin(), key.columns.end(),
                     [&](const KeyColumn& k) { return EqualText(k.name.text, column.name.text); });
}

// A column of the primary key admits no null, whatever its definition says.
bool IsKeyColumn(std::span<const TableKey> keys, const ColumnDefinition& column) {
  return std::any_of(keys.begin(), keys.end(),
                     [&](const TableKey& key) { return key.primary && Names(key, column); });
}

// An int that alone is the primary key. The storage would not give it a default.
bool IsRowNumber(std::span<const TableKey> keys, const ColumnDefinition& column) {
  if (column.type.kind != TypeKind::Int || column.default_value != nullptr) return false;
  return std::any_of(keys.begin(), keys.end(), [&](const TableKey& key) {
    return key.primary && key.columns.size() == 1 && !key.columns[0].descending &&
           Names(key, column);
  });
}

// The columns of a key of a table that is about to be made, in the key's order.
std::vector<TableColumn> ColumnsOf(const TableKey& key, const CreateTableStatement& statement) {
  std::vector<TableColumn> columns;
  for (const KeyColumn& named : key.columns) {
    const ColumnDefinition& column = *std::find_if(
        statement.definitions.begin(), statement.definitions.end(),
        [&](const ColumnDefinition& c) { return EqualText(c.name.text, named.name.text); });
    columns.push_back(
        {Text(column.name.text), QuoteIdentifier(ToUtf8(column.name.text)), column.type, {}});
    if (IsKeyColumn(statement.keys, column)) columns.back().type.nullable = false;
  }
  return columns;
}

// As it is written, or a name of the server's kind.
Text NameOf(const TableKey& key, const CreateTableStatement& statement) {
  if (!key.name.text.empty()) return Text(key.name.text);
  std::vector<Text> columns;
  for (const TableColumn& column : ColumnsOf(key, statement)) columns.push_back(column.name);
  return MadeName(key.primary ? u"PK" : u"UQ", statement.target.object.text, columns);
}

// The keys name columns that there are, and one of them at most is the primary key.
void RequireKeys(const CreateTableStatement& statement, const Binder& binder,
                 const NameSet& columns) {
  bool has_primary = false;
  for (const TableKey& key : statement.keys) {
    for (const KeyColumn& column : key.columns) {
      if (columns.contains(column.name.text)) continue;
      throw errors::InvalidColumn(column.name.text, binder.At(column.name.offset));
    }
    if (key.primary && has_primary) {
      throw errors::SeveralPrimaryKeys(statement.target.object.text,
                                       binder.At(key.columns[0].name.offset));
    }
    has_primary = has_primary || key.primary;
  }
}

}  // namespace

void Interpreter::Perform(const CreateTableStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const ObjectName& name = statement.target;
  const DatabaseId database = binder.RequireNewName(name);
  const std::string table =
      std::string(SchemaName(database)) + "." + QuoteIdentifier(ToUtf8(name.object.text));
  std::string sql = "CREATE TABLE " + table + " (";
  NameSet seen;
  bool has_row_version = false;
  RowVersionSql versions;
  for (const ColumnDefinition& column : statement.definitions) {
    if (!seen.insert(column.name.text).second) {
      throw errors::DuplicateColumn(column.name.text, name.object.text,
                                    binder.At(column.name.offset));
    }
    if (seen.size() > 1) sql += ", ";
    Type type = ColumnType(column);
    if (IsKeyColumn(statement.keys, column)) type.nullable = false;
    const std::string column_name = ToUtf8(column.name.text);
    if (type.kind == TypeKind::RowVersion) {
      if (has_row_version) {
        throw errors::SecondRowVersion(name.object.text, column.name.text,
                                       binder.At(column.name.offset));
      }
      has_row_version = true;
      versions = RowVersionSqlOf(database, ToUtf8(name.object.text), column_name);
    }
    if (IsRowNumber(statement.keys, column)) {
      sql += QuoteIdentifier(column_name) + " " + kRowNumberType + " NOT NULL";
      continue;
    }
    sql += ColumnDeclaration(column_name, type);
    if (column.default_value != nullptr) {
      sql += " DEFAULT (" + NewCompiler(arena).CompileDefault(*column.default_value, type) + ")";
    }
  }
  RequireKeys(statement, binder, seen);
  RequireNewKeys(statement, binder, database);
  for (const TableKey& key : statement.keys) {
    sql += ", CONSTRAINT " + QuoteIdentifier(ToUtf8(NameOf(key, statement))) + " ";
    sql += (key.primary ? "PRIMARY KEY " : "UNIQUE ") + KeySql(key.columns, nullptr);
  }
  if (database == DatabaseId::Session) KeepTemporary(table);
  Transaction transaction(storage_);
  for (const std::string& before : versions.before) storage_.Execute(before);
  storage_.Execute(sql + ")");
  CreateNullIndexes(statement, database);
  for (const std::string& after : versions.after) storage_.Execute(after);
  transaction.Commit();
  session_.last_error = 0;
}

// Names of constraints are unique in a database; those of the session's tables are nobody else's.
void Interpreter::RequireNewKeys(const CreateTableStatement& statement, Binder& binder,
                                 DatabaseId database) {
  TextMap<bool> seen;
  for (const TableKey& key : statement.keys) {
    if (key.name.text.empty()) continue;
    const bool twice = !seen.emplace(FoldText(key.name.text), true).second;
    const ObjectName name{{}, {}, key.name};
    if (twice || EqualText(key.name.text, statement.target.object.text) ||
        (database != DatabaseId::Session &&
         (binder.ObjectExists(name) || KeyExists(storage_, database, key.name.text)))) {
      throw errors::ObjectExists(key.name.text, binder.At(key.name.offset));
    }
  }
}

// For the UNIQUE constraints of a table that has just been made.
void Interpreter::CreateNullIndexes(const CreateTableStatement& statement, DatabaseId database) {
  const std::string table = ToUtf8(statement.target.object.text);
  for (const TableKey& key : statement.keys) {
    const std::vector<TableColumn> columns = ColumnsOf(key, statement);
    const std::string sql =
        CreateNullIndex(database, table, ConstraintIndexName(table, columns), columns);
    if (!sql.empty()) storage_.Execute(sql);
  }
}

// Rows that are there already have NULL in a new column that may be null, and the default in one
// that may not.
void Interpreter::Perform(const AlterTableStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const Table& table = binder.RequireTable(statement.target);
  if (table.kind != TableKind::Table) {
    throw errors::CannotAlter(table.name, binder.At(statement.target.object.offset));
  }
  NameSet seen;
  Transaction transaction(storage_);
  for (const ColumnDefinition& column : statement.definitions) {
    const bool added_before = !seen.insert(column.name.text).second;
    if (added_before || table.FindColumn(column.name.text) >= 0) {
      throw errors::DuplicateColumn(column.name.text, table.name, binder.At(column.name.offset));
    }
    const Type type = ColumnType(column);
    if (type.kind == TypeKind::RowVersion) {
      throw errors::CannotAlter(table.name, binder.At(column.name.offset));
    }
    const std::string name = ToUtf8(column.name.text);
    std::string sql = "ALTER TABLE " + table.sql + " ADD COLUMN " + ColumnDeclaration(name, type);
    if (column.default_value != nullptr) {
      sql += " DEFAULT (" + NewCompiler(arena).CompileDefault(*column.default_value, type) + ")";
    } else if (!type.nullable) {
      throw errors::NewColumnNotNull(column.name.text, table.name, binder.At(column.name.offset));
    }
    storage_.Execute(sql);
    if (type.nullable && column.default_value != nullptr) {
      storage_.Execute("UPDATE " + table.sql + " SET " + QuoteIdentifier(name) + " = NULL");
    }
  }
  transaction.Commit();
  session_.last_error = 0;
}

void Interpreter::Perform(const CreateIndexStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const Table& table = binder.RequireTable(statement.target);
  UniqueKey key;
  std::vector<TableColumn> key_columns;
  for (const KeyColumn& column : statement.key_columns) {
    const std::int32_t found = table.FindColumn(column.name.text);
    if (found < 0) throw errors::InvalidColumn(column.name.text, binder.At(column.name.offset));
    key.columns.push_back(found);
    key_columns.push_back(table.columns[static_cast<std::size_t>(found)]);
  }
  if (FindIndex(storage_, table, statement.index.text)) {
    throw errors::IndexExists(statement.index.text, table.name, binder.At(statement.index.offset));
  }
  const std::string index = IndexName(table, statement.index.text);
  Transaction transaction(storage_);
  try {
    storage_.Execute(std::string("CREATE ") + (statement.unique ? "UNIQUE " : "") + "INDEX " +
                     SchemaName(table.database) + "." + QuoteIdentifier(index) + " ON " +
                     QuoteIdentifier(ToUtf8(table.name)) + " " +
                     KeySql(statement.key_columns, &table));
    const std::string nulls =
        CreateNullIndex(table.database, ToUtf8(table.name), index, key_columns);
    if (statement.unique && !nulls.empty()) storage_.Execute(nulls);
  } catch (const ConstraintFailure&) {
    throw errors::DuplicateIndexKey(table.name, statement.index.text,
                                    DuplicateIn(table, key).value_or(""));
  }
  transaction.Commit();
  session_.last_error = 0;
}

// A view is kept as its text; whoever reads it binds it afresh.
void Interpreter::Perform(const CreateViewStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const ObjectName& name = statement.target;
  const DatabaseId database = binder.RequireNewName(name);
  const BoundQuery& query = *binder.BindViewQuery(*statement.query);
  std::vector<TextView> names(query.names.begin(), query.names.end());
  if (!statement.columns.empty()) {
    if (statement.columns.size() != names.size()) {
      throw errors::ColumnListLength(name.object.text, statement.columns.size() > names.size(),
                                     binder.At(name.object.offset));
    }
    for (std::size_t i = 0; i < names.size(); ++i) names[i] = statement.columns[i].text;
  }
  NameSet seen;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i].empty()) {
      throw errors::ViewColumnNameMissing(i + 1, binder.At(statement.query->offset));
    }
    if (!seen.insert(names[i]).second) {
      throw errors::DuplicateColumn(names[i], name.object.text, binder.At(name.object.offset));
    }
  }
  const std::string text = ToUtf8(statement.text);
  SaveModule(database, ToUtf8(name.object.text), 'V', &text);
  session_.last_error = 0;
}

// Adds or replaces the view ('V') or procedure ('P'), or removes it without a definition.
void Interpreter::SaveModule(DatabaseId database, const std::string& name, char kind,
                             const std::string* definition) {
  const std::string schema = SchemaName(database);
  const std::string modules = schema + "." + kModulesTable;
  const std::string kind_literal = QuoteLiteral(std::string_view(&kind, 1));
  Transaction transaction(storage_);
  storage_.Execute("DELETE FROM " + modules + " WHERE kind = " + kind_literal +
                   " AND name = " + QuoteLiteral(name));
  if (definition != nullptr) {
    const SqliteStatement insert = storage_.Prepare(
        "INSERT INTO " + modules + " VALUES (" + QuoteLiteral(name) + ", " + kind_literal + ", ?)");
    // As a value: it may contain a NUL, which ends the storage's own texts.
    sqlite3_bind_text64(insert.get(), 1, definition->data(), definition->size(), SQLITE_STATIC,
                        SQLITE_UTF8);
    storage_.Step(insert.get());
  }
  // Tells every connection that its catalogue is stale.
  storage_.Execute("CREATE TABLE " + schema + ".ledgerwick_change (x)");
  storage_.Execute("DROP TABLE " + schema + ".ledgerwick_change");
  transaction.Commit();
}

void Interpreter::Perform(const DropStatement& statement) {
  session_.row_count = 0;
  for (const ObjectName& target : statement.targets) Drop(statement, target);
  session_.last_error = 0;
}

void Interpreter::Drop(const DropStatement& statement, const ObjectName& name) {
  TextView what;
  switch (statement.what) {
    case DropKind::Index:
      DropIndex(name);
      return;
    case DropKind::Table:
      what = u"table";
      break;
    case DropKind::View:
      what = u"view";
      break;
    case DropKind::Procedure:
      what = u"procedure";
      break;
  }
  Arena arena;
  Binder binder = NewBinder(arena);
  const Table* table = binder.FindTable(name);
  const ProcedureText* procedure = table == nullptr ? binder.FindProcedure(name) : nullptr;
  const bool missing =
      procedure == nullptr && (table == nullptr || table->kind == TableKind::System);
  if (missing && statement.if_exists) return;
  if (missing) throw errors::CannotDrop(what, FullName(name), binder.At(name.object.offset));
  const TextView kind = procedure != nullptr             ? u"procedure"
                        : table->kind == TableKind::View ? u"view"
                                                         : u"table";
  if (kind != what) {
    throw errors::WrongKindToDrop(what, FullName(name), kind, binder.At(name.object.offset));
  }
  if (procedure != nullptr) {
    SaveModule(procedure->database, ToUtf8(procedure->name), 'P', nullptr);
  } else if (table->kind == TableKind::View) {
    SaveModule(table->database, ToUtf8(table->name), 'V', nullptr);
  } else {
    DropTable(*table);
  }
}

// A report passes over the error of a drop and then makes the table anew. Where the storage kept it
// from being dropped, that error is the reason to be told, not that the table exists.
void Interpreter::DropTable(const Table& table) {
  failed_drop_.reset();
  try {
    storage_.Execute("DROP TABLE " + table.sql);
  } catch (const SqlError& error) {
    constexpr std::int32_t kCancelled = 0;
    if (error.number == kCancelled) throw;
    failed_drop_ = FailedDrop{table.database, table.name, error};
    throw;
  }
}

// True for a statement that cannot make a table anew since the storage kept the old one from being
// dropped.
bool Interpreter::FailedToDrop(const SqlError& error, const Statement& statement) const {
  constexpr std::int32_t kExists = 2714;
  if (!failed_drop_ || error.number != kExists) return false;
  const auto* create = As<CreateTableStatement>(statement);
  const auto* select = As<SelectStatement>(statement);
  if (create == nullptr && select == nullptr) return false;
  const ObjectName& made = create != nullptr ? create->target : select->query->selects[0]->into;
  return catalogue_.FindDatabase(made.database.text, made.object.text) == failed_drop_->database &&
         EqualText(made.object.text, failed_drop_->table);
}

void Interpreter::DropIndex(const ObjectName& name) {
  Arena arena;
  Binder binder = NewBinder(arena);
  const ObjectName owner{name.database, {}, name.schema};
  const Table* table = binder.FindTable(owner);
  const std::optional<std::string> index =
      table == nullptr ? std::nullopt : FindIndex(storage_, *table, name.object.text);
  if (!index) {
    throw errors::CannotDrop(u"index", Text(name.schema.text) + u"." + Text(name.object.text),
                             binder.At(name.object.offset));
  }
  const std::string schema = SchemaName(table->database);
  Transaction transaction(storage_);
  storage_.Execute("DROP INDEX " + schema + "." + QuoteIdentifier(*index));
  storage_.Execute("DROP INDEX IF EXISTS " + schema + "." + QuoteIdentifier(NullIndexName(*index)));
  transaction.Commit();
}

void Interpreter::Perform(const TruncateStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const Table* table = binder.FindTable(statement.target);
  if (table == nullptr || table->kind != TableKind::Table) {
    throw errors::CannotTruncate(statement.target.object.text,
                                 binder.At(statement.target.object.offset));
  }
  storage_.Execute("DELETE FROM " + table->sql);
  session_.last_error = 0;
}

}  // namespace ledgerwick::tsql
