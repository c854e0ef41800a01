#include "tsql/values/exact.h"

#include <algorithm>
#include <boost/multiprecision/cpp_int.hpp>
#include <charconv>
#include <cmath>
#include <limits>

#include "tsql/base/errors.h"
#include "tsql/values/decimal.h"

namespace ledgerwick::tsql {
namespace {

__extension__ using UInt128 = unsigned __int128;

// Room for a product of two values of 38 digits and for a dividend that a quotient's scale widens.
using Wide = boost::multiprecision::number<boost::multiprecision::cpp_int_backend<
    512, 512, boost::multiprecision::signed_magnitude, boost::multiprecision::unchecked, void>>;

constexpr std::array<Int128, kMostDigits + 1> kPowers = [] {
  std::array<Int128, kMostDigits + 1> powers{};
  Int128 power = 1;
  for (Int128& p : powers) {
    p = power;
    if (&p != &powers.back()) power *= 10;
  }
  return powers;
}();

Wide WidePower(int exponent) {
  Wide power = 1;
  for (; exponent > 18; exponent -= 18) power *= 1'000'000'000'000'000'000;
  return power * static_cast<std::int64_t>(kPowers[static_cast<std::size_t>(exponent)]);
}

UInt128 Magnitude(Int128 number) noexcept {
  return number < 0 ? 0 - static_cast<UInt128>(number) : static_cast<UInt128>(number);
}

Wide ToWide(Int128 number) {
  const UInt128 size = Magnitude(number);
  Wide wide = static_cast<std::uint64_t>(size >> 64);
  wide <<= 64;
  wide += static_cast<std::uint64_t>(size);
  return number < 0 ? Wide(-wide) : wide;
}

const char* TypeOf(int precision) noexcept {
  return precision == kMoneyPrecision        ? "money"
         : precision == kSmallMoneyPrecision ? "smallmoney"
                                             : "numeric";
}

[[noreturn]] void Overflow(const char* source, int precision) {
  throw errors::OverflowFrom(source, TypeOf(precision));
}

bool Fits(Int128 units, int precision) noexcept {
  if (precision == kMoneyPrecision) {
    return units >= std::numeric_limits<std::int64_t>::min() &&
           units <= std::numeric_limits<std::int64_t>::max();
  }
  if (precision == kSmallMoneyPrecision) {
    return units >= std::numeric_limits<std::int32_t>::min() &&
           units <= std::numeric_limits<std::int32_t>::max();
  }
  const Int128 limit = PowerOfTen(precision);
  return units < limit && units > -limit;
}

Exact Checked(Int128 units, ExactSize size, const char* source = "expression") {
  if (!Fits(units, size.precision)) Overflow(source, size.precision);
  return {units, size.scale};
}

// `number` / `divisor`, which is positive.
Int128 Shorten(Int128 number, Int128 divisor, Rest rest) noexcept {
  const Int128 quotient = number / divisor;
  if (rest == Rest::Cut) return quotient;
  const Int128 remainder = number % divisor;
  const Int128 size = remainder < 0 ? -remainder : remainder;
  // Twice the remainder might not fit.
  if (size < divisor - size) return quotient;
  return number < 0 ? quotient - 1 : quotient + 1;
}

Exact FromWide(const Wide& units, ExactSize size, const char* source = "expression") {
  static const Wide limit = ToWide(PowerOfTen(kMostDigits));
  if (units >= limit || units <= -limit) Overflow(source, size.precision);
  const Wide magnitude = boost::multiprecision::abs(units);
  const auto low = static_cast<std::uint64_t>(magnitude & ~std::uint64_t{0});
  const auto high = static_cast<std::uint64_t>(Wide(magnitude >> 64));
  const auto number = static_cast<Int128>((static_cast<UInt128>(high) << 64) | low);
  return Checked(units < 0 ? -number : number, size, source);
}

// `units` of 10^-`from` as a value of `size`.
Exact ConvertWide(Wide units, int from, ExactSize size, Rest rest, const char* source) {
  if (from <= size.scale) return FromWide(units * WidePower(size.scale - from), size, source);
  const Wide divisor = WidePower(from - size.scale);
  const bool negative = units < 0;
  if (negative) units = -units;
  if (rest == Rest::Round) units += divisor / 2;  // a power of ten is even
  units /= divisor;
  return FromWide(negative ? Wide(-units) : units, size, source);
}

}  // namespace

ExactSize SizeOf(const Type& type) noexcept {
  if (type.kind == TypeKind::SmallMoney) return {kSmallMoneyPrecision, kMoneyScale};
  if (type.kind == TypeKind::Money) return {kMoneyPrecision, kMoneyScale};
  if (IsInteger(type.kind)) return {DigitsOf(type.kind), 0};
  return {type.precision, type.scale};
}

Int128 PowerOfTen(int exponent) noexcept { return kPowers[static_cast<std::size_t>(exponent)]; }

Exact Convert(const Exact& number, ExactSize size, Rest rest, const char* source) {
  if (number.scale >= size.scale) {
    if (number.scale == size.scale) return Checked(number.units, size, source);
    const Int128 divisor = PowerOfTen(number.scale - size.scale);
    return Checked(Shorten(number.units, divisor, rest), size, source);
  }
  Int128 units = 0;
  if (__builtin_mul_overflow(number.units, PowerOfTen(size.scale - number.scale), &units)) {
    Overflow(source, size.precision);
  }
  return Checked(units, size, source);
}

Exact Add(const Exact& a, const Exact& b, ExactSize size) {
  const int scale = std::max(a.scale, b.scale);
  Int128 x = 0;
  Int128 y = 0;
  Int128 sum = 0;
  if (!__builtin_mul_overflow(a.units, PowerOfTen(scale - a.scale), &x) &&
      !__builtin_mul_overflow(b.units, PowerOfTen(scale - b.scale), &y) &&
      !__builtin_add_overflow(x, y, &sum)) {
    return Convert({sum, scale}, size, Rest::Round, "expression");
  }
  const Wide wide =
      ToWide(a.units) * WidePower(scale - a.scale) + ToWide(b.units) * WidePower(scale - b.scale);
  return ConvertWide(wide, scale, size, Rest::Round, "expression");
}

Exact Subtract(const Exact& a, const Exact& b, ExactSize size) {
  return Add(a, {-b.units, b.scale}, size);
}

Exact Multiply(const Exact& a, const Exact& b, ExactSize size) {
  Int128 product = 0;
  const int scale = a.scale + b.scale;
  if (!__builtin_mul_overflow(a.units, b.units, &product) && scale - size.scale <= kMostDigits) {
    return Convert({product, scale}, size, Rest::Round, "expression");
  }
  return ConvertWide(ToWide(a.units) * ToWide(b.units), scale, size, Rest::Round, "expression");
}

Exact Divide(const Exact& a, const Exact& b, ExactSize size) {
  if (b.units == 0) throw errors::DivideByZero();
  // a / b in units of the result is a.units * 10^shift / b.units.
  const int shift = size.scale - a.scale + b.scale;
  Int128 dividend = 0;
  if (shift >= 0 && shift <= kMostDigits &&
      !__builtin_mul_overflow(a.units, PowerOfTen(shift), &dividend)) {
    return Checked(dividend / b.units, size);
  }
  if (shift >= 0) return FromWide(ToWide(a.units) * WidePower(shift) / ToWide(b.units), size);
  return FromWide(ToWide(a.units) / (ToWide(b.units) * WidePower(-shift)), size);
}

Exact Remainder(const Exact& a, const Exact& b, ExactSize size) {
  if (b.units == 0) throw errors::DivideByZero();
  const int scale = std::max(a.scale, b.scale);
  const Wide rest = (ToWide(a.units) * WidePower(scale - a.scale)) %
                    (ToWide(b.units) * WidePower(scale - b.scale));
  return ConvertWide(rest, scale, size, Rest::Round, "expression");
}

Exact RoundTo(const Exact& number, std::int64_t digits, Rest rest, ExactSize size) {
  if (digits >= number.scale) return Convert(number, size);
  const std::int64_t dropped = number.scale - digits;
  if (dropped > kMostDigits) return {0, size.scale};
  const Int128 unit = PowerOfTen(static_cast<int>(dropped));
  Int128 units = 0;
  if (__builtin_mul_overflow(Shorten(number.units, unit, rest), unit, &units)) {
    Overflow("expression", size.precision);
  }
  return Convert({units, number.scale}, size, Rest::Round, "expression");
}

std::optional<Exact> ParseExact(std::string_view text, int scale, const char* source,
                                const char* target) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  Int128 units = 0;
  int digits_behind = -1;  // the point has not come yet
  bool any_digit = false;
  bool up = false;
  bool overflow = false;
  for (const char c : text) {
    if (c == '.' && digits_behind < 0) {
      digits_behind = 0;
      continue;
    }
    if (c < '0' || c > '9') return std::nullopt;
    any_digit = true;
    if (digits_behind == scale) up = c >= '5';
    if (digits_behind >= 0) ++digits_behind;
    if (digits_behind > scale) continue;
    overflow = overflow || units >= PowerOfTen(kMostDigits - 1);
    if (!overflow) units = units * 10 + (c - '0');
  }
  if (!any_digit) return std::nullopt;
  const int missing = scale - std::max(digits_behind, 0);
  if (up) ++units;
  if (missing > 0 && !overflow) {
    overflow = __builtin_mul_overflow(units, PowerOfTen(missing), &units);
  }
  if (overflow || units >= PowerOfTen(kMostDigits)) throw errors::OverflowFrom(source, target);
  return Exact{negative ? -units : units, scale};
}

std::string FormatExact(const Exact& number) {
  std::array<char, 48> buffer;  // 39 digits, sign, point
  char* at = buffer.data() + buffer.size();
  UInt128 rest = Magnitude(number.units);
  for (int digits = 0; rest != 0 || digits <= number.scale; ++digits) {
    if (digits == number.scale && digits > 0) *--at = '.';
    // Dividing 128 bits is slow; most numbers have fewer.
    if (rest <= std::numeric_limits<std::uint64_t>::max()) {
      const auto small = static_cast<std::uint64_t>(rest);
      *--at = static_cast<char>('0' + small % 10);
      rest = small / 10;
    } else {
      *--at = static_cast<char>('0' + static_cast<int>(rest % 10));
      rest /= 10;
    }
  }
  if (number.units < 0) *--at = '-';
  return {at, buffer.data() + buffer.size()};
}

double ToDouble(const Exact& number) noexcept {
  constexpr Int128 kExactIntegers = Int128{1} << 53;
  constexpr int kExactPower = 22;
  if (number.units < kExactIntegers && number.units > -kExactIntegers &&
      number.scale <= kExactPower) {
    // Both are doubles, so their quotient is the nearest one.
    return static_cast<double>(static_cast<std::int64_t>(number.units)) /
           static_cast<double>(PowerOfTen(number.scale));
  }
  const std::string digits = FormatExact(number);
  double value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

Exact FromDouble(double number, ExactSize size) {
  constexpr double kTooLarge = 1e38;
  if (!(std::fabs(number) < kTooLarge)) Overflow("float", size.precision);
  // Where the product lies clear of a half, its nearest whole number is certain.
  constexpr int kExactPower = 22;
  if (size.scale <= kExactPower) {
    constexpr double kSmall = 2251799813685248;  // 2^51
    constexpr double kProductError = 4e-16;
    const double scaled = std::fabs(number) * static_cast<double>(PowerOfTen(size.scale));
    const double whole = std::floor(scaled);
    const double fraction = scaled - whole;
    if (scaled < kSmall && std::fabs(fraction - 0.5) > scaled * kProductError) {
      const auto units = static_cast<std::int64_t>(fraction > 0.5 ? whole + 1 : whole);
      return Checked(number < 0 ? -units : units, size, "float");
    }
  }
  std::array<char, 400> buffer;
  const auto end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::fixed)
          .ptr;
  const auto exact = ParseExact({buffer.data(), end}, size.scale, "float");
  return Checked(exact ? exact->units : 0, size, "float");
}

ExactBytes ToBytes(Int128 units) noexcept {
  UInt128 bits = static_cast<UInt128>(units) ^ (UInt128{1} << 127);
  ExactBytes bytes{};
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
    *byte = static_cast<unsigned char>(bits);
    bits >>= 8;
  }
  return bytes;
}

Int128 FromBytes(const unsigned char* bytes) noexcept {
  UInt128 bits = 0;
  for (std::size_t i = 0; i < ExactBytes{}.size(); ++i) bits = (bits << 8) | bytes[i];
  return static_cast<Int128>(bits ^ (UInt128{1} << 127));
}

WideBytes ToWideBytes(const Exact& number, int scale) {
  // Moved up so that no value is negative: 10^76 is below 2^253.
  Wide units = ToWide(number.units) * WidePower(scale - number.scale) + (Wide(1) << 300);
  WideBytes bytes{};
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
    *byte = static_cast<unsigned char>(static_cast<std::uint64_t>(units & 0xFF));
    units >>= 8;
  }
  return bytes;
}

}  // namespace ledgerwick::tsql
