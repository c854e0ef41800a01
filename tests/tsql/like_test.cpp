#include "tsql/like.h"

#include <doctest/doctest.h>

#include <chrono>
#include <string>

namespace ledgerwick::tsql {
namespace {

TEST_CASE("patterns") {
  struct Case {
    std::string value;
    std::string pattern;
    bool matches;
    char16_t escape = 0;
  };
  const Case cases[] = {
      {"", "", true},
      {"", "%", true},
      {"", "_", false},
      {"abc", "ABC", true},
      {"abc", "ab", false},
      {"0101", "01%", true},
      {"1", "01%", false},
      {"０１２", "01%", true},
      {"ＡBC", "a[a-c]c", true},
      {"中文字", "中_字", true},
      {"中文字", "%文%", true},
      {"é", "e", false},
      {"abcabd", "%ab_", true},
      {"aXbXc", "a%b%c", true},
      {"aXbX", "a%b%c", false},
      {"b", "[^a]", true},
      {"A", "[^a]", false},
      {"5", "[0-9]", true},
      {"-", "[a-]", true},
      {"-", "[-a]", true},
      {"%", "[%]", true},
      {"x", "[%]", false},
      {"a]", "a]", true},
      {"a", "[]a]", false},
      {"a[b", "a[b", false},
      {"ab", "a[b", false},
      {"[", "[[]", true},
      {"10%", "10!%", true, u'!'},
      {"100", "10!%", false, u'!'},
      {"a!", "a!!", true, u'!'},
      {"ab", "a!b", true, u'!'},
      {"a", "a!", false, u'!'},
      {"]", "[!]]", true, u'!'},
      {"😀", "__", true},
      {"😀", "_", false},
      {"😀", "😀", true},
  };
  for (const Case& c : cases) {
    CAPTURE(c.value);
    CAPTURE(c.pattern);
    const LikePattern pattern(c.pattern, c.escape == 0 ? std::nullopt : std::optional(c.escape));
    CHECK(pattern.Matches(c.value, true) == c.matches);
  }
}

TEST_CASE("blanks at the end") {
  struct Case {
    std::string value;
    std::string pattern;
    bool varchar_matches;
    bool nvarchar_matches;
  };
  const Case cases[] = {
      {"abc  ", "abc", true, false},  {"abc  ", "%c", true, false}, {"abc", "abc ", false, false},
      {"abc ", "abc ", true, true},   {"abc  ", "ab%", true, true}, {"ab c", "ab", false, false},
      {"abc  ", "abc__", true, true}, {"   ", "", true, false},
  };
  for (const Case& c : cases) {
    CAPTURE(c.value);
    CAPTURE(c.pattern);
    const LikePattern pattern(c.pattern, std::nullopt);
    CHECK(pattern.Matches(c.value, false) == c.varchar_matches);
    CHECK(pattern.Matches(c.value, true) == c.nvarchar_matches);
  }
}

// LIKE as its definition reads, for patterns of a, b, %, _ and [ab].
bool MatchesByDefinition(std::string_view value, std::string_view pattern) {
  if (pattern.empty()) return value.empty();
  if (pattern.front() == '%') {
    return MatchesByDefinition(value, pattern.substr(1)) ||
           (!value.empty() && MatchesByDefinition(value.substr(1), pattern));
  }
  if (value.empty()) return false;
  const bool is_set = pattern.front() == '[';
  const bool one = pattern.front() == '_' || pattern.front() == value.front() ||
                   (is_set && (value.front() == 'a' || value.front() == 'b'));
  return one && MatchesByDefinition(value.substr(1), pattern.substr(is_set ? 4 : 1));
}

// The `index`-th text over `pieces`, shorter ones first.
template <std::size_t kCount>
std::string TextNumber(unsigned index, const std::string_view (&pieces)[kCount]) {
  std::string text;
  for (; index > 0; index = (index - 1) / kCount) text += pieces[(index - 1) % kCount];
  return text;
}

TEST_CASE("matching agrees with the definition") {
  const std::string_view letters[] = {"a", "b", "c"};
  const std::string_view elements[] = {"a", "b", "%", "_", "[ab]"};
  int different = 0;
  for (unsigned p = 0; p < 3906; ++p) {  // up to five elements
    const std::string pattern_text = TextNumber(p, elements);
    const LikePattern pattern(pattern_text, std::nullopt);
    for (unsigned v = 0; v < 364; ++v) {  // up to five letters
      const std::string value = TextNumber(v, letters);
      different += pattern.Matches(value, true) != MatchesByDefinition(value, pattern_text);
    }
  }
  CHECK(different == 0);
}

TEST_CASE("many wildcards on a long text do not take long") {
  std::string pattern_text;
  for (int i = 0; i < 30; ++i) pattern_text += "%a";
  const LikePattern pattern(pattern_text + "%b", std::nullopt);
  const auto start = std::chrono::steady_clock::now();
  CHECK_FALSE(pattern.Matches(std::string(5000, 'a'), true));
  CHECK(std::chrono::steady_clock::now() - start < std::chrono::seconds(5));
}

}  // namespace
}  // namespace ledgerwick::tsql
