// T-SQL's types and how the storage keeps their values.
#pragma once

#include <cstdint>
#include <string>

#include "frame/text.h"

namespace ledgerwick::tsql {

// In rising precedence: where two types meet, the later one wins.
enum class TypeKind : std::uint8_t {
  Null,  // the literal NULL before it takes a type
  Char,
  VarChar,
  NChar,
  NVarChar,
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
  SmallDateTime,
  DateTime,
};

inline constexpr std::int32_t kMaxLength = -1;  // varchar(max)
inline constexpr int kMostDigits = 38;          // of a decimal
inline constexpr std::uint8_t kMoneyScale = 4;

// A T-SQL type. The storage keeps bit and the integers as INTEGER, float and real as REAL, decimal
// and money as whole numbers of units (exact.h), text as UTF-8 TEXT, and datetimes as INTEGER:
// milliseconds since 1900-01-01.
struct Type {
  TypeKind kind = TypeKind::Null;
  std::int32_t length = 0;  // of text: bytes of the ANSI code page, or UTF-16 units for n-types
  // Of decimal; beyond 38 digits of what decimals of different scales are compared in.
  std::uint8_t precision = 0;
  std::uint8_t scale = 0;  // of decimal and money
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
constexpr bool IsDate(TypeKind kind) noexcept {
  return kind == TypeKind::SmallDateTime || kind == TypeKind::DateTime;
}

// The name as the server writes it in messages: "varchar", "int", "numeric".
const char* KindName(TypeKind kind) noexcept;

// The declaration: "varchar(20)", "decimal(18,4)", "float".
std::string TypeName(const Type& type);

// The type that a column declared by TypeName has; kind Null for a text that is no such
// declaration, or one of a type that cannot be: a file may come from anywhere.
Type ParseTypeName(const std::string& declaration);

}  // namespace ledgerwick::tsql
