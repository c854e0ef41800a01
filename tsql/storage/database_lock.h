// Who uses a database, and who has it alone.
//
// Every open database holds a lock for its life, before it opens SQLite's files. Whoever replaces
// the database or makes its tempdb anew needs the database alone; those who come meanwhile wait.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "tsql/base/options.h"
#include "tsql/storage/lock_file.h"

namespace ledgerwick::tsql {

class DatabaseLock {
 public:
  // Waits, at most options.lock_wait, while someone has the database alone. Has it alone itself if
  // nobody uses it. `database` has no links in it. Throws SqlError 1222, 823, or that the wait was
  // cancelled.
  DatabaseLock(const std::filesystem::path& database, const DatabaseOptions& options);

  // The lock of a database that has a lock file already; nothing for one that has none, which
  // nobody uses.
  static std::optional<DatabaseLock> OfExisting(const std::filesystem::path& database,
                                                const DatabaseOptions& options);

  bool alone() const noexcept { return alone_; }

  // Gives up the use and waits, at most options.lock_wait, until nobody uses the database; has it
  // alone then. Returns false when others still use it: the lock is nobody's then. Throws SqlError
  // 823, or that the wait was cancelled.
  bool WaitAlone(const DatabaseOptions& options);

  // Lets others use the database beside this one.
  void Share();

  // Removes the lock file, which does not outlive a database that came to nothing. Only while
  // alone.
  void RemoveFile() noexcept;

  LockFile& file() noexcept { return *file_; }

  // True when a user has found tempdb damaged.
  bool tempdb_damaged() const;

  // Tells whoever has the database alone next that tempdb is damaged.
  void MarkTempdbDamaged();

  // True when tempdb was made since the machine last started, as far as the system tells: what it
  // held before may have been lost in part.
  bool tempdb_of_this_start() const;

  // Tells that tempdb has been made now. Only while alone.
  void MarkTempdbMade();

 private:
  bool Wait(const DatabaseOptions& options, bool share);

  std::filesystem::path database_;
  std::unique_ptr<LockFile> file_;
  bool alone_ = false;
};

// The database that has `path` among its files, be it the database itself or one of the names
// beside it (database_files.h), or an empty path.
std::filesystem::path DatabaseWithFile(const std::filesystem::path& path);

}  // namespace ledgerwick::tsql
