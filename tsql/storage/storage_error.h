// What a failure of SQLite's comes to in the server's terms.
#pragma once

#include <filesystem>
#include <string>

#include "tsql/base/errors.h"
#include "tsql/storage/sqlite.h"

namespace ledgerwick::tsql {

// The error for the result code of the operation on `db` that failed last. `database` is the path
// of the attached database's main file. Damage is told of tempdb or of the books, after reading
// tempdb as a whole; `tempdb_damaged` becomes true when it is tempdb's. Waits that were too long
// and cancellations are the caller's.
SqlError StorageError(sqlite3* db, int result, const std::filesystem::path& database,
                      bool& tempdb_damaged);

// What failed last on `db`, which has one file alone, with the system's reason where there is one.
std::string FailureText(sqlite3* db);

// True when the failure `result` on `db` is a disk's that does not give what it holds. SQLite
// itself takes that for damage.
bool IsFailedRead(sqlite3* db, int result);

}  // namespace ledgerwick::tsql
