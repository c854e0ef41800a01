// Conversions between types as calls of the storage's functions.
#include <algorithm>

#include "tsql/emit/emitter.h"

namespace ledgerwick::tsql {
namespace {

// The bytes that a text of that type takes at most, or its UTF-16 units for n-types, measured in
// units of `target`.
bool FitsWithoutCutting(const Type& source, const Type& target) noexcept {
  if (target.length == kMaxLength) return true;
  if (source.length == kMaxLength) return false;
  const std::int32_t bytes_per_unit = IsUnicode(source.kind) && !IsUnicode(target.kind) ? 2 : 1;
  return source.length * bytes_per_unit <= target.length;
}

constexpr bool IsPadded(TypeKind kind) noexcept {
  return kind == TypeKind::Char || kind == TypeKind::NChar;
}

}  // namespace

void Emitter::EmitConvert(const BoundExpr& expr) {
  const Type& source = expr.args[0]->type;
  const Type& target = expr.type;
  if (expr.args[0]->kind == ExprKind::Null) {
    Raw("NULL");
  } else if (IsConvertedAsAny(source.kind) || IsConvertedAsAny(target.kind)) {
    Raw("t_convert(");
    EmitExpr(*expr.args[0]);
    Raw(", '").Raw(TypeName(source)).Raw("', '").Raw(TypeName(target)).Raw("', ");
    Raw(std::to_string(expr.style));
    Raw(expr.conversion == Conversion::Store ? ", 1)" : ", 0)");
  } else if (IsText(target.kind)) {
    if (IsText(source.kind)) {
      CutText(expr);
    } else {
      ConvertToText(expr);
    }
  } else if (IsInteger(target.kind)) {
    ConvertToInteger(expr);
  } else if (IsDate(target.kind)) {
    ConvertToDate(expr);
  } else if (IsFloat(target.kind)) {
    ConvertToFloat(expr);
  } else {
    ConvertToExact(expr);
  }
}

// Text to text: cut (or, where it is stored, refused), padded, and in the type's characters.
void Emitter::CutText(const BoundExpr& expr) {
  const BoundExpr& arg = *expr.args[0];
  const Type& target = expr.type;
  const bool same_length = IsPadded(arg.type.kind) && arg.type.kind == target.kind &&
                           arg.type.length == target.length && arg.kind != ExprKind::String;
  // char and varchar lack characters that nchar and nvarchar have.
  const bool whole = IsUnicode(target.kind) || !IsUnicode(arg.type.kind);
  if (whole && (same_length || (!IsPadded(target.kind) && FitsWithoutCutting(arg.type, target)))) {
    EmitExpr(arg);
    return;
  }
  Raw(expr.conversion == Conversion::Store ? "t_store_" : "t_");
  Raw(IsUnicode(target.kind) ? "nchar(" : "char(");
  EmitExpr(arg);
  Raw(", ").Raw(std::to_string(target.length)).Raw(IsPadded(target.kind) ? ", 1)" : ", 0)");
}

void Emitter::ConvertToText(const BoundExpr& expr) {
  const BoundExpr& arg = *expr.args[0];
  const Type& target = expr.type;
  if (IsInteger(arg.type.kind)) {
    if (IsPadded(target.kind)) Raw(IsUnicode(target.kind) ? "t_nchar(" : "t_char(");
    Raw("t_int_to_str(");
    EmitExpr(arg);
    Raw(", ").Raw(std::to_string(target.length));
    Raw(", '").Raw(KindName(target.kind)).Raw("')");
    if (IsPadded(target.kind)) Raw(", ").Raw(std::to_string(target.length)).Raw(", 1)");
    return;
  }
  const std::string style = std::to_string(std::max(expr.style, 0));
  const std::string length = std::to_string(target.length);
  const bool date = IsDate(arg.type.kind);
  const bool cut = date || IsPadded(target.kind);
  if (cut) {
    Raw(expr.conversion == Conversion::Store ? "t_store_" : "t_");
    Raw(IsUnicode(target.kind) ? "nchar(" : "char(");
  }
  if (date) {
    Raw("t_dt_to_str(");
    EmitExpr(arg);
    Raw(", ").Raw(style);
    Raw(arg.type.kind == TypeKind::SmallDateTime ? ", 1)" : ", 0)");
  } else {
    Raw("t_fit(");
    const bool decimal = arg.type.kind == TypeKind::Decimal;
    Raw(decimal ? "t_dec_to_str(" : IsMoney(arg.type.kind) ? "t_money_to_str(" : "t_float_to_str(");
    EmitExpr(arg);
    Raw(", ").Raw(decimal ? std::to_string(arg.type.scale) : style).Raw("), ").Raw(length);
    Raw(", '").Raw(KindName(arg.type.kind)).Raw("', '").Raw(KindName(target.kind)).Raw("')");
  }
  if (cut) Raw(", ").Raw(length).Raw(IsPadded(target.kind) ? ", 1)" : ", 0)");
}

void Emitter::ConvertToInteger(const BoundExpr& expr) {
  const BoundExpr& arg = *expr.args[0];
  const TypeKind source = arg.type.kind;
  const TypeKind target = expr.type.kind;
  const std::string name = KindName(target);
  if (IsText(source)) {
    Raw(target == TypeKind::Bit ? "t_str_to_bit(" : "t_str_to_int(");
    EmitExpr(arg);
    if (target != TypeKind::Bit) Raw(", '").Raw(name).Raw("'");
    Raw(", '").Raw(KindName(source)).Raw("')");
  } else if (target == TypeKind::Bit && !IsLongDecimal(arg.type)) {
    Raw("(");
    EmitExpr(arg);
    Raw(" <> 0)");
  } else if (IsInteger(source) && source <= target) {
    EmitExpr(arg);
  } else if (IsDate(source)) {
    // The day that is nearest.
    Raw("t_to_int(t_round(t_dt_to_num(");
    EmitExpr(arg);
    Raw("), 0), '").Raw(name).Raw("')");
  } else if (IsExactFraction(source)) {
    Raw("t_dec_to_int(");
    EmitExpr(arg);
    Raw(", ").Raw(std::to_string(arg.type.scale)).Raw(", '").Raw(name);
    // Money is rounded where other fractions are cut.
    Raw(IsMoney(source) ? "', 1)" : "', 0)");
  } else {
    Raw("t_to_int(");
    EmitExpr(arg);
    Raw(", '").Raw(name).Raw("')");
  }
}

void Emitter::ConvertToFloat(const BoundExpr& expr) {
  const BoundExpr& arg = *expr.args[0];
  const TypeKind source = arg.type.kind;
  const bool real = expr.type.kind == TypeKind::Real;
  if (IsFloat(source) && !real) {
    Raw(expr.conversion == Conversion::Store ? "t_finite(" : "(");
    EmitExpr(arg);
    Raw(")");
    return;
  }
  if (real) Raw("t_to_real(");
  if (IsText(source)) {
    Raw("t_str_to_float(");
    EmitExpr(arg);
    Raw(", '").Raw(KindName(source)).Raw("')");
  } else if (IsDate(source)) {
    Raw("t_dt_to_num(");
    EmitExpr(arg);
    Raw(")");
  } else if (IsInteger(source)) {
    Raw("CAST(");
    EmitExpr(arg);
    Raw(" AS REAL)");
  } else {
    EmitAsFloat(arg);
  }
  if (real) Raw(")");
}

void Emitter::ConvertToDate(const BoundExpr& expr) {
  const BoundExpr& arg = *expr.args[0];
  const bool small = expr.type.kind == TypeKind::SmallDateTime;
  if (IsText(arg.type.kind)) {
    Raw(small ? "t_str_to_sdt(" : "t_str_to_dt(");
    EmitExpr(arg);
    if (expr.style > 0) Raw(", ").Raw(std::to_string(expr.style));
    Raw(")");
    return;
  }
  if (small) Raw("t_dt_to_sdt(");
  if (IsDate(arg.type.kind)) {
    EmitExpr(arg);
  } else {
    Raw("t_num_to_dt(");
    EmitAsFloat(arg);
    Raw(")");
  }
  if (small) Raw(")");
}

}  // namespace ledgerwick::tsql
