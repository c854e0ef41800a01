// Calls of procedures with parameters (RPC), and the batches that they become.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "frame/text.h"
#include "tds/login.h"
#include "tds/parameter.h"

namespace ledgerwick::tds {

// The procedures that go by number.
enum class SystemCall : std::uint16_t {
  None = 0,
  Cursor = 1,
  CursorOpen = 2,
  CursorPrepare = 3,
  CursorExecute = 4,
  CursorPrepareExecute = 5,
  CursorUnprepare = 6,
  CursorFetch = 7,
  CursorOption = 8,
  CursorClose = 9,
  ExecuteSql = 10,
  Prepare = 11,
  Execute = 12,
  PrepareExecute = 13,
  PrepareExecuteCall = 14,
  Unprepare = 15,
};

struct Call {
  SystemCall system = SystemCall::None;
  Text procedure;  // as written; of a system call its name
  std::vector<Parameter> parameters;
};

// The calls of a message, behind its headers. Throws as ReadParameter does.
std::vector<Call> ParseCalls(std::string_view message, Version version);

// The name of the first column of the rows in which a composed batch hands results of the call
// back: its status, then the output parameters in their order.
inline constexpr TextView kOutcome = u"\uFFFFoutcome";

// A batch of one line that calls `procedure` with `parameters`, and hands the outcome back where
// `with_outcome`.
Text ComposeCall(TextView procedure, const std::vector<Parameter>& parameters, bool with_outcome);

}  // namespace ledgerwick::tds
