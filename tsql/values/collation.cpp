#include "tsql/values/collation.h"

#include <algorithm>
#include <bit>
#include <compare>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "tsql/base/characters.h"
#include "tsql/values/collation_weights.h"

namespace ledgerwick::tsql {
namespace {

// The length of the longest prefix that is the same bytes in both, cut to whole characters.
std::size_t SharedPrefix(std::string_view a, std::string_view b) noexcept {
  const std::size_t shorter = std::min(a.size(), b.size());
  std::size_t i = 0;
  std::uint64_t eight_of_a = 0;
  std::uint64_t eight_of_b = 0;
  for (; i + sizeof eight_of_a <= shorter; i += sizeof eight_of_a) {
    std::memcpy(&eight_of_a, a.data() + i, sizeof eight_of_a);
    std::memcpy(&eight_of_b, b.data() + i, sizeof eight_of_b);
    if (eight_of_a == eight_of_b) continue;
    if constexpr (std::endian::native == std::endian::little) {
      i += static_cast<std::size_t>(std::countr_zero(eight_of_a ^ eight_of_b)) / 8;
    }
    break;
  }
  while (i < shorter && a[i] == b[i]) ++i;
  // Where a character's bytes differ behind its first, both texts go back to its beginning.
  const auto at_boundary = [&](std::string_view text) {
    return i == text.size() || IsLead(text[i]);
  };
  while (i > 0 && !(at_boundary(a) && at_boundary(b))) --i;
  return i;
}

// The elements of a text, one after another.
class Elements {
 public:
  Elements(const CollationWeights& weights, std::string_view text) noexcept
      : weights_(weights), at_(text.data()), end_(text.data() + text.size()) {}

  // The next weight of that level, or `behind` the end.
  template <std::uint32_t CollationElement::*kLevel>
  std::uint32_t Next(std::uint32_t behind) noexcept {
    for (;;) {
      for (; !rest_.empty(); rest_ = rest_.subspan(1)) {
        const std::uint32_t weight = rest_.front().*kLevel;
        if (weight == 0) continue;
        rest_ = rest_.subspan(1);
        return weight;
      }
      if (at_ == end_) return behind;
      rest_ = weights_.Of(NextChar(at_, end_), scratch_);
    }
  }

  bool AtEnd() const noexcept { return rest_.empty() && at_ == end_; }

 private:
  const CollationWeights& weights_;
  const char* at_;
  const char* end_;
  std::span<const CollationElement> rest_;
  CollationElement scratch_;
};

template <std::uint32_t CollationElement::*kLevel>
int CompareLevel(const CollationWeights& weights, std::string_view a, std::string_view b) noexcept {
  Elements in_a(weights, a);
  Elements in_b(weights, b);
  const std::uint32_t blank = weights.blank().*kLevel;
  while (!in_a.AtEnd() || !in_b.AtEnd()) {
    const std::uint32_t of_a = in_a.Next<kLevel>(blank);
    const std::uint32_t of_b = in_b.Next<kLevel>(blank);
    if (of_a != of_b) return of_a < of_b ? -1 : 1;
  }
  return 0;
}

// The characters of a text that weigh nothing, each with how many others stand before it.
class WeightlessOnes {
 public:
  struct Place {
    std::size_t before = 0;
    char32_t code = 0;
    auto operator<=>(const Place&) const = default;
  };

  WeightlessOnes(const CollationWeights& weights, std::string_view text) noexcept
      : weights_(weights), at_(text.data()), end_(text.data() + text.size()) {}

  std::optional<Place> Next() noexcept {
    for (; at_ != end_; ++before_) {
      const char32_t c = FoldCode(NextChar(at_, end_));
      if (weights_.IsWeightless(c)) return Place{before_, c};
    }
    return std::nullopt;
  }

 private:
  const CollationWeights& weights_;
  const char* at_;
  const char* end_;
  std::size_t before_ = 0;
};

// Who has none comes first, and then who has one first.
int CompareWeightless(const CollationWeights& weights, std::string_view a,
                      std::string_view b) noexcept {
  WeightlessOnes in_a(weights, a);
  WeightlessOnes in_b(weights, b);
  for (;;) {
    const auto of_a = in_a.Next();
    const auto of_b = in_b.Next();
    if (of_a != of_b) return of_a < of_b ? -1 : 1;
    if (!of_a) return 0;
  }
}

int CompareCodes(std::string_view a, std::string_view b) noexcept {
  const char* at_a = a.data();
  const char* at_b = b.data();
  const char* const end_a = at_a + a.size();
  const char* const end_b = at_b + b.size();
  while (at_a != end_a || at_b != end_b) {
    const char32_t in_a = at_a == end_a ? U' ' : FoldCode(NextChar(at_a, end_a));
    const char32_t in_b = at_b == end_b ? U' ' : FoldCode(NextChar(at_b, end_b));
    if (in_a != in_b) return in_a < in_b ? -1 : 1;
  }
  return 0;
}

int CompareAnyText(std::string_view a, std::string_view b) {
  const CollationWeights& weights = CollationWeights::Get();
  int order = CompareLevel<&CollationElement::primary>(weights, a, b);
  if (order == 0) order = CompareLevel<&CollationElement::secondary>(weights, a, b);
  if (order == 0) order = CompareWeightless(weights, a, b);
  return order != 0 ? order : CompareCodes(a, b);
}

}  // namespace

// What both texts begin with weighs the same in both, and so does what the loops pass over.
int CompareCollated(std::string_view a, std::string_view b) {
  std::size_t i = SharedPrefix(a, b);
  if (i == a.size() && i == b.size()) return 0;
  static const AsciiRanks& ranks = GetAsciiRanks();
  const unsigned blank = ranks[' '];
  // 0 where ASCII alone says too little.
  const auto rank = [](char c) -> unsigned {
    const auto byte = static_cast<unsigned char>(c);
    return byte < ranks.size() ? ranks[byte] : 0U;
  };
  const std::size_t shorter = std::min(a.size(), b.size());
  for (; i < shorter; ++i) {
    const unsigned in_a = rank(a[i]);
    const unsigned in_b = rank(b[i]);
    if (in_a == 0 || in_b == 0) return CompareAnyText(a.substr(i), b.substr(i));
    if (in_a != in_b) return in_a < in_b ? -1 : 1;
  }
  const std::string_view longer = a.size() > b.size() ? a : b;
  const int if_longer_is_behind = a.size() > b.size() ? 1 : -1;
  for (; i < longer.size(); ++i) {
    const unsigned further = rank(longer[i]);
    if (further == 0)
      return CompareAnyText(a.substr(std::min(i, a.size())), b.substr(std::min(i, b.size())));
    if (further != blank) return further > blank ? if_longer_is_behind : -if_longer_is_behind;
  }
  return 0;
}

std::size_t MatchCollatedPrefix(std::string_view text, std::string_view needle) noexcept {
  const char* at = text.data();
  const char* in_needle = needle.data();
  const char* const end = at + text.size();
  const char* const needle_end = in_needle + needle.size();
  while (in_needle != needle_end) {
    if (at == end) return std::string_view::npos;
    const char32_t c = NextChar(at, end);
    const char32_t wanted = NextChar(in_needle, needle_end);
    if (c != wanted && FoldCode(c) != FoldCode(wanted)) return std::string_view::npos;
  }
  return static_cast<std::size_t>(at - text.data());
}

std::size_t FindCollated(std::string_view text, std::string_view needle, std::size_t from,
                         std::size_t& length) noexcept {
  for (std::size_t i = from; i <= text.size(); ++i) {
    if (i < text.size() && !IsLead(text[i])) continue;
    length = MatchCollatedPrefix(text.substr(i), needle);
    if (length != std::string_view::npos) return i;
  }
  return std::string_view::npos;
}

}  // namespace ledgerwick::tsql
