#include "tsql/plan/total_expression.h"

#include <algorithm>
#include <iterator>

#include "tsql/base/nesting.h"

namespace ledgerwick::tsql {

namespace {

bool ConvertsAlways(const BoundExpr& expr) noexcept {
  const TypeKind from = expr.args[0]->type.kind;
  const TypeKind to = expr.type.kind;
  if (expr.args[0]->kind == ExprKind::Null) return true;
  if (expr.conversion == Conversion::Store) return false;
  if (IsText(to)) return IsText(from) || (IsInteger(from) && !IsUnicode(to));
  if (to == TypeKind::Real) return IsInteger(from) || from == TypeKind::Real;
  if (IsFloat(to)) return IsNumber(from);
  return IsInteger(to) && IsInteger(from) && (from <= to || to == TypeKind::Bit);
}

// Functions that have a result for every argument.
bool CallsAlways(const BoundExpr& expr) noexcept {
  constexpr TextView kTotal[] = {u"len", u"ltrim", u"rtrim", u"upper", u"lower"};
  if (expr.function == FunctionId::IsNull || expr.function == FunctionId::Coalesce ||
      expr.function == FunctionId::NullIf) {
    return true;
  }
  return expr.function == FunctionId::Scalar &&
         std::any_of(std::begin(kTotal), std::end(kTotal),
                     [&](TextView name) { return EqualText(name, expr.text); });
}

// What a sum, a difference or a product has room for by its type: a decimal that is not at its
// longest has a digit for every carry. Whole numbers, money and long decimals overflow.
bool HasRoom(const Type& type) noexcept {
  return type.kind == TypeKind::Float ||
         (type.kind == TypeKind::Decimal && type.precision < kMostDigits);
}

bool NodeCannotFail(const BoundExpr& expr) noexcept {
  switch (expr.kind) {
    case ExprKind::Null:
    case ExprKind::Integer:
    case ExprKind::Number:
    case ExprKind::String:
    case ExprKind::Binary:
    case ExprKind::Column:
    case ExprKind::Case:
    case ExprKind::Compare:
    case ExprKind::And:
    case ExprKind::Or:
    case ExprKind::Not:
    case ExprKind::IsNull:
    case ExprKind::Between:
    case ExprKind::InList:
      return true;
    case ExprKind::Like:
      return expr.args.size() == 2;  // an escape character may be an invalid one
    case ExprKind::Negate:
      if (expr.args[0]->kind == ExprKind::Integer) return true;
      [[fallthrough]];
    case ExprKind::Subtract:
    case ExprKind::Multiply:
      return HasRoom(expr.type);
    case ExprKind::Add:
      return HasRoom(expr.type) || IsText(expr.type.kind);
    case ExprKind::Divide:
      return IsFloat(expr.type.kind) && IsNonZeroLiteral(*expr.args[1]);
    case ExprKind::Convert:
      return ConvertsAlways(expr);
    case ExprKind::Function:
      // The smallest bigint has no absolute value.
      return CallsAlways(expr) ||
             (expr.function == FunctionId::Abs && expr.args[0]->type.kind != TypeKind::BigInt);
    case ExprKind::Star:
    case ExprKind::Variable:
    case ExprKind::BitNot:
    case ExprKind::Modulo:
    case ExprKind::BitAnd:
    case ExprKind::BitOr:
    case ExprKind::BitXor:
    case ExprKind::Scalar:
    case ExprKind::InQuery:
    case ExprKind::Exists:
      return false;
  }
  return false;
}

}  // namespace

bool CannotFail(const BoundExpr& expr) {
  const Nesting nesting;
  return expr.query == nullptr && NodeCannotFail(expr) &&
         std::all_of(expr.args.begin(), expr.args.end(),
                     [](const BoundExpr* arg) { return CannotFail(*arg); });
}

}  // namespace ledgerwick::tsql
