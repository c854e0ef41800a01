// Locks that go to those who wait for them in the order in which they came.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "frame/text.h"
#include "tsql/base/options.h"
#include "tsql/storage/lock_file.h"

namespace ledgerwick::tsql {

// What a FairLock guards: an entry of the lock file, and bytes of it to lock.
class LockSubject {
 public:
  static LockSubject Main() { return Numbered(0); }
  static LockSubject Tempdb() { return Numbered(1); }
  // Tables whose names meet in one entry wait for each other needlessly, no more.
  static LockSubject LeaseOf(TextView table);
  // Application locks share one entry, which nobody reads. As many bytes as they have modes stand
  // behind end() for each.
  static LockSubject Application(std::string_view name);

  off_t entry() const noexcept { return entry_; }  // its text in the lock file
  off_t holder() const noexcept {
    return holder_;
  }  // the byte of who has it; those who wait
     // have bytes behind it
  off_t queue() const noexcept { return holder() + 1; }
  off_t end() const noexcept { return end_; }

 private:
  LockSubject(off_t entry, off_t holder, off_t end) : entry_(entry), holder_(holder), end_(end) {}
  static LockSubject Numbered(off_t number);

  off_t entry_;
  off_t holder_;
  off_t end_;
};

// One subject's lock. Whoever has to wait locks the first byte behind those of all who wait, and
// has its turn when no byte before it is locked: the queue is made of locks alone, so a process
// that is killed leaves it like any other, and nothing in it can be out of date. Whoever comes
// while others wait joins them, however free the lock is. Not for several threads at once.
class FairLock {
 public:
  // `file` outlives it. `what` stands in the error of a wait that was too long.
  FairLock(LockFile& file, LockSubject subject, std::string what)
      : file_(file), subject_(subject), what_(std::move(what)) {}
  ~FairLock() { Release(); }
  FairLock(const FairLock&) = delete;
  FairLock& operator=(const FairLock&) = delete;

  bool held() const noexcept { return held_; }

  // Takes the lock. Waits while options.lock_wait has not passed since the lock last changed hands;
  // `on_wait` is called once if it has to. Throws SqlError 1222 that names who has it, or that the
  // wait was cancelled.
  void Acquire(const DatabaseOptions& options, const std::function<void()>& on_wait = {});

  // The same, but waits until `deadline`, for ever without one, and returns false then.
  bool AcquireBy(const std::optional<std::chrono::steady_clock::time_point>& deadline,
                 const DatabaseOptions& options);

  // Takes the lock if nobody has it or waits for it.
  bool TryAcquire();

  void Release() noexcept;

  // Lets a moment pass for who waits for others. Throws that the wait was cancelled.
  static void Pause(const DatabaseOptions& options);

 private:
  bool TakeFirst(off_t ticket);
  off_t Enqueue();
  void WaitInQueue(off_t ticket, const DatabaseOptions& options);

  LockFile& file_;
  LockSubject subject_;
  std::string what_;
  bool held_ = false;
};

}  // namespace ledgerwick::tsql
