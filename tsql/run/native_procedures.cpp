// Procedures of the system that no T-SQL could do: sp_getapplock and sp_releaseapplock.
#include <array>
#include <charconv>
#include <chrono>

#include "tsql/base/characters.h"
#include "tsql/run/interpreter.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::int64_t kFailed = -999;
constexpr std::int64_t kNotInTime = -1;
constexpr TextView kEveryone = u"public";

// In the order of ApplicationLockMode.
constexpr std::array<TextView, kApplicationLockModes> kModes = {
    u"IntentShared", u"Shared", u"Update", u"IntentExclusive", u"Exclusive"};

ApplicationLockMode ModeOf(TextView name, TextView procedure) {
  for (std::size_t i = 0; i < kModes.size(); ++i) {
    if (EqualText(kModes[i], name)) return static_cast<ApplicationLockMode>(i);
  }
  throw errors::BadApplicationLock(errors::LockArgument::Mode, procedure);
}

ApplicationLockOwner OwnerOf(TextView name, TextView procedure) {
  if (EqualText(name, u"Session")) return ApplicationLockOwner::Session;
  if (EqualText(name, u"Transaction")) return ApplicationLockOwner::Transaction;
  throw errors::BadApplicationLock(errors::LockArgument::Owner, procedure);
}

// The value of the procedure's parameter `i`.
SqliteValue& ValueOf(Frame& frame, std::int32_t i) { return frame.variables[kSystemVariables + i]; }

Text TextAt(Frame& frame, std::int32_t i) {
  const SqliteValue& value = ValueOf(frame, i);
  return value ? ToText(TextOf(value)) : Text();
}

}  // namespace

// What is wrong with the call is told, and answered with -999.
std::int64_t Interpreter::RunNative(Frame& frame) {
  if (session_.format_only) return 0;
  try {
    return frame.native == NativeProcedure::GetApplicationLock ? GetApplicationLock(frame)
                                                               : ReleaseApplicationLock(frame);
  } catch (SqlError& error) {
    error.position = {1, 0};
    error.level = frame.level;
    error.procedure = frame.procedure;
    if (session_.tries > 0 || !EndsHere(error)) throw;
    Tell(error);
    return kFailed;
  }
}

// What the lock is on: a name of one database, for those of one of its roles. It counts as written.
std::string Interpreter::ApplicationLockName(Frame& frame, TextView resource,
                                             TextView principal) const {
  using errors::LockArgument;
  const Text procedure = ToText(frame.procedure);
  if (resource.empty()) throw errors::BadApplicationLock(LockArgument::Resource, procedure);
  const bool known = EqualText(principal, kEveryone) || EqualText(principal, u"dbo") ||
                     EqualText(principal, u"db_owner");
  if (!known) throw errors::BadApplicationLock(LockArgument::Principal, procedure);
  return std::string(SchemaName(frame.database)) + "\n" + ToUtf8(FoldText(principal)) + "\n" +
         ToUtf8(resource);
}

std::int64_t Interpreter::GetApplicationLock(Frame& frame) {
  enum { kResource, kMode, kOwner, kWait, kPrincipal };
  const Text procedure = ToText(frame.procedure);
  const std::string name =
      ApplicationLockName(frame, TextAt(frame, kResource), TextAt(frame, kPrincipal));
  const ApplicationLockMode mode = ModeOf(TextAt(frame, kMode), procedure);
  const ApplicationLockOwner owner = OwnerOf(TextAt(frame, kOwner), procedure);
  std::int64_t wait = -1;
  if (const SqliteValue& given = ValueOf(frame, kWait)) {
    wait = IntegerOf(given);
  } else {
    const std::string& usual = session_.lock_timeout;
    std::from_chars(usual.data(), usual.data() + usual.size(), wait);
  }
  if (wait < -1) throw errors::BadApplicationLock(errors::LockArgument::Wait, procedure);
  if (owner == ApplicationLockOwner::Transaction && session_.transactions == 0) {
    throw errors::OutsideTransaction();
  }
  const auto most = wait < 0 ? std::nullopt : std::optional(std::chrono::milliseconds(wait));
  switch (locks_.Take(name, mode, owner, most, storage_.options())) {
    case ApplicationLocks::Answer::Granted:
      return 0;
    case ApplicationLocks::Answer::GrantedAfterWait:
      return 1;
    case ApplicationLocks::Answer::NotInTime:
      break;
  }
  return kNotInTime;
}

std::int64_t Interpreter::ReleaseApplicationLock(Frame& frame) {
  enum { kResource, kOwner, kPrincipal };
  const Text resource = TextAt(frame, kResource);
  const Text principal = TextAt(frame, kPrincipal);
  const std::string name = ApplicationLockName(frame, resource, principal);
  const ApplicationLockOwner owner = OwnerOf(TextAt(frame, kOwner), ToText(frame.procedure));
  if (owner == ApplicationLockOwner::Transaction && session_.transactions == 0) {
    throw errors::OutsideTransaction();
  }
  if (!locks_.Release(name, owner)) throw errors::ApplicationLockNotHeld(principal, resource);
  return 0;
}

}  // namespace ledgerwick::tsql
