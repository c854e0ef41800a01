#include "tsql/values/collation.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "tsql/base/characters.h"

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
    if (eight_of_a != eight_of_b) break;
  }
  while (i < shorter && a[i] == b[i]) ++i;
  // Where a character's bytes differ behind its first, both texts go back to its beginning.
  const auto at_boundary = [&](std::string_view text) {
    return i == text.size() || IsLead(text[i]);
  };
  while (i > 0 && !(at_boundary(a) && at_boundary(b))) --i;
  return i;
}

// How `rest`, what is left of the longer text, compares with blanks.
int CompareWithBlanks(std::string_view rest) noexcept {
  const char* at = rest.data();
  const char* const end = at + rest.size();
  while (at != end) {
    const char32_t c = FoldCode(NextChar(at, end));
    if (c != U' ') return c < U' ' ? -1 : 1;
  }
  return 0;
}

}  // namespace

int CompareCollated(std::string_view a, std::string_view b) noexcept {
  const std::size_t shared = SharedPrefix(a, b);
  const char* at_a = a.data() + shared;
  const char* at_b = b.data() + shared;
  const char* const end_a = a.data() + a.size();
  const char* const end_b = b.data() + b.size();
  while (at_a != end_a && at_b != end_b) {
    const char32_t in_a = NextChar(at_a, end_a);
    const char32_t in_b = NextChar(at_b, end_b);
    if (in_a == in_b) continue;
    const char32_t folded_a = FoldCode(in_a);
    const char32_t folded_b = FoldCode(in_b);
    if (folded_a != folded_b) return folded_a < folded_b ? -1 : 1;
  }
  if (at_a != end_a) return CompareWithBlanks({at_a, end_a});
  return -CompareWithBlanks({at_b, end_b});
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
