#include "tsql/datetime.h"

#include <doctest/doctest.h>

#include "tests/tsql/sql_error.h"

namespace ledgerwick::tsql {
namespace {

constexpr int kOdbcWithMilliseconds = 121;

std::string Iso(std::int64_t ms) { return FormatDateTime(ms, kOdbcWithMilliseconds, false); }

TEST_CASE("reading datetimes") {
  struct Case {
    std::string text;
    std::string iso;
  };
  const Case cases[] = {
      {"", "1900-01-01 00:00:00.000"},
      {"   ", "1900-01-01 00:00:00.000"},
      {"0:00:00", "1900-01-01 00:00:00.000"},
      {"2002-03-01", "2002-03-01 00:00:00.000"},
      {" 2002-3-1 ", "2002-03-01 00:00:00.000"},
      {"2002/03/01", "2002-03-01 00:00:00.000"},
      {"2002.3.1", "2002-03-01 00:00:00.000"},
      {"20020301", "2002-03-01 00:00:00.000"},
      {"020301", "2002-03-01 00:00:00.000"},
      {"500301", "1950-03-01 00:00:00.000"},
      {"2002", "2002-01-01 00:00:00.000"},
      {"2002-03-01 9:05", "2002-03-01 09:05:00.000"},
      {"20020301 23:59:59.996", "2002-03-01 23:59:59.997"},
      {"2002-03-01 23:59:59.999", "2002-03-02 00:00:00.000"},
      {"2002-03-01T12:00:30", "2002-03-01 12:00:30.000"},
      {"2002-03-01 12:15AM", "2002-03-01 00:15:00.000"},
      {"2002-03-01 12:15 pm", "2002-03-01 12:15:00.000"},
      {"2002-03-01 1:15:02 PM", "2002-03-01 13:15:02.000"},
      {"2002-03-01 1:02:03.5", "2002-03-01 01:02:03.500"},
      {"2002-03-01 1:02:03:5", "2002-03-01 01:02:03.007"},
      {"1753-01-01", "1753-01-01 00:00:00.000"},
      {"1899-12-31 18:00", "1899-12-31 18:00:00.000"},
      {"2000-02-29", "2000-02-29 00:00:00.000"},
      {"9999-12-31 23:59:59.997", "9999-12-31 23:59:59.997"},
  };
  for (const Case& c : cases) {
    CAPTURE(c.text);
    CHECK(ErrorOf([&] { CHECK(Iso(ParseDateTime(c.text)) == c.iso); }) == "");
  }
  for (const char* text :
       {"x", "2002-03", "2002-03-01x", "2002-03-01T12:00", "2002-03/01",
        "1:", "2002-03-01 1:02:03.1234", "02-03-01", "12", "2002-03-01 1:02 XM", "-"}) {
    CAPTURE(text);
    CHECK(ErrorOf([&] { ParseDateTime(text); }).substr(0, 4) == "241:");
  }
  for (const std::string text :
       {"2002-02-29", "2002-13-01", "2002-00-10", "1752-12-31", "20020230", "2002-03-01 25:00",
        "2002-03-01 1:60", "9999-12-31 23:59:59.999"}) {
    CAPTURE(text);
    CHECK(ErrorOf([&] { ParseDateTime(text); }).substr(0, 4) == "242:");
  }
}

TEST_CASE("the resolutions of datetime and smalldatetime") {
  const std::int64_t rounded[] = {0, 0, 3, 3, 3, 7, 7, 7, 7, 10};
  for (std::int64_t ms = 0; ms < 10; ++ms) {
    CHECK(RoundDateTime(ms) == rounded[ms]);
    CHECK(RoundDateTime(ms - 1000) == rounded[ms] - 1000);
  }
  CHECK(ToSmallDateTime(29'998) == 0);
  CHECK(ToSmallDateTime(29'999) == 60'000);
  CHECK(Iso(ParseSmallDateTime("2079-06-06 23:59:29")) == "2079-06-06 23:59:00.000");
  for (const std::string text : {"1899-12-31", "2079-06-07", "2079-06-06 23:59:59"}) {
    CAPTURE(text);
    CHECK(ErrorOf([&] { ParseSmallDateTime(text); }).substr(0, 4) == "242:");
  }
}

TEST_CASE("datetimes as days and as the component's dates") {
  CHECK(Iso(DateTimeFromDays(1.25)) == "1900-01-02 06:00:00.000");
  CHECK(Iso(DateTimeFromDays(-1.25)) == "1899-12-30 18:00:00.000");
  CHECK(DaysFromDateTime(ParseDateTime("1900-01-02 06:00")) == 1.25);
  CHECK(ErrorOf([] { DateTimeFromDays(2958464); }) ==
        "8115: Arithmetic overflow error converting expression to data type datetime.");
  CHECK(ErrorOf([] { DateTimeFromDays(-53691); }).substr(0, 5) == "8115:");
  for (const std::string text :
       {"1753-01-01 06:00", "1899-12-29 18:00", "1899-12-30 06:00", "1900-01-01",
        "2002-03-01 13:14:15.007", "9999-12-31 23:59:59.997"}) {
    CAPTURE(text);
    const std::int64_t ms = ParseDateTime(text);
    const Date date = DateFromDateTime(ms);
    CHECK(ToCalendar(date).day == DatePartOf(DatePart::Day, ms));
    CHECK(ToCalendar(date).hour == DatePartOf(DatePart::Hour, ms));
    CHECK(DateTimeFromDate(date) == ms);
  }
  CHECK(ErrorOf([] { DateTimeFromDate(Date{-600'000}); }).substr(0, 4) == "242:");
}

TEST_CASE("datetimes as text in every style") {
  struct Case {
    int style;
    std::string text;
  };
  const Case cases[] = {
      {0, "Mar  1 2002  9:05PM"},
      {100, "Mar  1 2002  9:05PM"},
      {1, "03/01/02"},
      {101, "03/01/2002"},
      {2, "02.03.01"},
      {102, "2002.03.01"},
      {3, "01/03/02"},
      {103, "01/03/2002"},
      {4, "01.03.02"},
      {104, "01.03.2002"},
      {5, "01-03-02"},
      {105, "01-03-2002"},
      {6, "01 Mar 02"},
      {106, "01 Mar 2002"},
      {7, "Mar 01, 02"},
      {107, "Mar 01, 2002"},
      {8, "21:05:06"},
      {108, "21:05:06"},
      {24, "21:05:06"},
      {9, "Mar  1 2002  9:05:06:007PM"},
      {109, "Mar  1 2002  9:05:06:007PM"},
      {10, "03-01-02"},
      {110, "03-01-2002"},
      {11, "02/03/01"},
      {111, "2002/03/01"},
      {12, "020301"},
      {112, "20020301"},
      {13, "01 Mar 2002 21:05:06:007"},
      {113, "01 Mar 2002 21:05:06:007"},
      {14, "21:05:06:007"},
      {114, "21:05:06:007"},
      {20, "2002-03-01 21:05:06"},
      {120, "2002-03-01 21:05:06"},
      {21, "2002-03-01 21:05:06.007"},
      {25, "2002-03-01 21:05:06.007"},
      {121, "2002-03-01 21:05:06.007"},
      {23, "2002-03-01"},
      {126, "2002-03-01T21:05:06.007"},
  };
  const std::int64_t evening = ParseDateTime("2002-03-01 21:05:06.007");
  for (const Case& c : cases) {
    CAPTURE(c.style);
    CHECK(ErrorOf([&] { CHECK(FormatDateTime(evening, c.style, false) == c.text); }) == "");
  }
  CHECK(FormatDateTime(0, 0, false) == "Jan  1 1900 12:00AM");
  CHECK(FormatDateTime(0, 126, false) == "1900-01-01T00:00:00");
  CHECK(ErrorOf([] { FormatDateTime(0, 99, true); }) ==
        "281: 99 is not a valid style number when converting from smalldatetime to a character "
        "string.");
}

TEST_CASE("date arithmetic") {
  struct Difference {
    DatePart part;
    std::string from;
    std::string to;
    std::int64_t count;
  };
  const Difference differences[] = {
      {DatePart::Day, "2002-03-01 23:59", "2002-03-02", 1},
      {DatePart::Day, "2002-03-02", "2002-03-01 23:59", -1},
      {DatePart::Day, "1899-12-31 12:00", "1900-01-01", 1},
      {DatePart::Year, "2001-12-31", "2002-01-01", 1},
      {DatePart::Quarter, "2002-03-31", "2002-04-01", 1},
      {DatePart::Month, "2001-12-31", "2002-02-01", 2},
      {DatePart::Week, "2002-03-02", "2002-03-03", 1},  // Saturday and Sunday
      {DatePart::Week, "2002-03-03", "2002-03-09", 0},
      {DatePart::Hour, "2002-03-01 00:59:59", "2002-03-01 01:00", 1},
      {DatePart::Minute, "1899-12-31 23:59:59", "1900-01-01 00:00:01", 1},
      {DatePart::Second, "2002-03-01 00:00:00.997", "2002-03-01 00:00:01", 1},
      {DatePart::Millisecond, "2002-03-01", "2002-03-02", 86'400'000},
  };
  for (const Difference& d : differences) {
    CAPTURE(d.from);
    CHECK(DateDiff(d.part, ParseDateTime(d.from), ParseDateTime(d.to)) == d.count);
  }
  CHECK(ErrorOf([] { DateDiff(DatePart::Second, 0, ParseDateTime("1970-01-01")); }).substr(0, 4) ==
        "535:");

  struct Sum {
    DatePart part;
    std::int64_t count;
    std::string from;
    std::string to;
  };
  const Sum sums[] = {
      {DatePart::Month, 1, "2002-01-31", "2002-02-28 00:00:00.000"},
      {DatePart::Month, -1, "2000-03-31 06:00", "2000-02-29 06:00:00.000"},
      {DatePart::Year, 1, "2000-02-29", "2001-02-28 00:00:00.000"},
      {DatePart::Quarter, -5, "2002-01-15", "2000-10-15 00:00:00.000"},
      {DatePart::Week, 1, "2002-02-25", "2002-03-04 00:00:00.000"},
      {DatePart::Day, -1, "1900-01-01", "1899-12-31 00:00:00.000"},
      {DatePart::Hour, 25, "2002-03-01", "2002-03-02 01:00:00.000"},
      {DatePart::Millisecond, 2, "2002-03-01", "2002-03-01 00:00:00.003"},
  };
  for (const Sum& s : sums) {
    CAPTURE(s.from);
    CHECK(Iso(DateAdd(s.part, s.count, ParseDateTime(s.from))) == s.to);
  }
  for (const DatePart part : {DatePart::Year, DatePart::Day, DatePart::Month}) {
    CHECK(ErrorOf([&] { DateAdd(part, 9'999'999, 0); }) ==
          "517: Adding a value to a 'datetime' column caused an overflow.");
  }

  const std::int64_t friday = ParseDateTime("2002-03-01 21:05:06.007");
  const std::pair<std::string, int> parts[] = {{"year", 2002}, {"quarter", 1},    {"month", 3},
                                               {"week", 9},    {"day", 1},        {"dayofyear", 60},
                                               {"weekday", 6}, {"hour", 21},      {"minute", 5},
                                               {"second", 6},  {"millisecond", 7}};
  for (const auto& [name, value] : parts) {
    CAPTURE(name);
    CHECK(DatePartOf(DatePartByName(name), friday) == value);
  }
  CHECK(DatePartOf(DatePart::Weekday, ParseDateTime("1899-12-31")) == 1);
}

}  // namespace
}  // namespace ledgerwick::tsql
