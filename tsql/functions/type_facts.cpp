#include "tsql/functions/type_facts.h"

#include <algorithm>
#include <array>

namespace ledgerwick::tsql {
namespace {

// What is the same for every type of a kind.
struct KindFacts {
  TypeKind kind;
  std::int64_t id;
  std::int64_t user_id;
  std::int64_t bytes;
  std::int64_t precision;
  std::int64_t scale;
  std::int64_t odbc;
  std::int64_t odbc_size;
  std::int64_t old_id;  // of a column that may be null
};

constexpr std::int64_t kNoScale = -1;

constexpr std::array<KindFacts, 23> kKinds = {{
    {TypeKind::Binary, 173, 173, 0, 0, kNoScale, -2, 0, 37},
    {TypeKind::VarBinary, 165, 165, 0, 0, kNoScale, -3, 0, 37},
    {TypeKind::Char, 175, 175, 0, 0, kNoScale, 1, 0, 39},
    {TypeKind::VarChar, 167, 167, 0, 0, kNoScale, 12, 0, 39},
    {TypeKind::NChar, 239, 239, 0, 0, kNoScale, -8, 0, 39},
    {TypeKind::NVarChar, 231, 231, 0, 0, kNoScale, -9, 0, 39},
    {TypeKind::UniqueIdentifier, 36, 36, 16, 0, kNoScale, -11, 36, 37},
    {TypeKind::RowVersion, 189, 80, 8, 0, kNoScale, -2, 8, 45},
    {TypeKind::Bit, 104, 104, 1, 1, kNoScale, -7, 1, 50},
    {TypeKind::TinyInt, 48, 48, 1, 3, 0, -6, 3, 38},
    {TypeKind::SmallInt, 52, 52, 2, 5, 0, 5, 5, 38},
    {TypeKind::Int, 56, 56, 4, 10, 0, 4, 10, 38},
    {TypeKind::BigInt, 127, 127, 8, 19, 0, -5, 19, 108},
    {TypeKind::SmallMoney, 122, 122, 4, 10, 4, 3, 10, 110},
    {TypeKind::Money, 60, 60, 8, 19, 4, 3, 19, 110},
    {TypeKind::Decimal, 106, 106, 0, 0, 0, 3, 0, 106},
    {TypeKind::Real, 59, 59, 4, 24, kNoScale, 7, 24, 109},
    {TypeKind::Float, 62, 62, 8, 53, kNoScale, 6, 53, 109},
    {TypeKind::Time, 41, 41, 0, 0, 0, -154, 0, 0},
    {TypeKind::Date, 40, 40, 3, 10, kNoScale, 91, 10, 0},
    {TypeKind::SmallDateTime, 58, 58, 4, 16, 0, 93, 16, 111},
    {TypeKind::DateTime, 61, 61, 8, 23, 3, 93, 23, 111},
    {TypeKind::DateTime2, 42, 42, 0, 0, 0, 93, 0, 0},
}};

std::int64_t BytesOfDecimal(int precision) noexcept {
  return precision <= 9 ? 5 : precision <= 19 ? 9 : precision <= 28 ? 13 : 17;
}

// A time of day takes more bytes the more digits its seconds have, and a day three more.
void AddMoment(TypeFacts& facts, const Type& type) {
  constexpr std::int64_t kBytesOfDay = 3;
  const bool day = type.kind == TypeKind::DateTime2;
  const std::int64_t characters = (day ? 19 : 8) + (type.scale > 0 ? type.scale + 1 : 0);
  facts.bytes = (type.scale <= 2 ? 3 : type.scale <= 4 ? 4 : 5) + (day ? kBytesOfDay : 0);
  facts.precision = characters;
  facts.scale = type.scale;
  facts.odbc_size = characters;
  facts.odbc_scale = type.scale;
  facts.odbc_length = 2 * characters;
}

void AddText(TypeFacts& facts, const Type& type) {
  constexpr std::int64_t kLongestBytes = 2147483647;
  const bool wide = IsUnicode(type.kind);
  const std::int64_t unit = wide ? 2 : 1;
  const bool is_long = type.length == kMaxLength;
  if (IsText(type.kind)) facts.characters = type.length;
  facts.bytes = is_long ? -1 : type.length * unit;
  facts.odbc_size = is_long ? kLongestBytes / unit : type.length;
  facts.odbc_length = is_long ? kLongestBytes : facts.bytes;
}

void AddNumber(TypeFacts& facts, const Type& type, const KindFacts& kind) {
  constexpr std::int64_t kDecimalRadix = 10;
  constexpr std::int64_t kBinaryRadix = 2;
  const bool number = IsNumber(type.kind) && type.kind != TypeKind::Bit;
  if (number) facts.radix = IsFloat(type.kind) ? kBinaryRadix : kDecimalRadix;
  if (kind.scale != kNoScale) facts.odbc_scale = kind.scale;
  facts.odbc_length = facts.bytes;
  if (IsExactFraction(type.kind)) facts.odbc_length = facts.odbc_size + 2;
  if (IsDate(type.kind)) facts.odbc_length = 16;
  if (type.kind != TypeKind::Decimal) return;
  facts.precision = type.precision;
  facts.scale = type.scale;
  facts.bytes = BytesOfDecimal(type.precision);
  facts.odbc_size = type.precision;
  facts.odbc_scale = type.scale;
  facts.odbc_length = type.precision + 2;
}

}  // namespace

std::optional<std::int64_t> TypeFacts::Number(std::string_view wanted) const {
  const std::pair<std::string_view, std::optional<std::int64_t>> numbers[] = {
      {"id", id},
      {"user_id", user_id},
      {"bytes", bytes},
      {"precision", precision},
      {"scale", scale},
      {"odbc", odbc},
      {"odbc_size", odbc_size},
      {"odbc_length", odbc_length},
      {"odbc_scale", odbc_scale},
      {"radix", radix},
      {"characters", characters},
      {"old_id", old_id},
  };
  const auto* const found = std::find_if(std::begin(numbers), std::end(numbers),
                                         [&](const auto& pair) { return pair.first == wanted; });
  return found == std::end(numbers) ? std::nullopt : found->second;
}

TypeFacts FactsOf(const Type& type) {
  TypeFacts facts;
  facts.name = TypeName(type);
  facts.name.resize(std::min(facts.name.find('('), facts.name.size()));
  const auto* const kind = std::find_if(kKinds.begin(), kKinds.end(), [&](const KindFacts& known) {
    return known.kind == type.kind;
  });
  if (kind == kKinds.end()) return facts;
  facts.id = kind->id;
  facts.user_id = kind->user_id;
  facts.bytes = kind->bytes;
  facts.precision = kind->precision;
  facts.scale = std::max<std::int64_t>(kind->scale, 0);
  facts.odbc = kind->odbc;
  facts.odbc_size = kind->odbc_size;
  facts.old_id = kind->old_id;
  if (IsText(type.kind) || IsBinary(type.kind)) {
    AddText(facts, type);
  } else if (type.kind == TypeKind::Time || type.kind == TypeKind::DateTime2) {
    AddMoment(facts, type);
  } else {
    AddNumber(facts, type, *kind);
  }
  return facts;
}

Type MakeInt() noexcept {
  Type type;
  type.kind = TypeKind::Int;
  return type;
}

std::int64_t ObjectKey(TextView name) {
  constexpr std::uint32_t kStart = 2166136261U;
  constexpr std::uint32_t kFactor = 16777619U;
  constexpr std::uint32_t kPositive = 0x7FFFFFFFU;
  std::uint32_t key = kStart;
  for (const char16_t c : FoldText(name)) key = (key ^ c) * kFactor;
  return key & kPositive;
}

}  // namespace ledgerwick::tsql
