#include "frame/value.h"

#include <doctest/doctest.h>

#include "frame/error.h"

using namespace ledgerwick;

namespace {

Date DateOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return *FromCalendar({year, month, day, hour, minute, second, 0});
}

}  // namespace

TEST_CASE("values turn into text as a concatenation takes them") {
  const std::pair<Value, TextView> cases[] = {
      {Value(), u""},
      {Null{}, u""},
      {true, u"True"},
      {false, u"False"},
      {std::int64_t{-42}, u"-42"},
      {2.0, u"2"},
      {0.1 + 0.2, u"0.3"},
      {1e15, u"1E+15"},
      {-1.5, u"-1.5"},
      {u" text ", u" text "},
      {Date{0}, u"0:00:00"},
      {Date{0.25}, u"6:00:00"},
      {DateOf(2002, 3, 1), u"2002-03-01"},
      {DateOf(2002, 3, 1, 9, 5, 7), u"2002-03-01 9:05:07"},
      {DateOf(1899, 12, 29, 6), u"1899-12-29 6:00:00"},
  };
  for (const auto& [value, text] : cases) CHECK(ToUtf8(value.ToText()) == ToUtf8(text));
}

TEST_CASE("days and serial numbers agree with the platform's calendar") {
  CHECK(DateOf(1899, 12, 30).serial == 0);
  CHECK(DateOf(1900, 1, 1).serial == 2);
  CHECK(DateOf(1900, 3, 1).serial == 61);
  CHECK(DateOf(2000, 2, 29).serial == 36585);
  CHECK(DateOf(2002, 3, 1, 12).serial == 37316.5);
  CHECK(DateOf(1899, 12, 29, 6).serial == -1.25);
  for (double serial = -400000; serial < 2'000'000; serial += 997.25) {
    const CalendarTime t = ToCalendar(Date{serial});
    CHECK(FromCalendar(t)->serial == serial);
  }
}

TEST_CASE("dates are read in two notations and in no other") {
  for (const TextView text : {u"2002-03-01", u"2002-3-1", u" 2002/03/01 ", u"2002-03-01 00:00",
                              u"2002/3/1 0:00:00", u"2002-03-01  00:00:00.000"}) {
    CAPTURE(ToUtf8(text));
    REQUIRE(ParseDate(text).has_value());
    CHECK(*ParseDate(text) == DateOf(2002, 3, 1));
  }
  for (const TextView text :
       {u"", u"2002-02-29", u"2002-13-01", u"2002-03/01", u"01.03.2002", u"2002-03-01x",
        u"2002-03-01 25:00", u"20020301", u"2002-03", u"abc"}) {
    CAPTURE(ToUtf8(text));
    CHECK_FALSE(ParseDate(text).has_value());
  }
}

TEST_CASE("subtitles write dates as yyyy-mm-dd and leave other text alone") {
  const std::pair<Value, TextView> cases[] = {{u"2002/3/1", u"2002-03-01"},
                                              {u"2002-3-1 10:30", u"2002-03-01"},
                                              {u"本月", u"本月"},
                                              {DateOf(2002, 12, 31, 23), u"2002-12-31"},
                                              {Value(), u""},
                                              {u"2002-02-30", u"2002-02-30"}};
  for (const auto& [value, text] : cases) CHECK(ToUtf8(FormatIsoDate(value)) == ToUtf8(text));
}

TEST_CASE("a text that should be a number or a date and is not is error 13") {
  CHECK(ToNumber(u" +1.5 ") == 1.5);
  CHECK(ToNumber(true) == -1);
  CHECK(ToDate(u"2002-3-1") == DateOf(2002, 3, 1));
  for (const TextView text : {u"", u"1x", u"nan", u"1,5"}) {
    CAPTURE(ToUtf8(text));
    try {
      ToNumber(text);
      FAIL("no error");
    } catch (const DatabaseError& error) {
      CHECK(error.number == 13);
      CHECK(error.description == u"Type mismatch");
    }
  }
  CHECK_THROWS_AS(ToDate(u"1x"), DatabaseError);
}
