// Type arithmetic: which type the result of an operation has.
#pragma once

#include <cstdint>

#include "frame/text.h"
#include "tsql/base/types.h"
#include "tsql/syntax/syntax_tree.h"

namespace ledgerwick::tsql {

// The type in which values of both types meet: the one of higher precedence, wide enough for both.
Type CommonType(const Type& a, const Type& b) noexcept;
// The same for a comparison, which looks at every digit: a decimal may have more than 38 here.
Type ComparisonType(const Type& a, const Type& b) noexcept;
// The result of + - * / % on two numbers of these types: the one table of precision and scale.
Type ArithmeticType(ExprKind kind, const Type& a, const Type& b) noexcept;
// How the server lets values of one type become values of another.
enum class Convertible : std::uint8_t { Implicitly, Explicitly, Never };
Convertible ConversionOf(TypeKind source, TypeKind target) noexcept;
// True when every value of `source` is one of `target` already, as it is kept.
bool HoldsAsItIs(const Type& target, const Type& source) noexcept;
// A number type as decimal: int is decimal(10,0).
Type AsDecimal(const Type& type) noexcept;
Type MakeType(TypeKind kind, std::int32_t length = 0) noexcept;
// The type of a literal.
Type LiteralType(const Expr& literal);
// The name in UTF-16, for messages.
Text KindText(TypeKind kind);

}  // namespace ledgerwick::tsql
