// The operators of two values, each in one row.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "frame/text.h"
#include "tsql/syntax/syntax_tree.h"

namespace ledgerwick::tsql {

struct Operator {
  ExprKind kind;
  TextView word;           // in the server's messages
  std::string_view sign;   // between its operands
  std::string_view exact;  // the storage's function for decimals; empty where they have none
};

// In the order of ExprKind.
inline constexpr std::array<Operator, 8> kOperators = {{
    {ExprKind::Add, u"add", " + ", "t_dec_add"},
    {ExprKind::Subtract, u"subtract", " - ", "t_dec_sub"},
    {ExprKind::Multiply, u"multiply", " * ", "t_dec_mul"},
    {ExprKind::Divide, u"divide", " / ", "t_dec_div"},
    {ExprKind::Modulo, u"modulo", " % ", "t_dec_mod"},
    {ExprKind::BitAnd, u"'&'", " & ", ""},
    {ExprKind::BitOr, u"'|'", " | ", ""},
    {ExprKind::BitXor, u"'^'", " ^ ", ""},
}};

constexpr bool IsOperator(ExprKind kind) noexcept {
  return kind >= kOperators.front().kind && kind <= kOperators.back().kind;
}

// The row of an operator.
constexpr const Operator& OperatorOf(ExprKind kind) noexcept {
  return kOperators[static_cast<std::size_t>(kind) - static_cast<std::size_t>(ExprKind::Add)];
}

static_assert([] {
  for (const Operator& row : kOperators) {
    if (&OperatorOf(row.kind) != &row) return false;
  }
  return true;
}());

// What stands between the sides of a comparison.
constexpr std::string_view SignOf(Comparison comparison) noexcept {
  switch (comparison) {
    case Comparison::Equal:
      return " = ";
    case Comparison::NotEqual:
      return " <> ";
    case Comparison::Less:
      return " < ";
    case Comparison::LessEqual:
      return " <= ";
    case Comparison::Greater:
      return " > ";
    case Comparison::GreaterEqual:
      return " >= ";
  }
  return {};
}

}  // namespace ledgerwick::tsql
