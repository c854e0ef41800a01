// What reading, writing and computing dates share: days in ticks (datetime.h), the names of months
// and days, the Hijri calendar.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {

inline constexpr std::chrono::sys_days kFirstDay = std::chrono::year{1900} / 1 / 1;

// The first tick of `day`.
constexpr std::int64_t StartOf(std::chrono::year_month_day day) {
  return (std::chrono::sys_days(day) - kFirstDay).count() * kTicksPerDay;
}

// The first tick of all, and the one behind the last.
inline constexpr std::int64_t kLeastTick = StartOf(std::chrono::year{1} / 1 / 1);
inline constexpr std::int64_t kEndTick = StartOf(std::chrono::year{10000} / 1 / 1);

constexpr std::int64_t FloorDivide(std::int64_t a, std::int64_t b) noexcept {
  return a / b - (a % b < 0);
}

// The day of `ticks`, from 1900-01-01, and the ticks since it began.
constexpr std::int64_t DayOf(std::int64_t ticks) noexcept {
  return FloorDivide(ticks, kTicksPerDay);
}
constexpr std::int64_t TimeOf(std::int64_t ticks) noexcept {
  return ticks - DayOf(ticks) * kTicksPerDay;
}

// The full name of a month (0 to 11) and of a day of the week (0 is Sunday); in Chinese a month is
// its number. The abbreviation of an English one are its first three letters.
TextView MonthName(Language language, std::size_t month) noexcept;
TextView DayName(Language language, std::size_t day) noexcept;

// A date of the Hijri calendar, by the Kuwaiti algorithm.
struct HijriDate {
  int year = 1;
  int month = 1;
  int day = 1;
};

// Between days since 1900-01-01 and Hijri dates; before its first year years are 0 or negative.
HijriDate HijriOf(std::int64_t day) noexcept;
std::int64_t DayOfHijri(const HijriDate& date) noexcept;
int HijriMonthLength(int year, int month) noexcept;
TextView HijriMonthName(std::size_t month) noexcept;  // 0 to 11, in Arabic

}  // namespace ledgerwick::tsql
