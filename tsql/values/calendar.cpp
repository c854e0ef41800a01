#include "tsql/values/calendar.h"

#include <array>

namespace ledgerwick::tsql {
namespace {

constexpr std::array<TextView, 12> kMonths = {u"January",   u"February", u"March",    u"April",
                                              u"May",       u"June",     u"July",     u"August",
                                              u"September", u"October",  u"November", u"December"};
constexpr std::array<TextView, 12> kMonthNumbers = {u"01", u"02", u"03", u"04", u"05", u"06",
                                                    u"07", u"08", u"09", u"10", u"11", u"12"};
constexpr std::array<TextView, 7> kDays = {u"Sunday",   u"Monday", u"Tuesday", u"Wednesday",
                                           u"Thursday", u"Friday", u"Saturday"};
constexpr std::array<TextView, 7> kChineseDays = {u"星期日", u"星期一", u"星期二", u"星期三",
                                                  u"星期四", u"星期五", u"星期六"};
constexpr std::array<TextView, 12> kHijriMonths = {
    u"محرم", u"صفر",   u"ربيع الاول", u"ربيع الثاني", u"جمادى الاولى", u"جمادى الثانية",
    u"رجب",  u"شعبان", u"رمضان",      u"شوال",        u"ذو القعدة",    u"ذو الحجة"};

constexpr std::int64_t kHijriEpoch =
    (std::chrono::sys_days(std::chrono::year{622} / 7 / 18) - kFirstDay).count();

// Eleven of thirty years are leap years.
constexpr std::int64_t DaysBeforeYear(std::int64_t year) noexcept {
  return (year - 1) * 354 + FloorDivide(11 * year + 3, 30);
}

// Months of 30 and 29 days take turns.
constexpr std::int64_t DaysBeforeMonth(int month) noexcept { return 29 * (month - 1) + month / 2; }

}  // namespace

TextView MonthName(Language language, std::size_t month) noexcept {
  return language == Language::English ? kMonths[month] : kMonthNumbers[month];
}

TextView DayName(Language language, std::size_t day) noexcept {
  return language == Language::English ? kDays[day] : kChineseDays[day];
}

HijriDate HijriOf(std::int64_t day) noexcept {
  constexpr std::int64_t kDaysOfThirtyYears = 10631;
  const std::int64_t since = day - kHijriEpoch;
  std::int64_t year = FloorDivide(since * 30, kDaysOfThirtyYears) + 1;
  while (DaysBeforeYear(year) > since) --year;
  while (DaysBeforeYear(year + 1) <= since) ++year;
  const std::int64_t of_year = since - DaysBeforeYear(year);
  int month = 12;
  while (DaysBeforeMonth(month) > of_year) --month;
  return {static_cast<int>(year), month, static_cast<int>(of_year - DaysBeforeMonth(month)) + 1};
}

std::int64_t DayOfHijri(const HijriDate& date) noexcept {
  return kHijriEpoch + DaysBeforeYear(date.year) + DaysBeforeMonth(date.month) + date.day - 1;
}

int HijriMonthLength(int year, int month) noexcept {
  if (month < 12) return static_cast<int>(DaysBeforeMonth(month + 1) - DaysBeforeMonth(month));
  return static_cast<int>(DaysBeforeYear(year + 1) - DaysBeforeYear(year) - DaysBeforeMonth(12));
}

TextView HijriMonthName(std::size_t month) noexcept { return kHijriMonths[month]; }

}  // namespace ledgerwick::tsql
