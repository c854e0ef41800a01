// Which type the result of an operation has.
#include <algorithm>
#include <array>

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
  // char with nchar is nvarchar only by way of nvarchar; varchar with nchar must not pad.
  if (type.kind == TypeKind::NChar && (!IsUnicode(a.kind) || !IsUnicode(b.kind))) {
    type.kind = TypeKind::NVarChar;
  }
  if (IsText(type.kind)) type.length = std::min(type.length, LongestOf(type.kind));
  return type;
}

// Types that convert alike.
enum class Family : std::uint8_t {
  Binary,
  Text,
  WideText,
  Identifier,
  RowVersion,
  Number,
  Float,
  Time,
  Date,
  DateTime,
  DateTime2,
};

Family FamilyOf(TypeKind kind) noexcept {
  switch (kind) {
    case TypeKind::Null:
    case TypeKind::Binary:
    case TypeKind::VarBinary:
      return Family::Binary;
    case TypeKind::Char:
    case TypeKind::VarChar:
      return Family::Text;
    case TypeKind::NChar:
    case TypeKind::NVarChar:
      return Family::WideText;
    case TypeKind::UniqueIdentifier:
      return Family::Identifier;
    case TypeKind::RowVersion:
      return Family::RowVersion;
    case TypeKind::Real:
    case TypeKind::Float:
      return Family::Float;
    case TypeKind::Time:
      return Family::Time;
    case TypeKind::Date:
      return Family::Date;
    case TypeKind::SmallDateTime:
    case TypeKind::DateTime:
      return Family::DateTime;
    case TypeKind::DateTime2:
      return Family::DateTime2;
    case TypeKind::Bit:
    case TypeKind::TinyInt:
    case TypeKind::SmallInt:
    case TypeKind::Int:
    case TypeKind::BigInt:
    case TypeKind::SmallMoney:
    case TypeKind::Money:
    case TypeKind::Decimal:
      return Family::Number;
  }
  return Family::Number;
}

// A row for each family as the source, a letter for each as the target: i implicit, e explicit, x
// not at all. In the order of Family.
constexpr std::array<std::string_view, 11> kConversions = {
    "iiiiiixeeie",  // binary
    "eiiieiiiiii",  // text
    "eiiixiiiiii",  // n-text
    "iiiixxxxxxx",  // uniqueidentifier
    "iixxiixxxix",  // rowversion
    "iiixiiixxix",  // integers, decimals, money
    "iiixxiixxix",  // floats
    "eiixxxxixii",  // time
    "eiixxxxxiii",  // date
    "eiixeeeiiii",  // datetime
    "eiixxxxiiii",  // datetime2
};

}  // namespace

Convertible ConversionOf(TypeKind source, TypeKind target) noexcept {
  if (source == TypeKind::Null) return Convertible::Implicitly;
  const char letter = kConversions[static_cast<std::size_t>(FamilyOf(source))]
                                  [static_cast<std::size_t>(FamilyOf(target))];
  return letter == 'i'   ? Convertible::Implicitly
         : letter == 'e' ? Convertible::Explicitly
                         : Convertible::Never;
}

bool HoldsAsItIs(const Type& target, const Type& source) noexcept {
  if (source.kind != target.kind) return false;
  const bool longer = target.length == kMaxLength ||
                      (source.length != kMaxLength && source.length <= target.length);
  switch (source.kind) {
    case TypeKind::Binary:
    case TypeKind::Char:
    case TypeKind::NChar:
      return source.length == target.length;
    case TypeKind::VarBinary:
    case TypeKind::VarChar:
    case TypeKind::NVarChar:
      return longer;
    case TypeKind::Decimal:
      return source.scale == target.scale && source.precision <= target.precision &&
             IsLongDecimal(source) == IsLongDecimal(target) && target.precision <= kMostDigits;
    case TypeKind::Time:
    case TypeKind::DateTime2:
      return source.scale <= target.scale;
    case TypeKind::Null:
    case TypeKind::UniqueIdentifier:
    case TypeKind::RowVersion:
    case TypeKind::Bit:
    case TypeKind::TinyInt:
    case TypeKind::SmallInt:
    case TypeKind::Int:
    case TypeKind::BigInt:
    case TypeKind::SmallMoney:
    case TypeKind::Money:
    case TypeKind::Real:
    case TypeKind::Float:
    case TypeKind::Date:
    case TypeKind::SmallDateTime:
    case TypeKind::DateTime:
      break;
  }
  return true;
}

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
  const std::uint8_t digits = DigitsOf(type.kind);
  if (digits == 0) return type;
  Type decimal = MakeType(TypeKind::Decimal);
  decimal.precision = digits;
  if (IsMoney(type.kind)) decimal.scale = kMoneyScale;
  return decimal;
}

Type CommonType(const Type& a, const Type& b) noexcept {
  if (a.kind == TypeKind::Null) return b;
  if (b.kind == TypeKind::Null) return a;
  if (a == b && !IsText(a.kind) && a.kind != TypeKind::Decimal) return a;
  Type type;
  if (IsText(a.kind) && IsText(b.kind)) {
    type = CommonText(a, b);
  } else if (IsBinary(a.kind) && IsBinary(b.kind)) {
    type = MakeType(std::max(a.kind, b.kind), LongerOf(a.length, b.length));
  } else if (a.kind == b.kind && a.kind != TypeKind::Decimal) {
    type = a;
    type.scale = std::max(a.scale, b.scale);
  } else {
    const Type& higher = a.kind > b.kind ? a : b;
    const Type& lower = a.kind > b.kind ? b : a;
    type = higher;
    if (type.kind == TypeKind::DateTime2) {
      constexpr std::uint8_t kMilliseconds = 3;
      const bool datetime = lower.kind == TypeKind::DateTime;
      const std::uint8_t fraction = datetime               ? kMilliseconds
                                    : IsMoment(lower.kind) ? lower.scale
                                                           : 0;
      type.scale = std::max(type.scale, fraction);
    }
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
  if (kind == ExprKind::Multiply) {
    return FitDecimal(x.precision + y.precision + 1, x.scale + y.scale);
  }
  if (kind == ExprKind::Divide) {
    const int scale = std::max(kLeastScaleKept, x.scale + y.precision + 1);
    return FitDecimal(x.precision - x.scale + y.scale + scale, scale);
  }
  const int scale = std::max(x.scale, y.scale);
  if (kind == ExprKind::Modulo) {
    return FitDecimal(std::min(x.precision - x.scale, y.precision - y.scale) + scale, scale);
  }
  const int whole = WholeDigits(x, y);
  if (whole + scale < kMostDigits) return DecimalOf(whole + scale + 1, scale);
  return DecimalOf(kMostDigits, std::min(scale, kMostDigits - whole));
}

Type ComparisonType(const Type& a, const Type& b) noexcept {
  Type type = CommonType(a, b);
  // Zeros behind the bytes do not count, so that all are compared at one length.
  if (type.kind == TypeKind::VarBinary && type.length != kMaxLength) type.kind = TypeKind::Binary;
  if (type.kind != TypeKind::Decimal || !IsNumber(a.kind) || !IsNumber(b.kind)) return type;
  const Type x = AsDecimal(a);
  const Type y = AsDecimal(b);
  const int scale = std::max(x.scale, y.scale);
  return DecimalOf(WholeDigits(x, y) + scale, scale);
}

namespace {

Type NumberType(TextView digits_and_point) {
  const TextView text = digits_and_point;
  if (text.find_first_of(u"eE") != TextView::npos) return MakeType(TypeKind::Float);
  const std::size_t point = text.find(u'.');
  const TextView whole = text.substr(0, point);
  const std::size_t zeros = std::min(whole.find_first_not_of(u'0'), whole.size());
  const std::size_t scale = point == TextView::npos ? 0 : text.size() - point - 1;
  const auto digits = static_cast<int>(whole.size() - zeros + scale);
  return FitDecimal(std::max(digits, 1), static_cast<int>(scale));
}

Type StringType(const Expr& literal) {
  const std::size_t size = literal.national ? literal.text.size() : AnsiLength(literal.text);
  return MakeType(literal.national ? TypeKind::NVarChar : TypeKind::VarChar,
                  std::max(static_cast<std::int32_t>(size), 1));
}

Type BinaryType(TextView digits) {
  return MakeType(TypeKind::VarBinary,
                  std::max(static_cast<std::int32_t>((digits.size() + 1) / 2), 1));
}

}  // namespace

Type LiteralType(const Expr& literal) {
  if (literal.kind == ExprKind::Null) return {};
  Type type = literal.kind == ExprKind::Integer  ? MakeType(TypeKind::Int)
              : literal.kind == ExprKind::String ? StringType(literal)
              : literal.kind == ExprKind::Binary ? BinaryType(literal.text)
                                                 : NumberType(literal.text);
  type.nullable = false;
  return type;
}

}  // namespace ledgerwick::tsql
