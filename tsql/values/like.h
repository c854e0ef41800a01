// T-SQL's LIKE.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/text.h"

namespace ledgerwick::tsql {

// A compiled pattern: % for any text, _ for one UTF-16 unit, [abc], [a-z] and [^a] for one of a
// set. Letter case, width and kana type do not count; a range holds what the collation orders
// between its ends.
class LikePattern {
 public:
  // `escape` makes the character behind it stand for itself. Throws as CompareCollated does.
  LikePattern(std::string_view pattern_utf8, std::optional<char16_t> escape);

  // True when `value` (UTF-8) matches as a whole. Every blank of the pattern counts; trailing
  // blanks of the value may be left over unless `blanks_count`. Takes time in proportion to the
  // product of both lengths at most. Throws as CompareCollated does.
  bool Matches(std::string_view value, bool blanks_count) const;

 private:
  struct Range {
    char16_t first;
    char16_t last;

    bool Holds(char16_t folded) const;
  };
  enum class Kind : unsigned char { kUnit, kAnyUnit, kAnyText, kSet };
  struct Element {
    Kind kind = Kind::kUnit;
    char16_t unit = 0;  // folded
    bool negated = false;
    std::vector<Range> ranges;  // folded

    bool Accepts(char16_t folded) const;
  };

  // Reads the set that begins behind the bracket at `at`; moves `at` behind its end. False when it
  // has no end.
  bool ReadSet(TextView pattern, std::size_t& at, std::optional<char16_t> escape);
  void NotePrefix();
  std::optional<bool> MatchesPrefix(std::string_view value) const noexcept;
  bool MatchesUnits(TextView folded, bool blanks_count) const;

  std::vector<Element> elements_;
  bool impossible_ = false;  // an open bracket or an escape at the end: nothing matches

  // A pattern of ASCII text and one % at its end is compared byte by byte.
  bool is_prefix_ = false;
  std::string prefix_;  // folded
};

}  // namespace ledgerwick::tsql
