// Which type the result of an operation has.
#include <algorithm>

#include "frame/text.h"
#include "tsql/binder/type_rules.h"

namespace ledgerwick::tsql {
namespace {

constexpr int kLeastScaleKept = 6;

Type DecimalOf(int precision, int scale) noexcept {
  Type type = MakeType(TypeKind::Decimal);
  type.precision = static_cast<std::uint8_t>(precision);
  type.scale = static_cast<std::uint8_t>(scale);
  return type;
}

// Fits precision and scale into 38 digits: whole digits count more than the fraction, of which six
// are kept where there are as many.
Type FitDecimal(int precision, int scale) noexcept {
  if (precision > kMostDigits) {
    const int whole = precision - scale;
    scale = std::max(std::min(scale, kMostDigits - whole), std::min(scale, kLeastScaleKept));
    precision = kMostDigits;
  }
  return DecimalOf(precision, scale);
}

// The digits in front of the point of a decimal that holds the values of both.
int WholeDigits(const Type& x, const Type& y) noexcept {
  return std::max(x.precision - x.scale, y.precision - y.scale);
}

std::int32_t LongerOf(std::int32_t a, std::int32_t b) noexcept {
  return a == kMaxLength || b == kMaxLength ? kMaxLength : std::max(a, b);
}

Type CommonText(const Type& a, const Type& b) noexcept {
  Type type = MakeType(std::max(a.kind, b.kind), LongerOf(a.length, b.length));
  // Texts of different lengths in blank-padded types meet as they are.
  if (type.kind == TypeKind::Char && a.length != b.length) type.kind = TypeKind::VarChar;
  if (type.kind == TypeKind::NChar && a.length != b.length) type.kind = TypeKind::NVarChar;
  // char with nchar is nvarchar only by way of nvarchar; varchar with nchar must not pad.
  if (type.kind == TypeKind::NChar && (!IsUnicode(a.kind) || !IsUnicode(b.kind))) {
    type.kind = TypeKind::NVarChar;
  }
  return type;
}

}  // namespace

Type MakeType(TypeKind kind, std::int32_t length) noexcept {
  Type type;
  type.kind = kind;
  type.length = length;
  if (IsMoney(kind)) type.scale = kMoneyScale;
  return type;
}

Text KindText(TypeKind kind) {
  const std::string_view name = KindName(kind);
  return Text(name.begin(), name.end());
}

Type AsDecimal(const Type& type) noexcept {
  Type decimal = MakeType(TypeKind::Decimal);
  switch (type.kind) {
    case TypeKind::Bit:
      decimal.precision = 1;
      break;
    case TypeKind::TinyInt:
      decimal.precision = 3;
      break;
    case TypeKind::SmallInt:
      decimal.precision = 5;
      break;
    case TypeKind::Int:
      decimal.precision = 10;
      break;
    case TypeKind::BigInt:
      decimal.precision = 19;
      break;
    case TypeKind::SmallMoney:
      decimal.precision = 10;
      decimal.scale = kMoneyScale;
      break;
    case TypeKind::Money:
      decimal.precision = 19;
      decimal.scale = kMoneyScale;
      break;
    default:
      return type;
  }
  return decimal;
}

Type CommonType(const Type& a, const Type& b) noexcept {
  if (a.kind == TypeKind::Null) return b;
  if (b.kind == TypeKind::Null) return a;
  Type type;
  if (IsText(a.kind) && IsText(b.kind)) {
    type = CommonText(a, b);
  } else if (a.kind == b.kind && a.kind != TypeKind::Decimal) {
    type = a;
  } else {
    const Type& higher = a.kind > b.kind ? a : b;
    const Type& lower = a.kind > b.kind ? b : a;
    type = higher;
    if (higher.kind == TypeKind::Decimal && IsNumber(lower.kind)) {
      const Type x = AsDecimal(a);
      const Type y = AsDecimal(b);
      const int scale = std::max(x.scale, y.scale);
      type = FitDecimal(WholeDigits(x, y) + scale, scale);
    }
  }
  type.nullable = a.nullable || b.nullable;
  return type;
}

Type ArithmeticType(ExprKind kind, const Type& a, const Type& b) noexcept {
  Type type = CommonType(a, b);
  if (type.kind != TypeKind::Decimal) return type;
  const Type x = AsDecimal(a);
  const Type y = AsDecimal(b);
  switch (kind) {
    case ExprKind::Multiply:
      return FitDecimal(x.precision + y.precision + 1, x.scale + y.scale);
    case ExprKind::Divide: {
      const int scale = std::max(kLeastScaleKept, x.scale + y.precision + 1);
      return FitDecimal(x.precision - x.scale + y.scale + scale, scale);
    }
    case ExprKind::Modulo: {
      const int scale = std::max(x.scale, y.scale);
      return FitDecimal(std::min(x.precision - x.scale, y.precision - y.scale) + scale, scale);
    }
    default: {
      const int scale = std::max(x.scale, y.scale);
      const int whole = WholeDigits(x, y);
      if (whole + scale < kMostDigits) return DecimalOf(whole + scale + 1, scale);
      return DecimalOf(kMostDigits, std::min(scale, kMostDigits - whole));
    }
  }
}

Type ComparisonType(const Type& a, const Type& b) noexcept {
  const Type type = CommonType(a, b);
  if (type.kind != TypeKind::Decimal || !IsNumber(a.kind) || !IsNumber(b.kind)) return type;
  const Type x = AsDecimal(a);
  const Type y = AsDecimal(b);
  const int scale = std::max(x.scale, y.scale);
  return DecimalOf(WholeDigits(x, y) + scale, scale);
}

Type LiteralType(const Expr& literal) {
  Type type;
  switch (literal.kind) {
    case ExprKind::Integer:
      type = MakeType(TypeKind::Int);
      break;
    case ExprKind::String: {
      const auto size = static_cast<std::int32_t>(literal.national ? literal.text.size()
                                                                   : AnsiLength(literal.text));
      type = MakeType(literal.national ? TypeKind::NVarChar : TypeKind::VarChar, std::max(size, 1));
      break;
    }
    case ExprKind::Number: {
      const TextView text = literal.text;
      if (text.find_first_of(u"eE") != TextView::npos) {
        type = MakeType(TypeKind::Float);
        break;
      }
      const std::size_t point = text.find(u'.');
      const TextView whole = text.substr(0, point);
      const std::size_t zeros = std::min(whole.find_first_not_of(u'0'), whole.size());
      const std::size_t scale = point == TextView::npos ? 0 : text.size() - point - 1;
      const auto digits = static_cast<int>(whole.size() - zeros + scale);
      type = FitDecimal(std::max(digits, 1), static_cast<int>(scale));
      break;
    }
    default:
      return type;
  }
  type.nullable = false;
  return type;
}

}  // namespace ledgerwick::tsql
