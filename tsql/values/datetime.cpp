#include "tsql/values/datetime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>
#include <utility>

#include "tsql/base/errors.h"

namespace ledgerwick::tsql {
namespace {

namespace chrono = std::chrono;

constexpr std::int32_t kSeverity = 16;

constexpr chrono::sys_days kFirstDay = chrono::year{1900} / 1 / 1;

constexpr std::int64_t StartOf(chrono::year_month_day day) {
  return (chrono::sys_days(day) - kFirstDay).count() * kMillisecondsPerDay;
}

constexpr std::int64_t kLeast = StartOf(chrono::year{1753} / 1 / 1);
constexpr std::int64_t kEnd = StartOf(chrono::year{10000} / 1 / 1);
constexpr std::int64_t kSmallEnd = StartOf(chrono::year{2079} / 6 / 7);

// The frame counts its dates from two days before the storage's first day.
constexpr double kFrameOffset = 2;

// What stands in a column may have been written by anybody: beyond a datetime's range it counts as
// the range's end. What T-SQL itself computes stays far within what can be added here.
constexpr std::int64_t Stored(std::int64_t ms) noexcept { return std::clamp(ms, -kEnd, kEnd); }

constexpr std::int64_t FloorDivide(std::int64_t a, std::int64_t b) noexcept {
  return a / b - (a % b < 0);
}

constexpr std::int64_t DayOf(std::int64_t ms) noexcept {
  return FloorDivide(ms, kMillisecondsPerDay);
}

constexpr std::int64_t TimeOf(std::int64_t ms) noexcept {
  return ms - DayOf(ms) * kMillisecondsPerDay;
}

chrono::year_month_day CivilOf(std::int64_t ms) noexcept {
  return kFirstDay + chrono::days(DayOf(ms));
}

int YearOf(chrono::year_month_day day) noexcept { return static_cast<int>(day.year()); }

int MonthOf(chrono::year_month_day day) noexcept {
  return static_cast<int>(static_cast<unsigned>(day.month()));
}

// 0 on Sunday. The first day of all, 1900-01-01, is a Monday.
std::int64_t DayOfWeek(std::int64_t day) noexcept { return day + 1 - FloorDivide(day + 1, 7) * 7; }

SqlError OverflowToDateTime() { return errors::Overflow(u"datetime"); }

SqlError OutOfSmallRange(const char* source) {
  return {242, kSeverity,
          std::string("The conversion of a ") + source +
              " data type to a smalldatetime data type resulted in an out-of-range value."};
}

std::int64_t RoundToMinute(std::int64_t ms, const char* source) {
  constexpr std::int64_t kMinute = 60'000;
  constexpr std::int64_t kRoundUp = 30'001;  // 29.999 seconds count as a whole minute
  const std::int64_t rounded = FloorDivide(ms + kRoundUp, kMinute) * kMinute;
  if (rounded < 0 || rounded >= kSmallEnd) throw OutOfSmallRange(source);
  return rounded;
}

// How often the unit has turned over since the first day.
std::int64_t CountOf(DatePart part, std::int64_t ms) {
  const auto months = [&] {
    const chrono::year_month_day day = CivilOf(ms);
    return std::int64_t{YearOf(day)} * 12 + MonthOf(day) - 1;
  };
  switch (part) {
    case DatePart::Year:
      return FloorDivide(months(), 12);
    case DatePart::Quarter:
      return FloorDivide(months(), 3);
    case DatePart::Month:
      return months();
    case DatePart::Week:
      return FloorDivide(DayOf(ms) + 1, 7);
    case DatePart::Day:
    case DatePart::DayOfYear:
    case DatePart::Weekday:
      return DayOf(ms);
    case DatePart::Hour:
      return FloorDivide(ms, 3'600'000);
    case DatePart::Minute:
      return FloorDivide(ms, 60'000);
    case DatePart::Second:
      return FloorDivide(ms, 1000);
    case DatePart::Millisecond:
      return ms;
  }
  return 0;
}

// The length of a unit that always has the same one; 0 for the others.
std::int64_t LengthOf(DatePart part) {
  switch (part) {
    case DatePart::Week:
      return 7 * kMillisecondsPerDay;
    case DatePart::Day:
    case DatePart::DayOfYear:
    case DatePart::Weekday:
      return kMillisecondsPerDay;
    case DatePart::Hour:
      return 3'600'000;
    case DatePart::Minute:
      return 60'000;
    case DatePart::Second:
      return 1000;
    case DatePart::Millisecond:
      return 1;
    default:
      return 0;
  }
}

std::int64_t MonthsIn(DatePart part) {
  if (part == DatePart::Month) return 1;
  return part == DatePart::Quarter ? 3 : 12;
}

SqlError AddOverflow() {
  return {517, kSeverity, "Adding a value to a 'datetime' column caused an overflow."};
}

std::int64_t AddMonths(std::int64_t ms, std::int64_t months) {
  const chrono::year_month_day from = CivilOf(ms);
  const std::int64_t month = std::int64_t{YearOf(from)} * 12 + MonthOf(from) - 1 + months;
  const std::int64_t year = FloorDivide(month, 12);
  if (year < 1753 || year > 9999) throw AddOverflow();
  const chrono::year_month to_month{chrono::year(static_cast<int>(year)),
                                    chrono::month(static_cast<unsigned>(month - year * 12 + 1))};
  chrono::year_month_day to = to_month / from.day();
  if (!to.ok()) to = to_month / chrono::last;
  return StartOf(to) + TimeOf(ms);
}

}  // namespace

DatePart DatePartByName(std::string_view name) {
  constexpr std::array<std::pair<std::string_view, DatePart>, 11> kNames = {{
      {"day", DatePart::Day},
      {"month", DatePart::Month},
      {"year", DatePart::Year},
      {"quarter", DatePart::Quarter},
      {"week", DatePart::Week},
      {"dayofyear", DatePart::DayOfYear},
      {"weekday", DatePart::Weekday},
      {"hour", DatePart::Hour},
      {"minute", DatePart::Minute},
      {"second", DatePart::Second},
      {"millisecond", DatePart::Millisecond},
  }};
  for (const auto& [known, part] : kNames) {
    if (known == name) return part;
  }
  throw SqlError(155, 15, "'" + std::string(name) + "' is not a recognized datepart option.");
}

std::int64_t ParseSmallDateTime(std::string_view text) {
  return RoundToMinute(ParseDateTime(text), "varchar");
}
std::int64_t ParseSmallDateTime(TextView text) {
  return ParseSmallDateTime(std::string_view(ToUtf8(text)));
}
std::int64_t ParseDateTime(TextView text) { return ParseDateTime(std::string_view(ToUtf8(text))); }

std::int64_t RoundDateTime(std::int64_t ms) noexcept {
  const std::int64_t tens = FloorDivide(ms, 10) * 10;
  const std::int64_t ticks = ((ms - tens) * 3 + 5) / 10;  // of a 300th second
  return tens + (ticks * 10 + 1) / 3;
}

std::int64_t ToSmallDateTime(std::int64_t ms) { return RoundToMinute(Stored(ms), "datetime"); }

std::int64_t DateTimeFromDays(double days) {
  constexpr double kDay = static_cast<double>(kMillisecondsPerDay);
  const double ms = days * kDay;
  if (!(ms >= static_cast<double>(kLeast) && ms < static_cast<double>(kEnd))) {
    throw OverflowToDateTime();
  }
  const std::int64_t rounded = RoundDateTime(std::llround(ms));
  if (rounded >= kEnd) throw OverflowToDateTime();
  return rounded;
}

double DaysFromDateTime(std::int64_t ms) noexcept {
  return static_cast<double>(ms) / static_cast<double>(kMillisecondsPerDay);
}

std::int64_t DateTimeFromDate(Date date) {
  const CalendarTime t = ToCalendar(date);
  const chrono::year_month_day day =
      chrono::year(t.year) / static_cast<int>(t.month) / static_cast<int>(t.day);
  const std::int64_t of_day = ((t.hour * 60 + t.minute) * 60 + t.second) * 1000 + t.millisecond;
  const std::int64_t ms = RoundDateTime(StartOf(day) + of_day);
  if (ms < kLeast || ms >= kEnd) throw errors::DateOutOfRange();
  return ms;
}

Date DateFromDateTime(std::int64_t stored) noexcept {
  const std::int64_t ms = Stored(stored);
  const double day = static_cast<double>(DayOf(ms)) + kFrameOffset;
  const double time = DaysFromDateTime(TimeOf(ms));
  return Date{day < 0 ? day - time : day + time};  // before its zero day it counts times backwards
}

std::int64_t DateDiff(DatePart part, std::int64_t from, std::int64_t to) {
  const std::int64_t difference = CountOf(part, Stored(to)) - CountOf(part, Stored(from));
  if (difference < std::numeric_limits<std::int32_t>::min() ||
      difference > std::numeric_limits<std::int32_t>::max()) {
    throw SqlError(535, kSeverity,
                   "The datediff function resulted in an overflow. The number of dateparts "
                   "separating two date/time instances is too large. Try to use datediff with a "
                   "less precise datepart.");
  }
  return difference;
}

std::int64_t DateAdd(DatePart part, std::int64_t count, std::int64_t stored) {
  const std::int64_t ms = Stored(stored);
  if (count < std::numeric_limits<std::int32_t>::min() ||
      count > std::numeric_limits<std::int32_t>::max()) {
    throw errors::Overflow(u"int");
  }
  const std::int64_t length = LengthOf(part);
  const std::int64_t sum =
      length == 0 ? AddMonths(ms, count * MonthsIn(part)) : RoundDateTime(ms + count * length);
  if (sum < kLeast || sum >= kEnd) throw AddOverflow();
  return sum;
}

int DatePartOf(DatePart part, std::int64_t stored) noexcept {
  const std::int64_t ms = Stored(stored);
  const chrono::year_month_day day = CivilOf(ms);
  const std::int64_t new_year = DayOf(StartOf(day.year() / 1 / 1));
  const std::int64_t of_year = DayOf(ms) - new_year;
  const std::int64_t of_day = TimeOf(ms);
  switch (part) {
    case DatePart::Year:
      return YearOf(day);
    case DatePart::Quarter:
      return (MonthOf(day) - 1) / 3 + 1;
    case DatePart::Month:
      return MonthOf(day);
    case DatePart::Week:
      return static_cast<int>((of_year + DayOfWeek(new_year)) / 7 + 1);
    case DatePart::Day:
      return static_cast<int>(static_cast<unsigned>(day.day()));
    case DatePart::DayOfYear:
      return static_cast<int>(of_year + 1);
    case DatePart::Weekday:
      return static_cast<int>(DayOfWeek(DayOf(ms)) + 1);
    case DatePart::Hour:
      return static_cast<int>(of_day / 3'600'000);
    case DatePart::Minute:
      return static_cast<int>(of_day / 60'000 % 60);
    case DatePart::Second:
      return static_cast<int>(of_day / 1000 % 60);
    case DatePart::Millisecond:
      return static_cast<int>(of_day % 1000);
  }
  return 0;
}

std::int64_t CurrentDateTime() {
  const auto now = chrono::floor<chrono::milliseconds>(chrono::system_clock::now());
  const std::time_t seconds = chrono::system_clock::to_time_t(now);
  const std::int64_t ms = (now - chrono::floor<chrono::seconds>(now)).count();
  std::tm local{};
  if (localtime_r(&seconds, &local) == nullptr) throw OverflowToDateTime();
  const chrono::year_month_day day =
      chrono::year(local.tm_year + 1900) / (local.tm_mon + 1) / local.tm_mday;
  const std::int64_t of_day = (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
  return RoundDateTime(StartOf(day) + of_day * 1000 + ms);
}

}  // namespace ledgerwick::tsql
