#include "tds/client_type.h"

#include <algorithm>
#include <cstdio>

#include "frame/error.h"
#include "tds/code_page.h"
#include "tds/literal.h"

namespace ledgerwick::tds {
namespace {

using Token = ClientToken;
using TypeFacts = ClientType;

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

// The parts of a long value; nothing for null.
std::optional<std::string> ReadParts(ByteReader& reader) {
  constexpr std::uint64_t kNull = 0xFFFFFFFFFFFFFFFF;
  if (reader.Read<std::uint64_t>() == kNull) return std::nullopt;
  std::string value;
  while (const std::uint32_t length = reader.U32()) value += reader.Take(length);
  return value;
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
                ClientValue& result) {
  const auto take = [&](Text type, auto literal) {
    result.type = std::move(type);
    if (bytes) result.literal = literal(*bytes);
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
      result.type = u"varchar(8000)";
  }
}

void ReadTextValue(const TypeFacts& facts, const std::optional<std::string>& bytes,
                   ClientValue& result) {
  constexpr std::size_t kMostChar = 8000;
  constexpr std::size_t kMostNChar = 4000;
  switch (facts.token) {
    case Token::NVarChar:
    case Token::NChar:
    case Token::NText:
    case Token::Xml: {
      const bool fixed = facts.token == Token::NChar && !facts.in_parts;
      const bool is_long = facts.in_parts || facts.token == Token::NText;
      result.type = is_long ? Text(u"nvarchar(max)")
                            : Lengthy(fixed ? u"nchar" : u"nvarchar", facts.length / 2, kMostNChar);
      if (!bytes) return;
      if (bytes->size() % 2 != 0) throw ProtocolError("a text has half a character");
      result.text = ByteReader(*bytes).Units(bytes->size() / 2);
      result.literal = NationalLiteral(result.text);
      return;
    }
    default: {
      const bool fixed = facts.token == Token::Char && !facts.in_parts;
      const bool is_long = facts.in_parts || facts.token == Token::Text;
      result.type = is_long ? Text(u"varchar(max)")
                            : Lengthy(fixed ? u"char" : u"varchar", facts.length, kMostChar);
      if (!bytes) return;
      const std::string_view collation = facts.collation.empty() ? kCollation : facts.collation;
      result.text = DecodeAnsi(*bytes, collation);
      result.literal = Literal(result.text);
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

}  // namespace

ClientType ReadClientType(ByteReader& reader) {
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

std::optional<std::string> ReadClientBytes(ByteReader& reader, const ClientType& facts) {
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

bool IsOldLong(const ClientType& type) noexcept {
  return type.token == Token::Text || type.token == Token::NText || type.token == Token::Image;
}

bool IsMeasured(const ClientType& type) noexcept {
  switch (type.token) {
    case Token::VarBinary:
    case Token::Binary:
    case Token::OldVarBinary:
    case Token::OldBinary:
      return true;
    default:
      return IsText(type.token);
  }
}

ClientValue ReadClientValue(const ClientType& type, const std::optional<std::string>& bytes) {
  ClientValue result;
  result.literal = u"NULL";
  if (IsText(type.token)) {
    ReadTextValue(type, bytes, result);
  } else {
    ReadSimple(type, bytes, result);
  }
  return result;
}

Value LoadableValue(const ClientType& type, const std::optional<std::string>& bytes) {
  if (!bytes) return Null{};
  ClientValue value = ReadClientValue(type, bytes);
  if (IsText(type.token)) return std::move(value.text);
  Text& literal = value.literal;
  if (literal.size() > 1 && literal.front() == u'\'')
    literal = literal.substr(1, literal.size() - 2);
  return std::move(literal);
}

}  // namespace ledgerwick::tds
