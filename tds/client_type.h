// Types and values as clients send them, in parameters of calls and in rows of bulk loads.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "frame/text.h"
#include "frame/value.h"
#include "tds/bytes.h"

namespace ledgerwick::tds {

// The numbers of types.
enum class ClientToken : std::uint8_t {
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

// What stands behind a type's number.
struct ClientType {
  ClientToken token = ClientToken::Null;
  std::uint32_t length = 0;
  int precision = 0;
  int scale = 0;
  bool in_parts = false;  // a long value, in parts
  std::string collation;
};

// Reads a type. Throws ProtocolError, and DatabaseError 8009 for one that the database has not.
ClientType ReadClientType(ByteReader& reader);

// Reads the bytes of a value; nothing for null. Throws ProtocolError.
std::optional<std::string> ReadClientBytes(ByteReader& reader, const ClientType& type);

// True for text and image, which stand behind a pointer in rows, and behind whose type the name of
// a table stands in metadata.
bool IsOldLong(const ClientType& type) noexcept;

// True for texts and bytes of a length of their own, which the type bounds.
bool IsMeasured(const ClientType& type) noexcept;

// A value with its type, as T-SQL writes them.
struct ClientValue {
  Text type;
  Text literal;
  Text text;  // of a text; empty for others
};

// What `bytes` are. A type that the database lacks becomes the nearest that it has: datetimeoffset
// becomes datetime2, XML text. Throws ProtocolError, and DatabaseError for types that have no such
// neighbour and for numbers that are none.
ClientValue ReadClientValue(const ClientType& type, const std::optional<std::string>& bytes);

// The same as a value that can be loaded.
Value LoadableValue(const ClientType& type, const std::optional<std::string>& bytes);

}  // namespace ledgerwick::tds
