#include "frame/value.h"

#include <doctest/doctest.h>

#include <limits>
#include <memory>

#include "frame/error.h"

using namespace ledgerwick;

namespace {

Date DateOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return *FromCalendar({year, month, day, hour, minute, second, 0});
}

// The number of the error that `read` throws, 0 without one.
template <typename Read>
std::int32_t NumberOf(Read read) {
  try {
    read();
  } catch (const DatabaseError& error) {
    return error.number;
  }
  return 0;
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

TEST_CASE(
    "what lies outside the platform's calendar is error 5, and harms nobody before it is read") {
  const double kFirst = -657434;
  const double kLast = 2958465;
  CHECK(Value(Date{kFirst}).ToText() == u"0100-01-01");
  CHECK(Value(Date{kFirst - 0.5}).ToText() == u"0100-01-01 12:00:00");
  CHECK(Value(Date{kLast + 0.5}).ToText() == u"9999-12-31 12:00:00");
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double serial :
       {kFirst - 1, kLast + 1, kLast + 0.999999999999, 1e300, -1e300, nan, 1 / 0.}) {
    CAPTURE(serial);
    const Value kept = Date{serial};
    CHECK(NumberOf([&] { kept.ToText(); }) == 5);
    CHECK(NumberOf([&] { FormatIsoDate(kept); }) == 5);
  }
}

TEST_CASE("an opaque value is kept as it is, and whoever reads it gets what it says") {
  struct Currency final : OpaqueValue {
    Text ToText() const override { return u"12.5"; }
  };
  const Value array(std::make_shared<OpaqueValue>());
  const Value kept = array;
  CHECK(kept == array);
  CHECK(kept.Opaque() == array.Opaque());
  CHECK_FALSE(kept == Value(std::make_shared<OpaqueValue>()));
  CHECK_FALSE(kept.IsEmpty());
  CHECK_FALSE(kept.IsNull());
  CHECK(Value(u"text").Opaque() == nullptr);
  CHECK(NumberOf([&] { kept.ToText(); }) == 13);
  CHECK(NumberOf([&] { ToNumber(kept); }) == 13);
  CHECK(NumberOf([&] { ToDate(kept); }) == 13);
  CHECK(NumberOf([&] { FormatIsoDate(kept); }) == 13);
  CHECK(ToNumber(Value(std::make_shared<Currency>())) == 12.5);
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
    CHECK(NumberOf([&] { ToNumber(text); }) == 13);
  }
  CHECK(NumberOf([&] { ToDate(u"1x"); }) == 13);
}
