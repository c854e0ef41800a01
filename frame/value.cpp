#include "frame/value.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "frame/error.h"

namespace ledgerwick {
namespace {

constexpr std::int64_t kMillisecondsPerDay = 86'400'000;

Text FromAscii(std::string_view ascii) { return Text(ascii.begin(), ascii.end()); }

// Days since 1970-01-01 of a day of the Gregorian calendar.
constexpr std::int64_t DaysFromCivil(std::int64_t year, int month, int day) noexcept {
  year -= month <= 2;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t of_era = year - era * 400;
  const std::int64_t of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  return era * 146097 + of_era * 365 + of_era / 4 - of_era / 100 + of_year - 719468;
}

constexpr std::int64_t kZeroDay = DaysFromCivil(1899, 12, 30);

// The serial numbers of the platform's first and last day.
constexpr std::int64_t kFirstDay = DaysFromCivil(100, 1, 1) - kZeroDay;
constexpr std::int64_t kLastDay = DaysFromCivil(9999, 12, 31) - kZeroDay;

Text FormatDay(const CalendarTime& t) {
  std::array<char, 32> buffer;
  const int n =
      std::snprintf(buffer.data(), buffer.size(), "%04d-%02d-%02d", t.year, t.month, t.day);
  return FromAscii({buffer.data(), static_cast<std::size_t>(n)});
}

Text FormatTime(const CalendarTime& t) {
  std::array<char, 32> buffer;
  const int n =
      std::snprintf(buffer.data(), buffer.size(), "%d:%02d:%02d", t.hour, t.minute, t.second);
  return FromAscii({buffer.data(), static_cast<std::size_t>(n)});
}

Text FormatDate(Date date) {
  const CalendarTime t = ToCalendar(date);
  const bool has_time = t.hour != 0 || t.minute != 0 || t.second != 0;
  if (std::floor(date.serial) == 0) return FormatTime(t);  // a time of day alone
  return has_time ? FormatDay(t) + u' ' + FormatTime(t) : FormatDay(t);
}

Text FormatFloat(double d) {
  std::array<char, 40> buffer;
  const int n = std::snprintf(buffer.data(), buffer.size(), "%.15G", d);
  return FromAscii({buffer.data(), static_cast<std::size_t>(n)});
}

// Reads decimal numbers off the front of a text.
class NumberReader {
 public:
  explicit NumberReader(TextView text) : rest_(text) {}

  bool Number(int& value, std::size_t most_digits) {
    std::size_t n = 0;
    value = 0;
    while (n < rest_.size() && n < most_digits && rest_[n] >= u'0' && rest_[n] <= u'9') {
      value = value * 10 + (rest_[n++] - u'0');
    }
    rest_.remove_prefix(n);
    return n > 0;
  }
  bool Skip(char16_t c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool AtEnd() const { return rest_.empty(); }

 private:
  TextView rest_;
};

}  // namespace

CalendarTime ToCalendar(Date date) {
  // So written that what is no number is refused as well.
  if (!(date.serial > kFirstDay - 1 && date.serial < kLastDay + 1)) throw InvalidCall();
  const double day = std::floor(date.serial);
  // Before the zero day the platform counts the time of day forwards from the day's start all the
  // same: -1.25 is 06:00 on the day before.
  double fraction = date.serial - day;
  std::int64_t days = static_cast<std::int64_t>(day);
  if (date.serial < 0 && fraction > 0) {
    fraction = 1 - fraction;
    days += 1;
  }
  std::int64_t of_day = std::llround(fraction * static_cast<double>(kMillisecondsPerDay));
  if (of_day == kMillisecondsPerDay) {
    of_day = 0;
    ++days;
  }
  if (days > kLastDay) throw InvalidCall();
  const std::int64_t z = days + kZeroDay + 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t of_era = z - era * 146097;
  const std::int64_t year_of_era =
      (of_era - of_era / 1460 + of_era / 36524 - of_era / 146096) / 365;
  const std::int64_t of_year = of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::int64_t shifted_month = (5 * of_year + 2) / 153;
  CalendarTime t;
  t.day = static_cast<int>(of_year - (153 * shifted_month + 2) / 5 + 1);
  t.month = static_cast<int>(shifted_month < 10 ? shifted_month + 3 : shifted_month - 9);
  t.year = static_cast<int>(year_of_era + era * 400 + (t.month <= 2));
  t.hour = static_cast<int>(of_day / 3'600'000);
  t.minute = static_cast<int>(of_day / 60'000 % 60);
  t.second = static_cast<int>(of_day / 1000 % 60);
  t.millisecond = static_cast<int>(of_day % 1000);
  return t;
}

std::optional<Date> FromCalendar(const CalendarTime& t) noexcept {
  if (t.year < 100 || t.year > 9999 || t.month < 1 || t.month > 12 || t.day < 1)
    return std::nullopt;
  const std::int64_t next =
      t.month == 12 ? DaysFromCivil(t.year + 1, 1, 1) : DaysFromCivil(t.year, t.month + 1, 1);
  const std::int64_t first = DaysFromCivil(t.year, t.month, 1);
  if (t.day > next - first) return std::nullopt;
  if (t.hour < 0 || t.hour > 23 || t.minute < 0 || t.minute > 59 || t.second < 0 || t.second > 59 ||
      t.millisecond < 0 || t.millisecond > 999) {
    return std::nullopt;
  }
  const std::int64_t day = first + t.day - 1 - kZeroDay;
  const std::int64_t of_day = ((t.hour * 60 + t.minute) * 60 + t.second) * 1000 + t.millisecond;
  const double fraction = static_cast<double>(of_day) / static_cast<double>(kMillisecondsPerDay);
  return Date{day < 0 ? static_cast<double>(day) - fraction : static_cast<double>(day) + fraction};
}

std::optional<Date> ParseDate(TextView text) {
  NumberReader in(Trim(text));
  CalendarTime t;
  if (!in.Number(t.year, 4)) return std::nullopt;
  const char16_t separator = in.Skip(u'-') ? u'-' : u'/';
  if (separator == u'/' && !in.Skip(u'/')) return std::nullopt;
  if (!in.Number(t.month, 2) || !in.Skip(separator) || !in.Number(t.day, 2)) return std::nullopt;
  if (!in.AtEnd()) {
    if (!in.Skip(u' ')) return std::nullopt;
    while (in.Skip(u' ')) {
    }
    if (!in.Number(t.hour, 2) || !in.Skip(u':') || !in.Number(t.minute, 2)) return std::nullopt;
    if (in.Skip(u':') && !in.Number(t.second, 2)) return std::nullopt;
    int fraction = 0;
    if (in.Skip(u'.') && !in.Number(fraction, 9)) return std::nullopt;
    if (!in.AtEnd()) return std::nullopt;
  }
  return FromCalendar(t);
}

Text OpaqueValue::ToText() const { throw TypeMismatch(); }

Text Value::ToText() const {
  struct Visitor {
    Text operator()(std::monostate) const { return {}; }
    Text operator()(Null) const { return {}; }
    Text operator()(bool b) const { return b ? u"True" : u"False"; }
    Text operator()(std::int64_t i) const { return FromAscii(std::to_string(i)); }
    Text operator()(double d) const { return FormatFloat(d); }
    Text operator()(Date d) const { return FormatDate(d); }
    Text operator()(const Text& text) const { return text; }
    Text operator()(const std::shared_ptr<const OpaqueValue>& opaque) const {
      return opaque->ToText();
    }
  };
  return std::visit(Visitor{}, data_);
}

std::shared_ptr<const OpaqueValue> Value::Opaque() const noexcept {
  const auto* opaque = If<std::shared_ptr<const OpaqueValue>>();
  return opaque ? *opaque : nullptr;
}

double ToNumber(const Value& value) {
  if (const auto* d = value.If<double>()) return *d;
  if (const auto* i = value.If<std::int64_t>()) return static_cast<double>(*i);
  if (const auto* b = value.If<bool>()) return *b ? -1 : 0;
  if (const auto* date = value.If<Date>()) return date->serial;
  const Text text = value.ToText();
  const std::string ascii = ToUtf8(Trim(text));
  std::string_view digits = ascii;
  if (digits.starts_with('+')) digits.remove_prefix(1);
  double number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool whole = error == std::errc() && end == digits.data() + digits.size();
  if (!whole || !std::isfinite(number)) throw TypeMismatch();
  return number;
}

Date ToDate(const Value& value) {
  if (const auto* date = value.If<Date>()) return *date;
  if (const std::optional<Date> date = ParseDate(value.ToText())) return *date;
  throw TypeMismatch();
}

Text FormatIsoDate(const Value& value) {
  if (const auto* date = value.If<Date>()) return FormatDay(ToCalendar(*date));
  Text text = value.ToText();
  if (const std::optional<Date> date = ParseDate(text)) return FormatDay(ToCalendar(*date));
  return text;
}

}  // namespace ledgerwick
