#include "tsql/values/datetime.h"

#include <doctest/doctest.h>

#include "tests/tsql/sql_error.h"

namespace ledgerwick::tsql {
namespace {

TEST_CASE("datetimes as the component's dates") {
  for (const std::string text :
       {"1753-01-01 06:00", "1899-12-29 18:00", "1899-12-30 06:00", "1900-01-01",
        "2002-03-01 13:14:15.007", "9999-12-31 23:59:59.997"}) {
    CAPTURE(text);
    const std::int64_t ms = ParseDateTime(text);
    const Date date = DateFromDateTime(ms);
    const std::int64_t ticks = TicksOf(TypeKind::DateTime, ms);
    CHECK(ToCalendar(date).day == DatePartOf(DatePart::Day, ticks));
    CHECK(ToCalendar(date).hour == DatePartOf(DatePart::Hour, ticks));
    CHECK(DateTimeFromDate(date) == ms);
  }
  CHECK(ErrorOf([] { DateTimeFromDate(Date{-600'000}); }).substr(0, 4) == "242:");
}

}  // namespace
}  // namespace ledgerwick::tsql
