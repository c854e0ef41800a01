// The errors of variables, control flow, procedures and transactions.
#include <utility>

#include "tsql/base/error_table.h"

namespace ledgerwick::tsql::errors {

using error_table::Make;

constexpr std::int32_t kLeastResourceSeverity = 17;
constexpr std::int32_t kLeastFatalSeverity = 20;

SqlError TextVariable(Position at) { return Make<2739>(at); }

SqlError OutsideLoop(bool is_break, Position at) {
  return is_break ? Make<135>(at) : Make<136>(at);
}

SqlError ReturnWithValue(Position at) { return Make<178>(at); }
SqlError NotFirstInBatch(Position at) { return Make<111>(at); }
SqlError OutputOfConstant(Position at) { return Make<179>(at); }
SqlError NoProcedure(TextView name, Position at) { return Make<2812>(at, name); }

SqlError ParameterMissing(TextView procedure, TextView parameter) {
  return Make<201>({}, procedure, parameter);
}

SqlError TooManyArguments(TextView procedure) { return Make<8144>({}, procedure); }

SqlError NoSuchParameter(TextView parameter, TextView procedure) {
  return Make<8145>({}, parameter, procedure);
}

SqlError ParameterTwice(TextView parameter, TextView procedure) {
  return Make<8143>({}, parameter, procedure);
}

SqlError PositionalAfterNamed(std::size_t argument, Position at) { return Make<119>(at, argument); }
SqlError NotOutput(TextView parameter) { return Make<8162>({}, parameter); }
SqlError CallsTooDeep() { return Make<217>({}); }
SqlError NoTransaction(bool commit) { return commit ? Make<3902>({}) : Make<3903>({}); }

SqlError SaveOutsideTransaction() { return Make<628>({}); }
SqlError NoSavePoint(std::string_view name) { return Make<6401>({}, name); }
SqlError OutsideTransaction() { return Make<3918>({}); }

SqlError ApplicationLockNotHeld(TextView principal, TextView resource) {
  return Make<1223>({}, principal, resource);
}

SqlError BadApplicationLock(LockArgument argument, TextView procedure) {
  switch (argument) {
    case LockArgument::Resource:
      return Make<1224>({}, procedure);
    case LockArgument::Mode:
      return Make<1225>({}, procedure);
    case LockArgument::Owner:
      return Make<1226>({}, procedure);
    case LockArgument::Wait:
      return Make<1227>({}, procedure);
    case LockArgument::Principal:
      break;
  }
  return Make<1230>({}, procedure);
}

SqlError TransactionCount(std::int64_t before, std::int64_t after) {
  return Make<266>({}, before, after);
}

SqlError Raised(std::int32_t number, std::int32_t severity, std::int32_t state,
                std::string message) {
  SqlError error = Make<50000>({}, message);
  error.number = number;
  error.severity = severity;
  error.state = state;
  if (severity >= kLeastResourceSeverity) error.result = kErrorFailed;
  if (severity >= kLeastFatalSeverity) error.reach = Reach::Batch;
  return error;
}

SqlError Information(std::int32_t number, std::string message) {
  return Raised(number, 0, 1, std::move(message));
}

SqlError NoSuchMessage(std::int32_t number, std::int32_t severity, std::int32_t state) {
  return Make<18054>({}, number, severity, state);
}

SqlError TooManyRaiseArguments(Position at) { return Make<2747>(at); }
SqlError SeverityWithoutLog(Position at) { return Make<2754>(at); }

SqlError OptionNotSupported(const Text& option, const Text& usual, Position at) {
  return Make<40517>(at, option, usual);
}

SqlError ThrowOutsideCatch() { return Make<10704>({}); }
SqlError ThrowNumber(std::int64_t number) { return Make<35100>({}, number); }

SqlError NoDatabase(TextView name, Position at) { return Make<911>(at, name); }

}  // namespace ledgerwick::tsql::errors
