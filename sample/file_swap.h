// A new database that takes another's place only when it is complete.
#pragma once

#include <atomic>
#include <filesystem>
#include <memory>

#include "tsql/storage/database_lock.h"
#include "tsql/storage/fair_lock.h"

namespace ledgerwick::sample {

// A name beside `target` for a database in the making. Unless Commit is called, the database, its
// tempdb and whatever the storage puts beside them vanish with the object; what a process leaves
// that is killed goes with the next object for the same target.
class FileSwap {
 public:
  // Throws std::runtime_error when `target` cannot be created: it exists and `force` is false, it
  // is no database of Ledgerwick's or one that somebody uses, or its directory is missing. `cancel`
  // may be null and ends waiting.
  FileSwap(const std::filesystem::path& target, bool force, const std::atomic<bool>* cancel);
  ~FileSwap();
  FileSwap(const FileSwap&) = delete;
  FileSwap& operator=(const FileSwap&) = delete;

  // The name to work under. No file of that name exists.
  const std::filesystem::path& working_path() const { return working_; }

  // The target, without links.
  const std::filesystem::path& target() const { return target_; }

  // Moves the database, which must be closed, to the target, within the database's own locking:
  // whoever has the target open is waited for, a minute at most, and whoever opens it meanwhile
  // gets the new one. However it ends, killed or without power, the target is the old database or
  // the new one, each complete. Its tempdb goes with the old one. Throws std::runtime_error or
  // SqlError; the target is then as before, but perhaps without its tempdb.
  void Commit();

 private:
  void CheckTarget() const;
  void CheckContent() const;
  void ClearLeftovers() const;
  void TakeWorkingName();
  void Replace(bool exists) const;

  std::filesystem::path target_;
  std::filesystem::path working_;
  const std::atomic<bool>* cancel_;
  bool force_;
  // Held while the working name is in use, so that others tell it from a leftover.
  std::unique_ptr<tsql::LockFile> working_lock_;
  std::unique_ptr<tsql::FairLock> in_making_;
};

}  // namespace ledgerwick::sample
