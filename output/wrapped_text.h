// Text in lines that fit.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ledgerwick {

// `utf8` in lines of at most `width` columns of a terminal, broken at blanks and beside Chinese
// characters, but not before a sign that closes. A word that is wider than a line has one for
// itself. Line breaks count as blanks; other control characters are escaped.
std::vector<std::string> WrapText(std::string_view utf8, std::size_t width);

}  // namespace ledgerwick
