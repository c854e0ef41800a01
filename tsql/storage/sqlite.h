// SQLite's handles as values that clean up after themselves.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "tsql/storage/sqlite_memory.h"

namespace ledgerwick::tsql {

struct SqliteCloser {
  void operator()(sqlite3* db) const noexcept { sqlite3_close_v2(db); }
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};

using SqliteHandle = std::unique_ptr<sqlite3, SqliteCloser>;
using SqliteStatement = std::unique_ptr<sqlite3_stmt, SqliteCloser>;

// Sets SQLite up for this process; whoever opens a database calls it first. Calls after the first
// do nothing.
inline void ConfigureSqlite() noexcept {
  // Nobody asks SQLite how much memory it uses, and counting it takes a lock for every allocation.
  // An application that has SQLite running already keeps its own setting.
  static const int result = [] {
    ChargeSqliteMemory();
    return sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
  }();
  static_cast<void>(result);
}

// `name` as an SQLite identifier in double quotes.
inline std::string QuoteIdentifier(std::string_view name) {
  std::string quoted = "\"";
  for (const char c : name) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted += '"';
}

// `text` as an SQLite string literal.
inline std::string QuoteLiteral(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'') quoted += '\'';
    quoted += c;
  }
  return quoted += '\'';
}

// What a text or a copied value was bound with: without memory SQLite would go on with NULL. Throws
// std::bad_alloc.
inline void CheckBound(int result) {
  if (result == SQLITE_NOMEM) throw std::bad_alloc();
}

// The text of a column of the current row; valid until the next step. Throws std::bad_alloc.
inline std::string_view ColumnText(sqlite3_stmt* statement, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  if (text == nullptr) {
    CheckBound(sqlite3_errcode(sqlite3_db_handle(statement)) & 0xFF);
    return {};
  }
  return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
}

}  // namespace ledgerwick::tsql
