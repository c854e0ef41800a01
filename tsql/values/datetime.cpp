#include "tsql/values/datetime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>

#include "tsql/base/characters.h"
#include "tsql/base/errors.h"
#include "tsql/values/calendar.h"

namespace ledgerwick::tsql {
namespace {

namespace chrono = std::chrono;

constexpr std::int64_t MillisecondsOf(chrono::year_month_day day) {
  return StartOf(day) / kTicksPerMillisecond;
}

constexpr std::int64_t kLeast = MillisecondsOf(chrono::year{1753} / 1 / 1);
constexpr std::int64_t kEnd = MillisecondsOf(chrono::year{10000} / 1 / 1);
constexpr std::int64_t kSmallEnd = MillisecondsOf(chrono::year{2079} / 6 / 7);

// The frame counts its dates from two days before the storage's first day.
constexpr double kFrameOffset = 2;

// What stands in a column may have been written by anybody: beyond a datetime's range it counts as
// the range's end. What T-SQL itself computes stays far within what can be added here.
constexpr std::int64_t Stored(std::int64_t ms) noexcept { return std::clamp(ms, -kEnd, kEnd); }

chrono::year_month_day CivilOf(std::int64_t ticks) noexcept {
  return kFirstDay + chrono::days(DayOf(ticks));
}

int YearOf(chrono::year_month_day day) noexcept { return static_cast<int>(day.year()); }

int MonthOf(chrono::year_month_day day) noexcept {
  return static_cast<int>(static_cast<unsigned>(day.month()));
}

// 0 on Sunday. The first day of all, 1900-01-01, is a Monday.
std::int64_t DayOfWeek(std::int64_t day) noexcept { return day + 1 - FloorDivide(day + 1, 7) * 7; }

SqlError OverflowToDateTime() { return errors::Overflow(u"datetime"); }

std::int64_t RoundToMinute(std::int64_t ms, const char* source) {
  constexpr std::int64_t kMinute = 60'000;
  constexpr std::int64_t kRoundUp = 30'001;  // 29.999 seconds count as a whole minute
  const std::int64_t rounded = FloorDivide(ms + kRoundUp, kMinute) * kMinute;
  if (rounded < 0 || rounded >= kSmallEnd) throw errors::DateOutOfRange(source, "smalldatetime");
  return rounded;
}

struct PartNames {
  DatePart part;
  TextView name;
  std::array<TextView, 2> abbreviations;
  std::int64_t ticks;  // of a unit that always has the same length; 0 for the others
};

constexpr std::int64_t kTicksPerSecond = 1000 * kTicksPerMillisecond;

// In the order of DatePart.
constexpr std::array<PartNames, 14> kParts = {{
    {DatePart::Year, u"year", {u"yy", u"yyyy"}, 0},
    {DatePart::Quarter, u"quarter", {u"qq", u"q"}, 0},
    {DatePart::Month, u"month", {u"mm", u"m"}, 0},
    {DatePart::Week, u"week", {u"wk", u"ww"}, 7 * kTicksPerDay},
    {DatePart::IsoWeek, u"iso_week", {u"isowk", u"isoww"}, 0},
    {DatePart::Day, u"day", {u"dd", u"d"}, kTicksPerDay},
    {DatePart::DayOfYear, u"dayofyear", {u"dy", u"y"}, kTicksPerDay},
    {DatePart::Weekday, u"weekday", {u"dw", u"w"}, kTicksPerDay},
    {DatePart::Hour, u"hour", {u"hh", u"hh"}, 3600 * kTicksPerSecond},
    {DatePart::Minute, u"minute", {u"mi", u"n"}, 60 * kTicksPerSecond},
    {DatePart::Second, u"second", {u"ss", u"s"}, kTicksPerSecond},
    {DatePart::Millisecond, u"millisecond", {u"ms", u"ms"}, kTicksPerMillisecond},
    {DatePart::Microsecond, u"microsecond", {u"mcs", u"mcs"}, 10},
    {DatePart::Nanosecond, u"nanosecond", {u"ns", u"ns"}, 1},
}};
constexpr std::int64_t kNanosecondsPerTick = 100;

const PartNames& NamesOf(DatePart part) { return kParts[static_cast<std::size_t>(part)]; }

// How often the unit has turned over since the first day.
std::int64_t CountOf(DatePart part, std::int64_t ticks) {
  const auto months = [&] {
    const chrono::year_month_day day = CivilOf(ticks);
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
    case DatePart::IsoWeek:
      return FloorDivide(DayOf(ticks) + 1, 7);
    case DatePart::Day:
    case DatePart::DayOfYear:
    case DatePart::Weekday:
    case DatePart::Hour:
    case DatePart::Minute:
    case DatePart::Second:
    case DatePart::Millisecond:
    case DatePart::Microsecond:
    case DatePart::Nanosecond:
      break;
  }
  return FloorDivide(ticks, NamesOf(part).ticks);
}

std::int64_t MonthsIn(DatePart part) {
  if (part == DatePart::Month) return 1;
  return part == DatePart::Quarter ? 3 : 12;
}

int LeastYear(TypeKind kind) noexcept { return kind == TypeKind::DateTime ? 1753 : 1; }

std::int64_t AddMonths(std::int64_t ticks, std::int64_t months, TypeKind kind) {
  const chrono::year_month_day from = CivilOf(ticks);
  const std::int64_t month = std::int64_t{YearOf(from)} * 12 + MonthOf(from) - 1 + months;
  const std::int64_t year = FloorDivide(month, 12);
  if (year < LeastYear(kind) || year > 9999) throw errors::DateAddOverflow(KindName(kind));
  const chrono::year_month to_month{chrono::year(static_cast<int>(year)),
                                    chrono::month(static_cast<unsigned>(month - year * 12 + 1))};
  chrono::year_month_day to = to_month / from.day();
  if (!to.ok()) to = to_month / chrono::last;
  return StartOf(to) + TimeOf(ticks);
}

// The week of the year by ISO 8601: the first one has the year's first Thursday.
std::int64_t IsoWeekOf(std::int64_t day) {
  const std::int64_t monday = FloorDivide(day, 7) * 7;
  const std::int64_t thursday = monday + 3;
  const std::int64_t new_year = DayOf(StartOf(CivilOf(thursday * kTicksPerDay).year() / 1 / 1));
  return (thursday - new_year) / 7 + 1;
}

template <std::size_t N>
bool IsOneOf(TextView name, const std::array<TextView, N>& names) noexcept {
  return std::any_of(names.begin(), names.end(),
                     [&](TextView known) { return EqualText(known, name); });
}

}  // namespace

DateOrder DateOrderByName(TextView name) {
  constexpr std::array<TextView, 6> kOrders = {u"mdy", u"dmy", u"ymd", u"ydm", u"myd", u"dym"};
  for (std::size_t i = 0; i < kOrders.size(); ++i) {
    if (EqualText(kOrders[i], name)) return static_cast<DateOrder>(i);
  }
  throw errors::DateOrderInvalid(name);
}

Language LanguageByName(TextView name) {
  if (IsOneOf<2>(name, {u"us_english", u"English"})) return Language::English;
  if (IsOneOf<2>(name, {u"简体中文", u"Simplified Chinese"})) return Language::Chinese;
  throw errors::LanguageUnknown(name);
}

TextView LanguageName(Language language) noexcept {
  return language == Language::English ? u"us_english" : u"简体中文";
}

DateOptions OptionsOf(Language language) noexcept {
  return {language == Language::English ? DateOrder::Mdy : DateOrder::Ymd, language, 7};
}

std::optional<DatePart> FindDatePart(TextView name) noexcept {
  for (const PartNames& known : kParts) {
    if (EqualText(known.name, name) || IsOneOf(name, known.abbreviations)) return known.part;
  }
  return std::nullopt;
}

TextView DatePartName(DatePart part) noexcept { return NamesOf(part).name; }

bool HasPart(TypeKind kind, DatePart part) noexcept {
  if (kind == TypeKind::Date) return part < DatePart::Hour;
  return kind != TypeKind::Time || part >= DatePart::Hour;
}

std::int64_t TicksOf(TypeKind kind, std::int64_t stored) noexcept {
  if (IsDate(kind)) return Stored(stored) * kTicksPerMillisecond;
  if (kind == TypeKind::Date) {
    return std::clamp(stored, DayOf(kLeastTick), DayOf(kEndTick)) * kTicksPerDay;
  }
  if (kind == TypeKind::Time) return std::clamp(stored, std::int64_t{0}, kTicksPerDay - 1);
  return std::clamp(stored, kLeastTick, kEndTick);
}

std::int64_t FromTicks(std::int64_t ticks, const Type& type, const char* source) {
  if (type.kind == TypeKind::Date) return DayOf(ticks);
  if (IsDate(type.kind)) {
    const std::int64_t half = kTicksPerMillisecond / 2;
    const std::int64_t ms = RoundDateTime(FloorDivide(ticks + half, kTicksPerMillisecond));
    if (type.kind == TypeKind::SmallDateTime) return RoundToMinute(ms, source);
    if (ms < kLeast || ms >= kEnd) throw errors::DateOutOfRange(source, "datetime");
    return ms;
  }
  std::int64_t unit = 1;
  for (int digits = type.scale; digits < kMostFractionDigits; ++digits) unit *= 10;
  const std::int64_t rounded = FloorDivide(ticks + unit / 2, unit) * unit;
  if (type.kind == TypeKind::Time) return TimeOf(rounded);
  return rounded >= kEndTick ? rounded - unit : rounded;
}

std::int64_t ParseSmallDateTime(std::string_view text, const DateOptions& options, int style) {
  return RoundToMinute(ParseDateTime(text, options, style), "varchar");
}
std::int64_t ParseSmallDateTime(TextView text, const DateOptions& options) {
  return ParseSmallDateTime(std::string_view(ToUtf8(text)), options);
}
std::int64_t ParseDateTime(TextView text, const DateOptions& options) {
  return ParseDateTime(std::string_view(ToUtf8(text)), options);
}

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
  const std::int64_t ms = RoundDateTime(MillisecondsOf(day) + of_day);
  if (ms < kLeast || ms >= kEnd) throw errors::DateOutOfRange();
  return ms;
}

Date DateFromDateTime(std::int64_t stored) noexcept {
  const std::int64_t ms = Stored(stored);
  const std::int64_t whole = FloorDivide(ms, kMillisecondsPerDay);
  const double day = static_cast<double>(whole) + kFrameOffset;
  const double time = DaysFromDateTime(ms - whole * kMillisecondsPerDay);
  return Date{day < 0 ? day - time : day + time};  // before its zero day it counts times backwards
}

std::int64_t DateDiff(DatePart part, std::int64_t from, std::int64_t to) {
  std::int64_t difference = CountOf(part, to) - CountOf(part, from);
  const bool too_many = part == DatePart::Nanosecond &&
                        __builtin_mul_overflow(difference, kNanosecondsPerTick, &difference);
  if (too_many || difference < std::numeric_limits<std::int32_t>::min() ||
      difference > std::numeric_limits<std::int32_t>::max()) {
    throw errors::DateDiffOverflow();
  }
  return difference;
}

std::int64_t DateAdd(DatePart part, std::int64_t count, std::int64_t ticks, const Type& type) {
  if (count < std::numeric_limits<std::int32_t>::min() ||
      count > std::numeric_limits<std::int32_t>::max()) {
    throw errors::Overflow(u"int");
  }
  const std::int64_t unit = NamesOf(part).ticks;
  std::int64_t sum = 0;
  if (unit == 0) {
    sum = AddMonths(ticks, count * MonthsIn(part), type.kind);
  } else if (part == DatePart::Nanosecond) {
    sum = ticks + FloorDivide(count + kNanosecondsPerTick / 2, kNanosecondsPerTick);
  } else if (__builtin_mul_overflow(count, unit, &sum) ||
             __builtin_add_overflow(ticks, sum, &sum)) {
    throw errors::DateAddOverflow(KindName(type.kind));
  }
  if (type.kind == TypeKind::Time) return FromTicks(TimeOf(sum), type);
  if (sum < kLeastTick || sum >= kEndTick) throw errors::DateAddOverflow(KindName(type.kind));
  try {
    return FromTicks(sum, type);
  } catch (const SqlError&) {
    throw errors::DateAddOverflow(KindName(type.kind));
  }
}

std::int64_t DatePartOf(DatePart part, std::int64_t ticks, const DateOptions& options) noexcept {
  const chrono::year_month_day day = CivilOf(ticks);
  const std::int64_t new_year = DayOf(StartOf(day.year() / 1 / 1));
  const std::int64_t of_year = DayOf(ticks) - new_year;
  const std::int64_t of_day = TimeOf(ticks);
  const std::int64_t fraction = of_day % kTicksPerSecond;
  // Days since the week began.
  const auto of_week = [&](std::int64_t of) {
    return (DayOfWeek(of) - options.first_weekday % 7 + 7) % 7;
  };
  switch (part) {
    case DatePart::Year:
      return YearOf(day);
    case DatePart::Quarter:
      return (MonthOf(day) - 1) / 3 + 1;
    case DatePart::Month:
      return MonthOf(day);
    case DatePart::Week:
      return (of_year + of_week(new_year)) / 7 + 1;
    case DatePart::IsoWeek:
      return IsoWeekOf(DayOf(ticks));
    case DatePart::Day:
      return static_cast<unsigned>(day.day());
    case DatePart::DayOfYear:
      return of_year + 1;
    case DatePart::Weekday:
      return of_week(DayOf(ticks)) + 1;
    case DatePart::Hour:
      return of_day / (3600 * kTicksPerSecond);
    case DatePart::Minute:
      return of_day / (60 * kTicksPerSecond) % 60;
    case DatePart::Second:
      return of_day / kTicksPerSecond % 60;
    case DatePart::Millisecond:
      return fraction / kTicksPerMillisecond;
    case DatePart::Microsecond:
      return fraction / 10;
    case DatePart::Nanosecond:
      return fraction * kNanosecondsPerTick;
  }
  return 0;
}

std::string DateNameOf(DatePart part, std::int64_t ticks, const DateOptions& options) {
  const auto index = [&](DatePart of) {
    return static_cast<std::size_t>(DatePartOf(of, ticks) - 1);
  };
  if (part == DatePart::Month) return ToUtf8(MonthName(options.language, index(part)));
  if (part == DatePart::Weekday) return ToUtf8(DayName(options.language, index(part)));
  return std::to_string(DatePartOf(part, ticks, options));
}

Instant CurrentInstant() {
  using Ticks = chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
  const auto now = chrono::system_clock::now();
  const std::time_t seconds = chrono::system_clock::to_time_t(now);
  std::tm local{};
  if (localtime_r(&seconds, &local) == nullptr) throw OverflowToDateTime();
  const std::int64_t universal = chrono::floor<Ticks>(now - kFirstDay).count();
  return {universal + std::int64_t{local.tm_gmtoff} * kTicksPerSecond, universal};
}

}  // namespace ledgerwick::tsql
