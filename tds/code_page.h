// Texts in the code pages of the char and varchar that clients send.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/text.h"

namespace ledgerwick::tds {

// Chinese_PRC_CI_AS as it stands beside a type: the language, what comparisons pass over, and no
// sort order of old.
inline constexpr std::string_view kCollation{"\x04\x08\xD0\x00\x00", 5};

// The text that `bytes` hold in the code page of `collation` (five bytes): 936, or 1252 for the
// languages of Western Europe; the database's for those that are not known here. What is no
// character becomes U+FFFD.
Text DecodeAnsi(std::string_view bytes, std::string_view collation);

}  // namespace ledgerwick::tds
