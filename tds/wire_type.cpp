#include "tds/wire_type.h"

#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include "tds/code_page.h"
#include "tsql/values/code_page.h"

namespace ledgerwick::tds {
namespace {

constexpr std::uint32_t kLongText = 0xFFFF;
constexpr std::uint32_t kOldText = 0x23;   // text
constexpr std::uint32_t kOldNText = 0x63;  // ntext
constexpr std::uint32_t kOldImage = 0x22;  // image
constexpr std::uint32_t kLongestOld = 0x7FFFFFFF;
constexpr std::uint32_t kLongestOldN = 0x7FFFFFFE;

constexpr std::uint16_t kShortNull = 0xFFFF;
constexpr std::uint64_t kLongNull = 0xFFFFFFFFFFFFFFFF;

constexpr std::uint32_t kMostChar = 8000;

struct NamedType {
  TextView name;
  WireKind kind;
  std::uint8_t token;
  std::uint8_t length;
};

// Types that can be null, since a column of a result nearly always can be.
constexpr NamedType kTypes[] = {
    {u"bit", WireKind::Bit, 0x68, 1},
    {u"tinyint", WireKind::Integer, 0x26, 1},
    {u"smallint", WireKind::Integer, 0x26, 2},
    {u"int", WireKind::Integer, 0x26, 4},
    {u"null", WireKind::Integer, 0x26, 4},
    {u"bigint", WireKind::Integer, 0x26, 8},
    {u"real", WireKind::Float, 0x6D, 4},
    {u"float", WireKind::Float, 0x6D, 8},
    {u"smallmoney", WireKind::Money, 0x6E, 4},
    {u"money", WireKind::Money, 0x6E, 8},
    {u"smalldatetime", WireKind::DateTime, 0x6F, 4},
    {u"datetime", WireKind::DateTime, 0x6F, 8},
    {u"date", WireKind::Date, 0x28, 3},
    {u"time", WireKind::Time, 0x29, 0},
    {u"datetime2", WireKind::DateTime2, 0x2A, 0},
    {u"uniqueidentifier", WireKind::Identifier, 0x24, 16},
    {u"binary", WireKind::Bytes, 0xAD, 0},
    {u"varbinary", WireKind::Bytes, 0xA5, 0},
    {u"timestamp", WireKind::Bytes, 0xAD, 8},
    {u"decimal", WireKind::Decimal, 0x6A, 0},
    {u"numeric", WireKind::Decimal, 0x6C, 0},
    {u"char", WireKind::Char, 0xAF, 0},
    {u"varchar", WireKind::Char, 0xA7, 0},
    {u"nchar", WireKind::NChar, 0xEF, 0},
    {u"nvarchar", WireKind::NChar, 0xE7, 0},
};

// The numbers in the parentheses of "decimal(18,4)"; -1 for max.
std::array<int, 2> ArgumentsOf(TextView type) {
  std::array<int, 2> arguments{};
  const std::size_t open = type.find(u'(');
  if (open == TextView::npos) return arguments;
  if (type.substr(open).starts_with(u"(max")) return {-1, 0};
  std::size_t which = 0;
  for (const char16_t c : type.substr(open + 1)) {
    if (c == u',' && which == 0) ++which;
    if (c >= u'0' && c <= u'9') arguments[which] = arguments[which] * 10 + (c - u'0');
  }
  return arguments;
}

std::uint8_t DecimalBytes(int precision) noexcept {
  return precision <= 9 ? 5 : precision <= 19 ? 9 : precision <= 28 ? 13 : 17;
}

// A text of digits with a sign and a point, as a whole number of its last digit's units.
UInt128 UnitsOf(const Text& digits, bool& negative) {
  UInt128 units = 0;
  negative = false;
  for (const char16_t c : digits) {
    if (c == u'-') negative = true;
    if (c >= u'0' && c <= u'9') units = units * 10 + static_cast<unsigned>(c - u'0');
  }
  return units;
}

void PutDecimal(ByteWriter& out, const WireType& type, const Text& digits) {
  bool negative = false;
  UInt128 units = UnitsOf(digits, negative);
  out.U8(type.length).U8(negative ? 0 : 1);
  for (std::uint32_t i = 1; i < type.length; ++i, units >>= 8) {
    out.U8(static_cast<unsigned>(units & 0xFF));
  }
}

void PutMoney(ByteWriter& out, const WireType& type, const Text& digits) {
  bool negative = false;
  const auto amount = static_cast<std::uint64_t>(UnitsOf(digits, negative));
  const std::uint64_t units = negative ? 0 - amount : amount;
  out.U8(type.length);
  if (type.length == 8) out.U32(units >> 32);  // the higher half first
  out.U32(units & 0xFFFFFFFF);
}

// Days from 1900-01-01 to the first of March of the year that begins then, and so on: the calendar
// of Gregory over its whole range.
std::int32_t DaysSince1900(const CalendarTime& time) {
  const int year = time.month > 2 ? time.year : time.year - 1;
  const int month = time.month > 2 ? time.month - 3 : time.month + 9;  // since March
  constexpr int kBefore1900 = 693901;  // days from the first of March of the year 0 to 1900-01-01
  return 365 * year + year / 4 - year / 100 + year / 400 + (153 * month + 2) / 5 + time.day - 1 -
         kBefore1900;
}

void PutDate(ByteWriter& out, const WireType& type, Date date) {
  const CalendarTime time = ToCalendar(date);
  const std::int32_t days = DaysSince1900(time);
  const int minutes = time.hour * 60 + time.minute;
  out.U8(type.length);
  if (type.length == 4) {
    out.U16(static_cast<std::size_t>(days)).U16(static_cast<std::size_t>(minutes));
    return;
  }
  // In 300ths of a second.
  const int ticks = (minutes * 60 + time.second) * 300 + (time.millisecond * 3 + 5) / 10;
  out.Put(days).Put(ticks);
}

// The number that the digits of a part of a value's text say.
std::uint64_t NumberIn(TextView text) {
  std::uint64_t number = 0;
  for (const char16_t c : text) number = number * 10 + static_cast<std::uint64_t>(c - u'0');
  return number;
}

void PutBytes(ByteWriter& out, std::uint64_t number, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i, number >>= 8) out.U8(number & 0xFF);
}

// Of "2002-03-01", in days since 0001-01-01.
void PutDay(ByteWriter& out, TextView text) {
  constexpr std::int32_t kDaysTo1900 = 693595;
  constexpr std::size_t kSize = 3;
  CalendarTime day;
  day.year = static_cast<int>(NumberIn(text.substr(0, 4)));
  day.month = static_cast<int>(NumberIn(text.substr(5, 2)));
  day.day = static_cast<int>(NumberIn(text.substr(8, 2)));
  PutBytes(out, static_cast<std::uint64_t>(DaysSince1900(day) + kDaysTo1900), kSize);
}

std::size_t TimeBytes(int scale) noexcept { return scale <= 2 ? 3 : scale <= 4 ? 4 : 5; }

// Of "10:11:12.1234567", in units of its last digit.
void PutTimeOfDay(ByteWriter& out, TextView text, int scale) {
  std::uint64_t time = NumberIn(text.substr(0, 2)) * 60 + NumberIn(text.substr(3, 2));
  time = time * 60 + NumberIn(text.substr(6, 2));
  for (int i = 0; i < scale; ++i) time *= 10;
  constexpr std::size_t kPoint = 8;
  if (scale > 0) time += NumberIn(text.substr(kPoint + 1));
  PutBytes(out, time, TimeBytes(scale));
}

void PutMoment(ByteWriter& out, const WireType& type, TextView text) {
  constexpr std::size_t kTime = 11;  // behind "2002-03-01 "
  out.U8(type.length);
  if (type.kind == WireKind::Time) return PutTimeOfDay(out, text, type.scale);
  if (type.kind == WireKind::DateTime2) PutTimeOfDay(out, text.substr(kTime), type.scale);
  PutDay(out, text);
}

// The bytes that pairs of hexadecimal digits say; dashes between them count for nothing.
std::string FromHexadecimal(TextView digits) {
  std::string bytes;
  int high = -1;
  for (const char16_t c : digits) {
    if (c == u'-') continue;
    const int digit = c <= u'9' ? c - u'0' : (c | 0x20) - u'a' + 10;
    if (high < 0) {
      high = digit;
    } else {
      bytes += static_cast<char>(high << 4 | digit);
      high = -1;
    }
  }
  return bytes;
}

void PutIdentifier(ByteWriter& out, const WireType& type, TextView text) {
  constexpr std::size_t kPlaces[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  const std::string bytes = FromHexadecimal(text);
  out.U8(type.length);
  for (const std::size_t place : kPlaces) out.U8(static_cast<unsigned char>(bytes.at(place)));
}

void PutFloat(ByteWriter& out, const WireType& type, double number) {
  out.U8(type.length);
  if (type.length == 4) {
    const auto single = static_cast<float>(number);
    std::uint32_t bits = 0;
    std::memcpy(&bits, &single, sizeof bits);
    out.Put(bits);
  } else {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    out.Put(bits);
  }
}

// The bytes of a text or of binary, behind what tells their length.
template <typename Content>
void PutText(std::string& bytes, const WireType& type, Version version, Content content) {
  ByteWriter out(bytes);
  const bool is_long = type.kind == WireKind::LongChar || type.kind == WireKind::LongNChar ||
                       type.kind == WireKind::LongBytes;
  if (!is_long) {
    const std::size_t at = bytes.size();
    out.U16(0);
    content();
    const std::size_t length = bytes.size() - at - 2;
    if (length > kMostChar) throw std::length_error("a text is longer than its type");
    bytes[at] = static_cast<char>(length);
    bytes[at + 1] = static_cast<char>(length >> 8);
    return;
  }
  if (version == Version::V71) {
    constexpr std::size_t kPointer = 16;
    constexpr std::size_t kTimestamp = 8;
    out.U8(kPointer).Raw(std::string(kPointer + kTimestamp, '\0'));
  }
  const std::size_t at = bytes.size();
  constexpr std::size_t kWholeAndChunk = 12;
  const std::size_t head = version == Version::V71 ? 4 : kWholeAndChunk;
  bytes.append(head, '\0');
  content();
  const std::size_t length = bytes.size() - at - head;
  std::string lengths;
  ByteWriter measured(lengths);
  if (version != Version::V71) measured.Put(std::uint64_t{length});
  measured.U32(length);
  bytes.replace(at, head, lengths);
  if (version == Version::V71) return;
  if (length == 0) {
    bytes.resize(bytes.size() - 4);  // an empty text has no part, only their end
  }
  out.U32(0);
}

void PutNull(ByteWriter& out, const WireType& type, Version version) {
  switch (type.kind) {
    case WireKind::Char:
    case WireKind::NChar:
    case WireKind::Bytes:
      out.Put(kShortNull);
      return;
    case WireKind::LongChar:
    case WireKind::LongNChar:
    case WireKind::LongBytes:
      if (version != Version::V71) {
        out.Put(kLongNull);
        return;
      }
      break;
    default:
      break;
  }
  out.U8(0);
}

// A type of Version::V73A or later, where the client has none of them: as long as its texts.
WireType AsText(std::uint32_t characters) { return {WireKind::NChar, 0xE7, characters * 2, 0, 0}; }

// A date, a time or both, `digits` of them behind the second's point.
WireType MomentType(const NamedType& known, int digits, Version version) {
  constexpr std::uint32_t kDay = 10;
  constexpr std::uint32_t kTime = 8;
  const bool has_day = known.kind != WireKind::Time;
  const bool has_time = known.kind != WireKind::Date;
  if (version < Version::V73A) {
    const std::uint32_t fraction = digits > 0 ? static_cast<std::uint32_t>(digits) + 1 : 0;
    return AsText((has_day ? kDay : 0) + (has_time ? kTime + fraction : 0) +
                  (has_day && has_time ? 1 : 0));
  }
  WireType type{known.kind, known.token, known.length, 0, static_cast<std::uint8_t>(digits)};
  if (has_time) type.length = static_cast<std::uint32_t>(TimeBytes(digits)) + (has_day ? 3 : 0);
  return type;
}

}  // namespace

WireType WireTypeOf(const ResultColumn& column, Version version) {
  const TextView declaration = column.type;
  const TextView name = declaration.substr(0, declaration.find(u'('));
  for (const NamedType& known : kTypes) {
    if (known.name != name) continue;
    const auto arguments = ArgumentsOf(declaration);
    if (known.kind == WireKind::Date || known.kind == WireKind::Time ||
        known.kind == WireKind::DateTime2) {
      return MomentType(known, arguments[0], version);
    }
    WireType type{known.kind, known.token, known.length, 0, 0};
    const auto length = static_cast<std::uint32_t>(std::max(arguments[0], 1));
    if (known.kind == WireKind::Decimal) {
      type.precision = static_cast<std::uint8_t>(arguments[0]);
      type.scale = static_cast<std::uint8_t>(arguments[1]);
      type.length = DecimalBytes(arguments[0]);
    } else if (known.kind == WireKind::Bytes && known.length == 0) {
      type.length = length;
      if (arguments[0] < 0) {
        type.kind = WireKind::LongBytes;
        type.length = kLongText;
      }
    } else if (known.kind == WireKind::Char || known.kind == WireKind::NChar) {
      const bool wide = known.kind == WireKind::NChar;
      type.length = wide ? length * 2 : length;
      if (arguments[0] < 0 || type.length > kMostChar) {
        type.kind = wide ? WireKind::LongNChar : WireKind::LongChar;
        type.token = wide ? 0xE7 : 0xA7;
        type.length = kLongText;
      }
    }
    return type;
  }
  throw std::logic_error("the type " + ToUtf8(declaration) + " cannot travel");
}

void PutType(ByteWriter& out, const WireType& type, Version version) {
  switch (type.kind) {
    case WireKind::Decimal:
      out.U8(type.token).U8(type.length).U8(type.precision).U8(type.scale);
      return;
    case WireKind::Date:
      out.U8(type.token);
      return;
    case WireKind::Time:
    case WireKind::DateTime2:
      out.U8(type.token).U8(type.scale);
      return;
    case WireKind::LongBytes:
      if (version == Version::V71) {
        out.U8(kOldImage).U32(kLongestOld).U16(0);  // of no table
        return;
      }
      [[fallthrough]];
    case WireKind::Bytes:
      out.U8(type.token).U16(type.length);
      return;
    case WireKind::LongChar:
    case WireKind::LongNChar:
      if (version == Version::V71) {
        const bool wide = type.kind == WireKind::LongNChar;
        out.U8(wide ? kOldNText : kOldText).U32(wide ? kLongestOldN : kLongestOld);
        out.Raw(kCollation).U16(0);  // of no table
        return;
      }
      [[fallthrough]];
    case WireKind::Char:
    case WireKind::NChar:
      out.U8(type.token).U16(type.length).Raw(kCollation);
      return;
    default:
      out.U8(type.token).U8(type.length);
  }
}

void PutValue(std::string& bytes, const WireType& type, const Value& value, Version version) {
  ByteWriter out(bytes);
  if (value.IsNull()) return PutNull(out, type, version);
  switch (type.kind) {
    case WireKind::Bit:
    case WireKind::Integer: {
      const auto number = static_cast<std::uint64_t>(*value.If<std::int64_t>());
      out.U8(type.length);
      for (std::uint32_t i = 0; i < type.length; ++i) {
        out.U8(static_cast<unsigned>(number >> (8 * i) & 0xFF));
      }
      return;
    }
    case WireKind::Float:
      return PutFloat(out, type, *value.If<double>());
    case WireKind::Money:
      return PutMoney(out, type, *value.If<Text>());
    case WireKind::Decimal:
      return PutDecimal(out, type, *value.If<Text>());
    case WireKind::DateTime:
      return PutDate(out, type, *value.If<Date>());
    case WireKind::Date:
    case WireKind::Time:
    case WireKind::DateTime2:
      return PutMoment(out, type, *value.If<Text>());
    case WireKind::Identifier:
      return PutIdentifier(out, type, *value.If<Text>());
    case WireKind::Bytes:
    case WireKind::LongBytes:
      return PutText(bytes, type, version, [&] {
        bytes += FromHexadecimal(TextView(*value.If<Text>()).substr(2));  // behind "0x"
      });
    case WireKind::Char:
    case WireKind::LongChar:
      return PutText(bytes, type, version, [&] { bytes += tsql::ToCodePage(*value.If<Text>()); });
    case WireKind::NChar:
    case WireKind::LongNChar:
      return PutText(bytes, type, version, [&] { out.Units(*value.If<Text>()); });
  }
}

}  // namespace ledgerwick::tds
