// What a failure of SQLite's comes to in the server's terms.
#pragma once

#include <filesystem>

#include "tsql/errors.h"
#include "tsql/sqlite.h"

namespace ledgerwick::tsql {

// The error for the result code of the operation on `db` that failed last. `database` is the path
// of the attached database's main file. A damaged file is told from the other by reading tempdb as
// a whole. Waits that were too long and cancellations are the caller's.
SqlError StorageError(sqlite3* db, int result, const std::filesystem::path& database);

// True when the schema ("tempdb") that `db` has attached is damaged. Reads all of it.
bool IsDamaged(sqlite3* db, const char* schema);

}  // namespace ledgerwick::tsql
