#include "tsql/storage/fair_lock.h"

#include <unistd.h>

#include <cerrno>
#include <thread>

#include "tsql/base/callers_exception.h"
#include "tsql/base/errors.h"

namespace ledgerwick::tsql {
namespace {

using Clock = std::chrono::steady_clock;

constexpr off_t kFirstEntry = LockFile::kEntrySize;
constexpr off_t kLeases = 4096;
constexpr off_t kFirstByte = off_t{1} << 41;  // lower ones are database_lock.cpp's
constexpr off_t kBytes = off_t{1} << 32;      // of a subject
constexpr off_t kFirstApplicationByte = off_t{1} << 46;
constexpr off_t kApplicationBytes = off_t{1} << 17;
constexpr off_t kApplicationLocks = off_t{1} << 44;

// "pid 1234 (ledgerwick) since 123456": no two takings of a lock have the same.
std::string Holder() {
  return "pid " + std::to_string(getpid()) + " (" + program_invocation_short_name + ") since " +
         std::to_string(Clock::now().time_since_epoch().count());
}

// "Process 1234 (ledgerwick)" for an entry that Holder has made.
std::string Told(const std::string& holder) {
  const std::size_t end = holder.rfind(" since ");
  if (!holder.starts_with("pid ") || end == std::string::npos) return "Another process";
  return "Process " + holder.substr(4, end - 4);
}

// Lets go of a place in the queue.
class Place {
 public:
  Place(LockFile& file, off_t ticket) : file_(file), ticket_(ticket) {}
  ~Place() { file_.Unlock(ticket_); }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

 private:
  LockFile& file_;
  off_t ticket_;
};

}  // namespace

LockSubject LockSubject::LeaseOf(TextView table) {
  std::uint32_t hash = 2166136261U;
  for (const char16_t c : FoldText(table)) hash = (hash ^ c) * 16777619U;
  return Numbered(2 + static_cast<off_t>(hash) % kLeases);
}

LockSubject LockSubject::Application(std::string_view name) {
  std::uint64_t hash = 14695981039346656037U;
  for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  const auto number = static_cast<off_t>(hash % std::uint64_t{kApplicationLocks});
  const off_t holder = kFirstApplicationByte + number * kApplicationBytes;
  return {Numbered(2 + kLeases).entry(), holder, holder + kApplicationBytes / 2};
}

LockSubject LockSubject::Numbered(off_t number) {
  const off_t holder = kFirstByte + number * kBytes;
  return {kFirstEntry + number * LockFile::kEntrySize, holder, holder + kBytes};
}

// Takes the lock if no byte of the queue before `ticket` is locked.
bool FairLock::TakeFirst(off_t ticket) {
  if (file_.IsLocked(subject_.queue(), ticket) || !file_.TryLock(subject_.holder(), true)) {
    return false;
  }
  held_ = true;
  file_.Write(subject_.entry(), Holder());
  return true;
}

bool FairLock::TryAcquire() { return held_ || TakeFirst(subject_.end()); }

// A place behind everyone who waits.
off_t FairLock::Enqueue() {
  for (;;) {
    const off_t ticket = file_.EndOfLocks(subject_.queue(), subject_.end());
    if (file_.TryLock(ticket, true)) return ticket;  // else another came at the same time
  }
}

void FairLock::Acquire(const DatabaseOptions& options, const std::function<void()>& on_wait) {
  if (TryAcquire()) return;
  const off_t ticket = Enqueue();
  const Place place(file_, ticket);
  if (TakeFirst(ticket)) return;
  if (on_wait) on_wait();
  WaitInQueue(ticket, options);
}

bool FairLock::AcquireBy(const std::optional<Clock::time_point>& deadline,
                         const DatabaseOptions& options) {
  if (TryAcquire()) return true;
  const off_t ticket = Enqueue();
  const Place place(file_, ticket);
  while (!TakeFirst(ticket)) {
    if (deadline && Clock::now() >= *deadline) return false;
    Pause(options);
  }
  return true;
}

void FairLock::Pause(const DatabaseOptions& options) {
  constexpr auto kPause = std::chrono::milliseconds(5);
  if (options.cancel != nullptr && options.cancel->load()) throw errors::Cancelled();
  if (options.progress) CallBack(options.progress);
  std::this_thread::sleep_for(kPause);
}

void FairLock::WaitInQueue(off_t ticket, const DatabaseOptions& options) {
  std::string holder = file_.Read(subject_.entry());
  for (auto since = Clock::now(); !TakeFirst(ticket);) {
    if (std::string now = file_.Read(subject_.entry()); now != holder) {
      holder = std::move(now);
      since = Clock::now();
    }
    if (Clock::now() - since >= options.lock_wait) {
      throw errors::LockTimeout(Told(holder), what_, options.lock_wait);
    }
    Pause(options);
  }
}

void FairLock::Release() noexcept {
  if (!held_) return;
  held_ = false;
  file_.Unlock(subject_.holder());
}

}  // namespace ledgerwick::tsql
