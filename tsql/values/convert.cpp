#include "tsql/values/convert.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "tsql/base/errors.h"
#include "tsql/values/decimal.h"

namespace ledgerwick::tsql {
namespace {

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
  return errors::ConversionFailed(source, text, KindName(target));
}

SqlError BadText(const char* source, TypeKind target) {
  return errors::ConvertDataType(Widen(source), Widen(KindName(target)));
}

SqlError OverflowFrom(const char* source, TypeKind target) {
  return errors::OverflowFrom(source, KindName(target));
}

SqlError IntegerColumnOverflow(std::string_view text, TypeKind target, const char* source) {
  if (target == TypeKind::BigInt) return OverflowFrom("expression", target);
  const char* name = target == TypeKind::Int       ? "int"
                     : target == TypeKind::TinyInt ? "INT1"
                                                   : "INT2";
  return errors::IntegerColumnOverflow(source, text, name);
}

struct IntegerRange {
  std::int64_t least;
  std::int64_t most;
};

IntegerRange RangeOf(TypeKind target) noexcept {
  if (target == TypeKind::Bit) return {0, 1};
  if (target == TypeKind::TinyInt) return {0, std::numeric_limits<std::uint8_t>::max()};
  const int unused = 64 - 8 * FixedBytes(target);
  return {std::numeric_limits<std::int64_t>::min() >> unused,
          std::numeric_limits<std::int64_t>::max() >> unused};
}

SqlError IntegerOverflow(const std::string& number, TypeKind target) {
  if (target != TypeKind::TinyInt && target != TypeKind::SmallInt) {
    return OverflowFrom("expression", target);
  }
  return errors::ValueOverflow(KindName(target), number);
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
  if (digits.empty() || digits == "-" || digits == "+") return 0;
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
  // An exponent may be written with a d.
  std::string with_e;
  if (const std::size_t d = digits.find_first_of("dD"); d != std::string_view::npos) {
    with_e = digits;
    with_e[d] = 'e';
    digits = with_e;
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

Exact ParseDecimal(std::string_view text, ExactSize size, const char* source) {
  const auto number = ParseExact(TrimBlanks(text), size.scale, source);
  if (!number) throw BadText(source, TypeKind::Decimal);
  return Convert(*number, size, Rest::Round, source);
}

Exact ParseMoney(std::string_view text, int precision) {
  const std::string_view digits = TrimBlanks(text);
  if (digits.empty()) return {0, kMoneyScale};
  const std::string plain = PlainAmount(digits);
  // A sign, a point or a comma alone is nothing.
  if (plain.empty() || plain == "-" || plain == "+" || plain == ".") return {0, kMoneyScale};
  const auto number =
      ParseExact(plain, kMoneyScale, "expression",
                 KindName(precision == kMoneyPrecision ? TypeKind::Money : TypeKind::SmallMoney));
  if (!number) {
    throw errors::BadMoney();
  }
  return Convert(*number, {precision, kMoneyScale}, Rest::Round, "expression");
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
Exact ParseDecimal(TextView text, ExactSize size, const char* source) {
  return ParseDecimal(std::string_view(ToUtf8(text)), size, source);
}
Exact ParseMoney(TextView text, int precision) {
  return ParseMoney(std::string_view(ToUtf8(text)), precision);
}

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

std::int64_t ToInteger(const Exact& number, TypeKind target) {
  const Int128 whole = number.units / PowerOfTen(number.scale);
  if (target == TypeKind::Bit) return number.units != 0;
  const auto narrow = static_cast<std::int64_t>(whole);
  if (narrow != whole) throw IntegerOverflow(FormatExact({whole, 0}), target);
  return ToInteger(narrow, target);
}

double Finite(double number) {
  if (!std::isfinite(number)) throw errors::Overflow(u"float");
  return number;
}

double ToReal(double number) {
  // Halfway beyond the largest value, a number is no longer nearest to it.
  constexpr double kLimit = 0x1.ffffffp+127;
  if (!(std::fabs(number) < kLimit)) throw OverflowFrom("expression", TypeKind::Real);
  return static_cast<double>(static_cast<float>(number));
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

std::string FormatMoney(const Exact& number, int style) {
  const int digits = style == 0 || style == 1 ? 2 : kMoneyScale;
  std::string text = FormatExact(Convert(number, {kMostDigits, digits}));
  if (style != 1) return text;
  const std::size_t first = text.front() == '-' ? 1 : 0;
  for (std::size_t at = text.find('.'); at > first + 3;) text.insert(at -= 3, 1, ',');
  return text;
}

}  // namespace ledgerwick::tsql
