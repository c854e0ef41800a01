// The functions that compute with numbers.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

#include "tsql/base/errors.h"
#include "tsql/functions/function_table.h"
#include "tsql/values/convert.h"

namespace ledgerwick::tsql {
namespace {

// t_xor(a, b)
void ExclusiveOr(Call& call) { call.Return(call.Integer(0) ^ call.Integer(1)); }

// t_div0(dividend): the error, unless the dividend is NULL
void DivideByZero(Call&) { throw errors::DivideByZero(); }

// t_quotient(a, b), t_remainder(a, b): of whole numbers or of floats
template <bool kRemainder>
void Divide(Call& call) {
  if (!call.IsInteger(0) || !call.IsInteger(1)) {
    if (call.Real(1) == 0) throw errors::DivideByZero();
    return call.Return(kRemainder ? std::fmod(call.Real(0), call.Real(1))
                                  : call.Real(0) / call.Real(1));
  }
  const std::int64_t divisor = call.Integer(1);
  if (divisor == 0) throw errors::DivideByZero();
  const std::int64_t dividend = call.Integer(0);
  if (divisor != -1) return call.Return(kRemainder ? dividend % divisor : dividend / divisor);
  // The least number has no opposite.
  if (!kRemainder && dividend == std::numeric_limits<std::int64_t>::min()) {
    throw errors::Overflow(u"bigint");
  }
  call.Return(kRemainder ? std::int64_t{0} : -dividend);
}

// `number` cut or rounded to a multiple of 10^`zeros`, half away from zero.
std::int64_t RoundInteger(std::int64_t number, std::int64_t zeros, bool truncate) {
  constexpr std::int64_t kMostZeros = 18;
  if (zeros > kMostZeros) return 0;
  std::int64_t unit = 1;
  for (std::int64_t i = 0; i < zeros; ++i) unit *= 10;
  const std::int64_t rest = number % unit;
  std::int64_t rounded = number - rest;
  const bool away = !truncate && std::abs(rest) >= unit - std::abs(rest);
  if (away && __builtin_add_overflow(rounded, number < 0 ? -unit : unit, &rounded)) {
    throw errors::Overflow(u"bigint");
  }
  return rounded;
}

// t_round(number, digits[, truncate])
void Round(Call& call) {
  constexpr std::int64_t kMostDigits = 400;  // beyond every number's
  const std::int64_t digits = std::clamp(call.Integer(1), -kMostDigits, kMostDigits);
  const bool truncate = call.size() > 2 && call.Integer(2) != 0;
  if (call.IsInteger(0)) {
    return call.Return(digits >= 0 ? call.Integer(0)
                                   : RoundInteger(call.Integer(0), -digits, truncate));
  }
  const int scale = static_cast<int>(digits);
  call.Return(truncate ? TruncateDecimal(call.Real(0), scale) : RoundDecimal(call.Real(0), scale));
}

// t_finite(number): before it is stored
void CheckFinite(Call& call) { call.Return(call.Real(0)); }

// t_abs(number)
void Absolute(Call& call) {
  if (!call.IsInteger(0)) return call.Return(std::fabs(call.Real(0)));
  const std::int64_t number = call.Integer(0);
  if (number == std::numeric_limits<std::int64_t>::min()) throw errors::Overflow(u"bigint");
  call.Return(std::abs(number));
}

// t_ceiling(number), t_floor(number)
void Ceiling(Call& call) {
  if (call.IsInteger(0)) return call.Return(call.Integer(0));
  call.Return(std::ceil(call.Real(0)) + 0.0);  // not a negative zero
}
void Floor(Call& call) {
  if (call.IsInteger(0)) return call.Return(call.Integer(0));
  call.Return(std::floor(call.Real(0)));
}

// t_sign(number): of the number's own type
void Sign(Call& call) {
  const double number = call.Real(0);
  const int sign = (number > 0) - (number < 0);
  if (call.IsInteger(0)) return call.Return(std::int64_t{sign});
  call.Return(static_cast<double>(sign));
}

// t_power(base, exponent): of the base's own type
void Power(Call& call) {
  const double base = call.Real(0);
  const double exponent = call.Real(1);
  if (base == 0 && exponent < 0) throw errors::DivideByZero();
  const double power = std::pow(base, exponent);
  if (std::isnan(power)) throw errors::InvalidFloatOperation();
  if (std::isinf(power)) throw errors::Overflow(u"float");
  if (call.IsInteger(0)) return call.Return(ToInteger(power, TypeKind::BigInt));
  call.Return(power);
}

// t_sqrt(number)
void SquareRoot(Call& call) {
  if (call.Real(0) < 0) throw errors::InvalidFloatOperation();
  call.Return(std::sqrt(call.Real(0)));
}

// t_str(number[, length[, digits]]): right-justified; stars when it does not fit.
void NumberAsText(Call& call) {
  constexpr std::int64_t kDigitsShown = 16;
  const std::int64_t length = call.size() > 1 ? call.Integer(1) : 10;
  const std::int64_t wanted = call.size() > 2 ? call.Integer(2) : 0;
  if (length <= 0 || length > kLongestBytes || wanted < 0) return call.ReturnNull();
  const auto width = static_cast<std::size_t>(length);
  const auto format = [&](std::int64_t digits) {
    const int scale = static_cast<int>(digits);
    return FormatDecimal(RoundDecimal(call.Real(0), scale), scale);
  };
  const std::size_t whole = format(0).size();
  if (whole > width) return call.Return(std::string(width, '*'));
  // Digits behind the point give way to a narrow field.
  const std::int64_t room = static_cast<std::int64_t>(width - whole) - 1;
  std::string text = format(std::max<std::int64_t>(0, std::min({wanted, kDigitsShown, room})));
  if (text.size() < width) text.insert(0, width - text.size(), ' ');
  call.Return(text);
}

using Id = FunctionId;
using Result = FunctionResult;

constexpr auto kFunctions = std::to_array<FunctionSignature>({
    {u"round", Id::Scalar, 2, 3, "nii", Result::Number, Round, 3},
    {u"abs", Id::Abs, 1, 1, "", Result::Own, Absolute, 1},
    {u"ceiling", Id::Scalar, 1, 1, "n", Result::WholeNumber, Ceiling, 1},
    {u"floor", Id::Scalar, 1, 1, "n", Result::WholeNumber, Floor, 1},
    {u"sign", Id::Scalar, 1, 1, "n", Result::Sign, Sign, 1},
    {u"power", Id::Power, 2, 2, "nf", Result::Own, Power, 2},
    {u"sqrt", Id::Scalar, 1, 1, "f", Result::Float, SquareRoot, 1},
    {u"str", Id::Str, 1, 3, "fii", Result::Own, NumberAsText, 3},
});

constexpr FunctionRow kHelpers[] = {
    {"t_div0", 1, 1, 1, DivideByZero, Purity::kStaysInPlace},
    {"t_quotient", 2, 2, 2, Divide<false>, Purity::kStaysInPlace},
    {"t_remainder", 2, 2, 2, Divide<true>, Purity::kStaysInPlace},
    {"t_xor", 2, 2, 2, ExclusiveOr},
    {"t_finite", 1, 1, 1, CheckFinite},
};

}  // namespace

std::span<const FunctionSignature> NumberFunctions() { return kFunctions; }
std::span<const FunctionRow> NumberHelpers() { return kHelpers; }

}  // namespace ledgerwick::tsql
