// Types and values as they travel in results.
#pragma once

#include <cstdint>

#include "frame/result_sink.h"
#include "tds/bytes.h"
#include "tds/login.h"

namespace ledgerwick::tds {

enum class WireKind : std::uint8_t {
  Bit,
  Integer,
  Float,
  Money,
  Decimal,
  DateTime,
  Date,
  Time,
  DateTime2,
  Identifier,
  Bytes,      // binary and varbinary up to 8000 bytes
  LongBytes,  // varbinary(max)
  Char,       // char and varchar up to 8000 bytes
  NChar,      // nchar and nvarchar up to 4000 units
  LongChar,   // varchar(max)
  LongNChar   // nvarchar(max)
};

// How the values of a column travel.
struct WireType {
  WireKind kind = WireKind::Integer;
  std::uint8_t token = 0;    // the type's number
  std::uint32_t length = 0;  // in bytes, of the longest value
  std::uint8_t precision = 0;
  std::uint8_t scale = 0;
};

// How `column` travels to a client of that version, from the type that the database declares; to
// one that has no such type, as text. Throws std::logic_error for a type that is not known here.
WireType WireTypeOf(const ResultColumn& column, Version version);

// Writes the type as metadata tell it, and the name of the table behind it where that version
// wants one.
void PutType(ByteWriter& out, const WireType& type, Version version);

// Appends a value of the type, as ResultSink::Row gives it; null included.
void PutValue(std::string& bytes, const WireType& type, const Value& value, Version version);

}  // namespace ledgerwick::tds
