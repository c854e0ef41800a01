#include "frame/letter_case.h"

#include <algorithm>
#include <array>

namespace ledgerwick {
namespace {

// Capital letters `first` to `last`, every `step`-th character, and how far behind them the small
// letters lie.
struct CaseRange {
  char32_t first;
  char32_t last;
  char32_t step;
  char32_t distance;

  constexpr bool HoldsUpper(char32_t c) const {
    return c >= first && c <= last && (c - first) % step == 0;
  }
  constexpr bool HoldsLower(char32_t c) const { return HoldsUpper(c - distance); }
};

constexpr auto kRanges = std::to_array<CaseRange>({
    {U'A', U'Z', 1, 32},
    {0xC0, 0xD6, 1, 32},
    {0xD8, 0xDE, 1, 32},
    {0x100, 0x12E, 2, 1},
    {0x132, 0x136, 2, 1},
    {0x139, 0x147, 2, 1},
    {0x14A, 0x176, 2, 1},
    {0x178, 0x178, 1, 0xFFFFFF87},  // Ÿ: its small letter, U+00FF, lies
                                    // before it
    {0x179, 0x17D, 2, 1},
    {0x1CD, 0x1DB, 2, 1},
    {0x1DE, 0x1EE, 2, 1},
    {0x1F8, 0x21E, 2, 1},
    {0x386, 0x386, 1, 38},
    {0x388, 0x38A, 1, 37},
    {0x38C, 0x38C, 1, 64},
    {0x38E, 0x38F, 1, 63},
    {0x391, 0x3A1, 1, 32},
    {0x3A3, 0x3AB, 1, 32},
    {0x400, 0x40F, 1, 80},
    {0x410, 0x42F, 1, 32},
    {0x460, 0x480, 2, 1},
    {0x48A, 0x4BE, 2, 1},
    {0x2160, 0x216F, 1, 16},
    {0x24B6, 0x24CF, 1, 26},
    {0xFF21, 0xFF3A, 1, 32},
});

constexpr bool IsUncased(char32_t c) noexcept { return c >= 0x2500 && c < 0xFF21; }

}  // namespace

char32_t ToUpper(char32_t c) noexcept {
  if (IsUncased(c)) return c;
  const auto range = std::find_if(kRanges.begin(), kRanges.end(),
                                  [c](const CaseRange& r) { return r.HoldsLower(c); });
  return range == kRanges.end() ? c : c - range->distance;
}

char32_t ToLower(char32_t c) noexcept {
  if (IsUncased(c)) return c;
  const auto range = std::find_if(kRanges.begin(), kRanges.end(),
                                  [c](const CaseRange& r) { return r.HoldsUpper(c); });
  return range == kRanges.end() ? c : c + range->distance;
}

}  // namespace ledgerwick
