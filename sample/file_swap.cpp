#include "sample/file_swap.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "tsql/base/errors.h"
#include "tsql/storage/database_files.h"
#include "tsql/storage/sqlite.h"
#include "tsql/storage/storage_error.h"

namespace ledgerwick::sample {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPartial = ".partial-";

bool Exists(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

bool HasContent(const fs::path& path) {
  std::error_code missing;
  const auto size = fs::file_size(path, missing);
  return !missing && size > 0;
}

fs::path WithoutLinks(const fs::path& path) {
  std::error_code failure;
  fs::path real = fs::weakly_canonical(path, failure);
  return failure ? path : real;
}

[[noreturn]] void InUse(const fs::path& target) {
  throw std::runtime_error(target.string() +
                           " is in use and was not replaced; end what uses it and try again");
}

[[noreturn]] void CannotMove(const fs::path& target, const std::string& why) {
  throw std::runtime_error("the complete sample database could not be moved to " + target.string() +
                           ": " + why);
}

std::unique_ptr<tsql::FairLock> MakingOf(tsql::LockFile& file) {
  return std::make_unique<tsql::FairLock>(file, tsql::LockSubject::LeaseOf(u"in the making"), "");
}

// True when there is another process of the number at the end of that name.
bool IsProcess(const fs::path& working) {
  const std::string name = working.string();
  const int number = std::atoi(name.c_str() + name.find_last_not_of("0123456789") + 1);
  return number != ::getpid() && (::kill(number, 0) == 0 || errno != ESRCH);
}

void RemoveAll(const fs::path& database) noexcept try {
  tsql::RemoveFile(database);
  tsql::RemoveFile(tsql::TempdbPath(database));
} catch (const std::bad_alloc&) {
  // The next one clears away what stays.
}

// Brings what a killed process has left in the log into the file itself: from then on the file
// alone is the database.
void SettleLog(const fs::path& database) {
  sqlite3* opened = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
  int result = sqlite3_open_v2(database.c_str(), &opened, flags, nullptr);
  {
    const tsql::SqliteHandle db(opened);
    if (result == SQLITE_OK) {
      result = sqlite3_exec(opened, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr);
    }
    if (result != SQLITE_OK) CannotMove(database, tsql::FailureText(opened));
  }
  const fs::path log = tsql::WithSuffix(database, "-wal");
  if (HasContent(log)) CannotMove(database, log.string() + " is still needed by the old one");
}

// The new name is to outlast a power failure; where the system cannot promise it, it still holds.
void SyncFolder(const fs::path& folder) noexcept {
  const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (file < 0) return;
  fsync(file);
  close(file);
}

}  // namespace

FileSwap::FileSwap(const fs::path& target, bool force, const std::atomic<bool>* cancel)
    : target_(WithoutLinks(target)), cancel_(cancel), force_(force) {
  CheckTarget();
  ClearLeftovers();
  TakeWorkingName();
}

FileSwap::~FileSwap() {
  RemoveAll(working_);
  ::unlink(working_lock_->path().c_str());
}

void FileSwap::CheckTarget() const {
  const std::string name = target_.string();
  const std::string obstacle = tsql::ObstacleAt(target_, false);
  if (!obstacle.empty()) {
    throw std::runtime_error(name + " is " + obstacle +
                             ", not a file; name a file for the sample database");
  }
  const fs::path directory = fs::absolute(target_).parent_path();
  std::error_code ignored;
  if (!fs::is_directory(directory, ignored)) {
    throw std::runtime_error("there is no directory " + directory.string() + " for " + name +
                             "; create it first");
  }
  if (const fs::path owner = tsql::DatabaseWithFile(target_); !owner.empty() && owner != target_) {
    throw std::runtime_error(name + " is a name that the database " + owner.string() +
                             " needs; choose another");
  }
  const auto lock = tsql::DatabaseLock::OfExisting(target_, {});
  CheckContent();
  if (lock && !lock->alone()) InUse(target_);
}

// Whoever calls it keeps the target in its place.
void FileSwap::CheckContent() const {
  if (!Exists(target_)) return;
  const std::string name = target_.string();
  if (!force_) {
    throw std::runtime_error(name +
                             " exists already; choose another name, or replace it with --force");
  }
  std::string why;
  const tsql::FileContent content = tsql::ContentOf(target_, &why);
  if (content == tsql::FileContent::Unknown) {
    throw std::runtime_error(name + " could not be read and was not replaced: " + why);
  }
  if (content != tsql::FileContent::Ours && content != tsql::FileContent::Empty) {
    throw std::runtime_error(name +
                             " is no database of Ledgerwick's and was not replaced; choose "
                             "another name, or remove it yourself");
  }
}

// Removes what processes have left that were killed while they made this target.
void FileSwap::ClearLeftovers() const {
  const std::string start = target_.filename().string() + kPartial;
  std::map<fs::path, std::vector<fs::path>> leftovers;  // with all that belongs to each
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(target_.parent_path(), ignored)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with(start)) continue;
    const std::size_t end = name.find_first_not_of("0123456789", start.size());
    leftovers[target_.parent_path() / name.substr(0, end)].push_back(entry.path());
  }
  tsql::DatabaseOptions at_once;
  at_once.lock_wait = {};
  for (const auto& [leftover, files] : leftovers) {
    try {
      tsql::DatabaseLock lock(leftover, at_once);
      if (!lock.alone() || !MakingOf(lock.file())->TryAcquire()) continue;
      RemoveAll(leftover);
      // Files that were not given their name yet, unless their process is about to do so; the lock
      // file goes last.
      const bool lives = IsProcess(leftover);
      for (const fs::path& file : files) {
        if (!lives && file != lock.file().path()) ::unlink(file.c_str());
      }
      lock.RemoveFile();
    } catch (const tsql::SqlError&) {
      // Somebody else's: it stays.
    }
  }
}

void FileSwap::TakeWorkingName() {
  working_ = tsql::WithSuffix(target_, (kPartial + std::to_string(::getpid())).c_str());
  do {  // until no other has cleared the name away meanwhile
    working_lock_ = std::make_unique<tsql::LockFile>(working_);
    in_making_ = MakingOf(*working_lock_);
    if (!in_making_->TryAcquire()) {
      throw std::runtime_error(target_.string() + " is being made by this process already");
    }
  } while (!working_lock_->IsCurrent());
  RemoveAll(working_);
}

void FileSwap::Commit() {
  if (HasContent(tsql::WithSuffix(working_, "-wal"))) {
    CannotMove(target_, "it was not written to the end");
  }
  tsql::DatabaseOptions wait;
  wait.cancel = cancel_;
  tsql::DatabaseLock lock(target_, wait);
  if (!lock.WaitAlone(wait)) InUse(target_);
  const bool exists = Exists(target_);
  try {
    CheckContent();  // it may have become another since
    if (exists) SettleLog(target_);
    Replace(exists);
  } catch (...) {
    if (!Exists(target_)) lock.RemoveFile();
    throw;
  }
}

// Only while alone. Each step leaves a database that is whole: tempdb need not last, the log that
// goes is empty or nobody's, and the new file takes the name at once.
void FileSwap::Replace(bool exists) const {
  int reason = tsql::RemoveFile(tsql::TempdbPath(target_));
  if (reason != 0)
    CannotMove(target_, std::string("its old tempdb stays: ") + std::strerror(reason));
  for (const fs::path& log : tsql::EngineCompanions(target_)) ::unlink(log.c_str());
  SyncFolder(target_.parent_path());
  const unsigned flags = exists ? 0 : RENAME_NOREPLACE;
  reason =
      ::renameat2(AT_FDCWD, working_.c_str(), AT_FDCWD, target_.c_str(), flags) == 0 ? 0 : errno;
  if (reason == EINVAL && !exists) {  // a file system that cannot promise it
    reason = ::rename(working_.c_str(), target_.c_str()) == 0 ? 0 : errno;
  }
  if (reason != 0) CannotMove(target_, std::strerror(reason));
  SyncFolder(target_.parent_path());
}

}  // namespace ledgerwick::sample
