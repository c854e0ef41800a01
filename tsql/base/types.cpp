#include "tsql/base/types.h"

#include <array>
#include <charconv>
#include <string_view>

namespace ledgerwick::tsql {
namespace {

// A kind's name in messages and in declarations.
struct KindNames {
  TypeKind kind;
  const char* message;
  const char* declaration;
};

// In the order of TypeKind.
constexpr std::array<KindNames, kTypeKinds> kKinds = {{
    {TypeKind::Null, "NULL", "null"},
    {TypeKind::Binary, "binary", "binary"},
    {TypeKind::VarBinary, "varbinary", "varbinary"},
    {TypeKind::Char, "char", "char"},
    {TypeKind::VarChar, "varchar", "varchar"},
    {TypeKind::NChar, "nchar", "nchar"},
    {TypeKind::NVarChar, "nvarchar", "nvarchar"},
    {TypeKind::UniqueIdentifier, "uniqueidentifier", "uniqueidentifier"},
    {TypeKind::RowVersion, "timestamp", "timestamp"},
    {TypeKind::Bit, "bit", "bit"},
    {TypeKind::TinyInt, "tinyint", "tinyint"},
    {TypeKind::SmallInt, "smallint", "smallint"},
    {TypeKind::Int, "int", "int"},
    {TypeKind::BigInt, "bigint", "bigint"},
    {TypeKind::SmallMoney, "smallmoney", "smallmoney"},
    {TypeKind::Money, "money", "money"},
    {TypeKind::Decimal, "numeric", "decimal"},
    {TypeKind::Real, "real", "real"},
    {TypeKind::Float, "float", "float"},
    {TypeKind::Time, "time", "time"},
    {TypeKind::Date, "date", "date"},
    {TypeKind::SmallDateTime, "smalldatetime", "smalldatetime"},
    {TypeKind::DateTime, "datetime", "datetime"},
    {TypeKind::DateTime2, "datetime2", "datetime2"},
}};

const KindNames& NamesOf(TypeKind kind) { return kKinds[static_cast<std::size_t>(kind)]; }

TypeKind KindOf(std::string_view declaration) {
  for (const KindNames& names : kKinds) {
    if (declaration == names.declaration) return names.kind;
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

const char* KindName(TypeKind kind) noexcept { return NamesOf(kind).message; }

std::string TypeName(const Type& type) {
  std::string name = NamesOf(type.kind).declaration;
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
