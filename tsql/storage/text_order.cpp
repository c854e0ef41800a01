#include "tsql/storage/text_order.h"

namespace ledgerwick::tsql {
namespace {

// A view lies in the table of tables, which has to be whole for a file to be opened at all.
constexpr const char* kView = "ledgerwick_collation";

// The first row of `sql`; nothing without one, and where `result` becomes an error.
SqliteStatement FirstRow(sqlite3* db, const std::string& sql, int& result) {
  sqlite3_stmt* prepared = nullptr;
  result = sqlite3_prepare_v2(db, sql.c_str(), -1, &prepared, nullptr);
  SqliteStatement statement(prepared);
  if (result == SQLITE_OK) result = sqlite3_step(prepared);
  if (result == SQLITE_ROW) {
    result = SQLITE_OK;
    return statement;
  }
  if (result == SQLITE_DONE) result = SQLITE_OK;
  return nullptr;
}

}  // namespace

std::string NotedTextOrder(sqlite3* db, const char* schema, int& result) {
  const std::string prefix = std::string(schema) + ".";
  const SqliteStatement view = FirstRow(
      db, "SELECT 1 FROM " + prefix + "sqlite_schema WHERE name = " + QuoteLiteral(kView), result);
  if (!view) return {};
  const SqliteStatement row = FirstRow(db, "SELECT version FROM " + prefix + kView, result);
  return row ? std::string(ColumnText(row.get(), 0)) : std::string();
}

std::array<std::string, 2> NoteTextOrder(const char* schema, const std::string& order) {
  const std::string view = std::string(schema) + "." + kView;
  return {"DROP VIEW IF EXISTS " + view,
          "CREATE VIEW " + view + " (version) AS SELECT " + QuoteLiteral(order)};
}

}  // namespace ledgerwick::tsql
