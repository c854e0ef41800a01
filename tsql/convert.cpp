#include "tsql/convert.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "tsql/decimal.h"
#include "tsql/errors.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::int32_t kSeverity = 16;
constexpr int kMoneyScale = 4;
constexpr double kMoneyLimit = 922337203685477.5808;  // 2^63 ten-thousandths

constexpr bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }

std::string_view TrimBlanks(std::string_view text) noexcept {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

Text Widen(const char* ascii) {
  const std::string_view view = ascii;
  return Text(view.begin(), view.end());
}

SqlError BadInteger(std::string_view text, TypeKind target, const char* source) {
  return {245, kSeverity,
          "Conversion failed when converting the " + std::string(source) + " value '" +
              std::string(text) + "' to data type " + KindName(target) + "."};
}

SqlError BadText(const char* source, TypeKind target) {
  return errors::ConvertDataType(Widen(source), Widen(KindName(target)));
}

SqlError OverflowFrom(const char* source, TypeKind target) {
  return {8115, kSeverity,
          "Arithmetic overflow error converting " + std::string(source) + " to data type " +
              KindName(target) + "."};
}

SqlError IntegerColumnOverflow(std::string_view text, TypeKind target, const char* source) {
  const std::string value =
      "The conversion of the " + std::string(source) + " value '" + std::string(text) + "' ";
  switch (target) {
    case TypeKind::BigInt:
      return OverflowFrom("expression", target);
    case TypeKind::Int:
      return {248, kSeverity, value + "overflowed an int column."};
    default:
      return {244, kSeverity,
              value + "overflowed an " + (target == TypeKind::TinyInt ? "INT1" : "INT2") +
                  " column. Use a larger integer column."};
  }
}

struct IntegerRange {
  std::int64_t least;
  std::int64_t most;
};

constexpr IntegerRange RangeOf(TypeKind target) noexcept {
  switch (target) {
    case TypeKind::Bit:
      return {0, 1};
    case TypeKind::TinyInt:
      return {0, 255};
    case TypeKind::SmallInt:
      return {-32768, 32767};
    case TypeKind::Int:
      return {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};
    default:
      return {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()};
  }
}

SqlError IntegerOverflow(const std::string& number, TypeKind target) {
  if (target != TypeKind::TinyInt && target != TypeKind::SmallInt) {
    return OverflowFrom("expression", target);
  }
  return {220, kSeverity,
          std::string("Arithmetic overflow error for data type ") + KindName(target) +
              ", value = " + number + "."};
}

enum class IntegerText { kRead, kBad, kTooLarge };

// Reads sign and digits, the whole of `digits`.
IntegerText ReadInteger(std::string_view digits, std::int64_t& number) noexcept {
  if (digits.starts_with('+')) {
    digits.remove_prefix(1);
    if (digits.empty() || !IsDigit(digits.front())) return IntegerText::kBad;
  }
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error == std::errc::invalid_argument || stop != end) return IntegerText::kBad;
  return error == std::errc() ? IntegerText::kRead : IntegerText::kTooLarge;
}

// Sign, digits and point of a number, checked; nothing else stands in it.
struct DecimalText {
  bool negative = false;
  std::string_view whole;     // digits before the point
  std::string_view fraction;  // digits behind it
};

// Takes the digits off the front of `text`.
std::string_view TakeDigits(std::string_view& text) noexcept {
  const auto stop = std::find_if_not(text.begin(), text.end(), IsDigit);
  const std::string_view digits = text.substr(0, static_cast<std::size_t>(stop - text.begin()));
  text.remove_prefix(digits.size());
  return digits;
}

bool ReadDecimalText(std::string_view text, DecimalText& decimal) noexcept {
  decimal.negative = text.starts_with('-');
  if (decimal.negative || text.starts_with('+')) text.remove_prefix(1);
  decimal.whole = TakeDigits(text);
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    decimal.fraction = TakeDigits(text);
  }
  return text.empty() && !(decimal.whole.empty() && decimal.fraction.empty());
}

// True when `number`, a decimal of `scale`, has more than `precision` digits.
bool ExceedsPrecision(double number, int precision, int scale) noexcept {
  return !(std::fabs(number) < std::pow(10.0, precision - scale));
}

// Of a number that no double can be: whether it is too small for one, not too large.
bool IsTiny(std::string_view number) noexcept {
  constexpr std::int64_t kFarthest = 1'000'000'000'000;
  const std::size_t e = std::min(number.find_first_of("eE"), number.size());
  const std::string_view digits = number.substr(0, e);
  std::string_view exponent = number.substr(std::min(e + 1, number.size()));
  const bool negative = exponent.starts_with('-');
  if (negative || exponent.starts_with('+')) exponent.remove_prefix(1);
  std::int64_t power = 0;
  const auto [end, error] =
      std::from_chars(exponent.data(), exponent.data() + exponent.size(), power);
  if (error == std::errc::result_out_of_range || power > kFarthest) power = kFarthest;
  const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
  const auto first = static_cast<std::int64_t>(digits.find_first_of("123456789"));
  return point - first + (negative ? -power : power) < 0;
}

double ExactDecimal(const DecimalText& text, int scale) {
  Digits digits(text.whole, text.fraction);
  digits.Cut(scale, true);
  return digits.ToDouble(text.negative);
}

// The sign and the number in `text` without a currency sign in front and commas between.
std::string PlainAmount(std::string_view text) {
  constexpr std::array<std::string_view, 5> kCurrencySigns = {"$", "¥", "￥", "£", "€"};
  std::string plain;
  if (text.starts_with('-') || text.starts_with('+')) {
    plain += text.front();
    text.remove_prefix(1);
  }
  for (const std::string_view sign : kCurrencySigns) {
    if (text.starts_with(sign)) {
      text.remove_prefix(sign.size());
      if (plain.empty() && text.starts_with('-')) {
        plain += '-';
        text.remove_prefix(1);
      }
      break;
    }
  }
  std::copy_if(text.begin(), text.end(), std::back_inserter(plain),
               [](char c) { return c != ','; });
  return plain;
}

std::string PrintFixed(double number, int digits) {
  std::array<char, 400> buffer;  // the largest double has 309 digits before the point
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(),
                                    number == 0 ? 0.0 : number, std::chars_format::fixed, digits);
  return {buffer.data(), result.ptr};
}

}  // namespace

std::int64_t ParseInteger(std::string_view text, TypeKind target, const char* source) {
  const std::string_view digits = TrimBlanks(text);
  if (digits.empty()) return 0;
  std::int64_t number = 0;
  const IntegerText result = ReadInteger(digits, number);
  if (result == IntegerText::kBad) {
    throw target == TypeKind::BigInt ? BadText(source, target) : BadInteger(text, target, source);
  }
  const IntegerRange range = RangeOf(target);
  if (result == IntegerText::kTooLarge || number < range.least || number > range.most) {
    throw IntegerColumnOverflow(text, target, source);
  }
  return number;
}

bool ParseBit(std::string_view text, const char* source) {
  const std::string_view digits = TrimBlanks(text);
  if (digits.empty()) return false;
  std::int64_t number = 0;
  const IntegerText result = ReadInteger(digits, number);
  if (result != IntegerText::kBad) return result == IntegerText::kTooLarge || number != 0;

  std::string lower(digits);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  if (lower == "true") return true;
  if (lower == "false") return false;
  throw BadInteger(text, TypeKind::Bit, source);
}

double ParseFloat(std::string_view text, const char* source) {
  std::string_view digits = TrimBlanks(text);
  if (digits.empty()) return 0;
  const bool negative = digits.starts_with('-');
  if (negative || digits.starts_with('+')) digits.remove_prefix(1);
  // What follows the sign begins like a number: from_chars knows "inf" and a second sign too.
  if (digits.empty() || !(IsDigit(digits.front()) || digits.front() == '.')) {
    throw BadText(source, TypeKind::Float);
  }
  double number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error == std::errc::invalid_argument || stop != end) throw BadText(source, TypeKind::Float);
  if (error == std::errc::result_out_of_range) {
    if (!IsTiny(digits)) throw OverflowFrom(source, TypeKind::Float);
    number = 0;
  }
  return negative ? -number : number;
}

double ParseDecimal(std::string_view text, int precision, int scale, const char* source) {
  DecimalText decimal;
  if (!ReadDecimalText(TrimBlanks(text), decimal)) throw BadText(source, TypeKind::Decimal);
  const double number = ExactDecimal(decimal, scale);
  if (ExceedsPrecision(number, precision, scale)) throw OverflowFrom(source, TypeKind::Decimal);
  return number;
}

double ParseMoney(std::string_view text) {
  const std::string_view digits = TrimBlanks(text);
  if (digits.empty()) return 0;
  const std::string plain = PlainAmount(digits);
  DecimalText decimal;
  if (!ReadDecimalText(plain, decimal)) {
    throw SqlError(235, kSeverity,
                   "Cannot convert a char value to money. The char value has incorrect syntax.");
  }
  return ToMoney(ExactDecimal(decimal, kMoneyScale));
}

std::int64_t ParseInteger(TextView text, TypeKind target, const char* source) {
  return ParseInteger(std::string_view(ToUtf8(text)), target, source);
}
bool ParseBit(TextView text, const char* source) {
  return ParseBit(std::string_view(ToUtf8(text)), source);
}
double ParseFloat(TextView text, const char* source) {
  return ParseFloat(std::string_view(ToUtf8(text)), source);
}
double ParseDecimal(TextView text, int precision, int scale, const char* source) {
  return ParseDecimal(std::string_view(ToUtf8(text)), precision, scale, source);
}
double ParseMoney(TextView text) { return ParseMoney(std::string_view(ToUtf8(text))); }

std::int64_t ToInteger(std::int64_t number, TypeKind target) {
  if (target == TypeKind::Bit) return number != 0;
  const IntegerRange range = RangeOf(target);
  if (number < range.least || number > range.most) {
    throw IntegerOverflow(std::to_string(number), target);
  }
  return number;
}

std::int64_t ToInteger(double number, TypeKind target) {
  if (target == TypeKind::Bit) return number != 0;
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (!(number >= -kTwoTo63 && number < kTwoTo63)) {
    throw IntegerOverflow(FormatFloat(number, 0), target);
  }
  return ToInteger(static_cast<std::int64_t>(number), target);
}

double ToDecimal(double number, int precision, int scale) {
  const double rounded = RoundDecimal(number, scale);
  if (ExceedsPrecision(rounded, precision, scale)) throw OverflowFrom("numeric", TypeKind::Decimal);
  return rounded;
}

double ToMoney(double number) {
  const double rounded = RoundDecimal(number, kMoneyScale);
  if (!(std::fabs(rounded) < kMoneyLimit)) throw OverflowFrom("expression", TypeKind::Money);
  return rounded;
}

std::string FormatFloat(double number, int style) {
  std::array<char, 40> buffer;
  char* const last = buffer.data() + buffer.size();
  const auto result =
      style == 0 ? std::to_chars(buffer.data(), last, number, std::chars_format::general, 6)
                 : std::to_chars(buffer.data(), last, number, std::chars_format::scientific,
                                 style == 1 ? 7 : 15);
  std::string text(buffer.data(), result.ptr);
  const std::size_t e = text.find('e');
  if (e != std::string::npos && text.size() - e == 4) text.insert(e + 2, 1, '0');
  return text;
}

std::string FormatDecimal(double number, int scale) { return PrintFixed(number, scale); }

std::string FormatMoney(double number, int style) {
  const int digits = style == 0 || style == 1 ? 2 : kMoneyScale;
  std::string text = PrintFixed(RoundDecimal(number, digits), digits);
  if (style != 1) return text;
  const std::size_t first = text.front() == '-' ? 1 : 0;
  for (std::size_t at = text.find('.'); at > first + 3;) text.insert(at -= 3, 1, ',');
  return text;
}

}  // namespace ledgerwick::tsql
