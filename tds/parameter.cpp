#include "tds/parameter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>

#include "frame/error.h"
#include "tds/code_page.h"

namespace ledgerwick::tds {
namespace {

// The numbers of types.
enum class Token : std::uint8_t {
  Null = 0x1F,
  Image = 0x22,
  Text = 0x23,
  Guid = 0x24,
  OldVarBinary = 0x25,
  IntN = 0x26,
  OldVarChar = 0x27,
  DateN = 0x28,
  TimeN = 0x29,
  DateTime2N = 0x2A,
  DateTimeOffsetN = 0x2B,
  OldBinary = 0x2D,
  OldChar = 0x2F,
  Int1 = 0x30,
  Bit = 0x32,
  Int2 = 0x34,
  Int4 = 0x38,
  SmallDateTime = 0x3A,
  Real = 0x3B,
  Money = 0x3C,
  DateTime = 0x3D,
  Float = 0x3E,
  Variant = 0x62,
  NText = 0x63,
  BitN = 0x68,
  DecimalN = 0x6A,
  NumericN = 0x6C,
  FloatN = 0x6D,
  MoneyN = 0x6E,
  DateTimeN = 0x6F,
  SmallMoney = 0x7A,
  Int8 = 0x7F,
  VarBinary = 0xA5,
  VarChar = 0xA7,
  Binary = 0xAD,
  Char = 0xAF,
  NVarChar = 0xE7,
  NChar = 0xEF,
  Xml = 0xF1,
};

constexpr std::size_t kCollationSize = 5;
constexpr std::uint32_t kLongNull = 0xFFFFFFFF;
constexpr int kDaysTo1900 = 693595;  // from 0001-01-01

Text FromAscii(std::string_view text) { return Text(text.begin(), text.end()); }

// 8009, as the server says it of a parameter that it cannot take.
DatabaseError UnknownType(unsigned token) {
  DatabaseError error(kErrorSyntaxOrAccess, u"Ledgerwick",
                      FromAscii("The incoming tabular data stream (TDS) remote procedure call "
                                "(RPC) protocol stream is incorrect. A parameter has the data "
                                "type 0x" +
                                [&] {
                                  char digits[3];
                                  std::snprintf(digits, sizeof digits, "%02X", token);
                                  return std::string(digits);
                                }() +
                                ", which this database does not have."));
  error.native = 8009;
  return error;
}

// 8023: a float that is no number.
DatabaseError NoNumber() {
  DatabaseError error(kErrorSyntaxOrAccess, u"Ledgerwick",
                      u"The supplied value is not a valid instance of data type float. Check the "
                      u"source data for invalid values.");
  error.native = 8023;
  return error;
}

Text Literal(TextView text) {
  Text literal = u"'";
  for (const char16_t c : text) {
    if (c == u'\'') literal += u'\'';
    literal += c;
  }
  return literal += u'\'';
}

std::int64_t ReadInteger(std::string_view bytes) {
  ByteReader reader(bytes);
  switch (bytes.size()) {
    case 1:
      return reader.Read<std::uint8_t>();
    case 2:
      return reader.Read<std::int16_t>();
    case 4:
      return reader.Read<std::int32_t>();
    case 8:
      return reader.Read<std::int64_t>();
    default:
      throw ProtocolError("an integer has " + std::to_string(bytes.size()) + " bytes");
  }
}

Text FloatLiteral(std::string_view bytes) {
  double number = 0;
  if (bytes.size() == sizeof(float)) {
    float single = 0;
    std::memcpy(&single, bytes.data(), sizeof single);
    number = single;
  } else if (bytes.size() == sizeof(double)) {
    std::memcpy(&number, bytes.data(), sizeof number);
  } else {
    throw ProtocolError("a float has " + std::to_string(bytes.size()) + " bytes");
  }
  if (!std::isfinite(number)) throw NoNumber();
  std::array<char, 32> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                 std::chars_format::scientific)
                       .ptr;
  return FromAscii({digits.data(), end});
}

// `units` with `scale` digits behind the point.
Text DecimalLiteral(UInt128 units, bool negative, int scale) {
  std::string digits;
  for (int i = 0; i <= scale || units != 0; ++i, units /= 10) {
    if (i == scale && scale > 0) digits += '.';
    digits += static_cast<char>('0' + static_cast<int>(units % 10));
  }
  if (negative) digits += '-';
  std::reverse(digits.begin(), digits.end());
  return FromAscii(digits);
}

Text MoneyLiteral(std::string_view bytes) {
  constexpr int kScale = 4;
  ByteReader reader(bytes);
  std::int64_t units = 0;
  if (bytes.size() == 8) {
    const std::uint64_t high = reader.U32();
    units = static_cast<std::int64_t>(high << 32 | reader.U32());
  } else if (bytes.size() == 4) {
    units = reader.Read<std::int32_t>();
  } else {
    throw ProtocolError("an amount of money has " + std::to_string(bytes.size()) + " bytes");
  }
  const auto size = static_cast<std::uint64_t>(units);
  return DecimalLiteral(units < 0 ? 0 - size : size, units < 0, kScale);
}

Text UnscaledLiteral(std::string_view bytes, int scale) {
  constexpr std::size_t kMost = 17;
  if (bytes.size() < 2 || bytes.size() > kMost) throw ProtocolError("a decimal has a wrong length");
  UInt128 units = 0;
  for (std::size_t i = bytes.size(); i-- > 1;) {
    units = units << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return DecimalLiteral(units, bytes[0] == 0, scale);
}

// "20020301", the day that many days after 1900-01-01. One outside the calendar comes out as a text
// that the database refuses.
std::string DayText(std::int64_t days) {
  // From the first of March of the year 0 on, where leap days end years.
  const std::int64_t since = days + 693901;
  const std::int64_t era = (since >= 0 ? since : since - 146096) / 146097;
  const std::int64_t day_of_era = since - era * 146097;
  const std::int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::int64_t month = (5 * day_of_year + 2) / 153;
  const std::int64_t day = day_of_year - (153 * month + 2) / 5 + 1;
  const std::int64_t year = year_of_era + era * 400 + (month >= 10 ? 1 : 0);
  std::array<char, 64> text;
  const int length =
      std::snprintf(text.data(), text.size(), "%04d%02d%02d", static_cast<int>(year),
                    static_cast<int>(month < 10 ? month + 3 : month - 9), static_cast<int>(day));
  return {text.data(), static_cast<std::size_t>(length)};
}

// "10:11:12.123", the time of day of that many units, `scale` of whose digits are the second's.
std::string TimeText(std::int64_t units, int scale) {
  std::int64_t second = 1;
  for (int i = 0; i < scale; ++i) second *= 10;
  const std::int64_t seconds = units / second;
  std::array<char, 64> text;
  int length =
      std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", static_cast<int>(seconds / 3600),
                    static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
  std::string time(text.data(), static_cast<std::size_t>(length));
  if (scale == 0) return time;
  length = std::snprintf(text.data(), text.size(), ".%0*lld", scale,
                         static_cast<long long>(units % second));
  return time.append(text.data(), static_cast<std::size_t>(length));
}

// A datetime, in days from 1900-01-01 and milliseconds.
Text MomentLiteral(std::int64_t days, std::int64_t ms) {
  constexpr std::int64_t kMsPerDay = 86'400'000;
  constexpr int kDigits = 3;
  return FromAscii("'" + DayText(days + ms / kMsPerDay) + " " + TimeText(ms % kMsPerDay, kDigits) +
                   "'");
}

Text DateTimeLiteral(std::string_view bytes) {
  ByteReader reader(bytes);
  if (bytes.size() == 4) {
    const std::int64_t days = reader.U16();
    return MomentLiteral(days, std::int64_t{reader.U16()} * 60'000);
  }
  if (bytes.size() != 8) throw ProtocolError("a datetime has a wrong length");
  const std::int64_t days = reader.Read<std::int32_t>();
  return MomentLiteral(days, (std::int64_t{reader.U32()} * 10 + 1) / 3);
}

std::int64_t LittleEndian(std::string_view bytes) {
  std::int64_t number = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) {
    number = number << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return number;
}

// Of date, time, datetime2 and datetimeoffset: a time in units of 10^-scale seconds, then days
// since 0001-01-01, then minutes from Greenwich.
Text NewMomentLiteral(std::string_view bytes, Token token, int scale) {
  constexpr std::size_t kDays = 3;
  constexpr std::size_t kZone = 2;
  const bool has_zone = token == Token::DateTimeOffsetN;
  const std::size_t day_size = token == Token::TimeN ? 0 : kDays;
  const std::size_t tail = day_size + (has_zone ? kZone : 0);
  const std::size_t time_size = token == Token::DateN ? 0 : scale <= 2 ? 3 : scale <= 4 ? 4 : 5;
  if (bytes.size() != tail + time_size) throw ProtocolError("a time has a wrong length");
  std::int64_t time = LittleEndian(bytes.substr(0, time_size));
  std::int64_t days = 0;
  if (day_size != 0) days = LittleEndian(bytes.substr(time_size, kDays)) - kDaysTo1900;
  if (has_zone) {
    const auto minutes =
        static_cast<std::int16_t>(LittleEndian(bytes.substr(time_size + kDays, kZone)));
    // The clock of the zone, on which the day may be another.
    std::int64_t minute = 60;
    for (int i = 0; i < scale; ++i) minute *= 10;
    constexpr std::int64_t kMinutesPerDay = 1440;
    time += minutes * minute;
    days += time < 0 ? -1 : time / (minute * kMinutesPerDay);
    time = (time + minute * kMinutesPerDay) % (minute * kMinutesPerDay);
  }
  std::string text = "'";
  if (day_size != 0) text += DayText(days);
  if (day_size != 0 && time_size != 0) text += ' ';
  if (time_size != 0) text += TimeText(time, scale);
  return FromAscii(text + "'");
}

Text NewMomentType(Token token, int scale) {
  if (token == Token::DateN) return u"date";
  return (token == Token::TimeN ? u"time(" : u"datetime2(") + FromAscii(std::to_string(scale)) +
         u")";
}

Text BytesLiteral(std::string_view bytes) {
  Text text = u"0x";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += u"0123456789ABCDEF"[byte >> 4];
    text += u"0123456789ABCDEF"[byte & 0xF];
  }
  return text;
}

Text GuidLiteral(std::string_view bytes) {
  constexpr std::size_t kSize = 16;
  if (bytes.size() != kSize) throw ProtocolError("an identifier has a wrong length");
  constexpr std::array<std::size_t, kSize> kOrder = {3, 2, 1,  0,  5,  4,  7,  6,
                                                     8, 9, 10, 11, 12, 13, 14, 15};
  Text text = u"'";
  for (std::size_t i = 0; i < kSize; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += u'-';
    const auto byte = static_cast<unsigned char>(bytes[kOrder[i]]);
    text += u"0123456789ABCDEF"[byte >> 4];
    text += u"0123456789ABCDEF"[byte & 0xF];
  }
  return text += u'\'';
}

// What stands behind a type's number.
struct TypeFacts {
  Token token = Token::Null;
  std::uint32_t length = 0;
  int precision = 0;
  int scale = 0;
  bool in_parts = false;  // a long value, in parts
  std::string collation;
};

std::uint32_t FixedLength(Token token) noexcept {
  switch (token) {
    case Token::Int1:
    case Token::Bit:
      return 1;
    case Token::Int2:
      return 2;
    case Token::Int4:
    case Token::SmallDateTime:
    case Token::Real:
    case Token::SmallMoney:
      return 4;
    case Token::Money:
    case Token::DateTime:
    case Token::Float:
    case Token::Int8:
      return 8;
    default:
      return 0;
  }
}

void ReadTextFacts(ByteReader& reader, TypeFacts& facts, bool has_collation) {
  constexpr std::uint32_t kInParts = 0xFFFF;
  facts.length = reader.U16();
  facts.in_parts = facts.length == kInParts;
  if (has_collation) facts.collation = reader.Take(kCollationSize);
}

TypeFacts ReadTypeFacts(ByteReader& reader) {
  TypeFacts facts;
  const std::uint8_t number = reader.U8();
  facts.token = static_cast<Token>(number);
  facts.length = FixedLength(facts.token);
  switch (facts.token) {
    case Token::IntN:
    case Token::BitN:
    case Token::FloatN:
    case Token::MoneyN:
    case Token::DateTimeN:
    case Token::Guid:
    case Token::OldVarBinary:
    case Token::OldBinary:
    case Token::OldVarChar:
    case Token::OldChar:
      facts.length = reader.U8();
      return facts;
    case Token::DecimalN:
    case Token::NumericN:
      facts.length = reader.U8();
      facts.precision = reader.U8();
      facts.scale = reader.U8();
      if (facts.precision < 1 || facts.precision > 38 || facts.scale > facts.precision) {
        throw ProtocolError("no decimal has such a precision and scale");
      }
      return facts;
    case Token::TimeN:
    case Token::DateTime2N:
    case Token::DateTimeOffsetN:
      facts.scale = reader.U8();
      if (facts.scale > 7) throw ProtocolError("a time has no more than 7 digits");
      return facts;
    case Token::DateN:
      return facts;
    case Token::VarChar:
    case Token::Char:
    case Token::NVarChar:
    case Token::NChar:
      ReadTextFacts(reader, facts, true);
      return facts;
    case Token::VarBinary:
    case Token::Binary:
      ReadTextFacts(reader, facts, false);
      return facts;
    case Token::Text:
    case Token::NText:
      facts.length = reader.U32();
      facts.collation = reader.Take(kCollationSize);
      return facts;
    case Token::Image:
      facts.length = reader.U32();
      return facts;
    case Token::Xml:
      if (reader.U8() != 0) throw UnknownType(number);  // of a schema
      facts.in_parts = true;
      return facts;
    case Token::Null:
      return facts;
    default:
      if (facts.length == 0) throw UnknownType(number);
      return facts;
  }
}

// The parts of a long value; nothing for null.
std::optional<std::string> ReadParts(ByteReader& reader) {
  constexpr std::uint64_t kNull = 0xFFFFFFFFFFFFFFFF;
  if (reader.Read<std::uint64_t>() == kNull) return std::nullopt;
  std::string value;
  while (const std::uint32_t length = reader.U32()) value += reader.Take(length);
  return value;
}

std::optional<std::string> ReadBytes(ByteReader& reader, const TypeFacts& facts) {
  if (facts.in_parts) return ReadParts(reader);
  if (facts.token == Token::Null) return std::nullopt;
  if (FixedLength(facts.token) != 0) return std::string(reader.Take(facts.length));
  switch (facts.token) {
    case Token::Text:
    case Token::NText:
    case Token::Image: {
      const std::uint32_t length = reader.U32();
      if (length == kLongNull) return std::nullopt;
      return std::string(reader.Take(length));
    }
    case Token::VarChar:
    case Token::Char:
    case Token::NVarChar:
    case Token::NChar:
    case Token::VarBinary:
    case Token::Binary: {
      constexpr std::uint16_t kNull = 0xFFFF;
      const std::uint16_t length = reader.U16();
      if (length == kNull) return std::nullopt;
      return std::string(reader.Take(length));
    }
    default: {
      const std::uint8_t length = reader.U8();
      if (length == 0) return std::nullopt;
      return std::string(reader.Take(length));
    }
  }
}

Text Lengthy(TextView name, std::size_t length, std::size_t most) {
  Text type(name);
  if (length > most) return type + u"(max)";
  return type + u"(" + FromAscii(std::to_string(std::max<std::size_t>(length, 1))) + u")";
}

Text IntegerType(std::uint32_t length) {
  return length == 1 ? u"tinyint" : length == 2 ? u"smallint" : length == 4 ? u"int" : u"bigint";
}

// A number, a time or an identifier: its type, and the value where there is one.
void ReadSimple(const TypeFacts& facts, const std::optional<std::string>& bytes,
                Parameter& parameter) {
  const auto take = [&](Text type, auto literal) {
    parameter.type = std::move(type);
    if (bytes) parameter.literal = literal(*bytes);
  };
  switch (facts.token) {
    case Token::IntN:
    case Token::Int1:
    case Token::Int2:
    case Token::Int4:
    case Token::Int8:
      return take(IntegerType(facts.length), [](const std::string& value) {
        return FromAscii(std::to_string(ReadInteger(value)));
      });
    case Token::Bit:
    case Token::BitN:
      return take(u"bit",
                  [](const std::string& value) { return FromAscii(value[0] == 0 ? "0" : "1"); });
    case Token::FloatN:
    case Token::Real:
    case Token::Float:
      return take(facts.length == 4 ? u"real" : u"float", FloatLiteral);
    case Token::MoneyN:
    case Token::Money:
    case Token::SmallMoney:
      return take(facts.length == 4 ? u"smallmoney" : u"money", MoneyLiteral);
    case Token::DecimalN:
    case Token::NumericN:
      return take(u"decimal(" + FromAscii(std::to_string(facts.precision)) + u"," +
                      FromAscii(std::to_string(facts.scale)) + u")",
                  [&](const std::string& value) { return UnscaledLiteral(value, facts.scale); });
    case Token::DateTimeN:
    case Token::DateTime:
    case Token::SmallDateTime:
      return take(facts.length == 4 ? u"smalldatetime" : u"datetime", DateTimeLiteral);
    case Token::DateN:
    case Token::TimeN:
    case Token::DateTime2N:
    case Token::DateTimeOffsetN:
      return take(NewMomentType(facts.token, facts.scale), [&](const std::string& value) {
        return NewMomentLiteral(value, facts.token, facts.scale);
      });
    case Token::Guid:
      return take(u"uniqueidentifier", GuidLiteral);
    case Token::OldBinary:
    case Token::Binary:
    case Token::OldVarBinary:
    case Token::VarBinary:
    case Token::Image: {
      constexpr std::size_t kMostBytes = 8000;
      const bool fixed = facts.token == Token::OldBinary || facts.token == Token::Binary;
      const bool is_long = facts.in_parts || facts.token == Token::Image;
      return take(is_long ? Text(u"varbinary(max)")
                          : Lengthy(fixed ? u"binary" : u"varbinary", facts.length, kMostBytes),
                  BytesLiteral);
    }
    default:
      // What the database has not: a null of theirs is a null.
      if (bytes) throw UnknownType(static_cast<unsigned>(facts.token));
      parameter.type = u"varchar(8000)";
  }
}

void ReadTextValue(const TypeFacts& facts, const std::optional<std::string>& bytes,
                   Parameter& parameter) {
  constexpr std::size_t kMostChar = 8000;
  constexpr std::size_t kMostNChar = 4000;
  switch (facts.token) {
    case Token::NVarChar:
    case Token::NChar:
    case Token::NText:
    case Token::Xml: {
      const bool fixed = facts.token == Token::NChar && !facts.in_parts;
      const bool is_long = facts.in_parts || facts.token == Token::NText;
      parameter.type = is_long
                           ? Text(u"nvarchar(max)")
                           : Lengthy(fixed ? u"nchar" : u"nvarchar", facts.length / 2, kMostNChar);
      if (!bytes) return;
      if (bytes->size() % 2 != 0) throw ProtocolError("a text has half a character");
      parameter.text = ByteReader(*bytes).Units(bytes->size() / 2);
      parameter.literal = NationalLiteral(parameter.text);
      return;
    }
    default: {
      const bool fixed = facts.token == Token::Char && !facts.in_parts;
      const bool is_long = facts.in_parts || facts.token == Token::Text;
      parameter.type = is_long ? Text(u"varchar(max)")
                               : Lengthy(fixed ? u"char" : u"varchar", facts.length, kMostChar);
      if (!bytes) return;
      const std::string_view collation = facts.collation.empty() ? kCollation : facts.collation;
      parameter.text = DecodeAnsi(*bytes, collation);
      parameter.literal = Literal(parameter.text);
    }
  }
}

bool IsText(Token token) noexcept {
  switch (token) {
    case Token::VarChar:
    case Token::Char:
    case Token::OldVarChar:
    case Token::OldChar:
    case Token::Text:
    case Token::NVarChar:
    case Token::NChar:
    case Token::NText:
    case Token::Xml:
      return true;
    default:
      return false;
  }
}

// The types that the database lacks, with their neighbours.
constexpr std::array<std::pair<TextView, TextView>, 3> kNeighbours = {{
    {u"datetimeoffset", u"datetime2"},
    {u"xml", u"nvarchar(max)"},
    {u"sql_variant", u"nvarchar(4000)"},
}};

bool IsWordCharacter(char16_t c) noexcept {
  return c == u'_' || (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') ||
         (c >= u'a' && c <= u'z') || c >= 0x80;
}

}  // namespace

Text NationalLiteral(TextView text) { return u"N" + Literal(text); }

Parameter ReadParameter(ByteReader& reader, Version) {
  constexpr unsigned kByReference = 0x01;
  constexpr unsigned kDefault = 0x02;
  Parameter parameter;
  parameter.name = reader.ShortText();
  const unsigned flags = reader.U8();
  parameter.output = (flags & kByReference) != 0;
  parameter.is_default = (flags & kDefault) != 0;
  const TypeFacts facts = ReadTypeFacts(reader);
  const std::optional<std::string> bytes = ReadBytes(reader, facts);
  parameter.literal = u"NULL";
  if (IsText(facts.token)) {
    ReadTextValue(facts, bytes, parameter);
  } else {
    ReadSimple(facts, bytes, parameter);
  }
  return parameter;
}

Text TranslateDeclarations(TextView declarations) {
  Text result;
  bool name_before = false;  // a variable's name stands before the word
  for (std::size_t i = 0; i < declarations.size();) {
    const char16_t c = declarations[i];
    std::size_t end = i + 1;
    const bool variable = c == u'@';
    if (variable || IsWordCharacter(c)) {
      while (end < declarations.size() &&
             (IsWordCharacter(declarations[end]) || declarations[end] == u'@')) {
        ++end;
      }
    }
    const TextView word = declarations.substr(i, end - i);
    i = end;
    const auto* const neighbour =
        std::find_if(kNeighbours.begin(), kNeighbours.end(),
                     [&](const auto& pair) { return EqualText(pair.first, word); });
    if (name_before && neighbour != kNeighbours.end()) {
      result += neighbour->second;
      // The number of digits goes with the type.
      if (i < declarations.size() && declarations[i] == u'(') {
        const std::size_t close = declarations.find(u')', i);
        i = close == TextView::npos ? declarations.size() : close + 1;
      }
    } else {
      result += word;
    }
    if (variable) name_before = true;
    if (!variable && c != u' ' && !EqualText(word, u"as")) name_before = false;
  }
  return result;
}

}  // namespace ledgerwick::tds
