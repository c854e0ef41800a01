// Conversions between T-SQL's numbers and text. Every routine that reads text takes UTF-8, as the
// storage keeps it, or UTF-16, as statements come. They throw SqlError with the server's numbers.
// `source` is the name of the text's type ("varchar") for messages.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/text.h"
#include "tsql/base/types.h"
#include "tsql/values/exact.h"

namespace ledgerwick::tsql {

// The whole number in `text` as a value of `target` (TinyInt to BigInt); blanks alone are 0. Errors
// 245 (8114 for bigint) for other text, 248 (int), 244 (smallint, tinyint), 8115 (bigint) when it
// is out of range.
std::int64_t ParseInteger(std::string_view text, TypeKind target, const char* source);
std::int64_t ParseInteger(TextView text, TypeKind target, const char* source);

// 'true' and 'false' without regard to case, and whole numbers: 1 for all but 0. Blanks alone are
// 0. Error 245 for other text.
bool ParseBit(std::string_view text, const char* source);
bool ParseBit(TextView text, const char* source);

// The number in `text`, scientific notation included; blanks alone are 0. Errors 8114 for other
// text, 8115 for a number beyond float.
double ParseFloat(std::string_view text, const char* source);
double ParseFloat(TextView text, const char* source);

// The number in `text`, without exponent, rounded half away from zero. Errors 8114 for other text,
// empty text included, and 8115 where it does not fit.
Exact ParseDecimal(std::string_view text, ExactSize size, const char* source);
Exact ParseDecimal(TextView text, ExactSize size, const char* source);

// The amount in `text`, which may have a currency sign and thousands commas, to four digits; blanks
// alone are 0. Errors 235 for other text, 8115 where it does not fit.
Exact ParseMoney(std::string_view text, int precision = kMoneyPrecision);
Exact ParseMoney(TextView text, int precision = kMoneyPrecision);

// `number` cut towards zero, as a value of `target` (Bit to BigInt; a bit is 1 for all but 0).
// Errors 220 (tinyint, smallint) and 8115 (int, bigint) when it is out of range.
std::int64_t ToInteger(double number, TypeKind target);
std::int64_t ToInteger(std::int64_t number, TypeKind target);
std::int64_t ToInteger(const Exact& number, TypeKind target);

// `number`; throws 8115 for what SQLite computes where a float overflows.
double Finite(double number);

// `number` as a real: single precision. Error 8115 where it is too large.
double ToReal(double number);

// The double nearest to `number` rounded half away from zero to `scale` digits behind the point
// (before it, when negative). It is the shortest decimal form that is rounded: 1.005 gives 1.01.
double RoundDecimal(double number, int scale);

// The same cut towards zero.
double TruncateDecimal(double number, int scale);

// `number` as CONVERT writes a float: style 0 six significant digits, 1 eight and 2 sixteen in
// scientific notation; exponents have three digits.
std::string FormatFloat(double number, int style);

// `number` with exactly `scale` digits behind the point. It is rounded to them already.
std::string FormatDecimal(double number, int scale);

// `number` as CONVERT writes money: style 0 two digits behind the point, 1 also with thousands
// commas, any other four digits.
std::string FormatMoney(const Exact& number, int style);

}  // namespace ledgerwick::tsql
