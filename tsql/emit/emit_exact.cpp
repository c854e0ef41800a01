// Decimals and money in SQLite's SQL. Where the types prove that 64 bits hold every intermediate
// result, SQLite's own integers do the work; everywhere else a function of the storage's does,
// which is told the scales and what the result may hold.
#include "tsql/binder/operators.h"
#include "tsql/binder/type_rules.h"
#include "tsql/emit/emitter.h"
#include "tsql/values/exact.h"

namespace ledgerwick::tsql {
namespace {

// True for a value that the storage keeps as an integer that has at most 18 digits.
bool IsShort(const Type& type) noexcept {
  if (type.kind == TypeKind::BigInt || type.kind == TypeKind::Money) return false;
  return IsInteger(type.kind) || (IsExactFraction(type.kind) && !IsLongDecimal(type));
}

std::string Digits(Int128 units) { return FormatExact({units, 0}); }

}  // namespace

std::string UnitsSql(Int128 units, const Type& type) {
  if (!IsLongDecimal(type)) return units < 0 ? "(" + Digits(units) + ")" : Digits(units);
  constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string sql = "X'";
  for (const unsigned char byte : ToBytes(units)) {
    sql += kHex[byte >> 4U];
    sql += kHex[byte & 0xFU];
  }
  return sql += "'";
}

// A literal in the units of its type.
void Emitter::EmitUnits(const BoundExpr& literal) {
  const std::string digits(literal.text.begin(), literal.text.end());
  const std::optional<Exact> number = ParseExact(digits, literal.type.scale, "numeric");
  Raw(UnitsSql(number ? number->units : 0, literal.type));
}

// A value that the storage keeps as an integer, in units of a scale that is at least its own.
void Emitter::EmitScaled(const BoundExpr& expr, int scale) {
  const int more = scale - expr.type.scale;
  if (more > 0) Raw("(");
  EmitExpr(expr);
  if (more > 0) Raw(" * ").Raw(Digits(PowerOfTen(more))).Raw(")");
}

void Emitter::EmitSize(const Type& type) {
  const ExactSize size = SizeOf(type);
  Raw(", ").Raw(std::to_string(size.precision)).Raw(", ").Raw(std::to_string(size.scale));
}

void Emitter::EmitExactArithmetic(const BoundExpr& expr) {
  const Type& type = expr.type;
  const BoundExpr& left = *expr.args[0];
  const bool is_short = type.kind == TypeKind::Decimal && IsShort(type);
  if (expr.kind == ExprKind::Negate) {
    Raw(is_short ? "(- " : "t_dec_neg(");
    EmitExpr(left);
    if (!is_short) EmitSize(type);
    Raw(")");
    return;
  }
  const BoundExpr& right = *expr.args[1];
  // The result has a digit more than either side, so a short one cannot overflow.
  if (is_short && (expr.kind == ExprKind::Add || expr.kind == ExprKind::Subtract)) {
    Raw("(");
    EmitScaled(left, type.scale);
    Raw(expr.kind == ExprKind::Add ? " + " : " - ");
    EmitScaled(right, type.scale);
    Raw(")");
    return;
  }
  if (is_short && expr.kind == ExprKind::Multiply) {
    Raw("(");
    EmitExpr(left);
    Raw(" * ");
    EmitExpr(right);
    Raw(")");
    return;
  }
  Raw(OperatorOf(expr.kind).exact).Raw("(");
  EmitExpr(left);
  Raw(", ").Raw(std::to_string(left.type.scale)).Raw(", ");
  EmitExpr(right);
  Raw(", ").Raw(std::to_string(right.type.scale));
  EmitSize(type);
  Raw(")");
}

// SUM and AVG. The average's sum is exact before it is divided.
void Emitter::EmitExactSum(const BoundExpr& expr) {
  const BoundExpr& arg = *expr.args[0];
  const bool money = IsMoney(expr.type.kind);
  const auto call = [&](std::string_view function) {
    Raw(function).Raw(expr.distinct ? "DISTINCT " : "");
    EmitExpr(arg);
    Raw(")");
  };
  const bool average = expr.function == FunctionId::Avg;
  if (average) Raw("t_dec_div(");
  call(money ? "t_sum_money(" : "t_sum_dec(");
  if (!average) return;
  Raw(", ").Raw(std::to_string(arg.type.scale)).Raw(", ");
  call("count(");
  Raw(", 0");
  EmitSize(expr.type);
  Raw(")");
}

// ABS, ROUND and their like: the number with its scale, the size of the result, the other
// arguments.
void Emitter::EmitExactFunction(const BoundExpr& expr) {
  Raw("t_dec_").Raw(ToUtf8(expr.text)).Raw("(");
  EmitExpr(*expr.args[0]);
  Raw(", ").Raw(std::to_string(expr.args[0]->type.scale));
  EmitSize(expr.type);
  for (const BoundExpr* arg : expr.args.subspan(1)) {
    Raw(", ");
    EmitExpr(*arg);
  }
  Raw(")");
}

// A number as REAL where it is kept in units, else as it is.
void Emitter::EmitAsFloat(const BoundExpr& expr) {
  constexpr int kDoubleDigits = 15;
  const Type& type = expr.type;
  if (!IsExactFraction(type.kind)) {
    EmitExpr(expr);
    return;
  }
  // Both sides of the division are doubles, so the quotient is the nearest one.
  const bool exact = type.kind == TypeKind::SmallMoney ||
                     (type.kind == TypeKind::Decimal && type.precision <= kDoubleDigits);
  Raw(exact ? "(" : "t_dec_to_float(");
  EmitExpr(expr);
  if (exact) {
    Raw(" / ").Raw(Digits(PowerOfTen(type.scale))).Raw(".0)");
  } else {
    Raw(", ").Raw(std::to_string(type.scale)).Raw(")");
  }
}

void Emitter::ConvertToExact(const BoundExpr& expr) {
  const BoundExpr& arg = *expr.args[0];
  const Type& source = arg.type;
  const Type& target = expr.type;
  const std::string name = KindName(source.kind);
  if (IsText(source.kind)) {
    Raw(IsMoney(target.kind) ? "t_str_to_money(" : "t_str_to_dec(");
    EmitExpr(arg);
    EmitSize(target);
    Raw(", '").Raw(name).Raw("')");
    return;
  }
  if (IsFloat(source.kind) || IsDate(source.kind)) {
    Raw(IsDate(source.kind) ? "t_float_to_dec(t_dt_to_num(" : "t_float_to_dec(");
    EmitExpr(arg);
    Raw(IsDate(source.kind) ? ")" : "");
    EmitSize(target);
    Raw(")");
    return;
  }
  const std::string scale = std::to_string(source.scale);
  if (target.precision > kMostDigits) {
    Raw("t_wide(");
    EmitExpr(arg);
    Raw(", ").Raw(scale).Raw(", ").Raw(std::to_string(target.scale)).Raw(")");
    return;
  }
  const Type digits = AsDecimal(source);
  const Type room = AsDecimal(target);
  if (IsShort(source) && (IsShort(target) || target.kind == TypeKind::Money) &&
      digits.scale <= room.scale &&
      digits.precision - digits.scale <=
          room.precision - room.scale - (IsMoney(target.kind) ? 1 : 0)) {
    EmitScaled(arg, room.scale);
    return;
  }
  Raw("t_to_dec(");
  EmitExpr(arg);
  Raw(", ").Raw(scale);
  EmitSize(target);
  Raw(", '").Raw(IsMoney(target.kind) ? "expression" : name).Raw("')");
}

}  // namespace ledgerwick::tsql
