// The two SQLite files of an embedded database and how statements run on them.
#pragma once

#include <chrono>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>

#include "tsql/base/callers_exception.h"
#include "tsql/base/errors.h"
#include "tsql/base/options.h"
#include "tsql/storage/database_lock.h"
#include "tsql/storage/fair_lock.h"
#include "tsql/storage/register_functions.h"
#include "tsql/storage/sqlite.h"
#include "tsql/storage/tempdb.h"

namespace ledgerwick::tsql {

// A row that a constraint of the storage's refuses. Which row and which constraint, who ran the
// statement finds out.
struct ConstraintFailure : SqlError {
  ConstraintFailure() : SqlError(errors::ConstraintViolated()) {}
};

// An open database with its tempdb attached. Every failure is a SqlError with the server's number.
//
// Whoever writes has a turn first: one for the books, one for tempdb, each in the order in which
// writers came. A statement outside BEGIN TRAN writes to one file; BEGIN TRAN takes the turn for
// the books and then the one for tempdb, and nobody who has the latter asks for the former: they
// cannot wait for each other in a circle. A turn ends with its transaction.
class Storage {
 public:
  // Throws DatabaseError that says which file could not be opened, why, and what helps.
  Storage(const std::filesystem::path& path, const DatabaseOptions& options);

  // Gives tempdb's free space back where there is much of it and nobody is writing.
  ~Storage();
  Storage(const Storage&) = delete;
  Storage& operator=(const Storage&) = delete;

  sqlite3* db() const noexcept { return db_.get(); }

  // The main file, without links.
  const std::filesystem::path& path() const noexcept { return path_; }
  const DatabaseOptions& options() const noexcept { return options_; }

  // What tempdb and the locks are called after: the main file or, where that is only read, a name
  // in the folder that stands in for its own.
  const std::filesystem::path& beside() const noexcept { return beside_; }

  // How long statements wait from now on; nothing for as long as the database was opened with.
  void SetLockWait(std::optional<std::chrono::milliseconds> wait) noexcept {
    options_.lock_wait = wait.value_or(usual_lock_wait_);
  }

  SqliteStatement Prepare(const std::string& sql);

  // True while there is a row. Throws the statement's error, 8115 where a float has overflowed, and
  // what kept the collation from comparing (collation.h); a statement that ends with one of the
  // latter two has taken effect already, so changes stand in a Transaction.
  bool Step(sqlite3_stmt* statement);

  // Runs statements that give no rows. Returns how many rows the last of them changed.
  std::int64_t Execute(const std::string& sql);

  // What the functions of its statements share; the caller may tell it what it knows.
  FunctionState& functions() noexcept { return functions_; }

  // Throws the error of a cancelled batch if it is cancelled.
  void CheckCancelled() const;

  // Calls back whoever shows progress.
  void ShowProgress() const {
    if (options_.progress) CallBack(options_.progress);
  }

  // Throws the error of the operation that failed last.
  [[noreturn]] void Fail(int result);

  // Ends the turns whose transactions have ended, for who ends one without Step.
  void EndTurns() noexcept;

 private:
  // storage_open.cpp
  void CheckFiles() const;
  void CheckContent() const;
  // What in the files has to be mended before use and cannot be while others use the database;
  // these three.
  std::optional<SqlError> OpenFiles();
  std::optional<SqlError> SettleTextOrder();
  std::optional<SqlError> OpenTempdb();
  void OpenMain();
  void OpenMainToRead();
  void OpenFile(const std::string& name, int flags);
  bool CanRead();
  void SetUpMain();
  void CheckFormat();
  void SetUp(const char* schema, int page_size);
  void MakeTempdb();
  void CloseFiles() noexcept;
  void Note(const std::string& text) const;

  void TakeTurns(sqlite3_stmt* statement);
  static int OnBusy(void* self, int count);
  static int OnProgress(void* self) noexcept;
  void LimitDepth();

  bool OnlyReadsFile() const noexcept { return !options_.read_only_with.empty(); }

  std::filesystem::path path_;
  DatabaseOptions options_;
  std::filesystem::path beside_;
  std::chrono::milliseconds usual_lock_wait_ = options_.lock_wait;
  FunctionState functions_;
  std::chrono::steady_clock::time_point wait_start_;
  std::exception_ptr callers_exception_;  // of `progress`, thrown while SQLite ran
  std::optional<DatabaseLock> lock_;
  std::optional<FairLock> main_turn_;
  std::optional<FairLock> tempdb_turn_;
  SqliteHandle db_;
};

// Everything that runs while it lives happens or, unless Commit is called, does not.
class Transaction {
 public:
  explicit Transaction(Storage& storage);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  void Commit();

 private:
  Storage& storage_;
  bool open_ = true;
};

}  // namespace ledgerwick::tsql
