// Writing dates and times as text.
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

#include "tsql/base/errors.h"
#include "tsql/values/calendar.h"

namespace ledgerwick::tsql {
namespace {

namespace chrono = std::chrono;

struct Parts {
  int year = 1900;
  int month = 1;
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int fraction = 0;  // in ticks
};

// `ticks` as it stands in a calendar and on a clock.
Parts PartsOf(std::int64_t ticks, bool hijri) {
  constexpr std::int64_t kTicksPerSecond = 1000 * kTicksPerMillisecond;
  const std::int64_t of_day = TimeOf(ticks);
  const auto seconds = static_cast<int>(of_day / kTicksPerSecond);
  Parts parts{0,
              0,
              0,
              seconds / 3600,
              seconds / 60 % 60,
              seconds % 60,
              static_cast<int>(of_day % kTicksPerSecond)};
  if (hijri) {
    const HijriDate date = HijriOf(DayOf(ticks));
    parts.year = date.year;
    parts.month = date.month;
    parts.day = date.day;
    return parts;
  }
  const chrono::year_month_day day = kFirstDay + chrono::days(DayOf(ticks));
  parts.year = static_cast<int>(day.year());
  parts.month = static_cast<int>(static_cast<unsigned>(day.month()));
  parts.day = static_cast<int>(static_cast<unsigned>(day.day()));
  return parts;
}

void AppendPadded(std::string& out, int value, int width, char pad) {
  std::array<char, 12> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
  const auto length = static_cast<int>(end - buffer.data());
  if (length < width) out.append(static_cast<std::size_t>(width - length), pad);
  out.append(buffer.data(), end);
}

struct Style {
  int number;
  std::string_view pattern;
};

// What the letters of a style's pattern stand for:
//   Y year, y its last two digits, M month, N its name, D day, d the day padded with a blank,
//   H hour, h the hour of twelve padded with a blank, m minute, s second, f the fraction, p AM or
//   PM.
// Other characters stand for themselves; T too.
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
    {22, "M/D/y h:m:s p"},
    {23, "Y-M-D"},
    {130, "d N Y h:m:s:fp"},
    {131, "D/M/Y h:m:s:fp"},
});
constexpr int kIsoStyle = 126;
constexpr int kIsoZoneStyle = 127;  // a moment without a zone is written without one
constexpr std::string_view kDateLetters = "YyMNDd";
constexpr std::string_view kTimeLetters = "Hhmsfp";

// The pattern of `style`; empty for a style that is none.
std::string_view PatternOf(int style, bool has_fraction) {
  if (style == kIsoStyle || style == kIsoZoneStyle) {
    return has_fraction ? "Y-M-DTH:m:s.f" : "Y-M-DTH:m:s";
  }
  for (const Style& known : kStyles) {
    if (known.number == style) return known.pattern;
  }
  return {};
}

// What a type's values have of a pattern: a date its day, a time its time of day.
std::string_view PatternFor(std::string_view pattern, TypeKind kind) {
  if (kind == TypeKind::Date) return pattern.substr(0, pattern.find_last_of(kDateLetters) + 1);
  if (kind != TypeKind::Time) return pattern;
  return pattern.substr(std::min(pattern.find_first_of(kTimeLetters), pattern.size()));
}

// Writes the parts of one moment of a type.
class Writer {
 public:
  Writer(const Parts& parts, const Type& type, int style, const DateOptions& options)
      : parts_(parts), type_(type), hijri_(style >= 130), options_(options) {}

  std::string Write(std::string_view pattern) {
    out_.reserve(30);
    for (const char letter : pattern) Append(letter);
    return std::move(out_);
  }

 private:
  void Append(char letter) {
    switch (letter) {
      case 'Y':
        return AppendPadded(out_, parts_.year, 4, '0');
      case 'y':
        return AppendPadded(out_, parts_.year % 100, 2, '0');
      case 'M':
        return AppendPadded(out_, parts_.month, 2, '0');
      case 'N':
        return AppendMonth(static_cast<std::size_t>(parts_.month - 1));
      case 'D':
        return AppendPadded(out_, parts_.day, 2, '0');
      case 'd':
        return AppendPadded(out_, parts_.day, 2, ' ');
      case 'H':
        return AppendPadded(out_, parts_.hour, 2, '0');
      case 'h':
        return AppendPadded(out_, (parts_.hour + 11) % 12 + 1, out_.empty() ? 1 : 2, ' ');
      case 'm':
        return AppendPadded(out_, parts_.minute, 2, '0');
      case 's':
        return AppendPadded(out_, parts_.second, 2, '0');
      case 'f':
        return AppendFraction();
      case 'p':
        out_ += parts_.hour < 12 ? "AM" : "PM";
        return;
      default:
        out_ += letter;
    }
  }

  void AppendMonth(std::size_t month) {
    constexpr std::size_t kAbbreviation = 3;
    if (hijri_) {
      out_ += ToUtf8(HijriMonthName(month));
    } else {
      out_ += ToUtf8(MonthName(options_.language, month).substr(0, kAbbreviation));
    }
  }

  // Behind its separator, which is a point for the types that have more than milliseconds and is
  // not there where they have no digits.
  void AppendFraction() {
    if (IsDate(type_.kind)) {
      return AppendPadded(out_, parts_.fraction / static_cast<int>(kTicksPerMillisecond), 3, '0');
    }
    out_.pop_back();
    if (type_.scale == 0) return;
    out_ += '.';
    int value = parts_.fraction;
    for (int digits = type_.scale; digits < kMostFractionDigits; ++digits) value /= 10;
    AppendPadded(out_, value, type_.scale, '0');
  }

  const Parts& parts_;
  const Type& type_;
  bool hijri_;
  const DateOptions& options_;
  std::string out_;
};

}  // namespace

std::string FormatMoment(std::int64_t ticks, const Type& type, int style,
                         const DateOptions& options) {
  const Parts parts = PartsOf(ticks, style == 130 || style == 131);
  const std::string_view whole = PatternOf(style, parts.fraction != 0);
  if (whole.empty()) throw errors::BadDateStyle(style, KindName(type.kind));
  const std::string_view pattern = PatternFor(whole, type.kind);
  if (pattern.empty()) {
    const std::string_view name = KindName(type.kind);
    throw errors::ConvertDataType(Text(name.begin(), name.end()), u"varchar");
  }
  return Writer(parts, type, style, options).Write(pattern);
}

std::string FormatDateTime(std::int64_t ms, int style, bool is_small, const DateOptions& options) {
  Type type;
  type.kind = is_small ? TypeKind::SmallDateTime : TypeKind::DateTime;
  return FormatMoment(TicksOf(type.kind, ms), type, style, options);
}

}  // namespace ledgerwick::tsql
