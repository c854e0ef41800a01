// Exact numbers of up to 38 digits: decimal, money and smallmoney.
//
// A value is a whole number of units and a scale, which its type knows: 12.50 as decimal(9,2) is
// 1250 units. What is kept is the units alone, so that no value carries a tag and equal types
// compare as they are kept: as a 64-bit integer where the type has at most 18 digits (and for money
// and smallmoney, which are integers by nature), above that as 16 bytes, the highest first and the
// sign turned, which the storage orders as it orders any bytes. Sums, differences and comparisons
// of short decimals are thus the storage's own integer arithmetic.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tsql/base/types.h"

namespace ledgerwick::tsql {

__extension__ using Int128 = __int128;

// A number: `units` times 10^-`scale`. At most 38 digits, so any two can be added without overflow
// of the 128 bits once they have one scale that fits.
struct Exact {
  Int128 units = 0;
  int scale = 0;
};

// What a type holds. Money is not limited by digits but by its 64 bits, smallmoney by 32; they have
// a precision of their own, beyond every decimal's.
struct ExactSize {
  int precision = kMostDigits;
  int scale = 0;
};
inline constexpr int kMoneyPrecision = 100;
inline constexpr int kSmallMoneyPrecision = 101;

// What a value of `type` (bit to decimal) is limited to.
ExactSize SizeOf(const Type& type) noexcept;

// 10^`exponent`, which is 0 to 38.
Int128 PowerOfTen(int exponent) noexcept;

enum class Rest { Cut, Round };  // towards zero, or half away from zero

// The operations bring their result to `size` and throw 8115 where it does not fit, "converting
// expression to data type numeric" (or money). What is lost behind the point is rounded.
Exact Add(const Exact& a, const Exact& b, ExactSize size);
Exact Subtract(const Exact& a, const Exact& b, ExactSize size);
Exact Multiply(const Exact& a, const Exact& b, ExactSize size);

// The same, but the quotient is cut. Both throw 8134 when `b` is zero. The remainder has the sign
// of `a`.
Exact Divide(const Exact& a, const Exact& b, ExactSize size);
Exact Remainder(const Exact& a, const Exact& b, ExactSize size);

// `number` as a value of `size`. `source` names its type in the text of 8115 ("numeric",
// "expression").
Exact Convert(const Exact& number, ExactSize size, Rest rest = Rest::Round,
              const char* source = "numeric");

// `number` rounded or cut to `digits` behind the point (before it, when negative), at its scale.
Exact RoundTo(const Exact& number, std::int64_t digits, Rest rest, ExactSize size);

// Digits with or without sign and point, blanks around them not among them; nothing for any other
// text. Digits that no value can hold are rounded away behind `scale`; where more than 38 remain,
// throws 8115 with `source` and `target`.
std::optional<Exact> ParseExact(std::string_view text, int scale, const char* source,
                                const char* target = "numeric");

// With exactly `scale` digits behind the point.
std::string FormatExact(const Exact& number);

// The double nearest to `number`.
double ToDouble(const Exact& number) noexcept;

// The shortest decimal form of `number` as a value of `size`, rounded: 1.005 is 1.01 with two
// digits. Throws 8115.
Exact FromDouble(double number, ExactSize size);

// How the storage keeps more than 18 digits.
using ExactBytes = std::array<unsigned char, 16>;
ExactBytes ToBytes(Int128 units) noexcept;
Int128 FromBytes(const unsigned char* bytes) noexcept;

// `number` with so many digits behind the point that any two decimals can be compared with all
// their digits: ordered as bytes. `scale` is at least the number's.
using WideBytes = std::array<unsigned char, 40>;
WideBytes ToWideBytes(const Exact& number, int scale);

}  // namespace ledgerwick::tsql
