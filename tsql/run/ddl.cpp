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

// A column that a PRIMARY KEY names admits no null, whatever its definition says.
bool IsKeyColumn(const CreateTableStatement& statement, const ColumnDefinition& column) {
  return std::any_of(statement.keys.begin(), statement.keys.end(), [&](const TableKey& key) {
    return key.primary &&
           std::any_of(key.columns.begin(), key.columns.end(), [&](const KeyColumn& k) {
             return EqualText(k.name.text, column.name.text);
           });
  });
}

// An int that alone is the primary key.
bool IsRowNumber(const CreateTableStatement& statement, const ColumnDefinition& column) {
  if (column.type.kind != TypeKind::Int) return false;
  if (column.primary_key) return true;
  return std::any_of(statement.keys.begin(), statement.keys.end(), [&](const TableKey& key) {
    return key.primary && key.columns.size() == 1 && !key.columns[0].descending &&
           EqualText(key.columns[0].name.text, column.name.text);
  });
}

// SQLite's index names are unique in a database, T-SQL's in a table.
std::string IndexName(const Table& table, TextView index) {
  return ToUtf8(table.name) + "." + ToUtf8(FoldText(index));
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
  TextMap<bool> seen;
  bool has_row_number = false;
  bool has_row_version = false;
  RowVersionSql versions;
  for (const ColumnDefinition& column : statement.definitions) {
    if (!seen.emplace(FoldText(column.name.text), true).second) {
      throw errors::DuplicateColumn(column.name.text, name.object.text,
                                    binder.At(column.name.offset));
    }
    if (seen.size() > 1) sql += ", ";
    Type type = ColumnType(column);
    if (IsKeyColumn(statement, column)) type.nullable = false;
    const std::string column_name = ToUtf8(column.name.text);
    if (type.kind == TypeKind::RowVersion) {
      if (has_row_version) {
        throw errors::SecondRowVersion(name.object.text, column.name.text,
                                       binder.At(column.name.offset));
      }
      has_row_version = true;
      versions = RowVersionSqlOf(database, ToUtf8(name.object.text), column_name);
    }
    if (IsRowNumber(statement, column)) {
      sql += QuoteIdentifier(column_name) + " " + kRowNumberType + " PRIMARY KEY NOT NULL";
      has_row_number = true;
      continue;
    }
    sql += ColumnDeclaration(column_name, type);
    if (column.primary_key) sql += " PRIMARY KEY";
    if (column.unique) sql += " UNIQUE";
    if (column.default_value != nullptr) {
      sql += " DEFAULT (" + NewCompiler(arena).CompileDefault(*column.default_value, type) + ")";
    }
  }
  for (const TableKey& key : statement.keys) {
    for (const KeyColumn& column : key.columns) {
      if (!seen.contains(FoldText(column.name.text))) {
        throw errors::InvalidColumn(column.name.text, binder.At(column.name.offset));
      }
    }
    if (key.primary && has_row_number) continue;  // stands with its column
    sql += std::string(", ") + (key.primary ? "PRIMARY KEY " : "UNIQUE ") +
           KeySql(key.columns, nullptr);
  }
  if (database == DatabaseId::Session) KeepTemporary(table);
  std::optional<Transaction> together;
  if (has_row_version) together.emplace(storage_);
  for (const std::string& before : versions.before) storage_.Execute(before);
  storage_.Execute(sql + ")");
  for (const std::string& after : versions.after) storage_.Execute(after);
  if (together) together->Commit();
  session_.last_error = 0;
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
  TextMap<bool> seen;
  Transaction transaction(storage_);
  for (const ColumnDefinition& column : statement.definitions) {
    const bool added_before = !seen.emplace(FoldText(column.name.text), true).second;
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
  for (const KeyColumn& column : statement.key_columns) {
    if (table.FindColumn(column.name.text) < 0) {
      throw errors::InvalidColumn(column.name.text, binder.At(column.name.offset));
    }
  }
  const std::string index = IndexName(table, statement.index.text);
  const SqliteStatement existing =
      storage_.Prepare(std::string("SELECT 1 FROM ") + SchemaName(table.database) +
                       ".sqlite_schema WHERE type = 'index' AND name = " + QuoteLiteral(index));
  if (storage_.Step(existing.get())) {
    throw errors::IndexExists(statement.index.text, table.name, binder.At(statement.index.offset));
  }
  const std::string sql = std::string("CREATE ") + (statement.unique ? "UNIQUE " : "") + "INDEX " +
                          SchemaName(table.database) + "." + QuoteIdentifier(index) + " ON " +
                          QuoteIdentifier(ToUtf8(table.name)) + " " +
                          KeySql(statement.key_columns, &table);
  try {
    storage_.Execute(sql);
  } catch (const SqlError& error) {
    constexpr std::int32_t kDuplicateKey = 2627;
    if (error.number != kDuplicateKey) throw;
    throw errors::DuplicateIndexKey(table.name, statement.index.text);
  }
  session_.last_error = 0;
}

// A view is kept as its text; whoever reads it binds it afresh.
void Interpreter::Perform(const CreateViewStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const ObjectName& name = statement.target;
  const DatabaseId database = binder.RequireNewName(name);
  const BoundQuery& query = *binder.BindQuery(*statement.query);
  std::vector<TextView> names(query.names.begin(), query.names.end());
  if (!statement.columns.empty()) {
    if (statement.columns.size() != names.size()) {
      throw errors::ColumnListLength(name.object.text, statement.columns.size() > names.size(),
                                     binder.At(name.object.offset));
    }
    for (std::size_t i = 0; i < names.size(); ++i) names[i] = statement.columns[i].text;
  }
  TextMap<bool> seen;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i].empty()) {
      throw errors::ViewColumnNameMissing(i + 1, binder.At(statement.query->offset));
    }
    if (!seen.emplace(FoldText(names[i]), true).second) {
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
    failed_drop_ = FailedDrop{errors::ObjectExists(table.name, {}).message, error};
    throw;
  }
}

void Interpreter::DropIndex(const ObjectName& name) {
  Arena arena;
  Binder binder = NewBinder(arena);
  const ObjectName owner{name.database, {}, name.schema};
  const Table* table = binder.FindTable(owner);
  const SqliteStatement found =
      table == nullptr
          ? nullptr
          : storage_.Prepare(std::string("SELECT 1 FROM ") + SchemaName(table->database) +
                             ".sqlite_schema WHERE type = 'index' AND name = " +
                             QuoteLiteral(IndexName(*table, name.object.text)));
  if (!found || !storage_.Step(found.get())) {
    throw errors::CannotDrop(u"index", Text(name.schema.text) + u"." + Text(name.object.text),
                             binder.At(name.object.offset));
  }
  sqlite3_reset(found.get());
  storage_.Execute(std::string("DROP INDEX ") + SchemaName(table->database) + "." +
                   QuoteIdentifier(IndexName(*table, name.object.text)));
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
