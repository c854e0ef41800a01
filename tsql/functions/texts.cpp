// The functions that compute with text. Lengths and positions count UTF-16 units, as the server's
// n-types do; char and varchar are cut by bytes of the ANSI code page.
#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>

#include "frame/letter_case.h"
#include "tsql/base/characters.h"
#include "tsql/base/errors.h"
#include "tsql/functions/function_table.h"
#include "tsql/values/code_page.h"
#include "tsql/values/collation.h"
#include "tsql/values/like.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::int64_t kLongestText = kLongestBytes;
constexpr std::int64_t kLongestValue = 1'000'000'000;  // what is longer the storage refuses

// The bytes that `c` takes in the ANSI code page.
std::size_t AnsiBytesOf(char32_t c) {
  if (c > 0 && c < 0x80) return 1;
  if (c == 0 || c >= 0x10000) return UnitsOf(c);
  const auto unit = static_cast<char16_t>(c);
  return AnsiLength({&unit, 1});
}

// How the server measures a text's length.
using Measure = std::size_t (*)(char32_t c);
std::size_t Utf16UnitsOf(char32_t c) { return UnitsOf(c); }

// A prefix of a text of whole characters.
struct Prefix {
  std::size_t bytes = 0;   // of UTF-8
  std::size_t length = 0;  // as measured
};

// The longest prefix of `text` that is no longer than `most`.
template <Measure kMeasure>
Prefix LongestPrefix(std::string_view text, std::size_t most) {
  const char* at = text.data();
  const char* const end = at + text.size();
  Prefix prefix;
  while (at != end) {
    prefix.length += kMeasure(NextChar(at, end));
    if (prefix.length > most) {
      const char* back = text.data() + prefix.bytes;
      prefix.length -= kMeasure(NextChar(back, end));
      break;
    }
    prefix.bytes = static_cast<std::size_t>(at - text.data());
  }
  return prefix;
}

std::size_t Utf16Length(std::string_view text) {
  // A character of four bytes is a pair of surrogates.
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), IsLead) +
                                  std::count_if(text.begin(), text.end(), [](char c) {
                                    return static_cast<unsigned char>(c) >= 0xF0;
                                  }));
}

std::string_view WithoutTrailingBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

// A position or a length as an index: what is below 0 is 0.
std::size_t Clamp(std::int64_t count) {
  return static_cast<std::size_t>(std::max<std::int64_t>(count, 0));
}

// `text` with a '?' for each UTF-16 unit that the ANSI code page lacks; nothing where it has all.
std::optional<std::string> InAnsi(std::string_view text) {
  if (FitsAnsi(text)) return std::nullopt;
  std::string ansi;
  const char* at = text.data();
  for (const char* const end = at + text.size(); at != end;) {
    const char32_t c = NextChar(at, end);
    if (FitsAnsi(c)) {
      AppendChar(ansi, c);
    } else {
      ansi.append(UnitsOf(c), '?');
    }
  }
  return ansi;
}

enum class Excess { kCut, kRefuse };

// t_char and the like (text, length, pad): the text as a value of that length.
template <Measure kMeasure, Excess kExcess>
void FitText(Call& call) {
  std::string_view text = call.Utf8(0);
  std::optional<std::string> ansi;
  if (kMeasure == AnsiBytesOf) ansi = InAnsi(text);
  if (ansi) text = *ansi;
  const std::int64_t length = call.Integer(1);
  const bool pad = call.Integer(2) != 0;
  // No character measures more than its bytes of UTF-8, so that text fits without being looked at.
  const bool fits = length < 0 || text.size() <= static_cast<std::size_t>(length);
  if (fits && (!pad || length < 0 || text.size() == static_cast<std::size_t>(length))) {
    const bool unchanged = !pad || length < 0 || Utf16Length(text) == text.size();
    if (unchanged) return call.IsText(0) && !ansi ? call.ReturnArgument(0) : call.Return(text);
  }
  const auto most = static_cast<std::size_t>(length);
  const Prefix kept = LongestPrefix<kMeasure>(text, most);
  const std::string_view excess = text.substr(kept.bytes);
  if (kExcess == Excess::kRefuse && !WithoutTrailingBlanks(excess).empty()) {
    throw errors::Truncated();
  }
  if (!pad || kept.length == most) return call.Return(text.substr(0, kept.bytes));
  std::string padded(text.substr(0, kept.bytes));
  padded.append(most - kept.length, ' ');
  call.Return(padded);
}

// t_len(text)
void Length(Call& call) {
  const std::size_t length = Utf16Length(WithoutTrailingBlanks(call.Utf8(0)));
  call.Return(static_cast<std::int64_t>(length));
}

// t_datalength(text, bytes per unit): 1 for char and varchar, 2 for n-types; a negative number is
// the length of a type that has but one. Of binary its bytes.
void DataLength(Call& call) {
  if (call.Integer(1) == 0) return call.Return(static_cast<std::int64_t>(call.Bytes(0).size()));
  if (call.Integer(1) < 0) return call.Return(-call.Integer(1));
  const std::string_view text = call.Utf8(0);
  const std::size_t length = call.Integer(1) == 2
                                 ? 2 * Utf16Length(text)
                                 : LongestPrefix<AnsiBytesOf>(text, std::string_view::npos).length;
  call.Return(static_cast<std::int64_t>(length));
}

// The units of `text` from `from` on, at most `count`; halves of characters at the ends drop out.
std::string_view Units(std::string_view text, std::size_t from, std::size_t count) {
  if (from > 0) {
    const Prefix before = LongestPrefix<Utf16UnitsOf>(text, from);
    text.remove_prefix(before.bytes);
    if (before.length < from && !text.empty()) {
      const char* at = text.data();
      NextChar(at, text.data() + text.size());
      text.remove_prefix(static_cast<std::size_t>(at - text.data()));
      count -= std::min<std::size_t>(count, 1);
    }
  }
  return text.substr(0, LongestPrefix<Utf16UnitsOf>(text, count).bytes);
}

// t_left(text, count), t_right(text, count)
void Left(Call& call) {
  if (call.Integer(1) < 0) throw errors::InvalidLength("left");
  call.Return(Units(call.Utf8(0), 0, Clamp(call.Integer(1))));
}
void Right(Call& call) {
  if (call.Integer(1) < 0) throw errors::InvalidLength("right");
  const std::string_view text = call.Utf8(0);
  const std::size_t length = Utf16Length(text);
  const std::size_t count = std::min(length, Clamp(call.Integer(1)));
  call.Return(Units(text, length - count, count));
}

// t_substring(text, start, length): characters before the first take up length.
void Substring(Call& call) {
  const std::int64_t start = call.Integer(1);
  std::int64_t length = call.Integer(2);
  if (length < 0) {
    throw errors::InvalidSubstringLength();
  }
  constexpr std::int64_t kFarAway = std::int64_t{1} << 40;  // keeps the sum from overflowing
  if (start < 1) length += std::max(start, -kFarAway) - 1;
  if (call.IsBytes(0)) {
    const std::string_view bytes = call.Bytes(0);
    const std::size_t from = std::min(Clamp(start - (start > 0)), bytes.size());
    return call.ReturnBytes(bytes.substr(from, Clamp(length)));
  }
  call.Return(Units(call.Utf8(0), Clamp(start - (start > 0)), Clamp(length)));
}

// t_ltrim(text), t_rtrim(text)
void TrimLeft(Call& call) {
  const std::string_view text = call.Utf8(0);
  call.Return(text.substr(std::min(text.find_first_not_of(' '), text.size())));
}
void TrimRight(Call& call) { call.Return(WithoutTrailingBlanks(call.Utf8(0))); }

template <char32_t (*kChange)(char32_t) noexcept>
void ChangeCase(Call& call) {
  const std::string_view text = call.Utf8(0);
  std::string changed;
  changed.reserve(text.size());
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) AppendChar(changed, kChange(NextChar(at, end)));
  call.Return(changed);
}

// t_replace(text, from, to)
void Replace(Call& call) {
  const std::string_view text = call.Utf8(0);
  const std::string_view from = call.Utf8(1);
  const std::string_view to = call.Utf8(2);
  std::size_t length = 0;
  std::size_t found = from.empty() ? std::string_view::npos : FindCollated(text, from, 0, length);
  if (found == std::string_view::npos) return call.Return(text);
  std::string result;
  std::size_t copied = 0;
  while (found != std::string_view::npos) {
    result.append(text, copied, found - copied).append(to);
    copied = found + length;
    found = FindCollated(text, from, copied, length);
  }
  call.Return(result.append(text, copied));
}

// t_charindex(needle, text[, start]): the position of the first one from 1, or 0
void CharIndex(Call& call) {
  const std::string_view needle = call.Utf8(0);
  const std::string_view text = call.Utf8(1);
  const std::int64_t start = call.size() > 2 ? call.Integer(2) : 1;
  if (needle.empty()) return call.Return(std::int64_t{0});
  const std::size_t from = LongestPrefix<Utf16UnitsOf>(text, Clamp(start - (start > 0))).bytes;
  std::size_t length = 0;
  const std::size_t found = FindCollated(text, needle, from, length);
  if (found == std::string_view::npos) return call.Return(std::int64_t{0});
  call.Return(static_cast<std::int64_t>(Utf16Length(text.substr(0, found)) + 1));
}

// t_reverse(text)
void Reverse(Call& call) {
  const std::string_view text = call.Utf8(0);
  std::string reversed;
  reversed.reserve(text.size());
  for (std::size_t end = text.size(), at = end; at-- > 0;) {
    if (!IsLead(text[at])) continue;
    reversed.append(text, at, end - at);
    end = at;
  }
  call.Return(reversed);
}

// t_stuff(text, start, length, insert): NULL where the start is not in the text
void Stuff(Call& call) {
  const std::string_view text = call.Utf8(0);
  const std::int64_t start = call.Integer(1);
  const std::int64_t length = call.Integer(2);
  const auto whole = static_cast<std::int64_t>(Utf16Length(text));
  if (start < 1 || start > whole || length < 0) return call.ReturnNull();
  std::string result(Units(text, 0, Clamp(start - 1)));
  if (!call.IsNull(3)) result += call.Utf8(3);
  result += Units(text, Clamp(std::min(start - 1 + length, whole)), Clamp(whole));
  call.Return(result);
}

// t_quotename(name[, quote]): NULL for a quote that is none and for a text that is too long
void QuoteName(Call& call) {
  constexpr std::string_view kPairs = "[](){}<>''\"\"``";
  const std::string_view name = call.Utf8(0);
  const std::string_view quote = call.size() > 1 ? call.Utf8(1) : "[";
  const std::size_t found = quote.empty() ? std::string_view::npos : kPairs.find(quote.front());
  const bool fits = Utf16Length(name) <= static_cast<std::size_t>(kLongestName);
  if (!fits || found == std::string_view::npos) return call.ReturnNull();
  const char close = kPairs[found | 1U];
  std::string quoted(1, kPairs[found & ~std::size_t{1}]);
  for (const char c : name) {
    if (c == close) quoted += c;
    quoted += c;
  }
  call.Return(quoted += close);
}

// t_char(code), t_nchar(code): NULL for a code that is no character by itself
template <std::int64_t kCodes>
void CharacterOf(Call& call) {
  const std::int64_t code = call.Integer(0);
  if (code < 0 || code >= kCodes || (code >= 0xD800 && code < 0xE000)) return call.ReturnNull();
  std::string text;
  AppendChar(text, static_cast<char32_t>(code));
  call.Return(text);
}

// t_unicode(text): the first UTF-16 unit
void UnicodeOf(Call& call) {
  const std::string_view text = call.Utf8(0);
  if (text.empty()) return call.ReturnNull();
  const char* at = text.data();
  const char32_t c = NextChar(at, at + text.size());
  constexpr char32_t kFirstPair = 0x10000;
  call.Return(static_cast<std::int64_t>(c < kFirstPair ? c : 0xD800 + ((c - kFirstPair) >> 10)));
}

// t_ascii(text): the first byte in the ANSI code page
void AsciiOf(Call& call) {
  const std::string_view text = call.Utf8(0);
  if (text.empty()) return call.ReturnNull();
  const char* at = text.data();
  const char32_t c = NextChar(at, at + text.size());
  const std::string bytes =
      ToCodePage(ToText(text.substr(0, static_cast<std::size_t>(at - text.data()))));
  call.Return(static_cast<std::int64_t>(c < 0x80 ? c : static_cast<std::uint8_t>(bytes[0])));
}

// t_space(count)
void Space(Call& call) {
  if (call.Integer(0) < 0) return call.ReturnNull();
  call.Return(std::string(Clamp(std::min(call.Integer(0), kLongestText)), ' '));
}

// t_replicate(text, count, longest): `longest` as a type has its length, of n-text in units.
void Replicate(Call& call) {
  const std::string_view text = call.Utf8(0);
  std::int64_t count = call.Integer(1);
  if (count < 0) return call.ReturnNull();
  const std::int64_t longest = call.Integer(2);
  // No character has less than a byte in UTF-8 or more than three for each byte or unit of its
  // type.
  const std::int64_t bytes = longest == kMaxLength ? kLongestValue : 3 * longest;
  if (text.empty()) count = 0;
  if (count > 0) count = std::min(count, bytes / static_cast<std::int64_t>(text.size()) + 1);
  std::string result;
  result.reserve(static_cast<std::size_t>(count) * text.size());
  while (count-- > 0) result += text;
  if (longest == kMaxLength) return call.Return(result);
  const auto limit = static_cast<std::size_t>(longest);
  const std::size_t kept = longest == kLongestUnits
                               ? LongestPrefix<Utf16UnitsOf>(result, limit).bytes
                               : LongestPrefix<AnsiBytesOf>(result, limit).bytes;
  call.Return(std::string_view(result).substr(0, kept));
}

// A pattern together with what it was compiled from beside its text.
struct CachedPattern : KeptBetweenCalls {
  CachedPattern(std::optional<char16_t> escape_character, LikePattern compiled)
      : escape(escape_character), pattern(std::move(compiled)) {}

  std::optional<char16_t> escape;
  LikePattern pattern;
};

std::optional<char16_t> EscapeArgument(const Call& call, std::size_t i) {
  if (call.IsNull(i)) return std::nullopt;
  const std::string_view text = call.Utf8(i);
  const char* at = text.data();
  const char* const end = at + text.size();
  const char32_t c = at == end ? 0 : NextChar(at, end);
  if (c == 0 || c >= 0x10000 || at != end) {
    throw errors::BadEscape(text);
  }
  return static_cast<char16_t>(c);
}

// t_like(value, pattern, escape or NULL, blanks count)
void Like(Call& call) {
  constexpr int kPatternArgument = 1;
  const std::optional<char16_t> escape = EscapeArgument(call, 2);
  const std::string_view value = call.Utf8(0);
  const bool blanks_count = call.Integer(3) != 0;
  // SQLite keeps what belongs to an argument as long as the argument stays the same.
  const auto* cached = static_cast<const CachedPattern*>(call.Kept(kPatternArgument));
  if (cached != nullptr && cached->escape == escape) {
    return call.Return(std::int64_t{cached->pattern.Matches(value, blanks_count)});
  }
  auto compiled =
      std::make_unique<CachedPattern>(escape, LikePattern(call.Utf8(kPatternArgument), escape));
  call.Return(std::int64_t{compiled->pattern.Matches(value, blanks_count)});
  call.Keep(kPatternArgument, std::move(compiled));
}

using Id = FunctionId;
using Result = FunctionResult;

constexpr auto kFunctions = std::to_array<FunctionSignature>({
    {u"len", Id::Scalar, 1, 1, "t", Result::Int, Length, 1},
    {u"datalength", Id::DataLength, 1, 1, "", Result::Own, DataLength, 1, Purity::kPure, 1},
    {u"left", Id::Left, 2, 2, "ti", Result::Own, Left, 2},
    {u"right", Id::Left, 2, 2, "ti", Result::Own, Right, 2},
    {u"substring", Id::Substring, 3, 3, "bii", Result::Text, Substring, 3},
    {u"ltrim", Id::Scalar, 1, 1, "t", Result::Text, TrimLeft, 1},
    {u"rtrim", Id::Scalar, 1, 1, "t", Result::Text, TrimRight, 1},
    {u"upper", Id::Scalar, 1, 1, "t", Result::Text, ChangeCase<ToUpper>, 1},
    {u"lower", Id::Scalar, 1, 1, "t", Result::Text, ChangeCase<ToLower>, 1},
    {u"replace", Id::Scalar, 3, 3, "ttt", Result::LongText, Replace, 3},
    {u"charindex", Id::Scalar, 2, 3, "tti", Result::Int, CharIndex, 3},
    {u"reverse", Id::Scalar, 1, 1, "t", Result::Text, Reverse, 1},
    {u"stuff", Id::Scalar, 4, 4, "tiit", Result::LongText, Stuff, 3},
    {u"quotename", Id::QuoteName, 1, 2, "tt", Result::Own, QuoteName, 2},
    {u"char", Id::Scalar, 1, 1, "i", Result::Character, CharacterOf<0x80>, 1},
    {u"nchar", Id::Scalar, 1, 1, "i", Result::WideCharacter, CharacterOf<0x10000>, 1},
    {u"unicode", Id::Scalar, 1, 1, "t", Result::Int, UnicodeOf, 1},
    {u"ascii", Id::Scalar, 1, 1, "t", Result::Int, AsciiOf, 1},
    {u"space", Id::Scalar, 1, 1, "i", Result::LongText, Space, 1},
    {u"replicate", Id::Replicate, 2, 2, "ti", Result::Own, Replicate, 2, Purity::kPure, 1},
});

constexpr auto kHelpers = std::to_array<FunctionRow>({
    {"t_char", 3, 3, 1, FitText<AnsiBytesOf, Excess::kCut>},
    {"t_nchar", 3, 3, 1, FitText<Utf16UnitsOf, Excess::kCut>},
    {"t_store_char", 3, 3, 1, FitText<AnsiBytesOf, Excess::kRefuse>},
    {"t_store_nchar", 3, 3, 1, FitText<Utf16UnitsOf, Excess::kRefuse>},
    {"t_like", 4, 4, 2, Like},
});

}  // namespace

std::span<const FunctionSignature> TextFunctions() { return kFunctions; }
std::span<const FunctionRow> TextHelpers() { return kHelpers; }

}  // namespace ledgerwick::tsql
