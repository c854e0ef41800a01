#include "tsql/values/like.h"

#include <algorithm>
#include <array>

#include "tsql/base/characters.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
namespace {

constexpr bool IsAscii(char16_t c) noexcept { return c < 0x80; }

// Calls `add` with each folded UTF-16 unit of `utf8`.
template <typename Add>
void ForEachFoldedUnit(std::string_view utf8, Add add) {
  const char* at = utf8.data();
  const char* const end = at + utf8.size();
  while (at != end) {
    const char32_t c = NextChar(at, end);
    if (c < 0x10000) {
      add(FoldChar(static_cast<char16_t>(c)));
    } else {
      add(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
      add(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    }
  }
}

Text Units(std::string_view utf8) {
  Text units;
  const char* at = utf8.data();
  const char* const end = at + utf8.size();
  while (at != end) {
    const char32_t c = NextChar(at, end);
    if (c >= 0x10000) units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
    units += static_cast<char16_t>(c < 0x10000 ? c : 0xDC00 + ((c - 0x10000) & 0x3FF));
  }
  return units;
}

bool OnlyBlanks(TextView text) noexcept { return text.find_first_not_of(u' ') == TextView::npos; }

}  // namespace

bool LikePattern::Range::Holds(char16_t folded) const {
  if (folded == first || folded == last) return true;
  if (first == last) return false;
  const auto utf8 = [](char16_t unit) {
    std::string text;
    AppendChar(text, unit);
    return text;
  };
  const std::string text = utf8(folded);
  return CompareCollated(utf8(first), text) <= 0 && CompareCollated(text, utf8(last)) <= 0;
}

bool LikePattern::Element::Accepts(char16_t folded) const {
  if (kind == Kind::kUnit) return folded == unit;
  if (kind == Kind::kAnyUnit) return true;
  const bool listed = std::any_of(ranges.begin(), ranges.end(),
                                  [folded](Range range) { return range.Holds(folded); });
  return listed != negated;
}

LikePattern::LikePattern(std::string_view pattern_utf8, std::optional<char16_t> escape) {
  const Text pattern = Units(pattern_utf8);
  for (std::size_t at = 0; at < pattern.size() && !impossible_;) {
    const char16_t c = pattern[at++];
    if (c == escape) {
      impossible_ = at == pattern.size();
      if (!impossible_) elements_.push_back({Kind::kUnit, FoldChar(pattern[at++]), false, {}});
    } else if (c == u'%') {
      const bool repeated = !elements_.empty() && elements_.back().kind == Kind::kAnyText;
      if (!repeated) elements_.push_back({Kind::kAnyText, 0, false, {}});
    } else if (c == u'_') {
      elements_.push_back({Kind::kAnyUnit, 0, false, {}});
    } else if (c == u'[') {
      impossible_ = !ReadSet(pattern, at, escape);
    } else {
      elements_.push_back({Kind::kUnit, FoldChar(c), false, {}});
    }
  }
  NotePrefix();
}

bool LikePattern::ReadSet(TextView pattern, std::size_t& at, std::optional<char16_t> escape) {
  Element set{Kind::kSet, 0, false, {}};
  if (at < pattern.size() && pattern[at] == u'^') {
    set.negated = true;
    ++at;
  }
  const auto read_member = [&](char16_t& member) {
    if (at < pattern.size() && pattern[at] == escape) ++at;
    if (at == pattern.size()) return false;
    member = FoldChar(pattern[at++]);
    return true;
  };
  while (at < pattern.size() && pattern[at] != u']') {
    Range range{};
    if (!read_member(range.first)) return false;
    range.last = range.first;
    const bool is_range = at + 1 < pattern.size() && pattern[at] == u'-' && pattern[at + 1] != u']';
    if (is_range) {
      ++at;
      if (!read_member(range.last)) return false;
    }
    set.ranges.push_back(range);
  }
  if (at == pattern.size()) return false;
  ++at;
  elements_.push_back(std::move(set));
  return true;
}

void LikePattern::NotePrefix() {
  if (impossible_ || elements_.empty() || elements_.back().kind != Kind::kAnyText) return;
  const auto is_ascii_unit = [](const Element& element) {
    return element.kind == Kind::kUnit && IsAscii(element.unit);
  };
  is_prefix_ = std::all_of(elements_.begin(), elements_.end() - 1, is_ascii_unit);
  if (!is_prefix_) return;
  for (auto element = elements_.begin(); element != elements_.end() - 1; ++element) {
    prefix_ += static_cast<char>(element->unit);
  }
}

// Nothing when the bytes alone do not tell: a full-width letter equals an ASCII one.
std::optional<bool> LikePattern::MatchesPrefix(std::string_view value) const noexcept {
  for (std::size_t i = 0; i < prefix_.size(); ++i) {
    if (i == value.size()) return false;
    const auto c = static_cast<unsigned char>(value[i]);
    if (!IsAscii(c)) return std::nullopt;
    if (FoldChar(c) != static_cast<unsigned char>(prefix_[i])) return false;
  }
  return true;
}

bool LikePattern::Matches(std::string_view value, bool blanks_count) const {
  if (impossible_) return false;
  if (is_prefix_) {
    if (const std::optional<bool> result = MatchesPrefix(value)) return *result;
  }
  constexpr std::size_t kOnStack = 256;
  if (value.size() <= kOnStack) {  // UTF-16 takes no more units than UTF-8 takes bytes
    std::array<char16_t, kOnStack> units;
    std::size_t count = 0;
    ForEachFoldedUnit(value, [&](char16_t unit) { units[count++] = unit; });
    return MatchesUnits({units.data(), count}, blanks_count);
  }
  Text units;
  units.reserve(value.size());
  ForEachFoldedUnit(value, [&](char16_t unit) { units += unit; });
  return MatchesUnits(units, blanks_count);
}

// Only the last % met needs to be tried again: an earlier one can stay with the shortest text that
// let what follows it match.
bool LikePattern::MatchesUnits(TextView folded, bool blanks_count) const {
  constexpr std::size_t kNone = TextView::npos;
  std::size_t element = 0;
  std::size_t unit = 0;
  std::size_t behind_any = kNone;  // the element behind the last %
  std::size_t retry = 0;           // where the text behind it begins next
  const auto leftover_counts = [&] { return blanks_count || !OnlyBlanks(folded.substr(unit)); };
  for (;;) {
    if (element == elements_.size()) {
      if (unit == folded.size() || !leftover_counts()) return true;
    } else if (elements_[element].kind == Kind::kAnyText) {
      behind_any = ++element;
      if (behind_any == elements_.size()) return true;
      retry = unit;
      continue;
    } else if (unit < folded.size() && elements_[element].Accepts(folded[unit])) {
      ++element;
      ++unit;
      continue;
    }
    if (behind_any == kNone || retry >= folded.size()) return false;
    element = behind_any;
    unit = ++retry;
  }
}

}  // namespace ledgerwick::tsql
