// Binding of conversions: those that are written, those that the server's rules insert, and
// literals that are converted when the statement is compiled.
#include <array>
#include <charconv>

#include "tsql/binder/binder.h"
#include "tsql/values/any_value.h"
#include "tsql/values/code_page.h"
#include "tsql/values/convert.h"
#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {
namespace {

bool IsLiteral(const BoundExpr& expr) noexcept {
  return expr.kind == ExprKind::Integer || expr.kind == ExprKind::Number ||
         expr.kind == ExprKind::String || expr.kind == ExprKind::Binary;
}

Text Widened(std::int64_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

}  // namespace

BoundExpr* Binder::BindConvert(const Expr& written, Scope& scope) {
  BoundExpr* expr = BindArguments(written, scope);

  expr->conversion = Conversion::Cast;
  const Type source = expr->args[0]->type;
  Type& target = expr->type;
  const bool has_length = IsText(target.kind) || IsBinary(target.kind);
  if (has_length && target.length == 0) target.length = kCastLength;
  RequireConversion(*expr->args[0], target, Conversion::Cast);
  target.nullable = source.nullable || expr->args[0]->kind == ExprKind::Null;
  return expr;
}

// Throws 206 where the server knows no conversion, 257 where it wants it written. A cast (of
// CONVERT, not one that the binder inserts) that it does not know is 529.
void Binder::RequireConversion(const BoundExpr& expr, const Type& target,
                               Conversion conversion) const {
  const TypeKind source = expr.type.kind;
  const Convertible how =
      expr.kind == ExprKind::Null ? Convertible::Implicitly : ConversionOf(source, target.kind);
  if (how == Convertible::Implicitly) return;
  const Position at = At(expr.offset);
  if (how == Convertible::Explicitly) {
    if (conversion == Conversion::Cast) return;
    throw errors::ImplicitConversion(KindText(source), KindText(target.kind), at);
  }
  if (conversion == Conversion::Cast) {
    throw errors::ExplicitConversion(KindText(source), KindText(target.kind), at);
  }
  throw errors::TypeClash(KindText(source), KindText(target.kind), at);
}

// A literal as a value of a type that any_value.h converts to or from.
BoundExpr* Binder::FoldAny(const BoundExpr& literal, const Type& target, Conversion conversion) {
  AnyValue value = literal.integer;
  if (literal.kind == ExprKind::String) value = ToUtf8(literal.text);
  if (literal.kind == ExprKind::Binary) {
    value = BytesOfHex(std::string(literal.text.begin(), literal.text.end()));
  }
  if (literal.kind == ExprKind::Number) return nullptr;
  const Manners manners{-1, conversion == Conversion::Store, Dates()};
  const AnyValue converted = ConvertAny(value, literal.type, target, manners);
  BoundExpr* folded = arena_.Make<BoundExpr>(literal);
  folded->type = target;
  if (const auto* number = std::get_if<std::int64_t>(&converted)) {
    folded->kind = ExprKind::Integer;
    folded->integer = *number;
    return IsExactFraction(target.kind) ? nullptr : folded;
  }
  const auto* bytes = std::get_if<std::string>(&converted);
  if (bytes == nullptr || IsExactFraction(target.kind)) return nullptr;
  const std::string digits = IsText(target.kind) ? *bytes : HexDigits(*bytes);
  folded->kind = IsText(target.kind) ? ExprKind::String : ExprKind::Binary;
  folded->text = arena_.Copy(FromUtf8(digits));
  return folded;
}

// A literal converted when the statement is compiled. A text that cannot be converted stays as it
// is: it fails only if it is reached when the statement runs.
BoundExpr* Binder::FoldLiteral(BoundExpr* expr, Type target, Conversion conversion) {
  if (expr->kind == ExprKind::Null) {
    expr->type = target;
    expr->type.nullable = true;
    return expr;
  }
  if (IsExactFraction(target.kind) && !IsConvertedAsAny(expr->type.kind)) {
    return FoldExact(expr, target);
  }
  if (!IsLiteral(*expr)) return nullptr;
  target.nullable = false;
  const auto folded = [&](ExprKind kind) {
    BoundExpr* literal = arena_.Make<BoundExpr>(*expr);
    literal->kind = kind;
    literal->type = target;
    return literal;
  };
  try {
    if (IsConvertedAsAny(target.kind) || IsConvertedAsAny(expr->type.kind)) {
      return FoldAny(*expr, target, conversion);
    }
    if (expr->kind == ExprKind::String && IsDate(target.kind)) {
      const DateOptions& dates = Dates();
      BoundExpr* literal = folded(ExprKind::Integer);
      literal->integer = target.kind == TypeKind::DateTime ? ParseDateTime(expr->text, dates)
                                                           : ParseSmallDateTime(expr->text, dates);
      return literal;
    }
    const char* source = KindName(expr->type.kind);
    if (expr->kind == ExprKind::String && IsInteger(target.kind) && target.kind != TypeKind::Bit) {
      BoundExpr* literal = folded(ExprKind::Integer);
      literal->integer = ParseInteger(expr->text, target.kind, source);
      return literal;
    }
    const bool is_number = expr->kind != ExprKind::String && IsNumber(expr->type.kind);
    if (IsFloat(target.kind) && (expr->kind == ExprKind::String || is_number)) {
      std::array<char, 40> digits;
      const Text text = expr->kind == ExprKind::Integer ? Widened(expr->integer) : Text(expr->text);
      const double number = target.kind == TypeKind::Real ? ToReal(ParseFloat(text, source))
                                                          : ParseFloat(text, source);
      const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
      BoundExpr* literal = folded(ExprKind::Number);
      literal->text = arena_.Copy(Text(digits.data(), end));
      return literal;
    }
    if (expr->kind == ExprKind::Integer && IsInteger(target.kind) && target.kind != TypeKind::Bit) {
      BoundExpr* literal = folded(ExprKind::Integer);
      literal->integer = ToInteger(expr->integer, target.kind);
      return literal;
    }
    if (expr->kind == ExprKind::Number && IsInteger(target.kind) && target.kind != TypeKind::Bit &&
        expr->type.kind == TypeKind::Decimal) {
      return FoldExact(expr, target);
    }
  } catch (const SqlError&) {
    return nullptr;
  }
  return nullptr;
}

BoundExpr* Binder::WithAllCharacters(BoundExpr* expr, const Type& target) {
  const bool lacking = expr->kind == ExprKind::String && !IsUnicode(expr->type.kind) &&
                       IsText(target.kind) && !IsUnicode(target.kind) && !FitsAnsi(expr->text);
  if (!lacking) return expr;
  BoundExpr* literal = arena_.Make<BoundExpr>(*expr);
  literal->type.kind = TypeKind::NVarChar;
  return literal;
}

BoundExpr* Binder::Coerce(BoundExpr* expr, const Type& target, Conversion conversion) {
  if (conversion != Conversion::Implicit) expr = WithAllCharacters(expr, target);
  const Type& source = expr->type;
  const bool computed =
      !IsLiteral(*expr) && expr->kind != ExprKind::Column && expr->kind != ExprKind::Variable;
  const bool checked = conversion == Conversion::Store && IsFloat(target.kind) && computed;
  // A literal that was made char is not padded yet.
  const bool unpadded = expr->kind == ExprKind::String &&
                        (target.kind == TypeKind::Char || target.kind == TypeKind::NChar);
  if (conversion == Conversion::Store && target.kind == TypeKind::RowVersion) {
    throw errors::ExplicitRowVersion(At(expr->offset));
  }
  if (expr->kind != ExprKind::Null && HoldsAsItIs(target, source) && !checked && !unpadded) {
    return expr;
  }
  RequireConversion(*expr, target, conversion);
  if (BoundExpr* literal = FoldLiteral(expr, target, conversion)) return literal;
  BoundExpr* convert = arena_.Make<BoundExpr>();
  convert->kind = ExprKind::Convert;
  convert->offset = expr->offset;
  convert->args = arena_.Copy(std::span<BoundExpr* const>(&expr, 1));
  convert->type = target;
  convert->type.nullable = source.nullable;
  convert->conversion = conversion;
  convert->has_aggregate = expr->has_aggregate;
  return convert;
}

void Binder::CoerceAll(std::span<BoundExpr*> items, const Type& type) {
  for (BoundExpr*& item : items) item = Coerce(item, type);
}

}  // namespace ledgerwick::tsql
