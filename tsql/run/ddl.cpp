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

}  // namespace

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
  for (const Name& column : statement.included) {
    if (table.FindColumn(column.text) >= 0) continue;
    throw errors::InvalidColumn(column.text, binder.At(column.offset));
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
    RequireUnreferenced(*table, binder.At(name.object.offset));
    DropTable(*table);
  }
}

// Its own references are no hindrance.
void Interpreter::RequireUnreferenced(const Table& table, Position at) {
  if (!catalogue_.HasConstraints(table.database)) return;
  for (const Constraint& c : ReferencesTo(storage_, table.database, table.name)) {
    if (c.table != table.name) throw errors::TableReferenced(table.name, at);
  }
}

// A report passes over the error of a drop and then makes the table anew. Where the storage kept it
// from being dropped, that error is the reason to be told, not that the table exists.
void Interpreter::DropTable(const Table& table) {
  failed_drop_.reset();
  try {
    DropAll(table);
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
  if (IsReferenced(*table)) {
    throw errors::TruncatedReferenced(table->name, binder.At(statement.target.object.offset));
  }
  Transaction transaction(storage_);
  storage_.Execute("DELETE FROM " + table->sql);
  if (table->identity) ResetIdentity(*table, std::nullopt);
  transaction.Commit();
  session_.last_error = 0;
}

}  // namespace ledgerwick::tsql
