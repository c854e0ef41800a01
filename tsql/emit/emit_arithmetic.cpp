// Arithmetic in SQLite's SQL: ranges, scales and division as the server has them.
#include "tsql/binder/operators.h"
#include "tsql/emit/emitter.h"

namespace ledgerwick::tsql {
void Emitter::EmitArithmetic(const BoundExpr& expr) {
  if (IsExactFraction(expr.type.kind)) {
    EmitExactArithmetic(expr);
    return;
  }
  if (expr.kind == ExprKind::Negate || expr.kind == ExprKind::BitNot) {
    // The least number has no opposite.
    const bool checked = expr.kind == ExprKind::Negate && IsInteger(expr.type.kind) &&
                         expr.args[0]->kind != ExprKind::Integer;
    if (checked) Raw("t_to_int(");
    Raw(expr.kind == ExprKind::Negate ? "(- " : "(~ ");
    EmitExpr(*expr.args[0]);
    Raw(")");
    if (checked) Raw(", '").Raw(KindName(expr.type.kind)).Raw("')");
    return;
  }
  const TypeKind kind = expr.type.kind;
  if (IsText(kind) || IsBytes(kind)) {
    Raw(IsBytes(kind) ? "CAST((" : "(");
    EmitExpr(*expr.args[0]);
    Raw(" || ");
    EmitExpr(*expr.args[1]);
    Raw(IsBytes(kind) ? ") AS BLOB)" : ")");
    return;
  }
  // Results are kept in the range of their type. A float beyond its range is noticed where the
  // statement runs (Storage::Step), without a call for each operation.
  const bool checked = IsInteger(kind) && expr.kind <= ExprKind::Multiply;
  if (checked) Raw("t_to_int(");
  if (kind == TypeKind::Real) Raw("t_to_real(");
  if (expr.kind == ExprKind::Divide || expr.kind == ExprKind::Modulo) {
    EmitDivision(expr);
  } else if (expr.kind == ExprKind::BitXor) {
    EmitCall("t_xor", expr.args);  // SQLite has no exclusive or
  } else {
    Raw("(");
    EmitExpr(*expr.args[0]);
    Raw(OperatorOf(expr.kind).sign);
    EmitExpr(*expr.args[1]);
    Raw(")");
  }
  if (checked) Raw(", '").Raw(KindName(kind)).Raw("')");
  if (kind == TypeKind::Real) Raw(")");
}

// SQLite's division by zero is NULL; the server's is an error of whichever row reaches it, unless
// what is divided is NULL.
void Emitter::EmitDivision(const BoundExpr& expr) {
  const BoundExpr& dividend = *expr.args[0];
  const BoundExpr& divisor = *expr.args[1];
  const bool real = !IsInteger(expr.type.kind);
  const auto emit_real = [&](const BoundExpr& operand) {
    const bool cast = real && !IsFloat(operand.type.kind);
    if (cast) Raw("CAST(");
    EmitExpr(operand);
    if (cast) Raw(" AS REAL)");
  };
  const bool modulo = expr.kind == ExprKind::Modulo;
  const bool short_dividend = dividend.kind == ExprKind::Column || IsNonZeroLiteral(dividend);
  const bool by_column = divisor.kind == ExprKind::Column && short_dividend;
  if (!IsNonZeroLiteral(divisor) && !by_column) {
    Raw(modulo ? "t_remainder(" : "t_quotient(");
    emit_real(dividend);
    Raw(", ");
    emit_real(divisor);
    Raw(")");
    return;
  }
  Raw("(");
  emit_real(dividend);
  Raw(modulo ? " % " : " / ");
  if (by_column) {
    Raw("CASE ");
    EmitExpr(divisor);
    Raw(" WHEN 0 THEN t_div0(");
    EmitExpr(dividend);
    Raw(") ELSE ");
    EmitExpr(divisor);
    Raw(" END");
  } else {
    emit_real(divisor);
  }
  Raw(")");
}

}  // namespace ledgerwick::tsql
