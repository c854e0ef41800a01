// The order and the equality of text in the database.
#pragma once

#include <string>
#include <string_view>

namespace ledgerwick::tsql {

// The name of the collation that every text column is declared with: letter case, width, kana type
// and trailing blanks do not count.
inline constexpr const char* kCollation = "CHINESE_PRC_CI_AS";

// Compares two texts in UTF-8. Negative, zero or positive; a total preorder.
//
// Zero where nothing but letter case, width, kana type and trailing blanks tells them apart: the
// shorter text counts as filled up with blanks. Otherwise their letters decide, Chinese by pinyin
// behind Latin behind digits behind signs; then accents; then hyphens and apostrophes, a text
// without any first; then whatever is left. Throws SqlError when text beyond ASCII is compared for
// the first time and ICU has no order for it (CollationWeights::Get).
int CompareCollated(std::string_view a, std::string_view b);

// Loads what text beyond ASCII needs. Throws what CompareCollated otherwise would later.
void LoadCollation();

// What CompareCollated's results depend on: with another one they may be others. Throws as it does.
std::string CollationVersion();

// The length of the prefix of `text` that `needle` equals, case, width and kana type aside; npos
// when there is none. An empty needle has length 0.
std::size_t MatchCollatedPrefix(std::string_view text, std::string_view needle) noexcept;

// The byte at which the first such prefix begins, at or after the character boundary `from`; npos
// without one. `length` becomes the bytes that it takes.
std::size_t FindCollated(std::string_view text, std::string_view needle, std::size_t from,
                         std::size_t& length) noexcept;

}  // namespace ledgerwick::tsql
