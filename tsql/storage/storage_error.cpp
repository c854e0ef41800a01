#include "tsql/storage/storage_error.h"

#include <sys/resource.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "tsql/base/characters.h"
#include "tsql/storage/database_files.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;

constexpr const char* kIoError = "disk I/O error";  // as SQLite says it

// The system's reason for the last failure with the schema's file or, `log`, with its log; 0 for
// none.
int ReasonOf(sqlite3* db, const char* schema, bool log) {
  int reason = 0;
  if (!log) {
    sqlite3_file_control(db, schema, SQLITE_FCNTL_LAST_ERRNO, &reason);
    return reason;
  }
  sqlite3_file* file = nullptr;
  const int found = sqlite3_file_control(db, schema, SQLITE_FCNTL_JOURNAL_POINTER, &file);
  if (found != SQLITE_OK || file == nullptr || file->pMethods == nullptr) return 0;
  file->pMethods->xFileControl(file, SQLITE_FCNTL_LAST_ERRNO, &reason);
  return reason;
}

// A file that failed, and why; the reason is 0 where the system keeps it to itself.
struct Failure {
  std::string file;
  int reason = 0;
};

// The engine forgets a reason when it cleans up after the failure; the files remember theirs.
Failure FindFailure(sqlite3* db, const fs::path& database) {
  const int last = sqlite3_system_errno(db);
  Failure failure{database.string(), last};
  for (const char* schema : {"tempdb", "main"}) {
    for (const bool log : {true, false}) {
      const int reason = ReasonOf(db, schema, log);
      if (reason == 0 || (last != 0 && reason != last)) continue;
      const bool main = std::string_view(schema) == "main";
      const fs::path file = main ? database : TempdbPath(database);
      failure = {WithSuffix(file, log ? "-wal" : "").string(), reason};
    }
  }
  return failure;
}

bool HasSizeLimit() {
  rlimit limit{};
  return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
}

bool IsWrite(int result) {
  return result == SQLITE_IOERR_WRITE || result == SQLITE_IOERR_TRUNCATE ||
         result == SQLITE_IOERR_SHMSIZE || result == SQLITE_IOERR_SHMMAP ||
         result == SQLITE_IOERR_FSYNC;
}

// An error of reading or writing.
SqlError FileError(sqlite3* db, int result, const std::string& message, const fs::path& database) {
  constexpr const char* kLimit = "the limit for the size of a file is reached";
  const Failure failure = FindFailure(db, database);
  switch (failure.reason) {
    case ENOSPC:
      return errors::DiskFull(failure.file);
    case EDQUOT:
      return errors::NoSpace(failure.file, "its owner's quota is used up");
    case EFBIG:
      return errors::NoSpace(failure.file, kLimit);
    case 0: {
      if (!IsWrite(result)) return errors::Storage(message + ", in '" + failure.file + "'");
      std::error_code unknown;
      const fs::space_info space = fs::space(database, unknown);
      if (!unknown && space.available == 0) return errors::DiskFull(failure.file);
      if (HasSizeLimit()) return errors::NoSpace(failure.file, kLimit);
      return errors::Storage(message + ", in '" + failure.file + "'");
    }
    default:
      return errors::Storage(message + ", in '" + failure.file +
                             "': " + std::strerror(failure.reason));
  }
}

// False when a disk that does not read is behind the damage that was met, though its reason is
// lost: it went with a log that is closed, where reading again meets it again, or with a tempdb
// that could not be attached, where the books are well.
bool IsReadable(sqlite3* db) {
  const int again =
      sqlite3_exec(db, "SELECT COUNT(*) FROM main.sqlite_schema", nullptr, nullptr, nullptr);
  if (again != SQLITE_OK) return !IsFailedRead(db, again);
  return sqlite3_db_filename(db, "tempdb") != nullptr;
}

// Reads all of tempdb.
bool IsTempdbDamaged(sqlite3* db) {
  sqlite3_stmt* prepared = nullptr;
  int result = sqlite3_prepare_v2(db, "PRAGMA tempdb.quick_check(1)", -1, &prepared, nullptr);
  const SqliteStatement statement(prepared);
  if (result == SQLITE_OK) result = sqlite3_step(prepared);
  if (result == SQLITE_ROW) return ColumnText(prepared, 0) != "ok";
  return (result & 0xFF) == SQLITE_CORRUPT || (result & 0xFF) == SQLITE_NOTADB;
}

}  // namespace

SqlError StorageError(sqlite3* db, int result, const fs::path& database, bool& tempdb_damaged) {
  const std::string message = sqlite3_errmsg(db);
  switch (result & 0xFF) {
    case SQLITE_FULL:
      return errors::DiskFull(FindFailure(db, database).file);
    case SQLITE_IOERR:
      return FileError(db, result, message, database);
    case SQLITE_READONLY:
      return errors::ReadOnly(database.string());
    case SQLITE_CANTOPEN: {
      const int reason = sqlite3_system_errno(db);
      return errors::Storage("a file could not be opened for '" + database.string() + "'" +
                             (reason != 0 ? std::string(": ") + std::strerror(reason) : ""));
    }
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      if (IsFailedRead(db, result) || !IsReadable(db)) {
        return FileError(db, SQLITE_IOERR_READ, kIoError, database);
      }
      tempdb_damaged = IsTempdbDamaged(db);
      return tempdb_damaged ? errors::TempdbDamaged(TempdbPath(database).string())
                            : errors::Damaged(database.string());
    case SQLITE_ERROR:
      return errors::TooComplex(message, {});
    default:
      return errors::Storage(message);
  }
}

bool IsFailedRead(sqlite3* db, int result) {
  if ((result & 0xFF) != SQLITE_CORRUPT && (result & 0xFF) != SQLITE_NOTADB) return false;
  for (const char* schema : {"main", "tempdb"}) {
    if (ReasonOf(db, schema, false) == EIO || ReasonOf(db, schema, true) == EIO) return true;
  }
  return false;
}

std::string FailureText(sqlite3* db) {
  if (db == nullptr) return "out of memory";
  std::string text = IsFailedRead(db, sqlite3_errcode(db)) ? kIoError : sqlite3_errmsg(db);
  int reason = sqlite3_system_errno(db);
  for (const bool log : {true, false}) {
    if (reason == 0) reason = ReasonOf(db, "main", log);
  }
  return reason == 0 ? text : text.append(": ").append(std::strerror(reason));
}

}  // namespace ledgerwick::tsql
