// What becomes of a change that a constraint of the storage's has refused.
//
// SQLite checks every row as it is changed, and says in a text alone which constraint was in the
// way. To T-SQL the rows count as they are at the end of the statement, and an error names
// constraint and key. So the new rows are put into a table of their own and looked at there: what
// is wrong is told, and where nothing is, the changed rows replace the old ones all at once.
#include <algorithm>

#include "tsql/run/interpreter.h"
#include "tsql/storage/statement_parts.h"
#include "tsql/syntax/system_variables.h"

namespace ledgerwick::tsql {
namespace {

// True of rows with the same key under the names `a` and `b`.
std::string SameKey(const Table& table, const UniqueKey& key, const char* a, const char* b) {
  std::string sql;
  for (const std::int32_t column : key.columns) {
    const std::string& name = table.columns[static_cast<std::size_t>(column)].sql;
    sql.append(sql.empty() ? "" : " AND ").append(a).append(".").append(name);
    sql.append(key.nulls_equal ? " IS " : " = ").append(b).append(".").append(name);
  }
  return sql;
}

// The columns of the key, parted by commas.
std::string ColumnList(const Table& table, const UniqueKey& key) {
  std::string sql;
  for (const std::int32_t column : key.columns) {
    sql += (sql.empty() ? "" : ", ") + table.columns[static_cast<std::size_t>(column)].sql;
  }
  return sql;
}

// Groups rows under the name s1 by their keys and keeps the keys that several have.
std::string GroupByKey(const Table& table, const UniqueKey& key) {
  const std::string has_key = key.nulls_equal ? "" : " WHERE " + SameKey(table, key, "s1", "s1");
  return has_key + " GROUP BY " + ColumnList(table, key) +
         " HAVING count(*) > 1 ORDER BY min(s1._rowid_)";
}

}  // namespace

// The key of the first row that `rows` ("FROM … AS s1 …", s1 having the columns of `table`) gives,
// as messages have it: "(1, <NULL>)". Nothing without a row.
std::optional<std::string> Interpreter::KeyOfFirst(const Table& table, const UniqueKey& key,
                                                   const std::string& rows) {
  Arena arena;
  const std::string sql = "SELECT " + NewCompiler(arena).CompileTexts(table, key.columns);
  const SqliteStatement row = storage_.Prepare(sql + " " + rows + " LIMIT 1");
  if (!storage_.Step(row.get())) return std::nullopt;
  std::string text;
  for (std::size_t i = 0; i < key.columns.size(); ++i) {
    const auto column = static_cast<int>(i);
    text += text.empty() ? "(" : ", ";
    text += sqlite3_column_type(row.get(), column) == SQLITE_NULL ? std::string_view("<NULL>")
                                                                  : ColumnText(row.get(), column);
  }
  return text + ")";
}

// Throws 515 for the first of the refused rows that lacks a value.
void Interpreter::RequireValues(const Table& table, const std::string& rows, bool update) {
  std::vector<const TableColumn*> required;
  std::string nulls;
  std::string any;
  for (const TableColumn& column : table.columns) {
    if (column.type.nullable) continue;
    required.push_back(&column);
    nulls += (nulls.empty() ? "" : ", ") + column.sql + " IS NULL";
    any += (any.empty() ? "" : " OR ") + column.sql + " IS NULL";
  }
  if (required.empty()) return;
  const SqliteStatement row = storage_.Prepare("SELECT " + nulls + " FROM " + rows + " WHERE " +
                                               any + " ORDER BY " + kRefusedRow);
  if (!storage_.Step(row.get())) return;
  int i = 0;
  while (sqlite3_column_int(row.get(), i) == 0) ++i;
  throw errors::NullNotAllowed(required[static_cast<std::size_t>(i)]->name, table.name, !update);
}

// A key that several rows of `table` have, if there is one.
std::optional<std::string> Interpreter::DuplicateIn(const Table& table, const UniqueKey& key) {
  return KeyOfFirst(table, key, "FROM " + table.sql + " AS s1" + GroupByKey(table, key));
}

// Throws 2627 or 2601 for the first of the refused rows whose key another row has.
void Interpreter::RequireUnique(const Table& table, const std::string& refused) {
  for (const UniqueKey& key : UniqueKeysOf(storage_, table)) {
    std::optional<std::string> value = KeyOfFirst(
        table, key,
        "FROM " + refused + " AS s1 WHERE EXISTS (SELECT 1 FROM " + table.sql + " AS o WHERE " +
            SameKey(table, key, "o", "s1") + ") ORDER BY s1." + kRefusedRow);
    if (!value) {
      value = KeyOfFirst(table, key, "FROM " + refused + " AS s1" + GroupByKey(table, key));
    }
    if (!value) continue;
    if (key.kind == KeyKind::Index) throw errors::DuplicateIndexRow(table.name, key.name, *value);
    throw errors::DuplicateKey(key.name, table.name, key.kind == KeyKind::Primary, *value);
  }
}

// What `statement` has not done. Returns how many rows it has changed; throws what keeps it from
// that.
std::int64_t Interpreter::SettleRefused(const Statement& statement) {
  catalogue_.Refresh();
  Arena arena;
  const RefusedRows refused = NewCompiler(arena).CompileRefused(statement);
  if (refused.table == nullptr) throw ConstraintFailure();
  if (refused.gives_identity) storage_.functions().identity.Restart();
  Settlement settlement{refused.removes ? "DELETE" : refused.update ? "UPDATE" : "INSERT"};
  NewRows(*refused.table, kRefusedRows, settlement);
  StatementParts parts(refused.parts);
  const SqliteStatement fill = storage_.Prepare(refused.sql);
  session_.Bind(fill.get());
  parts.Bind(fill.get(), kPartsSlot + 1);
  while (storage_.Step(fill.get())) {
  }
  const std::int64_t rows = refused.removes  ? TakeRows(*refused.table, kRefusedRows, settlement)
                            : refused.update ? ReplaceRows(*refused.table, kRefusedRows, settlement)
                                             : PutRows(*refused.table, kRefusedRows, settlement);
  RequireRules(settlement);
  for (const std::string& table : settlement.tables) storage_.Execute("DROP TABLE " + table);
  return rows;
}

}  // namespace ledgerwick::tsql
