// The numbers of IDENTITY columns, and the switch of what guards constraints.
#include "tsql/functions/function_table.h"

namespace ledgerwick::tsql {
namespace {

// True when `a` lies behind `b` in the direction of `step`.
bool IsFurther(std::int64_t a, std::int64_t b, std::int64_t step) noexcept {
  return step > 0 ? a > b : a < b;
}

// t_identity_begin(last, seed, step, key, precision, low, high, type): last. An INSERT that gives
// the numbers of this identity begins.
void Begin(Call& call) {
  IdentityValues& values = call.state().identity;
  values.key = call.Integer(3);
  values.seed = call.Integer(1);
  values.step = call.Integer(2);
  values.precision = static_cast<int>(call.Integer(4));
  values.low = call.Integer(5);
  values.high = call.Integer(6);
  values.type = call.Utf8(7);
  values.inserted.reset();
  values.last.reset();
  if (!call.IsNull(0)) values.last = call.Integer(0);
  const auto given = values.furthest.find(values.key);
  if (given != values.furthest.end() &&
      (!values.last || IsFurther(given->second, *values.last, values.step))) {
    values.last = given->second;
  }
  values.before = values.last;
  call.ReturnArgument(0);
}

// t_identity(): the next number
void Next(Call& call) {
  IdentityValues& values = call.state().identity;
  const std::int64_t number = values.Next();
  if (values.precision == 0) return call.Return(number);
  call.ReturnUnits(number, values.precision);
}

// t_identity_given(x): x, a number that the statement gives by itself
void Given(Call& call) {
  call.state().identity.Note(static_cast<std::int64_t>(call.Units(0)));
  call.ReturnArgument(0);
}

// t_identity_end(last): the last number, the table's new one
void End(Call& call) {
  const IdentityValues& values = call.state().identity;
  if (!values.last) return call.ReturnNull();
  call.Return(*values.last);
}

// t_settling()
void Settling(Call& call) { call.Return(std::int64_t{call.state().settling ? 1 : 0}); }

constexpr FunctionRow kHelpers[] = {
    {"t_identity_begin", 8, 8, 0, Begin, Purity::kStaysInPlace},
    {"t_identity", 0, 0, 0, Next, Purity::kStaysInPlace},
    {"t_identity_given", 1, 1, 1, Given, Purity::kStaysInPlace},
    {"t_identity_end", 1, 1, 0, End, Purity::kStaysInPlace},
    {"t_settling", 0, 0, 0, Settling, Purity::kStaysInPlace},
};

}  // namespace

std::int64_t IdentityValues::Next() {
  std::int64_t number = seed;
  const bool overflows = last && __builtin_add_overflow(*last, step, &number);
  if (overflows || number < low || number > high) {
    throw errors::OverflowFrom("IDENTITY", type.c_str());
  }
  last = inserted = furthest[key] = number;
  return number;
}

void IdentityValues::Restart() {
  last = before;
  inserted.reset();
  if (last) {
    furthest[key] = *last;
  } else {
    furthest.erase(key);
  }
}

void IdentityValues::Note(std::int64_t number) {
  inserted = number;
  if (last && !IsFurther(number, *last, step)) return;
  last = furthest[key] = number;
}

std::span<const FunctionRow> IdentityHelpers() { return kHelpers; }

}  // namespace ledgerwick::tsql
