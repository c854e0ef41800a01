#include "tsql/values/any_value.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <random>

#include "tsql/base/characters.h"
#include "tsql/base/errors.h"
#include "tsql/values/calendar.h"
#include "tsql/values/code_page.h"
#include "tsql/values/convert.h"
#include "tsql/values/exact.h"

namespace ledgerwick::tsql {
namespace {

constexpr int kHexWithPrefix = 1;  // CONVERT's styles of binary
constexpr int kHexAlone = 2;
constexpr int kCanonical = 121;  // how dates and times are written without a style

Text Widen(const char* ascii) {
  const std::string_view view = ascii;
  return Text(view.begin(), view.end());
}

SqlError CannotConvert(const Type& source, const Type& target) {
  return errors::ConvertDataType(Widen(KindName(source.kind)), Widen(KindName(target.kind)));
}

// The lowest `size` bytes of `number`, the highest or the lowest first.
std::string BigEndian(std::uint64_t number, int size) {
  std::string bytes;
  while (size-- > 0) bytes += static_cast<char>(number >> (8 * size));
  return bytes;
}
std::string LittleEndian(std::uint64_t number, int size) {
  std::string bytes = BigEndian(number, size);
  std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

// The number in the last eight of `bytes`, the highest first.
std::uint64_t NumberIn(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

Int128 UnitsOf(const AnyValue& value) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
  const auto& bytes = std::get<std::string>(value);
  if (bytes.size() != ExactBytes{}.size()) return 0;
  return FromBytes(reinterpret_cast<const unsigned char*>(bytes.data()));
}

// How many bytes of four the server keeps a decimal's digits in.
int WordsOf(const Type& decimal) noexcept {
  return decimal.precision <= 9 ? 1 : decimal.precision <= 19 ? 2 : decimal.precision <= 28 ? 3 : 4;
}

std::string BytesOfDecimal(const AnyValue& value, const Type& type) {
  const Int128 units = UnitsOf(value);
  __extension__ using UInt128 = unsigned __int128;
  auto rest = static_cast<UInt128>(units < 0 ? -units : units);
  std::string bytes{static_cast<char>(type.precision), static_cast<char>(type.scale), '\0',
                    static_cast<char>(units < 0 ? 0 : 1)};
  for (int i = 0; i < 4 * WordsOf(type); ++i, rest >>= 8) bytes += static_cast<char>(rest);
  return bytes;
}

std::int64_t PowerOfTenTicks(int scale) {
  std::int64_t ticks = 1;
  for (; scale < kMostFractionDigits; ++scale) ticks *= 10;
  return ticks;
}

// The scale, then the time in units of its last digit, then the days since 0001-01-01.
std::string BytesOfMoment(std::int64_t ticks, const Type& type) {
  const std::uint64_t days = static_cast<std::uint64_t>(DayOf(ticks) - DayOf(kLeastTick));
  if (type.kind == TypeKind::Date) return LittleEndian(days, 3);
  const int size = type.scale < 3 ? 3 : type.scale < 5 ? 4 : 5;
  std::string bytes(1, static_cast<char>(type.scale));
  bytes +=
      LittleEndian(static_cast<std::uint64_t>(TimeOf(ticks) / PowerOfTenTicks(type.scale)), size);
  return type.kind == TypeKind::Time ? bytes : bytes + LittleEndian(days, 3);
}

// Days since 1900-01-01 and 300ths of a second; of a smalldatetime days and minutes.
std::string BytesOfDateTime(std::int64_t ms, TypeKind kind) {
  const std::int64_t day = FloorDivide(ms, kMillisecondsPerDay);
  const std::int64_t of_day = ms - day * kMillisecondsPerDay;
  if (kind == TypeKind::SmallDateTime) {
    return BigEndian(static_cast<std::uint64_t>(day), 2) +
           BigEndian(static_cast<std::uint64_t>(of_day / 60'000), 2);
  }
  return BigEndian(static_cast<std::uint64_t>(day), 4) +
         BigEndian(static_cast<std::uint64_t>((of_day * 3 + 5) / 10), 4);
}

// What a cast to binary gives, as long as the value is. Numbers stand at its end when it is
// lengthened or cut, all else at its beginning.
std::string BytesOf(const AnyValue& value, const Type& source) {
  switch (source.kind) {
    case TypeKind::UniqueIdentifier:
      return IdentifierBytes(std::get<std::string>(value));
    case TypeKind::Char:
    case TypeKind::VarChar:
      return ToCodePage(ToText(std::get<std::string>(value)));
    case TypeKind::NChar:
    case TypeKind::NVarChar:
      return ToUtf16Bytes(std::get<std::string>(value));
    case TypeKind::Decimal:
      return BytesOfDecimal(value, source);
    case TypeKind::Real:
      return BigEndian(std::bit_cast<std::uint32_t>(static_cast<float>(std::get<double>(value))),
                       4);
    case TypeKind::Float:
      return BigEndian(std::bit_cast<std::uint64_t>(std::get<double>(value)), 8);
    case TypeKind::SmallDateTime:
    case TypeKind::DateTime:
      return BytesOfDateTime(std::get<std::int64_t>(value), source.kind);
    case TypeKind::Time:
    case TypeKind::Date:
    case TypeKind::DateTime2:
      return BytesOfMoment(TicksOf(source.kind, std::get<std::int64_t>(value)), source);
    case TypeKind::Null:
    case TypeKind::Binary:
    case TypeKind::VarBinary:
    case TypeKind::RowVersion:
      return std::get<std::string>(value);
    case TypeKind::Bit:
    case TypeKind::TinyInt:
    case TypeKind::SmallInt:
    case TypeKind::Int:
    case TypeKind::BigInt:
    case TypeKind::SmallMoney:
    case TypeKind::Money:
      return BigEndian(static_cast<std::uint64_t>(std::get<std::int64_t>(value)),
                       StoredLength(source));
  }
  return {};
}

// `bytes` as a value of a type of that length, fixed or not.
std::string FitBytes(std::string bytes, std::int32_t length, bool fixed, bool at_end, bool stores) {
  if (length == kMaxLength) return bytes;
  const auto wanted = static_cast<std::size_t>(length);
  if (bytes.size() > wanted) {
    const std::size_t excess = bytes.size() - wanted;
    const std::string_view lost(bytes.data() + (at_end ? 0 : wanted), excess);
    const bool zeros = lost.find_first_not_of('\0') == std::string_view::npos;
    if (stores && !(at_end && zeros)) throw errors::Truncated();
    bytes.erase(at_end ? 0 : wanted, excess);
  } else if (fixed && bytes.size() < wanted) {
    bytes.insert(at_end ? 0 : bytes.size(), wanted - bytes.size(), '\0');
  }
  return bytes;
}

std::string ToBytesType(const AnyValue& value, const Type& source, const Type& target,
                        const Manners& manners) {
  const bool fixed = target.kind != TypeKind::VarBinary;
  const std::int32_t length =
      target.kind == TypeKind::RowVersion ? kRowVersionBytes : target.length;
  const bool at_end = IsNumber(source.kind) || IsDate(source.kind);
  const bool hex = manners.style == kHexWithPrefix || manners.style == kHexAlone;
  if (!IsText(source.kind) || !hex) {
    return FitBytes(BytesOf(value, source), length, fixed, at_end, manners.stores);
  }
  std::string_view digits = std::get<std::string>(value);
  const bool prefixed = digits.starts_with("0x") || digits.starts_with("0X");
  const bool right = prefixed == (manners.style == kHexWithPrefix) && digits.size() % 2 == 0;
  if (!right) throw CannotConvert(source, target);
  if (prefixed) digits.remove_prefix(2);
  return FitBytes(BytesOfHex(digits), length, fixed, false, manners.stores);
}

// xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx, perhaps in braces; what follows it does not count.
std::string ParseIdentifier(std::string_view text) {
  constexpr std::array<std::size_t, 4> kHyphens = {8, 13, 18, 23};
  constexpr std::size_t kLength = 36;
  const bool braces = text.starts_with('{');
  if (braces) text.remove_prefix(1);
  if (text.size() < kLength || (braces && !text.substr(kLength).starts_with('}'))) {
    throw errors::NoUniqueIdentifier();
  }
  std::string digits;
  for (std::size_t i = 0; i < kLength; ++i) {
    const bool hyphen = std::find(kHyphens.begin(), kHyphens.end(), i) != kHyphens.end();
    const bool fits =
        hyphen ? text[i] == '-'
               : std::string_view("0123456789abcdefABCDEF").find(text[i]) != std::string_view::npos;
    if (!fits) throw errors::NoUniqueIdentifier();
    if (!hyphen) digits += text[i];
  }
  std::string bytes = BytesOfHex(digits);
  // The first three groups are numbers, kept with their lowest byte first.
  std::reverse(bytes.begin(), bytes.begin() + 4);
  std::reverse(bytes.begin() + 4, bytes.begin() + 6);
  std::reverse(bytes.begin() + 6, bytes.begin() + 8);
  return bytes;
}

std::string FormatIdentifier(std::string bytes) {
  std::reverse(bytes.begin(), bytes.begin() + 4);
  std::reverse(bytes.begin() + 4, bytes.begin() + 6);
  std::reverse(bytes.begin() + 6, bytes.begin() + 8);
  std::string text = HexDigits(bytes);
  for (const std::size_t hyphen : {20U, 16U, 12U, 8U}) text.insert(hyphen, 1, '-');
  return text;
}

// Text cut or padded to what `target` holds.
std::string FitText(const std::string& text, const Type& target, bool stores) {
  if (target.length == kMaxLength) return text;
  const auto length = static_cast<std::size_t>(target.length);
  Text fitted;
  std::size_t size = 0;
  const Text whole = ToText(text);
  std::size_t at = 0;
  for (; at < whole.size(); ++at) {
    const std::size_t width =
        IsUnicode(target.kind) || whole[at] < 0x80 ? 1 : AnsiLength(TextView(whole).substr(at, 1));
    if (size + width > length) break;
    size += width;
    fitted += whole[at];
  }
  const bool lost = whole.find_first_not_of(u' ', at) != Text::npos;
  if (stores && lost) throw errors::Truncated();
  if (target.kind == TypeKind::Char || target.kind == TypeKind::NChar) {
    fitted.append(length - size, u' ');
  }
  return ToUtf8(fitted);
}

std::string ToTextType(const AnyValue& value, const Type& source, const Type& target,
                       const Manners& manners) {
  constexpr std::int32_t kIdentifierLength = 36;
  if (source.kind == TypeKind::UniqueIdentifier) {
    const bool fits = target.length == kMaxLength || target.length >= kIdentifierLength;
    if (!fits) throw errors::NoRoomForUniqueIdentifier();
    return FitText(FormatIdentifier(IdentifierBytes(std::get<std::string>(value))), target, false);
  }
  if (IsMoment(source.kind)) {
    const std::int64_t ticks = TicksOf(source.kind, std::get<std::int64_t>(value));
    const int style = manners.style < 0 ? kCanonical : manners.style;
    return FitText(FormatMoment(ticks, source, style, manners.dates), target, manners.stores);
  }
  const auto& bytes = std::get<std::string>(value);
  const bool prefixed = manners.style == kHexWithPrefix;
  if (prefixed || manners.style == kHexAlone) {
    return FitText((prefixed ? "0x" : "") + HexDigits(bytes), target, manners.stores);
  }
  return FitText(IsUnicode(target.kind) ? FromUtf16Bytes(bytes) : ToUtf8(FromCodePage(bytes)),
                 target, manners.stores);
}

AnyValue ToMoment(const AnyValue& value, const Type& source, const Type& target,
                  const Manners& manners) {
  if (IsText(source.kind)) {
    return ParseMoment(std::get<std::string>(value), target, manners.dates,
                       std::max(manners.style, 0));
  }
  if (IsMoment(source.kind)) {
    return FromTicks(TicksOf(source.kind, std::get<std::int64_t>(value)), target,
                     KindName(source.kind));
  }
  // Bytes, as BytesOfDateTime writes them.
  const std::string& bytes = std::get<std::string>(value);
  if (!IsDate(target.kind)) throw CannotConvert(source, target);
  const std::uint64_t number = NumberIn(
      std::string_view(bytes).substr(bytes.size() - std::min<std::size_t>(bytes.size(), 8)));
  if (target.kind == TypeKind::SmallDateTime) {
    return ToSmallDateTime(static_cast<std::int64_t>(number >> 16 & 0xFFFF) * kMillisecondsPerDay +
                           static_cast<std::int64_t>(number & 0xFFFF) * 60'000);
  }
  const auto days = static_cast<std::int32_t>(number >> 32);
  const auto thirds = static_cast<std::int64_t>(number & 0xFFFFFFFF);
  return FromTicks((days * kMillisecondsPerDay + (thirds * 10 + 1) / 3) * kTicksPerMillisecond,
                   target, KindName(source.kind));
}

// Bytes as a number: the last ones that the number takes.
AnyValue ToNumberType(std::string_view bytes, const Type& source, const Type& target) {
  if (target.kind == TypeKind::Decimal) {
    const auto size = static_cast<std::size_t>(4 * (bytes.size() / 4));
    if (bytes.size() < 8 || size != bytes.size() || bytes.size() > 20) {
      throw CannotConvert(source, target);
    }
    Int128 units = 0;
    for (std::size_t i = bytes.size(); i-- > 4;) {
      if (units >= PowerOfTen(kMostDigits - 3)) throw CannotConvert(source, target);
      units = units * 256 + static_cast<unsigned char>(bytes[i]);
    }
    const int scale = std::min<int>(static_cast<unsigned char>(bytes[1]), kMostDigits);
    const Exact number = Convert({bytes[3] == 0 ? -units : units, scale}, SizeOf(target));
    if (!IsLongDecimal(target)) return static_cast<std::int64_t>(number.units);
    const ExactBytes kept = ToBytes(number.units);
    return std::string(reinterpret_cast<const char*>(kept.data()), kept.size());
  }
  const auto size = static_cast<std::size_t>(StoredLength(target));
  const std::size_t taken = std::min(bytes.size(), size);
  const std::uint64_t number = NumberIn(bytes.substr(bytes.size() - taken));
  if (target.kind == TypeKind::Bit) return std::int64_t{number != 0};
  if (target.kind == TypeKind::TinyInt) return static_cast<std::int64_t>(number);
  // The highest bit is the sign.
  const std::size_t unused = 64 - size * 8;
  return static_cast<std::int64_t>(number << unused) >> unused;
}

}  // namespace

std::int32_t StoredLength(const Type& type) noexcept {
  if (type.kind == TypeKind::Decimal) return 1 + 4 * WordsOf(type);
  const int time = type.scale < 3 ? 3 : type.scale < 5 ? 4 : 5;
  if (type.kind == TypeKind::Time) return time;
  if (type.kind == TypeKind::DateTime2) return time + FixedBytes(TypeKind::Date);
  return FixedBytes(type.kind);
}

AnyValue ConvertAny(const AnyValue& value, const Type& source, const Type& target,
                    const Manners& manners) {
  if (IsBinary(target.kind) || target.kind == TypeKind::RowVersion) {
    return ToBytesType(value, source, target, manners);
  }
  if (IsText(target.kind)) return ToTextType(value, source, target, manners);
  if (IsMoment(target.kind)) return ToMoment(value, source, target, manners);
  if (target.kind == TypeKind::UniqueIdentifier) {
    if (IsText(source.kind)) return OrderedBytes(ParseIdentifier(std::get<std::string>(value)));
    if (source.kind == target.kind) return value;
    return OrderedBytes(
        FitBytes(BytesOf(value, source), kUniqueIdentifierBytes, true, false, false));
  }
  return ToNumberType(std::get<std::string>(value), source, target);
}

std::string ShowAny(const AnyValue& value, const Type& type) {
  if (type.kind == TypeKind::UniqueIdentifier) {
    return FormatIdentifier(IdentifierBytes(std::get<std::string>(value)));
  }
  if (IsBytes(type.kind)) return "0x" + HexDigits(std::get<std::string>(value));
  constexpr int kWithoutFraction = 120;
  constexpr std::int64_t kTicksPerSecond = 1000 * kTicksPerMillisecond;
  const std::int64_t ticks = TicksOf(type.kind, std::get<std::int64_t>(value));
  return FormatMoment(ticks, type,
                      TimeOf(ticks) % kTicksPerSecond == 0 ? kWithoutFraction : kCanonical);
}

std::string HexDigits(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string digits;
  digits.reserve(2 * bytes.size());
  for (const char byte : bytes) {
    digits += kDigits[static_cast<unsigned char>(byte) >> 4U];
    digits += kDigits[static_cast<unsigned char>(byte) & 0xFU];
  }
  return digits;
}

std::string BytesOfHex(std::string_view digits) {
  const auto value = [](char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f') return lower - 'a' + 10;
    throw errors::ConvertDataType(u"varchar", u"varbinary");
  };
  std::string bytes;
  std::size_t i = digits.size() % 2;
  if (i == 1) bytes += static_cast<char>(value(digits[0]));
  for (; i < digits.size(); i += 2) {
    bytes += static_cast<char>(value(digits[i]) << 4 | value(digits[i + 1]));
  }
  return bytes;
}

namespace {

// Which byte of a uniqueidentifier counts first, second and so on.
constexpr std::array<std::size_t, kUniqueIdentifierBytes> kCompared = {
    10, 11, 12, 13, 14, 15, 8, 9, 6, 7, 4, 5, 0, 1, 2, 3};

}  // namespace

std::string OrderedBytes(std::string_view identifier) {
  std::string ordered(kCompared.size(), '\0');
  for (std::size_t i = 0; i < kCompared.size(); ++i) ordered[i] = identifier[kCompared[i]];
  return ordered;
}

std::string IdentifierBytes(std::string_view ordered) {
  std::string identifier(kCompared.size(), '\0');
  // What a foreign hand has written may be shorter.
  for (std::size_t i = 0; i < std::min(kCompared.size(), ordered.size()); ++i) {
    identifier[kCompared[i]] = ordered[i];
  }
  return identifier;
}

std::string NewIdentifier() {
  thread_local std::random_device random;
  std::string bytes;
  while (bytes.size() < kCompared.size()) bytes += BigEndian(random(), 4);
  // Version 4 and its variant, as the groups are written.
  bytes[7] = static_cast<char>((bytes[7] & 0x0F) | 0x40);
  bytes[8] = static_cast<char>((bytes[8] & 0x3F) | 0x80);
  return OrderedBytes(bytes);
}

}  // namespace ledgerwick::tsql
