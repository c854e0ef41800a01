// Reading and writing datetimes as text.
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <optional>

#include "tsql/base/errors.h"
#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {
namespace {

namespace chrono = std::chrono;

constexpr chrono::sys_days kFirstDay = chrono::year{1900} / 1 / 1;

// Behind the last datetime.
constexpr std::int64_t kEndOfDateTime =
    (chrono::sys_days(chrono::year{10000} / 1 / 1) - kFirstDay).count() * kMillisecondsPerDay;

constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// A text as it is read from the left. A member that finds what it looks for takes it off.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool AtEnd() const { return rest_.empty(); }

  bool Skip(char c) {
    if (!rest_.starts_with(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  bool SkipLetter(char upper) { return Skip(upper) || Skip(static_cast<char>(upper + 32)); }

  bool SkipBlanks() {
    const std::size_t blanks = std::min(rest_.find_first_not_of(' '), rest_.size());
    rest_.remove_prefix(blanks);
    return blanks > 0;
  }

  // How many digits come next.
  std::size_t DigitsAhead() const {
    std::size_t n = 0;
    while (n < rest_.size() && rest_[n] >= '0' && rest_[n] <= '9') ++n;
    return n;
  }

  char CharAfterDigits() const {
    const std::size_t n = DigitsAhead();
    return n < rest_.size() ? rest_[n] : '\0';
  }

  // A number of `least` to `most` digits, all that stand there.
  bool Number(std::size_t least, std::size_t most, int& value) {
    const std::size_t n = DigitsAhead();
    if (n < least || n > most) return false;
    value = TakeDigits(n);
    return true;
  }

  // The number that the next `n` digits are; there are as many.
  int TakeDigits(std::size_t n) {
    int value = 0;
    std::from_chars(rest_.data(), rest_.data() + n, value);
    rest_.remove_prefix(n);
    return value;
  }

 private:
  std::string_view rest_;
};

struct Parts {
  int year = 1900;
  int month = 1;
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;
};

// Two-digit years lie in 1950 to 2049.
int FullYear(int two_digits) { return two_digits + (two_digits < 50 ? 2000 : 1900); }

// A day written in digits alone: yyyymmdd, yymmdd or yyyy.
bool ReadUnseparatedDay(Reader& in, Parts& parts) {
  switch (in.DigitsAhead()) {
    case 8:
      parts.year = in.TakeDigits(4);
      break;
    case 6:
      parts.year = FullYear(in.TakeDigits(2));
      break;
    case 4:
      parts.year = in.TakeDigits(4);
      return true;
    default:
      return false;
  }
  parts.month = in.TakeDigits(2);
  parts.day = in.TakeDigits(2);
  return true;
}

bool ReadDay(Reader& in, Parts& parts) {
  const char separator = in.CharAfterDigits();
  if (separator != '-' && separator != '/' && separator != '.') {
    return ReadUnseparatedDay(in, parts);
  }
  return in.Number(4, 4, parts.year) && in.Skip(separator) && in.Number(1, 2, parts.month) &&
         in.Skip(separator) && in.Number(1, 2, parts.day);
}

// The fraction of a second behind the point: one to three digits.
bool ReadFraction(Reader& in, int& millisecond) {
  const std::size_t digits = in.DigitsAhead();
  if (!in.Number(1, 3, millisecond)) return false;
  for (std::size_t n = digits; n < 3; ++n) millisecond *= 10;
  return true;
}

// AM or PM; the hour is one of twelve then.
bool ReadHalfOfDay(Reader& in, Parts& parts) {
  const bool afternoon = in.SkipLetter('P');
  if (!afternoon && !in.SkipLetter('A')) return true;
  if (!in.SkipLetter('M')) return false;
  if (afternoon && parts.hour < 12) parts.hour += 12;
  if (!afternoon && parts.hour == 12) parts.hour = 0;
  return true;
}

bool ReadTime(Reader& in, Parts& parts, bool needs_seconds) {
  if (!in.Number(1, 2, parts.hour) || !in.Skip(':') || !in.Number(1, 2, parts.minute)) return false;
  if (in.Skip(':')) {
    if (!in.Number(1, 2, parts.second)) return false;
    if (in.Skip('.')) {
      if (!ReadFraction(in, parts.millisecond)) return false;
    } else if (in.Skip(':')) {
      if (!in.Number(1, 3, parts.millisecond)) return false;  // thousandths, not a fraction
    }
  } else if (needs_seconds) {
    return false;
  }
  in.SkipBlanks();
  return ReadHalfOfDay(in, parts);
}

std::optional<Parts> ReadDateTime(Reader in) {
  Parts parts;
  bool iso = false;
  in.SkipBlanks();
  if (in.AtEnd()) return parts;
  if (in.CharAfterDigits() != ':') {
    if (!ReadDay(in, parts)) return std::nullopt;
    const bool blanks = in.SkipBlanks();
    if (in.AtEnd()) return parts;
    iso = !blanks && in.Skip('T');
    if (!blanks && !iso) return std::nullopt;
  }
  if (!ReadTime(in, parts, iso)) return std::nullopt;
  in.SkipBlanks();
  return in.AtEnd() ? std::optional(parts) : std::nullopt;
}

// `ms` as it stands in a calendar and on a clock.
Parts PartsOf(std::int64_t ms) {
  const auto time = chrono::milliseconds(std::clamp(ms, -kEndOfDateTime, kEndOfDateTime));
  const auto days = chrono::floor<chrono::days>(time);
  const chrono::year_month_day day = kFirstDay + days;
  const chrono::hh_mm_ss clock(time - days);
  return {static_cast<int>(day.year()),
          static_cast<int>(static_cast<unsigned>(day.month())),
          static_cast<int>(static_cast<unsigned>(day.day())),
          static_cast<int>(clock.hours().count()),
          static_cast<int>(clock.minutes().count()),
          static_cast<int>(clock.seconds().count()),
          static_cast<int>(clock.subseconds().count())};
}

// What the letters of a style's pattern stand for:
//   Y year, y its last two digits, M month, N its name, D day, d the day padded with a blank,
//   H hour, h the hour of twelve padded with a blank, m minute, s second, f millisecond, p AM or
//   PM.
// Other characters stand for themselves; T too.
void AppendPart(std::string& out, char letter, const Parts& parts) {
  const auto padded = [&out](int value, int width, char pad) {
    std::array<char, 12> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    const auto length = static_cast<int>(end - buffer.data());
    if (length < width) out.append(static_cast<std::size_t>(width - length), pad);
    out.append(buffer.data(), end);
  };
  switch (letter) {
    case 'Y':
      return padded(parts.year, 4, '0');
    case 'y':
      return padded(parts.year % 100, 2, '0');
    case 'M':
      return padded(parts.month, 2, '0');
    case 'N':
      out += kMonths[static_cast<std::size_t>(parts.month - 1)];
      return;
    case 'D':
      return padded(parts.day, 2, '0');
    case 'd':
      return padded(parts.day, 2, ' ');
    case 'H':
      return padded(parts.hour, 2, '0');
    case 'h':
      return padded((parts.hour + 11) % 12 + 1, 2, ' ');
    case 'm':
      return padded(parts.minute, 2, '0');
    case 's':
      return padded(parts.second, 2, '0');
    case 'f':
      return padded(parts.millisecond, 3, '0');
    case 'p':
      out += parts.hour < 12 ? "AM" : "PM";
      return;
    default:
      out += letter;
  }
}

struct Style {
  int number;
  std::string_view pattern;
};

constexpr auto kStyles = std::to_array<Style>({
    {0, "N d Y h:mp"},
    {100, "N d Y h:mp"},
    {1, "M/D/y"},
    {101, "M/D/Y"},
    {2, "y.M.D"},
    {102, "Y.M.D"},
    {3, "D/M/y"},
    {103, "D/M/Y"},
    {4, "D.M.y"},
    {104, "D.M.Y"},
    {5, "D-M-y"},
    {105, "D-M-Y"},
    {6, "D N y"},
    {106, "D N Y"},
    {7, "N D, y"},
    {107, "N D, Y"},
    {8, "H:m:s"},
    {24, "H:m:s"},
    {108, "H:m:s"},
    {9, "N d Y h:m:s:fp"},
    {109, "N d Y h:m:s:fp"},
    {10, "M-D-y"},
    {110, "M-D-Y"},
    {11, "y/M/D"},
    {111, "Y/M/D"},
    {12, "yMD"},
    {112, "YMD"},
    {13, "D N Y H:m:s:f"},
    {113, "D N Y H:m:s:f"},
    {14, "H:m:s:f"},
    {114, "H:m:s:f"},
    {20, "Y-M-D H:m:s"},
    {120, "Y-M-D H:m:s"},
    {21, "Y-M-D H:m:s.f"},
    {25, "Y-M-D H:m:s.f"},
    {121, "Y-M-D H:m:s.f"},
    {23, "Y-M-D"},
});
constexpr int kIsoStyle = 126;

// The pattern of `style`; empty for a style that is none.
std::string_view PatternOf(int style, const Parts& parts) {
  if (style == kIsoStyle) return parts.millisecond == 0 ? "Y-M-DTH:m:s" : "Y-M-DTH:m:s.f";
  for (const Style& known : kStyles) {
    if (known.number == style) return known.pattern;
  }
  return {};
}

}  // namespace

std::int64_t ParseDateTime(std::string_view text) {
  const std::optional<Parts> read = ReadDateTime(Reader(text));
  if (!read) throw errors::DateConversion();
  const Parts& parts = *read;
  const chrono::year_month_day day =
      chrono::year(parts.year) / static_cast<int>(parts.month) / static_cast<int>(parts.day);
  const bool exists =
      day.ok() && parts.year >= 1753 && parts.hour < 24 && parts.minute < 60 && parts.second < 60;
  if (!exists) throw errors::DateOutOfRange();
  const std::int64_t days = (chrono::sys_days(day) - kFirstDay).count();
  const std::int64_t of_day =
      ((parts.hour * 60 + parts.minute) * 60 + parts.second) * 1000 + parts.millisecond;
  const std::int64_t ms = RoundDateTime(days * kMillisecondsPerDay + of_day);
  if (ms >= kEndOfDateTime) throw errors::DateOutOfRange();
  return ms;
}

std::string FormatDateTime(std::int64_t ms, int style, bool is_small) {
  const Parts parts = PartsOf(ms);
  const std::string_view pattern = PatternOf(style, parts);
  if (pattern.empty()) {
    throw SqlError(281, 16,
                   std::to_string(style) + " is not a valid style number when converting from " +
                       (is_small ? "smalldatetime" : "datetime") + " to a character string.");
  }
  std::string text;
  text.reserve(30);
  for (const char letter : pattern) AppendPart(text, letter, parts);
  return text;
}

}  // namespace ledgerwick::tsql
