#include "output/value_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace ledgerwick {
namespace {

// Outside these bounds a number has an exponent.
constexpr double kLeastFixed = 1e-6;
constexpr double kMostFixed = 1e21;

// The longest double without an exponent has 309 digits before the point.
using Buffer = std::array<char, 512>;

std::string Infinity(double number) { return number < 0 ? "-Infinity" : "Infinity"; }

}  // namespace

std::string DateText(Date date) {
  const CalendarTime t = ToCalendar(date);
  std::array<char, 64> buffer;
  const bool has_time = t.hour != 0 || t.minute != 0 || t.second != 0 || t.millisecond != 0;
  int n = std::snprintf(buffer.data(), buffer.size(), "%04d-%02d-%02d", t.year, t.month, t.day);
  std::string text(buffer.data(), static_cast<std::size_t>(n));
  if (!has_time) return text;
  n = std::snprintf(buffer.data(), buffer.size(), " %02d:%02d:%02d", t.hour, t.minute, t.second);
  text.append(buffer.data(), static_cast<std::size_t>(n));
  if (t.millisecond == 0) return text;
  n = std::snprintf(buffer.data(), buffer.size(), ".%03d", t.millisecond);
  return text.append(buffer.data(), static_cast<std::size_t>(n));
}

std::string ShortestNumber(double number) {
  if (!std::isfinite(number)) return Infinity(number);
  if (number == 0) return "0";  // without the sign of a negative zero
  const double size = std::fabs(number);
  const bool fixed = size >= kLeastFixed && size < kMostFixed;
  Buffer buffer;
  const auto format = fixed ? std::chars_format::fixed : std::chars_format::scientific;
  const auto end = std::to_chars(buffer.begin(), buffer.end(), number, format);
  return {buffer.data(), end.ptr};
}

std::string ShortestDecimal(std::string digits) {
  if (digits.find('.') == std::string::npos) return digits;
  digits.erase(digits.find_last_not_of('0') + 1);
  if (digits.back() == '.') digits.pop_back();
  return digits;
}

std::string FixedNumber(double number, std::int32_t scale) {
  if (!std::isfinite(number)) return Infinity(number);
  Buffer buffer;
  const auto end =
      std::to_chars(buffer.begin(), buffer.end(), number, std::chars_format::fixed, scale);
  std::string text(buffer.data(), end.ptr);
  // What rounds to zero has no sign.
  const bool is_zero = text.find_first_of("123456789") == std::string::npos;
  return is_zero && text.starts_with('-') ? text.substr(1) : text;
}

}  // namespace ledgerwick
