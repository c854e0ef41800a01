// The functions that compute with dates and times.
#include <array>

#include "tsql/functions/function_signature.h"
#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {
namespace {

DatePart PartArgument(const Call& call) {
  const std::string_view name = call.Utf8(0);
  return FindDatePart(Text(name.begin(), name.end())).value_or(DatePart::Day);
}

// The type that stands as argument `i`; datetime where the call has no such argument.
Type TypeArgument(const Call& call, std::size_t i) {
  if (call.size() > i) return ParseTypeName(call.Name(i));
  Type type;
  type.kind = TypeKind::DateTime;
  return type;
}

// t_datediff(part, from, to[, type])
void Diff(Call& call) {
  const TypeKind kind = TypeArgument(call, 3).kind;
  call.Return(
      DateDiff(PartArgument(call), TicksOf(kind, call.Integer(1)), TicksOf(kind, call.Integer(2))));
}

// t_dateadd(part, count, moment[, type])
void Add(Call& call) {
  const Type type = TypeArgument(call, 3);
  call.Return(
      DateAdd(PartArgument(call), call.Integer(1), TicksOf(type.kind, call.Integer(2)), type));
}

// t_datepart(part, moment[, type]), t_datename(…)
void Part(Call& call) {
  const TypeKind kind = TypeArgument(call, 2).kind;
  call.Return(DatePartOf(PartArgument(call), TicksOf(kind, call.Integer(1)), call.state().dates));
}
void PartName(Call& call) {
  const TypeKind kind = TypeArgument(call, 2).kind;
  call.Return(DateNameOf(PartArgument(call), TicksOf(kind, call.Integer(1)), call.state().dates));
}

// The same for a whole statement, as on the server.
const Instant& Now(Call& call) {
  std::optional<Instant>& now = call.state().now;
  if (!now) now = CurrentInstant();
  return *now;
}

// t_getdate(), t_sysdatetime() and the like
template <TypeKind kKind, std::int64_t Instant::*kClock>
void Clock(Call& call) {
  Type type;
  type.kind = kKind;
  type.scale = kMostFractionDigits;
  call.Return(FromTicks(Now(call).*kClock, type));
}

using Id = FunctionId;
using Result = FunctionResult;

constexpr auto kFunctions = std::to_array<FunctionSignature>({
    {u"datediff", Id::DateDiff, 3, 3, "", Result::Own, Diff, 3, Purity::kPure, 1},
    {u"dateadd", Id::DateAdd, 3, 3, "", Result::Own, Add, 3, Purity::kPure, 1},
    {u"datepart", Id::DatePart, 2, 2, "", Result::Own, Part, 2, Purity::kPure, 1},
    {u"datename", Id::DateName, 2, 2, "", Result::Own, PartName, 2, Purity::kPure, 1},
    {u"year", Id::Year, 1, 1, "d", Result::Int},
    {u"month", Id::Year, 1, 1, "d", Result::Int},
    {u"day", Id::Year, 1, 1, "d", Result::Int},
    {u"getdate", Id::GetDate, 0, 0, "", Result::Own, Clock<TypeKind::DateTime, &Instant::local>},
    {u"getutcdate", Id::GetDate, 0, 0, "", Result::Own,
     Clock<TypeKind::DateTime, &Instant::universal>},
    {u"sysdatetime", Id::SysDateTime, 0, 0, "", Result::Own,
     Clock<TypeKind::DateTime2, &Instant::local>},
    {u"sysutcdatetime", Id::SysDateTime, 0, 0, "", Result::Own,
     Clock<TypeKind::DateTime2, &Instant::universal>},
});

}  // namespace

std::span<const FunctionSignature> DateFunctions() { return kFunctions; }

}  // namespace ledgerwick::tsql
