// The functions that compute with datetimes.
#include <array>

#include "tsql/functions/function_table.h"
#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {
namespace {

// t_datediff(part, from, to)
void Diff(Call& call) {
  call.Return(DateDiff(DatePartByName(call.Name(0)), call.Integer(1), call.Integer(2)));
}

// t_dateadd(part, count, ms)
void Add(Call& call) {
  call.Return(DateAdd(DatePartByName(call.Name(0)), call.Integer(1), call.Integer(2)));
}

// t_datepart(part, ms)
void Part(Call& call) {
  call.Return(std::int64_t{DatePartOf(DatePartByName(call.Name(0)), call.Integer(1))});
}

// t_getdate(): the same for a whole statement, as on the server.
void Now(Call& call) {
  std::optional<std::int64_t>& now = call.state().now;
  if (!now) now = CurrentDateTime();
  call.Return(*now);
}

constexpr auto kFunctions = std::to_array<FunctionRow>({
    {"t_datediff", 3, 3, 3, Diff},
    {"t_dateadd", 3, 3, 3, Add},
    {"t_datepart", 2, 2, 2, Part},
    {"t_getdate", 0, 0, 0, Now},
});

}  // namespace

std::span<const FunctionRow> DateFunctions() { return kFunctions; }

}  // namespace ledgerwick::tsql
