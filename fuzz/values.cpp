// Values: conversions, dates, decimals, LIKE, the collation, messages, names of types. The first
// line says what is tried, the others are its arguments.
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>
#include <tuple>

#include "fuzz/target.h"
#include "tsql/base/characters.h"
#include "tsql/base/errors.h"
#include "tsql/base/types.h"
#include "tsql/values/collation.h"
#include "tsql/values/convert.h"
#include "tsql/values/datetime.h"
#include "tsql/values/format_message.h"
#include "tsql/values/like.h"

namespace {

using namespace ledgerwick;
using namespace ledgerwick::tsql;

std::string_view TakeLine(std::string_view& rest) {
  const std::size_t end = std::min(rest.find('\n'), rest.size());
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return line;
}

template <typename Number>
Number NumberIn(std::string_view text) {
  Number number{};
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// Ends the process: a property that always holds did not.
void Require(bool holds) {
  if (!holds) std::abort();
}

void TryDates(std::string_view a, std::string_view b) {
  const std::int64_t parsed = ParseDateTime(a);
  Require(ParseDateTime(FormatDateTime(parsed, 126, false)) == parsed);
  for (int style = 0; style < 140; ++style) {
    const DateOptions options{static_cast<DateOrder>(style % 6), static_cast<Language>(style % 2)};
    Quietly([&] { ParseMoment(b, {TypeKind::DateTime2, 0, 0, 7}, options, style); });
  }
  ParseSmallDateTime(b);
}

void TryStoredDates(std::string_view a, std::string_view b) {
  const auto from = NumberIn<std::int64_t>(a);
  const auto to = NumberIn<std::int64_t>(b);
  for (int part = 0; part <= static_cast<int>(DatePart::Nanosecond); ++part) {
    const auto of = static_cast<DatePart>(part);
    for (const TypeKind kind : {TypeKind::Time, TypeKind::Date, TypeKind::SmallDateTime,
                                TypeKind::DateTime, TypeKind::DateTime2}) {
      const std::int64_t ticks = TicksOf(kind, from);
      const Type type{kind, 0, 0, static_cast<std::uint8_t>(to & 7U)};
      DateNameOf(of, ticks, OptionsOf(Language::Chinese));
      Quietly([&] { DateDiff(of, ticks, TicksOf(kind, to)); });
      Quietly([&] { DateAdd(of, to, ticks, type); });
      Quietly([&] { FormatMoment(ticks, type, static_cast<int>(to % 140)); });
    }
    Quietly([&] { FormatDateTime(from, static_cast<int>(to % 130), part == 0); });
  }
  DateFromDateTime(from);
  ToSmallDateTime(from);
}

void TryNumbers(std::string_view a, std::string_view b) {
  for (const auto kind : {TypeKind::TinyInt, TypeKind::SmallInt, TypeKind::Int, TypeKind::BigInt}) {
    Quietly([&] { ParseInteger(a, kind, "varchar"); });
    Quietly([&] { ToInteger(NumberIn<double>(a), kind); });
    Quietly([&] { ToInteger(NumberIn<std::int64_t>(a), kind); });
  }
  Quietly([&] { ParseBit(a, "varchar"); });
  Quietly([&] { FormatFloat(ParseFloat(a, "varchar"), NumberIn<int>(b)); });
  Quietly([&] { FormatMoney(ParseMoney(a), NumberIn<int>(b)); });
  const int precision = 1 + std::abs(NumberIn<int>(b) % 38);
  const int scale = std::abs(NumberIn<int>(a) % (precision + 1));
  Quietly([&] {
    const Exact number = ParseDecimal(a, {precision, scale}, "varchar");
    Require(ParseExact(FormatExact(number), scale, "")->units == number.units);
    Require(FromBytes(ToBytes(number.units).data()) == number.units);
  });
}

void TryDecimals(std::string_view a, std::string_view b) {
  const auto number = NumberIn<double>(a);
  const auto other = NumberIn<double>(b);
  const int scale = static_cast<int>(std::fmod(std::isfinite(other) ? other : 0, 39));
  const double rounded = RoundDecimal(number, scale);
  if (std::isfinite(number)) Require(RoundDecimal(rounded, scale) == rounded);
  TruncateDecimal(number, scale);
  const ExactSize size{kMostDigits, std::abs(scale)};
  Quietly([&] { FromDouble(number, {kMoneyPrecision, kMoneyScale}); });
  Quietly([&] {
    const Exact x = FromDouble(number, size);
    const Exact y = FromDouble(other, {kMostDigits, 0});
    Quietly([&] { Require(Subtract(Add(x, y, size), y, size).units == x.units); });
    Quietly([&] { Multiply(x, y, {kMostDigits, 6}); });
    Quietly([&] { Divide(x, y, size); });
    Quietly([&] { Remainder(x, y, size); });
  });
}

std::u32string Folded(std::string_view text) {
  std::u32string folded;
  const char* at = text.data();
  for (const char* const end = at + text.size(); at != end;) folded += FoldCode(NextChar(at, end));
  folded.erase(folded.find_last_not_of(U' ') + 1);
  return folded;
}

// A total preorder whose zero is equality.
void TryOrder(std::string_view a, std::string_view b, std::string_view c) {
  const int order = CompareCollated(a, b);
  Require((order < 0) == (CompareCollated(b, a) > 0));
  Require((order == 0) == (Folded(a) == Folded(b)));
  const int next = CompareCollated(b, c);
  if (order > 0 || next > 0) return;
  const int across = CompareCollated(a, c);
  Require(order == 0 && next == 0 ? across == 0 : across < 0);
}

void TryTexts(std::string_view a, std::string_view b) {
  const std::string_view c = b.substr(b.size() / 2);
  for (const auto& [x, y, z] : {std::tuple(a, b, c), {b, c, a}, {c, a, b}}) TryOrder(x, y, z);
  Require(CompareCollated(a, a) == 0);
  std::size_t length = 0;
  const std::size_t found = FindCollated(a, b, 0, length);
  if (found != std::string_view::npos) Require(found + length <= a.size());
  for (const bool blanks : {false, true}) {
    LikePattern(b, std::nullopt).Matches(a, blanks);
    LikePattern(b, u'!').Matches(a, blanks);
  }
  Require(ToText(ToUtf8(ToText(a))) == ToText(a));
}

void TryMessages(std::string_view a, std::string_view) { FormatMessage(a, {}); }

void TryTypes(std::string_view a, std::string_view) {
  const Type type = ParseTypeName(std::string(a));
  if (type.kind != TypeKind::Null) Require(ParseTypeName(TypeName(type)) == type);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr auto kTries = std::to_array(
      {TryDates, TryStoredDates, TryNumbers, TryDecimals, TryTexts, TryMessages, TryTypes});
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  const auto what = static_cast<unsigned char>(rest.empty() ? '0' : rest[0]);
  TakeLine(rest);
  const std::string_view a = TakeLine(rest);
  Quietly([&] { kTries[what % kTries.size()](a, rest); });
  return 0;
}
