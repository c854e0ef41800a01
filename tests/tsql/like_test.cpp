#include "tsql/values/like.h"

#include <doctest/doctest.h>

#include <string>

namespace ledgerwick::tsql {
namespace {

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

// By trying every way this would not come to an end.
TEST_CASE("many wildcards on a long text are no matter") {
  std::string pattern_text;
  for (int i = 0; i < 30; ++i) pattern_text += "%a";
  const LikePattern pattern(pattern_text + "%b", std::nullopt);
  CHECK_FALSE(pattern.Matches(std::string(5000, 'a'), true));
}

}  // namespace
}  // namespace ledgerwick::tsql
