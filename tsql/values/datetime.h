// T-SQL's datetime and smalldatetime as the storage keeps them: milliseconds since 1900-01-01
// 00:00. Errors are SqlErrors with the server's numbers. A number far outside datetime's range,
// which only a foreign hand writes into a file, counts as one at its end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/text.h"
#include "frame/value.h"

namespace ledgerwick::tsql {

inline constexpr std::int64_t kMillisecondsPerDay = 86'400'000;

// The units that DATEDIFF, DATEADD and DATEPART count.
enum class DatePart {
  Year,
  Quarter,
  Month,
  Week,
  Day,
  DayOfYear,
  Weekday,
  Hour,
  Minute,
  Second,
  Millisecond,
};

// The part of that full name ("year", "dayofyear", "millisecond"). Error 155 for another name.
DatePart DatePartByName(std::string_view name);

// The datetime in `text`: a day (yyyy-mm-dd, also with "/" or ".", yyyymmdd, yymmdd, yyyy), a time
// of day (h:mm[:ss[.fff]], AM or PM behind it), or a day and a time, parted by blanks or, with all
// of the time's parts, by "T". Blanks alone are 1900-01-01. Errors 241 for other text, 242 for a
// day or time that does not exist or a year before 1753.
std::int64_t ParseDateTime(std::string_view text);
std::int64_t ParseDateTime(TextView text);

// The same rounded to the minute. Error 242 outside 1900-01-01 to 2079-06-06.
std::int64_t ParseSmallDateTime(std::string_view text);
std::int64_t ParseSmallDateTime(TextView text);

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

// `ms` as CONVERT writes it in `style`. Error 281 for a style that is none; its text names
// smalldatetime when `is_small`.
std::string FormatDateTime(std::int64_t ms, int style, bool is_small);

// How many boundaries of `part` lie between `from` and `to`. Error 535 when that is no int.
std::int64_t DateDiff(DatePart part, std::int64_t from, std::int64_t to);

// `ms` moved by `count` parts; a day that the month lacks becomes its last. Error 517 outside
// datetime's range.
std::int64_t DateAdd(DatePart part, std::int64_t count, std::int64_t ms);

// The part of `ms`. Weeks begin on Sunday, which is weekday 1.
int DatePartOf(DatePart part, std::int64_t ms) noexcept;

// The local time now.
std::int64_t CurrentDateTime();

}  // namespace ledgerwick::tsql
