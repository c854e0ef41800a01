// Locks on names that only mean something to the applications which ask for them (sp_getapplock).
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tsql/base/options.h"
#include "tsql/storage/fair_lock.h"
#include "tsql/storage/lock_file.h"

namespace ledgerwick::tsql {

enum class ApplicationLockMode : std::uint8_t {
  IntentShared,
  Shared,
  Update,
  IntentExclusive,
  Exclusive
};
inline constexpr std::size_t kApplicationLockModes = 5;

enum class ApplicationLockOwner : std::uint8_t { Session, Transaction };

// The application locks of one session, held against every session of every process that uses the
// database. They end with the object, however the process ends. Who asks while others wait for the
// same name waits behind them, unless it holds the name already.
class ApplicationLocks {
 public:
  enum class Answer : std::uint8_t { Granted, GrantedAfterWait, NotInTime };

  // Of the database that `beside` (Storage::beside) stands for.
  explicit ApplicationLocks(std::filesystem::path beside) : beside_(std::move(beside)) {}

  // Locks `name` for `owner`, beside what it holds of it already, and counts once more how often it
  // asked. Waits at most `wait`, for ever without one. What the session itself holds is never in
  // its way. Throws SqlError 823, or that the wait was cancelled.
  Answer Take(const std::string& name, ApplicationLockMode mode, ApplicationLockOwner owner,
              std::optional<std::chrono::milliseconds> wait, const DatabaseOptions& options);

  // Takes one asking of `owner` for `name` back; the lock goes with the last. False when it holds
  // none.
  bool Release(const std::string& name, ApplicationLockOwner owner);

  // Gives up what the transaction holds, which has ended.
  void ReleaseTransaction() noexcept;

 private:
  struct Held {
    std::string name;
    ApplicationLockOwner owner;
    unsigned modes;  // bits
    int count;
  };

  std::vector<Held>::iterator Find(const std::string& name, ApplicationLockOwner owner);
  enum class Outcome : std::uint8_t { Locked, InTheWay, OtherLooks };
  Outcome TryLock(const LockSubject& subject, ApplicationLockMode mode);
  bool IsFree(const LockSubject& subject, ApplicationLockMode mode) const;
  void GiveUp(std::vector<Held>::iterator held) noexcept;

  std::filesystem::path beside_;
  std::unique_ptr<LockFile> file_;  // once a lock was asked for
  std::vector<Held> held_;
};

}  // namespace ledgerwick::tsql
