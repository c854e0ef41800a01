#include "tsql/storage/application_locks.h"

#include <algorithm>
#include <array>

namespace ledgerwick::tsql {
namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned BitOf(ApplicationLockMode mode) noexcept {
  return 1U << static_cast<unsigned>(mode);
}

// The modes of others that are in the way of each mode.
constexpr std::array<unsigned, kApplicationLockModes> Conflicts() {
  using enum ApplicationLockMode;
  const unsigned exclusive = BitOf(Exclusive);
  return {exclusive,                                           // IntentShared
          BitOf(IntentExclusive) | exclusive,                  // Shared
          BitOf(Update) | BitOf(IntentExclusive) | exclusive,  // Update
          BitOf(Shared) | BitOf(Update) | exclusive,           // IntentExclusive
          BitOf(IntentShared) | BitOf(Shared) | BitOf(Update) | BitOf(IntentExclusive) | exclusive};
}

// The byte that everyone has locked who holds the name in that mode; behind them, who looks.
off_t ByteOf(const LockSubject& subject, std::size_t mode) noexcept {
  return subject.end() + static_cast<off_t>(mode);
}

}  // namespace

std::vector<ApplicationLocks::Held>::iterator ApplicationLocks::Find(const std::string& name,
                                                                     ApplicationLockOwner owner) {
  return std::find_if(held_.begin(), held_.end(),
                      [&](const Held& held) { return held.owner == owner && held.name == name; });
}

bool ApplicationLocks::IsFree(const LockSubject& subject, ApplicationLockMode mode) const {
  const unsigned conflicts = Conflicts()[static_cast<std::size_t>(mode)];
  for (std::size_t other = 0; other < kApplicationLockModes; ++other) {
    const off_t byte = ByteOf(subject, other);
    if ((conflicts >> other & 1U) != 0 && file_->IsLocked(byte, byte + 1)) return false;
  }
  return true;
}

// Locks the name where nobody is in the way. Only one at a time looks, so that no two are granted
// what excludes each other.
ApplicationLocks::Outcome ApplicationLocks::TryLock(const LockSubject& subject,
                                                    ApplicationLockMode mode) {
  const off_t look = ByteOf(subject, kApplicationLockModes);
  if (!file_->TryLock(look, true)) return Outcome::OtherLooks;
  const bool free = IsFree(subject, mode);
  // Against those who lock against everyone: whoever else holds this mode locks the byte too.
  if (free) file_->TryLock(ByteOf(subject, static_cast<std::size_t>(mode)), false);
  file_->Unlock(look);
  return free ? Outcome::Locked : Outcome::InTheWay;
}

ApplicationLocks::Answer ApplicationLocks::Take(const std::string& name, ApplicationLockMode mode,
                                                ApplicationLockOwner owner,
                                                std::optional<std::chrono::milliseconds> wait,
                                                const DatabaseOptions& options) {
  // Who does not want to wait is still given the moment that another takes to look.
  constexpr auto kOthersLook = std::chrono::milliseconds(50);
  if (!file_) file_ = std::make_unique<LockFile>(beside_);
  const auto now = Clock::now();
  const auto is_over = [&](std::chrono::milliseconds least) {
    return wait && Clock::now() - now >= std::max(*wait, least);
  };
  const LockSubject subject = LockSubject::Application(name);
  FairLock turn(*file_, subject, name);
  Answer answer = Answer::Granted;
  const bool holds_some =
      std::any_of(held_.begin(), held_.end(), [&](const Held& held) { return held.name == name; });
  // Those who wait may wait for this session: what it holds already lets it go before them.
  if (!holds_some && !turn.TryAcquire()) {
    const auto until = wait ? std::optional(now + std::max(*wait, kOthersLook)) : std::nullopt;
    if (!turn.AcquireBy(until, options)) return Answer::NotInTime;
    answer = Answer::GrantedAfterWait;
  }
  for (Outcome outcome; (outcome = TryLock(subject, mode)) != Outcome::Locked;) {
    if (outcome == Outcome::InTheWay) answer = Answer::GrantedAfterWait;
    if (is_over(outcome == Outcome::InTheWay ? std::chrono::milliseconds(0) : kOthersLook)) {
      return Answer::NotInTime;
    }
    FairLock::Pause(options);
  }
  auto held = Find(name, owner);
  if (held == held_.end()) held = held_.insert(held_.end(), {name, owner, 0, 0});
  held->modes |= BitOf(mode);
  ++held->count;
  return answer;
}

bool ApplicationLocks::Release(const std::string& name, ApplicationLockOwner owner) {
  const auto held = Find(name, owner);
  if (held == held_.end()) return false;
  if (--held->count == 0) GiveUp(held);
  return true;
}

void ApplicationLocks::ReleaseTransaction() noexcept {
  for (std::size_t i = held_.size(); i-- > 0;) {
    if (held_[i].owner == ApplicationLockOwner::Transaction) {
      GiveUp(held_.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
}

// What the session's other owner holds of the name stays.
void ApplicationLocks::GiveUp(std::vector<Held>::iterator held) noexcept {
  const LockSubject subject = LockSubject::Application(held->name);
  unsigned gone = held->modes;
  for (const Held& other : held_) {
    if (&other != &*held && other.name == held->name) gone &= ~other.modes;
  }
  for (std::size_t mode = 0; mode < kApplicationLockModes; ++mode) {
    if ((gone >> mode & 1U) != 0) file_->Unlock(ByteOf(subject, mode));
  }
  held_.erase(held);
}

}  // namespace ledgerwick::tsql
