// What each character weighs in the order of text, as ICU has it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

struct UCollator;

namespace ledgerwick::tsql {

// What a character, or a part of one, weighs: first of all where its letter stands, then its
// accents. Without either it only breaks ties.
struct CollationElement {
  std::uint32_t primary = 0;
  std::uint32_t secondary = 0;
};

// The weights of all characters. Each weighs for itself, whatever stands beside it, and characters
// that count as equal weigh the same.
//
// They are those of ICU's pinyin order with its scripts as everybody else has them: blanks, signs,
// digits, Latin, other letters, Chinese. Hyphens and apostrophes weigh nothing. Latin letters have
// the weights of ICU's root, where accents stand behind their letter; pinyin's tones would stand
// before it.
class CollationWeights {
 public:
  // The process's own, made when they are first asked for, which takes some milliseconds. Throws
  // SqlError 448 where ICU has no such order, and 701 without memory.
  static const CollationWeights& Get();

  // The elements of `c`; those of a character beyond the basic plane stand in `scratch`.
  std::span<const CollationElement> Of(char32_t c, CollationElement& scratch) const noexcept {
    if (c >= kTableSize) {
      scratch = BeyondTable(c);
      return {&scratch, 1};
    }
    const CollationElement& entry = table_[c];
    if (entry.secondary != kSeveral) return {&entry, 1};
    return {&several_[entry.primary / kMostElements], entry.primary % kMostElements};
  }

  // True for a character that only breaks ties.
  bool IsWeightless(char32_t c) const noexcept {
    return c < kTableSize && table_[c].primary == 0 && table_[c].secondary == 0;
  }

  const CollationElement& blank() const noexcept { return table_[U' ']; }

 private:
  static constexpr std::size_t kTableSize = 0x10000;
  static constexpr std::uint32_t kSeveral = 0xFFFFFFFF;
  static constexpr std::uint32_t kMostElements = 32;
  struct Closer {
    void operator()(UCollator* collator) const noexcept;
  };

  CollationWeights();
  void Add(char16_t c, std::span<const CollationElement> elements);
  CollationElement BeyondTable(char32_t c) const noexcept;

  std::unique_ptr<UCollator, Closer> pinyin_;
  std::vector<CollationElement> table_;
  std::vector<CollationElement> several_;  // of characters with more than one, in a row
};

// For each ASCII character its place among them by primary weight, 0 for one without. They have no
// accents.
using AsciiRanks = std::array<std::uint8_t, 0x80>;

// The process's own, which come without the other weights. Throws as CollationWeights::Get does.
const AsciiRanks& GetAsciiRanks();

}  // namespace ledgerwick::tsql
