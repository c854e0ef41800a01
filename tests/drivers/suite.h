// What every driver of frame/database.h owes: one suite, run for each of them.
#pragma once

#include <functional>
#include <memory>
#include <set>

#include "frame/database.h"

namespace ledgerwick::testing {

// What a test of the suite needs of a driver.
enum class Ability {
  Statements,     // what is executed happens, and fails where it must
  Dates,          // a date of a row is a date
  States,         // an operation on a closed or on an open connection is refused
  ClosedCommand,  // a closed connection gives no command
  ParameterType,  // a parameter that is no text is refused when it is appended
};

// A driver, with the abilities that it says it lacks.
struct Driver {
  std::function<std::shared_ptr<Connection>()> make;  // a connection that is not open
  Text connection_string;                             // of an empty database
  std::set<Ability> lacks;
};

// The rows that the suite's query gives, for drivers whose rows are told to them.
struct SuiteRow {
  const char16_t* code;
  Value n;
  double f;
  const char16_t* d;
  bool b;
};
extern const SuiteRow kSuiteRows[4];

// A part of the suite's query that no other has.
inline constexpr TextView kSuiteQuery = u"suite_rows";

// Checks all that the driver does not lack, by doctest.
void CheckDriver(const Driver& driver);

}  // namespace ledgerwick::testing
