// What a variant of the host holds, and how it turns into text.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <variant>

#include "frame/text.h"

namespace ledgerwick {

// The database's and the host's null: known to be unknown, unlike an empty value.
struct Null {
  friend bool operator==(Null, Null) noexcept { return true; }
};

// A point in time: days since 1899-12-30 with the time of day as a fraction, the platform's own
// counting.
struct Date {
  double serial = 0;

  friend bool operator==(Date a, Date b) noexcept { return a.serial == b.serial; }
};

// A calendar date with a time of day.
struct CalendarTime {
  int year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;
};

// The calendar form of `date`, rounded to the millisecond. Throws error 5 "Invalid procedure call
// or argument", as the platform does, for what lies outside the years 100 to 9999.
CalendarTime ToCalendar(Date date);

// The date of `time`. Nothing when it names no day of the calendar or no time of the day.
std::optional<Date> FromCalendar(const CalendarTime& time) noexcept;

// Reads year-month-day with "-" or "/", with or without a time; nothing for any other text.
std::optional<Date> ParseDate(TextView text);

// A value of the host's of a kind of its own (an array, an object, a currency): a report can keep
// it and give it back as it came. Derived from by whoever makes such values.
class OpaqueValue {
 public:
  virtual ~OpaqueValue() = default;

  // What the value is as text, asked for anew by every step that reads it. Throws error 13 "Type
  // mismatch" here and for whatever has no text.
  virtual Text ToText() const;
};

// A value of the host: empty, null, boolean, integer, float, date, text, or one that is opaque.
class Value {
 public:
  Value() = default;
  Value(Null null) : data_(null) {}
  Value(bool b) : data_(b) {}
  Value(std::int64_t i) : data_(i) {}
  Value(std::int32_t i) : data_(std::int64_t{i}) {}
  Value(double d) : data_(d) {}
  Value(Date d) : data_(d) {}
  Value(Text text) : data_(std::move(text)) {}
  Value(TextView text) : data_(Text(text)) {}
  Value(const char16_t* text) : data_(Text(text)) {}
  // Shares `opaque`, which must not be null.
  Value(std::shared_ptr<const OpaqueValue> opaque) : data_(std::move(opaque)) {}

  // By assignment: in the library of GCC 12, copying a variant with a text does not survive that
  // there is no memory for it.
  Value(const Value& other) { data_ = other.data_; }
  Value(Value&&) noexcept = default;
  Value& operator=(const Value&) = default;
  Value& operator=(Value&&) noexcept = default;
  ~Value() = default;

  bool IsEmpty() const noexcept { return std::holds_alternative<std::monostate>(data_); }
  bool IsNull() const noexcept { return std::holds_alternative<Null>(data_); }

  // The alternative of type T (bool, std::int64_t, double, Date, Text), or nullptr; nullptr for
  // every such T when the value is opaque.
  template <typename T>
  const T* If() const noexcept {
    return std::get_if<T>(&data_);
  }

  // The value as text, as the host platform's languages put it into a concatenation: empty and null
  // as no characters, booleans as True and False, floats with up to 15 significant digits, dates as
  // yyyy-mm-dd with a time where there is one (the zero date is "0:00:00"). Throws error 5 for a
  // date that ToCalendar refuses, and what an opaque value throws.
  Text ToText() const;

  // The opaque value, or nullptr when the value is of a known kind.
  std::shared_ptr<const OpaqueValue> Opaque() const noexcept;

  // Opaque values are equal when they are the same one.
  friend bool operator==(const Value&, const Value&) = default;

 private:
  std::variant<std::monostate, Null, bool, std::int64_t, double, Date, Text,
               std::shared_ptr<const OpaqueValue>>
      data_;
};

// The numeric value of `value`, for comparisons that the contract makes as numbers. Throws error 13
// "Type mismatch" for a text that is no number.
double ToNumber(const Value& value);

// The date of `value`, for comparisons that the contract makes as dates. Throws error 13
// "Type mismatch" for a text that is no date.
Date ToDate(const Value& value);

// `value` as a report's subtitle writes dates: yyyy-mm-dd for a date and for a text that reads as
// one (a time is dropped); any other text stays as it is.
Text FormatIsoDate(const Value& value);

}  // namespace ledgerwick
