// Binding of numbers that are written in the statement: what they may be, and their conversion when
// the statement is compiled.
#include <algorithm>
#include <optional>

#include "tsql/binder/binder.h"
#include "tsql/values/convert.h"
#include "tsql/values/exact.h"

namespace ledgerwick::tsql {
namespace {

// The value of a whole or decimal number that is written in the statement, with or without a sign.
std::optional<Exact> ExactLiteral(const BoundExpr& expr) {
  if (expr.kind == ExprKind::Integer && IsInteger(expr.type.kind)) return Exact{expr.integer, 0};
  if (expr.kind == ExprKind::Number && IsExactFraction(expr.type.kind)) {
    const std::string digits(expr.text.begin(), expr.text.end());
    return ParseExact(digits, expr.type.scale, "numeric");
  }
  if (expr.kind != ExprKind::Negate) return std::nullopt;
  std::optional<Exact> number = ExactLiteral(*expr.args[0]);
  if (number) number->units = -number->units;
  return number;
}

}  // namespace

// Brings literals to the one type that everything else has, where it holds them as they are: the
// others then need no conversion, and an index finds their rows. False when that cannot be.
bool Binder::BringLiterals(std::span<BoundExpr*> args) {
  Type type;
  for (const BoundExpr* arg : args) {
    if (arg->kind == ExprKind::Null || ExactLiteral(*arg)) continue;
    const bool first = type.kind == TypeKind::Null;
    if (!first && (type.kind != arg->type.kind || type.precision != arg->type.precision ||
                   type.scale != arg->type.scale)) {
      return false;
    }
    type = arg->type;
  }
  if (!IsExactFraction(type.kind) && !(IsInteger(type.kind) && type.kind != TypeKind::Bit)) {
    return false;
  }
  std::vector<BoundExpr*> brought(args.begin(), args.end());
  for (BoundExpr*& arg : brought) {
    const std::optional<Exact> number = ExactLiteral(*arg);
    if (!number) continue;
    BoundExpr* literal = FoldExact(arg, type);
    const std::optional<Exact> kept = literal ? ExactLiteral(*literal) : std::nullopt;
    const int scale = std::max<int>(number->scale, type.scale);
    if (!kept || ToWideBytes(*kept, scale) != ToWideBytes(*number, scale)) return false;
    arg = literal;
  }
  std::copy(brought.begin(), brought.end(), args.begin());
  return true;
}

// A literal, also one behind a minus, converted to a decimal, money or an integer; nullptr where it
// cannot be.
BoundExpr* Binder::FoldExact(BoundExpr* expr, const Type& target) {
  if (target.precision > kMostDigits) return nullptr;
  try {
    std::optional<Exact> number = ExactLiteral(*expr);
    if (expr->kind == ExprKind::String && IsMoney(target.kind)) {
      number = ParseMoney(expr->text);
    } else if (expr->kind == ExprKind::String && target.kind == TypeKind::Decimal) {
      number = ParseDecimal(expr->text, SizeOf(target), KindName(expr->type.kind));
    }
    if (!number) return nullptr;
    BoundExpr* literal = arena_.Make<BoundExpr>(*expr);
    literal->args = {};
    literal->type = target;
    literal->type.nullable = false;
    if (IsInteger(target.kind)) {
      literal->kind = ExprKind::Integer;
      literal->integer = ToInteger(Convert(*number, SizeOf(target), Rest::Cut), target.kind);
      return literal;
    }
    const std::string digits = FormatExact(Convert(*number, SizeOf(target)));
    literal->kind = ExprKind::Number;
    literal->text = arena_.Copy(Text(digits.begin(), digits.end()));
    return literal;
  } catch (const SqlError&) {
    return nullptr;
  }
}

}  // namespace ledgerwick::tsql
