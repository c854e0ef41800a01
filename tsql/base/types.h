// T-SQL's types and how the storage keeps their values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "frame/text.h"

namespace ledgerwick::tsql {

// In rising precedence: where two types meet, the later one wins.
enum class TypeKind : std::uint8_t {
  Null,  // the literal NULL before it takes a type
  Binary,
  VarBinary,
  Char,
  VarChar,
  NChar,
  NVarChar,
  UniqueIdentifier,
  RowVersion,
  Bit,
  TinyInt,
  SmallInt,
  Int,
  BigInt,
  SmallMoney,
  Money,
  Decimal,
  Real,
  Float,
  Time,
  Date,
  SmallDateTime,
  DateTime,
  DateTime2,
};
inline constexpr std::size_t kTypeKinds = static_cast<std::size_t>(TypeKind::DateTime2) + 1;

// What the types are limited to.
inline constexpr std::int32_t kMaxLength = -1;       // varchar(max)
inline constexpr std::int32_t kLongestBytes = 8000;  // of char, varchar, binary, varbinary
inline constexpr std::int32_t kLongestUnits = 4000;  // of nchar, nvarchar
inline constexpr std::int32_t kLongestName = 128;    // of an object: sysname
inline constexpr std::int32_t kCastLength = 30;      // of a conversion to a type without a length
inline constexpr int kMostDigits = 38;               // of a decimal
inline constexpr int kUsualDigits = 18;              // of a decimal without a precision
inline constexpr std::uint8_t kMoneyScale = 4;
inline constexpr std::uint8_t kMostFractionDigits = 7;  // of time and datetime2
inline constexpr std::int32_t kRowVersionBytes = 8;
inline constexpr std::int32_t kUniqueIdentifierBytes = 16;

// A T-SQL type. The storage keeps bit and the integers as INTEGER, float and real as REAL, decimal
// and money as whole numbers of units (exact.h), text as UTF-8 TEXT, dates and times as INTEGER
// (datetime.h) and all that consists of bytes as BLOB, a uniqueidentifier's in the order in which
// they count.
struct Type {
  TypeKind kind = TypeKind::Null;
  // Of text: bytes of the ANSI code page, or UTF-16 units for n-types; of binary and varbinary.
  std::int32_t length = 0;
  // Of decimal; beyond 38 digits of what decimals of different scales are compared in.
  std::uint8_t precision = 0;
  std::uint8_t scale = 0;  // of decimal, money, time and datetime2
  bool nullable = true;

  friend bool operator==(const Type&, const Type&) = default;
};

constexpr bool IsText(TypeKind kind) noexcept {
  return kind >= TypeKind::Char && kind <= TypeKind::NVarChar;
}
constexpr bool IsUnicode(TypeKind kind) noexcept {
  return kind == TypeKind::NChar || kind == TypeKind::NVarChar;
}
constexpr bool IsInteger(TypeKind kind) noexcept {
  return kind >= TypeKind::Bit && kind <= TypeKind::BigInt;
}
constexpr bool IsExactFraction(TypeKind kind) noexcept {
  return kind >= TypeKind::SmallMoney && kind <= TypeKind::Decimal;
}
constexpr bool IsMoney(TypeKind kind) noexcept {
  return kind == TypeKind::SmallMoney || kind == TypeKind::Money;
}
// True for a decimal that 64 bits do not hold in every case; exact.h says how it is kept.
constexpr bool IsLongDecimal(const Type& type) noexcept {
  constexpr int kMostIntegerDigits = 18;
  return type.kind == TypeKind::Decimal && type.precision > kMostIntegerDigits;
}
constexpr bool IsFloat(TypeKind kind) noexcept {
  return kind == TypeKind::Real || kind == TypeKind::Float;
}
constexpr bool IsNumber(TypeKind kind) noexcept {
  return kind >= TypeKind::Bit && kind <= TypeKind::Float;
}
// Kept in milliseconds.
constexpr bool IsDate(TypeKind kind) noexcept {
  return kind == TypeKind::SmallDateTime || kind == TypeKind::DateTime;
}
// A day, a time of day, or both.
constexpr bool IsMoment(TypeKind kind) noexcept {
  return kind >= TypeKind::Time && kind <= TypeKind::DateTime2;
}
constexpr bool IsBinary(TypeKind kind) noexcept {
  return kind == TypeKind::Binary || kind == TypeKind::VarBinary;
}
// Kept as a BLOB, but for the long decimals.
constexpr bool IsBytes(TypeKind kind) noexcept {
  return IsBinary(kind) || kind == TypeKind::UniqueIdentifier || kind == TypeKind::RowVersion;
}
// What any_value.h converts from and to.
constexpr bool IsConvertedAsAny(TypeKind kind) noexcept {
  return IsBytes(kind) || (IsMoment(kind) && !IsDate(kind));
}
// The longest length that a text or binary type can be declared with.
constexpr std::int32_t LongestOf(TypeKind kind) noexcept {
  return IsUnicode(kind) ? kLongestUnits : kLongestBytes;
}

// The decimal digits of an integer's type or of money; 0 for all other types.
std::uint8_t DigitsOf(TypeKind kind) noexcept;

// The bytes that the server keeps a value of the type in; 0 where that depends on more than the
// kind.
std::uint8_t FixedBytes(TypeKind kind) noexcept;

// The name as the server writes it in messages: "varchar", "int", "numeric".
const char* KindName(TypeKind kind) noexcept;

// The declaration: "varchar(20)", "decimal(18,4)", "float".
std::string TypeName(const Type& type);

// The type that a column declared by TypeName has; kind Null for a text that is no such
// declaration, or one of a type that cannot be: a file may come from anywhere.
Type ParseTypeName(const std::string& declaration);

}  // namespace ledgerwick::tsql
