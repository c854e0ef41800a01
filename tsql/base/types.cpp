#include "tsql/base/types.h"

#include <array>
#include <charconv>
#include <string_view>

namespace ledgerwick::tsql {
namespace {

struct KindRow {
  TypeKind kind;
  const char* message;      // its name there
  const char* declaration;  // its name there
  std::uint8_t digits;      // of an integer or money
  std::uint8_t bytes;       // 0 where they depend on more
};

// In the order of TypeKind.
constexpr std::array<KindRow, kTypeKinds> kKinds = {{
    {TypeKind::Null, "NULL", "null", 0, 0},
    {TypeKind::Binary, "binary", "binary", 0, 0},
    {TypeKind::VarBinary, "varbinary", "varbinary", 0, 0},
    {TypeKind::Char, "char", "char", 0, 0},
    {TypeKind::VarChar, "varchar", "varchar", 0, 0},
    {TypeKind::NChar, "nchar", "nchar", 0, 0},
    {TypeKind::NVarChar, "nvarchar", "nvarchar", 0, 0},
    {TypeKind::UniqueIdentifier, "uniqueidentifier", "uniqueidentifier", 0, kUniqueIdentifierBytes},
    {TypeKind::RowVersion, "timestamp", "timestamp", 0, kRowVersionBytes},
    {TypeKind::Bit, "bit", "bit", 1, 1},
    {TypeKind::TinyInt, "tinyint", "tinyint", 3, 1},
    {TypeKind::SmallInt, "smallint", "smallint", 5, 2},
    {TypeKind::Int, "int", "int", 10, 4},
    {TypeKind::BigInt, "bigint", "bigint", 19, 8},
    {TypeKind::SmallMoney, "smallmoney", "smallmoney", 10, 4},
    {TypeKind::Money, "money", "money", 19, 8},
    {TypeKind::Decimal, "numeric", "decimal", 0, 0},
    {TypeKind::Real, "real", "real", 0, 4},
    {TypeKind::Float, "float", "float", 0, 8},
    {TypeKind::Time, "time", "time", 0, 0},
    {TypeKind::Date, "date", "date", 0, 3},
    {TypeKind::SmallDateTime, "smalldatetime", "smalldatetime", 0, 4},
    {TypeKind::DateTime, "datetime", "datetime", 0, 8},
    {TypeKind::DateTime2, "datetime2", "datetime2", 0, 0},
}};

const KindRow& RowOf(TypeKind kind) noexcept { return kKinds[static_cast<std::size_t>(kind)]; }

TypeKind KindOf(std::string_view declaration) {
  for (const KindRow& row : kKinds) {
    if (declaration == row.declaration) return row.kind;
  }
  return TypeKind::Null;
}

// Reads the whole of `digits` as a number.
template <typename Number>
bool ReadNumber(std::string_view digits, Number& number) {
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return error == std::errc() && end == digits.data() + digits.size();
}

bool ReadLength(std::string_view argument, Type& type) {
  if (argument == "max") {
    type.length = kMaxLength;
    return true;
  }
  return ReadNumber(argument, type.length) && type.length > 0 && type.length <= kLongestBytes;
}

bool ReadPrecision(std::string_view arguments, Type& type) {
  const std::size_t comma = arguments.find(',');
  return comma != std::string_view::npos &&
         ReadNumber(arguments.substr(0, comma), type.precision) &&
         ReadNumber(arguments.substr(comma + 1), type.scale) && type.precision > 0 &&
         type.precision <= kMostDigits && type.scale <= type.precision;
}

bool ReadScale(std::string_view argument, Type& type) {
  return ReadNumber(argument, type.scale) && type.scale <= kMostFractionDigits;
}

bool HasLength(TypeKind kind) { return IsText(kind) || IsBinary(kind); }
bool HasScale(TypeKind kind) { return kind == TypeKind::Time || kind == TypeKind::DateTime2; }
bool TakesArguments(TypeKind kind) {
  return HasLength(kind) || HasScale(kind) || kind == TypeKind::Decimal;
}

}  // namespace

std::uint8_t DigitsOf(TypeKind kind) noexcept { return RowOf(kind).digits; }

std::uint8_t FixedBytes(TypeKind kind) noexcept { return RowOf(kind).bytes; }

const char* KindName(TypeKind kind) noexcept { return RowOf(kind).message; }

std::string TypeName(const Type& type) {
  std::string name = RowOf(type.kind).declaration;
  if (HasLength(type.kind)) {
    name += type.length == kMaxLength ? "(max)" : "(" + std::to_string(type.length) + ")";
  } else if (type.kind == TypeKind::Decimal) {
    name += "(" + std::to_string(type.precision) + "," + std::to_string(type.scale) + ")";
  } else if (HasScale(type.kind)) {
    name += "(" + std::to_string(type.scale) + ")";
  }
  return name;
}

Type ParseTypeName(const std::string& declaration) {
  const std::string_view text = declaration;
  const std::size_t open = text.find('(');
  Type type;
  type.kind = KindOf(text.substr(0, open));
  if (IsMoney(type.kind)) type.scale = kMoneyScale;
  const bool has_arguments = open != std::string_view::npos;
  if (has_arguments != TakesArguments(type.kind)) return {};
  if (!has_arguments) return type;

  if (!text.ends_with(')')) return {};
  const std::string_view arguments = text.substr(open + 1, text.size() - open - 2);
  const bool understood = HasLength(type.kind)  ? ReadLength(arguments, type)
                          : HasScale(type.kind) ? ReadScale(arguments, type)
                                                : ReadPrecision(arguments, type);
  return understood ? type : Type{};
}

}  // namespace ledgerwick::tsql
