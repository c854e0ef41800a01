#include "tds/parameter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include "frame/error.h"
#include "tds/code_page.h"
#include "tds/literal.h"

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

Text NewMomentType(Token token, int scale) {
  if (token == Token::DateN) return u"date";
  return (token == Token::TimeN ? u"time(" : u"datetime2(") + FromAscii(std::to_string(scale)) +
         u")";
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
        return NewMomentLiteral(value,
                                {facts.token != Token::TimeN, facts.token != Token::DateN,
                                 facts.token == Token::DateTimeOffsetN},
                                facts.scale);
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

Parameter ReadParameter(ByteReader& reader) {
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
