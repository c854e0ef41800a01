// Capital and small letters: the one table that comparisons and UPPER and LOWER read.
#pragma once

namespace ledgerwick {

// The capital or the small form of a Latin, Greek, Cyrillic or full-width letter; every other
// character stands for itself.
char32_t ToUpper(char32_t c) noexcept;
char32_t ToLower(char32_t c) noexcept;

}  // namespace ledgerwick
