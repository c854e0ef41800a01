#include "tsql/storage/tempdb.h"

#include <cstdint>
#include <optional>

#include "tsql/storage/database_files.h"
#include "tsql/storage/text_order.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::int64_t kIncremental = 2;  // of PRAGMA auto_vacuum

// The first value of a statement that gives one row.
std::optional<std::int64_t> ValueOf(sqlite3* db, const char* sql, int& result) noexcept {
  sqlite3_stmt* prepared = nullptr;
  result = sqlite3_prepare_v2(db, sql, -1, &prepared, nullptr);
  const SqliteStatement statement(prepared);
  if (result == SQLITE_OK) result = sqlite3_step(prepared);
  if (result != SQLITE_ROW) return std::nullopt;
  result = SQLITE_OK;
  return sqlite3_column_int64(prepared, 0);
}

bool IsDamage(int result) noexcept {
  return (result & 0xFF) == SQLITE_CORRUPT || (result & 0xFF) == SQLITE_NOTADB;
}

}  // namespace

TempdbState InspectTempdb(sqlite3* db, int attached, int& result) {
  result = attached;
  std::optional<std::int64_t> id;
  std::optional<std::int64_t> objects;
  std::optional<std::int64_t> vacuum;
  std::optional<std::int64_t> format;
  if (result == SQLITE_OK) id = ValueOf(db, "PRAGMA tempdb.application_id", result);
  if (id) objects = ValueOf(db, "SELECT COUNT(*) FROM tempdb.sqlite_schema", result);
  if (objects) vacuum = ValueOf(db, "PRAGMA tempdb.auto_vacuum", result);
  if (vacuum) format = ValueOf(db, "PRAGMA tempdb.user_version", result);
  if (!format) {
    if (IsDamage(result)) result = SQLITE_OK;
    return TempdbState::Damaged;
  }
  if (*id == kApplicationId) {
    if (*format != kFormatVersion && *format != kConstraintsFormat) return TempdbState::Unmade;
    const std::string order = NotedTextOrder(db, "tempdb", result);
    if (result != SQLITE_OK) {
      if (IsDamage(result)) result = SQLITE_OK;
      return TempdbState::Damaged;
    }
    if (order != CollationVersion()) return TempdbState::Unmade;
    return *vacuum == kIncremental ? TempdbState::Sound : TempdbState::Outdated;
  }
  return *id == 0 && *objects == 0 ? TempdbState::Unmade : TempdbState::Foreign;
}

bool HasMuchFreeSpace(sqlite3* db) noexcept {
  // Less is used again by the next report: giving it back and asking for it anew costs more.
  constexpr std::int64_t kLeastPages = 2048;  // 32 MB
  int result = SQLITE_OK;
  const auto free = ValueOf(db, "PRAGMA tempdb.freelist_count", result);
  const auto all = ValueOf(db, "PRAGMA tempdb.page_count", result);
  return free && all && *free >= kLeastPages && *free * 2 > *all;
}

void ShrinkTempdb(sqlite3* db) noexcept {
  if (!HasMuchFreeSpace(db)) return;
  sqlite3_exec(db, "PRAGMA tempdb.incremental_vacuum; PRAGMA tempdb.wal_checkpoint(TRUNCATE)",
               nullptr, nullptr, nullptr);
}

}  // namespace ledgerwick::tsql
