#include "tsql/storage.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <thread>

#include "tsql/catalogue.h"
#include "tsql/errors.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;

constexpr int kApplicationId = 0x4C656467;
constexpr int kInstructionsPerCheck = 20'000;
constexpr std::size_t kSqliteHeader = 16;

// Nobody asks SQLite how much memory it uses, and counting it takes a lock for every allocation. An
// application that has SQLite running already keeps its own setting.
void ConfigureLibrary() {
  static const int result = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
  static_cast<void>(result);
}

// An open failure: the cause and what helps.
[[noreturn]] void Refuse(const fs::path& path, const std::string& why) {
  const std::string text = "Cannot open database '" + path.string() + "': " + why;
  DatabaseError error(kErrorFailed, u"Ledgerwick",
                      TryFromUtf8(text).value_or(u"Cannot open the database."));
  error.native = 4060;  // the server's number for a database that cannot be opened
  throw error;
}

bool IsEmptyOrSqlite(const fs::path& path) {
  std::array<char, kSqliteHeader> header{};
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return true;  // refused later, with its own reason
  const ssize_t size = read(file, header.data(), header.size());
  close(file);
  return size == 0 || std::memcmp(header.data(), "SQLite format 3", kSqliteHeader) == 0;
}

// "table.column" at the end of SQLite's message about a constraint.
std::pair<Text, Text> ConstraintColumn(const std::string& message) {
  const std::string_view name = std::string_view(message).substr(message.rfind(": ") + 2);
  const std::size_t point = name.find('.');
  if (point == std::string_view::npos) return {FromUtf8(name), {}};
  return {FromUtf8(name.substr(0, point)), FromUtf8(name.substr(point + 1))};
}

bool IsUpdate(sqlite3* db) {
  const sqlite3_stmt* statement = sqlite3_next_stmt(db, nullptr);
  for (; statement != nullptr;
       statement = sqlite3_next_stmt(db, const_cast<sqlite3_stmt*>(statement))) {
    const char* sql = sqlite3_sql(const_cast<sqlite3_stmt*>(statement));
    if (sql != nullptr && std::strncmp(sql, "UPDATE", 6) == 0) return true;
  }
  return false;
}

}  // namespace

fs::path Database::TempdbPath(const fs::path& path) {
  fs::path tempdb = path;
  tempdb += ".tempdb";
  return tempdb;
}

Storage::Storage(const fs::path& path, const DatabaseOptions& options)
    : path_(path), options_(options) {
  CheckFiles();
  OpenFiles();
}

Storage::~Storage() = default;

void Storage::CheckFiles() const {
  std::error_code ignored;
  const bool exists = fs::exists(path_, ignored);
  if (options_.create && exists) Refuse(path_, "the file exists already.");
  if (!options_.create && !exists) {
    Refuse(path_,
           "there is no such file. `ledgerwick sample create PATH` makes a sample database.");
  }
  if (fs::is_directory(path_, ignored)) Refuse(path_, "it is a directory, not a database file.");
  if (exists && access(path_.c_str(), R_OK) != 0) {
    Refuse(path_, std::string(std::strerror(errno)) + ". Ask its owner for permission to read it.");
  }
  if (exists && !IsEmptyOrSqlite(path_)) {
    Refuse(path_, "the file is not a database. Check the path.");
  }
  if (exists && access(path_.c_str(), W_OK) != 0) {
    Refuse(path_,
           std::string(std::strerror(errno)) + ". Ask its owner for permission to write it.");
  }
  const fs::path directory = path_.has_parent_path() ? path_.parent_path() : fs::path(".");
  if (!fs::is_directory(directory, ignored)) {
    Refuse(path_, "there is no directory '" + directory.string() + "'.");
  }
  if (access(directory.c_str(), W_OK) != 0) {
    Refuse(path_, "the directory '" + directory.string() + "' cannot be written (" +
                      std::strerror(errno) +
                      "), and the database keeps its tempdb there. Copy the database into a "
                      "directory of your own.");
  }
}

void Storage::OpenFiles() {
  ConfigureLibrary();
  sqlite3* db = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(path_.c_str(), &db, flags, nullptr);
  db_.reset(db);
  if (result != SQLITE_OK) Refuse(path_, std::string(sqlite3_errmsg(db)) + ".");
  sqlite3_extended_result_codes(db, 1);
  sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
  sqlite3_busy_handler(db, &Storage::OnBusy, this);
  sqlite3_progress_handler(db, kInstructionsPerCheck, &Storage::OnProgress, this);
  try {
    RegisterFunctions(db, functions_);
    const std::string tempdb = Database::TempdbPath(path_).string();
    Execute("ATTACH " + QuoteLiteral(tempdb) + " AS tempdb");
    SetUp("main", 4096);
    // Reports' rows are wide and are written and read one after another.
    SetUp("tempdb", 16384);
    Execute("PRAGMA main.synchronous = NORMAL");
    // What is in tempdb is made afresh by the next run.
    Execute("PRAGMA tempdb.synchronous = OFF");
    Execute("PRAGMA main.cache_size = -65536");
    Execute("PRAGMA tempdb.cache_size = -32768");
    Execute("PRAGMA temp_store = FILE");
  } catch (const SqlError& error) {
    Refuse(path_, error.message);
  }
}

// Makes a new file a database of ours, and refuses one that is not.
void Storage::SetUp(const char* schema, int page_size) {
  const std::string prefix = std::string("PRAGMA ") + schema + ".";
  SqliteStatement id = Prepare(prefix + "application_id");
  const bool ours = Step(id.get()) && sqlite3_column_int(id.get(), 0) == kApplicationId;
  id.reset();
  if (ours) return;
  SqliteStatement pages = Prepare(prefix + "page_count");
  const bool empty = Step(pages.get()) && sqlite3_column_int(pages.get(), 0) == 0;
  pages.reset();
  if (!empty) Refuse(path_, "the file is an SQLite database, but not one of Ledgerwick's.");
  Execute(prefix + "page_size = " + std::to_string(page_size));
  // Readers go on while one connection writes.
  Execute(prefix + "journal_mode = WAL");
  Transaction transaction(*this);
  Execute(std::string("CREATE TABLE IF NOT EXISTS ") + schema + "." + kModulesTable +
          " (name TEXT NOT NULL, kind TEXT NOT NULL, definition TEXT NOT NULL)");
  Execute(prefix + "application_id = " + std::to_string(kApplicationId));
  transaction.Commit();
}

int Storage::OnBusy(void* self, int count) {
  auto& storage = *static_cast<Storage*>(self);
  const auto now = std::chrono::steady_clock::now();
  if (count == 0) storage.wait_start_ = now;
  if (now - storage.wait_start_ >= storage.options_.lock_wait) return 0;
  if (OnProgress(self) != 0) return 0;
  constexpr auto kPause = std::chrono::milliseconds(5);
  std::this_thread::sleep_for(kPause);
  return 1;
}

int Storage::OnProgress(void* self) {
  const auto& options = static_cast<Storage*>(self)->options_;
  if (options.progress) options.progress();
  return options.cancel != nullptr && options.cancel->load() ? 1 : 0;
}

void Storage::CheckCancelled() const {
  if (options_.cancel != nullptr && options_.cancel->load()) throw errors::Cancelled();
}

SqliteStatement Storage::Prepare(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  const int result =
      sqlite3_prepare_v2(db(), sql.c_str(), static_cast<int>(sql.size() + 1), &statement, nullptr);
  if (result != SQLITE_OK) Fail(result);
  return SqliteStatement(statement);
}

bool Storage::Step(sqlite3_stmt* statement) {
  const int result = sqlite3_step(statement);
  if (result == SQLITE_ROW) return true;
  if (result == SQLITE_DONE) return false;
  Fail(result);
}

std::int64_t Storage::Execute(const std::string& sql) {
  const SqliteStatement statement = Prepare(sql);
  while (Step(statement.get())) {
  }
  return sqlite3_changes64(db());
}

void Storage::Fail(int result) {
  if (functions_.error) {
    const SqlError error = *functions_.error;
    functions_.error.reset();
    throw error;
  }
  const std::string message = sqlite3_errmsg(db());
  const bool cancelled = options_.cancel != nullptr && options_.cancel->load();
  const int system_error = sqlite3_system_errno(db());
  switch (result) {
    case SQLITE_CONSTRAINT_NOTNULL: {
      const auto [table, column] = ConstraintColumn(message);
      throw errors::NullNotAllowed(column, table, !IsUpdate(db()));
    }
    case SQLITE_CONSTRAINT_PRIMARYKEY:
    case SQLITE_CONSTRAINT_ROWID:
      throw errors::DuplicateKey(ConstraintColumn(message).first, true);
    case SQLITE_CONSTRAINT_UNIQUE:
      throw errors::DuplicateKey(ConstraintColumn(message).first, false);
    default:
      break;
  }
  switch (result & 0xFF) {
    case SQLITE_INTERRUPT:
      throw errors::Cancelled();
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      if (cancelled) throw errors::Cancelled();
      throw errors::LockTimeout(
          path_.string(),
          std::chrono::duration_cast<std::chrono::seconds>(options_.lock_wait).count());
    case SQLITE_FULL:
      throw errors::DiskFull(path_.string());
    case SQLITE_IOERR:
      if (system_error == ENOSPC || system_error == EFBIG || system_error == EDQUOT) {
        throw errors::DiskFull(path_.string());
      }
      throw errors::Storage(message + " (" + std::strerror(system_error) + ")");
    case SQLITE_ERROR:
      if (message == "integer overflow") throw errors::Overflow(u"int");
      throw errors::TooComplex(message, {});
    default:
      throw errors::Storage(message);
  }
}

Transaction::Transaction(Storage& storage) : storage_(storage) {
  storage_.Execute("SAVEPOINT statement");
}

Transaction::~Transaction() {
  if (!open_) return;
  // A failure has often ended the transaction already; then there is nothing to take back.
  sqlite3_exec(storage_.db(), "ROLLBACK TO statement; RELEASE statement", nullptr, nullptr,
               nullptr);
}

void Transaction::Commit() {
  storage_.Execute("RELEASE statement");
  open_ = false;
}

}  // namespace ledgerwick::tsql
