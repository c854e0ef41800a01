// Reading dates and times from text.
#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "tsql/base/errors.h"
#include "tsql/values/calendar.h"

namespace ledgerwick::tsql {
namespace {

namespace chrono = std::chrono;

constexpr std::int64_t kTicksPerSecond = 1000 * kTicksPerMillisecond;

// How a text is to be read.
struct Manner {
  DateOrder order = DateOrder::Mdy;
  bool year_first = false;     // a year of four digits in front makes it year, month, day
  bool iso_seconds = false;    // the form with T tells seconds
  bool offsets = false;        // a difference from universal time may follow the time
  bool number_months = false;  // months are called by numbers: "09 13 1994"
  bool hijri = false;
  bool iso_only = false;  // a time stands behind a T alone
  std::size_t fraction_digits = 3;
};

bool IsMonthFirst(DateOrder order) noexcept {
  return order == DateOrder::Mdy || order == DateOrder::Ymd || order == DateOrder::Myd;
}

// A text as it is read from the left. A member that finds what it looks for takes it off.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool AtEnd() const { return rest_.empty(); }
  char Peek() const { return rest_.empty() ? '\0' : rest_.front(); }

  bool Skip(char c) {
    if (!rest_.starts_with(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  bool SkipLetter(char upper) { return Skip(upper) || Skip(static_cast<char>(upper + 32)); }

  bool SkipWord(std::string_view word) {
    if (!rest_.starts_with(word)) return false;
    rest_.remove_prefix(word.size());
    return true;
  }

  bool SkipBlanks() {
    const std::size_t blanks = std::min(rest_.find_first_not_of(' '), rest_.size());
    rest_.remove_prefix(blanks);
    return blanks > 0;
  }

  // How many digits come next.
  std::size_t DigitsAhead() const {
    std::size_t n = 0;
    while (n < rest_.size() && rest_[n] >= '0' && rest_[n] <= '9') ++n;
    return n;
  }

  // What follows the digits that come next, and what follows the blanks behind them.
  char CharAfterDigits() const { return CharAt(DigitsAhead()); }
  bool HalfOfDayAfterDigits() const {
    std::size_t n = DigitsAhead();
    while (CharAt(n) == ' ') ++n;
    const char half = static_cast<char>(CharAt(n) | 0x20);
    return (half == 'a' || half == 'p') && (CharAt(n + 1) | 0x20) == 'm';
  }

  // A number of `least` to `most` digits, all that stand there.
  bool Number(std::size_t least, std::size_t most, int& value) {
    const std::size_t n = DigitsAhead();
    if (n < least || n > most) return false;
    value = TakeDigits(n);
    return true;
  }

  // The number that the next `n` digits are; there are as many.
  int TakeDigits(std::size_t n) {
    int value = 0;
    std::from_chars(rest_.data(), rest_.data() + n, value);
    rest_.remove_prefix(n);
    return value;
  }

  // The letters that come next.
  std::string_view Letters() const {
    std::size_t n = 0;
    while (IsLetter(CharAt(n))) ++n;
    return rest_.substr(0, n);
  }

 private:
  static bool IsLetter(char c) {
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'z';
  }
  char CharAt(std::size_t n) const { return n < rest_.size() ? rest_[n] : '\0'; }

  std::string_view rest_;
};

struct Parts {
  int year = 1900;
  int month = 1;
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
  std::int64_t fraction = 0;  // in ticks
};

// A number of a day with how many digits it is written.
struct DayNumber {
  int value = 0;
  std::size_t digits = 0;
};

// Two-digit years lie in 1950 to 2049.
int FullYear(const DayNumber& year) {
  return year.digits == 4 ? year.value : year.value + (year.value < 50 ? 2000 : 1900);
}

// The month of a name or of its first three letters; 0 for none. Takes it off.
int TakeMonth(Reader& in, const Manner& manner) {
  if (manner.hijri) {
    for (std::size_t month = 12; month-- > 0;) {  // some names begin with others
      if (in.SkipWord(ToUtf8(HijriMonthName(month)))) return static_cast<int>(month) + 1;
    }
  }
  constexpr std::size_t kAbbreviation = 3;
  const std::string_view letters = in.Letters();
  const Text word(letters.begin(), letters.end());
  for (std::size_t month = 0; month < 12; ++month) {
    const TextView name = MonthName(Language::English, month);
    if (!EqualText(word, name) && !EqualText(word, name.substr(0, kAbbreviation))) continue;
    in.SkipWord(letters);
    return static_cast<int>(month) + 1;
  }
  return 0;
}

// A day written in digits alone: yyyymmdd, yymmdd or yyyy.
bool ReadUnseparatedDay(Reader& in, Parts& parts) {
  switch (in.DigitsAhead()) {
    case 8:
      parts.year = in.TakeDigits(4);
      break;
    case 6:
      parts.year = FullYear({in.TakeDigits(2), 2});
      break;
    case 4:
      parts.year = in.TakeDigits(4);
      return true;
    default:
      return false;
  }
  parts.month = in.TakeDigits(2);
  parts.day = in.TakeDigits(2);
  return true;
}

bool TakeNumber(Reader& in, DayNumber& number) {
  number.digits = in.DigitsAhead();
  const bool known = number.digits == 1 || number.digits == 2 || number.digits == 4;
  if (known) number.value = in.TakeDigits(number.digits);
  return known;
}

// Three numbers: the one of four digits is the year, the other two have the order's month and day.
bool PlaceNumbers(const std::array<DayNumber, 3>& numbers, const Manner& manner, Parts& parts) {
  const auto wide =
      std::count_if(numbers.begin(), numbers.end(), [](const auto& n) { return n.digits == 4; });
  if (wide > 1) return false;
  constexpr std::array<std::array<std::size_t, 3>, 6> kPlaces = {
      {{2, 0, 1}, {2, 1, 0}, {0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}}};  // of y, m, d
  auto [year, month, day] = kPlaces[static_cast<std::size_t>(manner.order)];
  if (wide == 1) {
    year = 0;
    while (numbers[year].digits != 4) ++year;
    month = year == 0 ? 1 : 0;
    day = 3 - year - month;
    const bool iso = manner.year_first && year == 0;
    if (!iso && !IsMonthFirst(manner.order)) std::swap(month, day);
  }
  parts.year = FullYear(numbers[year]);
  parts.month = numbers[month].value;
  parts.day = numbers[day].value;
  return true;
}

void SkipSeparators(Reader& in) {
  while (in.SkipBlanks() || in.Skip(',') || in.Skip('-') || in.Skip('/') || in.Skip('.')) {
  }
}

// "Sep 13, 1994", "13-Sep-94", "1994 Sep 13", "Sep 1994": the month's name and one or two numbers.
// `first` is a number that stood before and was read already, without digits for none.
bool ReadNamedDay(Reader& in, const Manner& manner, const DayNumber& first, Parts& parts) {
  std::array<DayNumber, 2> numbers{first};
  std::size_t count = first.digits > 0 ? 1 : 0;
  parts.month = 0;
  for (;;) {
    Reader ahead = in;
    SkipSeparators(ahead);
    const bool is_time = ahead.CharAfterDigits() == ':' || ahead.HalfOfDayAfterDigits();
    if (ahead.DigitsAhead() > 0) {
      if (is_time || count == numbers.size()) break;
      in = ahead;
      if (!TakeNumber(in, numbers[count++])) return false;
    } else {
      if (parts.month != 0) break;
      in = ahead;
      parts.month = TakeMonth(in, manner);
      if (parts.month == 0) return false;
    }
  }
  if (parts.month == 0 || count == 0) return false;
  if (count == 1) {
    if (numbers[0].digits != 4) return false;
    parts.year = numbers[0].value;
    return true;
  }
  const bool year_in_front = manner.order == DateOrder::Ymd || manner.order == DateOrder::Ydm;
  const bool wide = numbers[0].digits == 4 || numbers[1].digits == 4;
  const std::size_t year = wide ? (numbers[0].digits == 4 ? 0 : 1) : (year_in_front ? 0 : 1);
  if (numbers[1 - year].digits == 4) return false;
  parts.year = FullYear(numbers[year]);
  parts.day = numbers[1 - year].value;
  return true;
}

bool ReadDay(Reader& in, const Manner& manner, Parts& parts) {
  const std::size_t digits = in.DigitsAhead();
  if (digits == 0) return ReadNamedDay(in, manner, {}, parts);
  const char separator = in.CharAfterDigits();
  const bool separated = separator == '-' || separator == '/' || separator == '.';
  Reader ahead = in;
  ahead.TakeDigits(digits);
  while (ahead.SkipBlanks() || (separated && ahead.Skip(separator)) || ahead.Skip(',')) {
  }
  // "20020301T12:00" has no month's name.
  const bool named = !ahead.AtEnd() && ahead.DigitsAhead() == 0 && TakeMonth(ahead, manner) != 0;
  if (named) {
    DayNumber first;
    return TakeNumber(in, first) && ReadNamedDay(in, manner, first, parts);
  }
  const bool blanks = manner.number_months && separator == ' ' && digits <= 2;
  if (!separated && !blanks) return ReadUnseparatedDay(in, parts);
  std::array<DayNumber, 3> numbers;
  for (DayNumber& number : numbers) {
    const bool parted =
        &number == numbers.data() || (blanks ? in.SkipBlanks() : in.Skip(separator));
    if (!parted) return false;
    if (!TakeNumber(in, number)) return false;
  }
  Manner order = manner;
  if (blanks) order.order = DateOrder::Mdy;
  return PlaceNumbers(numbers, order, parts);
}

// The fraction of a second behind the point.
bool ReadFraction(Reader& in, const Manner& manner, std::int64_t& ticks) {
  const std::size_t digits = in.DigitsAhead();
  int value = 0;
  if (!in.Number(1, manner.fraction_digits, value)) return false;
  ticks = value;
  for (std::size_t n = digits; n < kMostFractionDigits; ++n) ticks *= 10;
  return true;
}

// AM or PM; the hour is one of twelve then.
bool ReadHalfOfDay(Reader& in, Parts& parts, bool required) {
  const bool afternoon = in.SkipLetter('P');
  if (!afternoon && !in.SkipLetter('A')) return !required;
  if (!in.SkipLetter('M')) return false;
  if (afternoon && parts.hour < 12) parts.hour += 12;
  if (!afternoon && parts.hour == 12) parts.hour = 0;
  return true;
}

bool ReadTime(Reader& in, const Manner& manner, Parts& parts, bool iso) {
  const std::size_t least = iso ? 2 : 1;
  if (!in.Number(least, 2, parts.hour)) return false;
  const bool hour_alone = !in.Skip(':');
  if (!hour_alone) {
    if (!in.Number(least, 2, parts.minute)) return false;
    if (in.Skip(':')) {
      if (!in.Number(least, 2, parts.second)) return false;
      if (in.Skip('.')) {
        if (!ReadFraction(in, manner, parts.fraction)) return false;
      } else if (in.Skip(':')) {
        int thousandths = 0;
        if (!in.Number(1, 3, thousandths)) return false;
        parts.fraction = thousandths * kTicksPerMillisecond;
      }
    } else if (iso && manner.iso_seconds) {
      return false;
    }
  }
  if (iso) {
    in.Skip('Z');
    return !hour_alone;
  }
  in.SkipBlanks();
  return ReadHalfOfDay(in, parts, hour_alone);
}

// "+08:00", which changes nothing.
bool ReadOffset(Reader& in) {
  if (!in.Skip('+') && !in.Skip('-')) return true;
  int part = 0;
  return in.Number(1, 2, part) && in.Skip(':') && in.Number(2, 2, part);
}

// The day of an ISO form is written with all its digits.
bool IsIsoDay(std::string_view text) {
  const std::size_t t = text.find('T');
  const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
  return t != std::string_view::npos && (t - start == 8 || t - start == 10);
}

std::optional<Parts> ReadMoment(std::string_view text, const Manner& manner) {
  Reader in(text);
  Parts parts;
  in.SkipBlanks();
  if (in.AtEnd()) return parts;
  const auto at_time = [&] {
    return in.CharAfterDigits() == ':' || (in.DigitsAhead() > 0 && in.HalfOfDayAfterDigits());
  };
  bool iso = false;
  const bool time_first = at_time();
  if (time_first) {
    if (manner.iso_only || !ReadTime(in, manner, parts, false)) return std::nullopt;
  } else {
    Manner day = manner;
    if (IsIsoDay(text)) day.year_first = true;
    if (!ReadDay(in, day, parts)) return std::nullopt;
  }
  const bool blanks = in.SkipBlanks();
  if (in.AtEnd()) return parts;
  if (time_first) {
    if (!blanks || !ReadDay(in, manner, parts)) return std::nullopt;
  } else {
    iso = !blanks && IsIsoDay(text) && in.Skip('T');
    const bool parted = iso || (blanks && !manner.iso_only);
    if (!parted || !(iso || at_time()) || !ReadTime(in, manner, parts, iso)) return std::nullopt;
  }
  in.SkipBlanks();
  if (manner.offsets && !ReadOffset(in)) return std::nullopt;
  in.SkipBlanks();
  return in.AtEnd() ? std::optional(parts) : std::nullopt;
}

// What a style of CONVERT's says of the order.
std::optional<DateOrder> OrderOfStyle(int style) {
  switch (style % 100) {
    case 1:
    case 7:
    case 10:
    case 22:
      return DateOrder::Mdy;
    case 2:
    case 11:
    case 12:
    case 20:
    case 21:
    case 23:
    case 25:
    case 26:
    case 27:
      return DateOrder::Ymd;
    case 3:
    case 4:
    case 5:
    case 6:
    case 13:
    case 30:
    case 31:
      return DateOrder::Dmy;
    default:
      return std::nullopt;
  }
}

Manner MannerOf(const Type& type, const DateOptions& options, int style) {
  const bool milliseconds = IsDate(type.kind);
  Manner manner;
  manner.order = OrderOfStyle(style).value_or(options.order);
  manner.year_first = !milliseconds;
  manner.iso_seconds = milliseconds;
  manner.offsets = !milliseconds;
  manner.number_months = options.language == Language::Chinese;
  manner.hijri = style == 130 || style == 131;
  manner.iso_only = style == 126 || style == 127;
  manner.fraction_digits = milliseconds ? 3 : kMostFractionDigits;
  return manner;
}

// The day from 1900-01-01; nothing where the calendar has no such day.
std::optional<std::int64_t> DayOfParts(const Parts& parts, bool hijri) {
  if (hijri) {
    const bool exists = parts.year > 0 && parts.month >= 1 && parts.month <= 12 && parts.day >= 1 &&
                        parts.day <= HijriMonthLength(parts.year, parts.month);
    if (!exists) return std::nullopt;
    return DayOfHijri({parts.year, parts.month, parts.day});
  }
  const chrono::year_month_day day =
      chrono::year(parts.year) / static_cast<int>(parts.month) / static_cast<int>(parts.day);
  if (!day.ok() || parts.year < 1) return std::nullopt;
  return (chrono::sys_days(day) - kFirstDay).count();
}

}  // namespace

std::int64_t ParseMoment(std::string_view text, const Type& type, const DateOptions& options,
                         int style) {
  const Manner manner = MannerOf(type, options, style);
  const std::optional<Parts> read = ReadMoment(text, manner);
  if (!read) throw errors::DateConversion();
  const bool milliseconds = IsDate(type.kind);
  const auto no_such = [&] {
    return milliseconds ? errors::DateOutOfRange() : errors::DateConversion();
  };
  // Only what was written as one is a date of the Hijri calendar; a time alone is of 1900-01-01.
  const Parts none;
  const bool written =
      read->year != none.year || read->month != none.month || read->day != none.day;
  const auto day = DayOfParts(*read, manner.hijri && written);
  if (!day || read->hour > 23 || read->minute > 59 || read->second > 59) throw no_such();
  const std::int64_t seconds = (read->hour * 60 + read->minute) * 60 + read->second;
  const std::int64_t ticks = *day * kTicksPerDay + seconds * kTicksPerSecond + read->fraction;
  if (ticks < kLeastTick || ticks >= kEndTick) throw no_such();
  return FromTicks(ticks, type, "varchar");
}

std::int64_t ParseDateTime(std::string_view text, const DateOptions& options, int style) {
  Type type;
  type.kind = TypeKind::DateTime;
  return ParseMoment(text, type, options, style);
}

}  // namespace ledgerwick::tsql
