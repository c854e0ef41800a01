// T-SQL's dates and times as the storage keeps them, each as a whole number that orders as they do:
//   datetime, smalldatetime  milliseconds since 1900-01-01 00:00
//   date                     days since 1900-01-01
//   time, datetime2          ticks of 100 nanoseconds since 1900-01-01 00:00; a time is one of that
//                            day
// Whatever is computed is computed in ticks. Errors are SqlErrors with the server's numbers. A
// number far outside a type's range, which only a foreign hand writes into a file, counts as one at
// its end.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "frame/text.h"
#include "frame/value.h"
#include "tsql/base/types.h"

namespace ledgerwick::tsql {

inline constexpr std::int64_t kMillisecondsPerDay = 86'400'000;
inline constexpr std::int64_t kTicksPerMillisecond = 10'000;
inline constexpr std::int64_t kTicksPerDay = kMillisecondsPerDay * kTicksPerMillisecond;

// The order in which SET DATEFORMAT has a date's numbers read.
enum class DateOrder : std::uint8_t { Mdy, Dmy, Ymd, Ydm, Myd, Dym };

// The language of month and day names.
enum class Language : std::uint8_t { English, Chinese };

// What a session has set about dates. Whoever keeps a statement that was bound under others binds
// it anew.
struct DateOptions {
  DateOrder order = DateOrder::Mdy;
  Language language = Language::English;
  int first_weekday = 7;  // Sunday; 1 is Monday

  friend bool operator==(const DateOptions&, const DateOptions&) = default;
};

// The order that is called so ("mdy"), the language by its name or an alias, the name that the
// server calls it by, and the options that SET LANGUAGE sets. Errors 2741 and 2740 for other names.
DateOrder DateOrderByName(TextView name);
Language LanguageByName(TextView name);
TextView LanguageName(Language language) noexcept;
DateOptions OptionsOf(Language language) noexcept;

// The units that DATEDIFF, DATEADD, DATEPART and DATENAME count.
enum class DatePart : std::uint8_t {
  Year,
  Quarter,
  Month,
  Week,
  IsoWeek,
  Day,
  DayOfYear,
  Weekday,
  Hour,
  Minute,
  Second,
  Millisecond,
  Microsecond,
  Nanosecond,
};

// The part of that name or abbreviation without regard to case ("year", "yy"); nothing for another
// name. And its full name.
std::optional<DatePart> FindDatePart(TextView name) noexcept;
TextView DatePartName(DatePart part) noexcept;

// True when a value of that date type has the part.
bool HasPart(TypeKind kind, DatePart part) noexcept;

// A value of the date type `kind` in ticks, and back: rounded to what `type` keeps, a day's time
// cut off for date, the day for time. `source` names the value's type in error 242, for what lies
// outside datetime and smalldatetime.
std::int64_t TicksOf(TypeKind kind, std::int64_t stored) noexcept;
std::int64_t FromTicks(std::int64_t ticks, const Type& type, const char* source = "datetime2");

// The value of the date type `type` in `text`, stored: a day (its numbers in the order of
// `options`, the month also by its name; yyyymmdd, yymmdd, yyyy), a time of day (h:mm[:ss[.fff]],
// AM or PM behind it), both in either order, or the ISO form with a T. Blanks alone are 1900-01-01.
// A `style` of CONVERT's says the order instead; 0 for none. Errors 241 for other text, 242 (241
// for types other than datetime and smalldatetime) for a day or time that does not exist.
std::int64_t ParseMoment(std::string_view text, const Type& type, const DateOptions& options,
                         int style = 0);

// The same as a datetime, and as a smalldatetime rounded to the minute. Error 242 also outside
// their ranges, 1753-01-01 to 9999-12-31 and 1900-01-01 to 2079-06-06.
std::int64_t ParseDateTime(std::string_view text, const DateOptions& options = {}, int style = 0);
std::int64_t ParseDateTime(TextView text, const DateOptions& options = {});
std::int64_t ParseSmallDateTime(std::string_view text, const DateOptions& options = {},
                                int style = 0);
std::int64_t ParseSmallDateTime(TextView text, const DateOptions& options = {});

// `ms` rounded to the 300th of a second that datetime keeps: it ends in 0, 3 or 7.
std::int64_t RoundDateTime(std::int64_t ms) noexcept;

// `ms` rounded to the minute. Error 242 outside smalldatetime's range.
std::int64_t ToSmallDateTime(std::int64_t ms);

// The datetime that many days after 1900-01-01, and back. Error 8115 outside datetime's range.
std::int64_t DateTimeFromDays(double days);
double DaysFromDateTime(std::int64_t ms) noexcept;

// Between the component's dates and datetimes. Error 242 for a date before 1753.
std::int64_t DateTimeFromDate(Date date);
Date DateFromDateTime(std::int64_t ms) noexcept;

// `ticks`, a value of the date type `type`, as CONVERT writes it in `style`. Error 281 for a style
// that is none, 8114 for one that tells only what the type lacks.
std::string FormatMoment(std::int64_t ticks, const Type& type, int style,
                         const DateOptions& options = {});

// The same for a datetime or smalldatetime.
std::string FormatDateTime(std::int64_t ms, int style, bool is_small,
                           const DateOptions& options = {});

// How many boundaries of `part` lie between two moments in ticks. Error 535 when that is no int.
std::int64_t DateDiff(DatePart part, std::int64_t from, std::int64_t to);

// `ticks` moved by `count` parts, as a value of `type`, stored; a day that the month lacks becomes
// its last, a time of day goes round. Error 517 outside the type's range.
std::int64_t DateAdd(DatePart part, std::int64_t count, std::int64_t ticks, const Type& type);

// The part of a moment in ticks as a number, and as DATENAME says it.
std::int64_t DatePartOf(DatePart part, std::int64_t ticks,
                        const DateOptions& options = {}) noexcept;
std::string DateNameOf(DatePart part, std::int64_t ticks, const DateOptions& options);

// A moment on the clock: here and in universal time, in ticks.
struct Instant {
  std::int64_t local = 0;
  std::int64_t universal = 0;
};
Instant CurrentInstant();

}  // namespace ledgerwick::tsql
