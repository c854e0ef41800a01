#include "tsql/values/collation_weights.h"

#include <unicode/ucol.h>
#include <unicode/ucoleitr.h>
#include <unicode/ulocdata.h>
#include <unicode/uscript.h>

#include <algorithm>
#include <new>

#include "tsql/base/characters.h"
#include "tsql/base/errors.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
namespace {

// Raised whenever the same ICU shall order otherwise than before.
constexpr const char* kOwnVersion = "1";

void Check(UErrorCode status) {
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  if (U_FAILURE(status)) throw errors::NoTextOrder(u_errorName(status));
}

using Collator = std::unique_ptr<UCollator, decltype(&ucol_close)>;

Collator OpenCollator(const char* locale) {
  UErrorCode status = U_ZERO_ERROR;
  Collator collator(ucol_open(locale, &status), &ucol_close);
  Check(status);
  // Without its data ICU falls back to another order, and says so in a warning only.
  if (status == U_USING_DEFAULT_WARNING) throw errors::NoTextOrder(u_errorName(status));
  return collator;
}

// A collator's weights of one character after another.
class ElementSource {
 public:
  explicit ElementSource(const UCollator* collator) : elements_(nullptr, &ucol_closeElements) {
    constexpr UChar kNothing = 0;
    UErrorCode status = U_ZERO_ERROR;
    elements_.reset(ucol_openElements(collator, &kNothing, 0, &status));
    Check(status);
  }

  // Those of `c`. They live until the next call.
  std::span<const CollationElement> Of(char16_t c) {
    UErrorCode status = U_ZERO_ERROR;
    const UChar text = c;
    ucol_setText(elements_.get(), &text, 1, &status);
    found_.clear();
    for (;;) {
      const std::int32_t order = ucol_next(elements_.get(), &status);
      Check(status);
      if (order == UCOL_NULLORDER) break;
      Take(order);
    }
    return found_;
  }

 private:
  // ICU gives a long weight in two orders; what would be the case of the second marks it.
  void Take(std::int32_t order) {
    constexpr std::int32_t kContinuation = 0xC0;
    const auto primary = static_cast<std::uint32_t>(ucol_primaryOrder(order));
    const auto secondary = static_cast<std::uint32_t>(ucol_secondaryOrder(order));
    if ((order & kContinuation) == kContinuation && !found_.empty()) {
      found_.back().primary |= primary;
      found_.back().secondary |= secondary;
    } else {
      found_.push_back({primary << 16, secondary << 8});
    }
  }

  std::unique_ptr<UCollationElements, decltype(&ucol_closeElements)> elements_;
  std::vector<CollationElement> found_;
};

constexpr bool IsHyphenOrApostrophe(char16_t c) noexcept {
  constexpr char16_t kSoftHyphen = 0xAD;
  constexpr char16_t kHyphen = 0x2010;
  constexpr char16_t kNonBreakingHyphen = 0x2011;
  return c == u'-' || c == u'\'' || c == kSoftHyphen || c == kHyphen || c == kNonBreakingHyphen;
}

bool IsLatin(char16_t c) {
  UErrorCode status = U_ZERO_ERROR;
  return c < 0x80 || uscript_getScript(c, &status) == USCRIPT_LATIN;
}

AsciiRanks RankAscii() {
  const Collator root = OpenCollator("root");
  ElementSource source(root.get());
  std::array<std::uint32_t, 0x80> primaries{};
  for (char16_t c = 0; c < primaries.size(); ++c) {
    if (!IsHyphenOrApostrophe(c)) primaries[c] = source.Of(FoldChar(c)).front().primary;
  }
  std::array<std::uint32_t, 0x80> rising = primaries;
  std::sort(rising.begin(), rising.end());
  const auto end = std::unique(rising.begin(), rising.end());
  AsciiRanks ranks{};
  for (std::size_t c = 0; c < ranks.size(); ++c) {
    // Those without weight come first, as 0.
    ranks[c] = static_cast<std::uint8_t>(std::lower_bound(rising.begin(), end, primaries[c]) -
                                         rising.begin());
  }
  return ranks;
}

std::string Dotted(const UVersionInfo& version) {
  std::array<char, U_MAX_VERSION_STRING_LENGTH> text{};
  u_versionToString(version, text.data());
  return text.data();
}

}  // namespace

void CollationWeights::Closer::operator()(UCollator* collator) const noexcept {
  ucol_close(collator);
}

CollationWeights::CollationWeights()
    : pinyin_(OpenCollator("zh-u-co-pinyin").release()), table_(kTableSize) {
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t as_in_root = UCOL_REORDER_CODE_NONE;  // Chinese would stand before Latin
  ucol_setReorderCodes(pinyin_.get(), &as_in_root, 1, &status);
  ucol_setStrength(pinyin_.get(), UCOL_PRIMARY);
  Check(status);
  const Collator root = OpenCollator("root");
  ElementSource by_root(root.get());
  ElementSource by_pinyin(pinyin_.get());
  for (std::size_t i = 0; i < kTableSize; ++i) {
    const auto c = static_cast<char16_t>(i);
    if (FoldChar(c) != c || IsHyphenOrApostrophe(c)) continue;
    Add(c, (IsLatin(c) ? by_root : by_pinyin).Of(c));
  }
  for (std::size_t i = 0; i < kTableSize; ++i) {
    table_[i] = table_[FoldChar(static_cast<char16_t>(i))];
  }
}

void CollationWeights::Add(char16_t c, std::span<const CollationElement> elements) {
  if (elements.empty()) return;
  if (elements.size() == 1) {
    table_[c] = elements.front();
    return;
  }
  elements = elements.first(std::min<std::size_t>(elements.size(), kMostElements - 1));
  table_[c] = {static_cast<std::uint32_t>(several_.size() * kMostElements + elements.size()),
               kSeveral};
  several_.insert(several_.end(), elements.begin(), elements.end());
}

// The first four bytes of the sort key, which are all of it but for characters that stand for
// several: rare enough for the code points to order them.
CollationElement CollationWeights::BeyondTable(char32_t c) const noexcept {
  constexpr std::uint32_t kBehindAll = 0xFFFFFFFF;
  constexpr char32_t kLast = 0x10FFFF;
  constexpr std::uint8_t kEnd = 1;  // and smaller
  CollationElement element{kBehindAll, blank().secondary};
  if (c > kLast) return element;
  const std::array<UChar, 2> units = {static_cast<UChar>(0xD800 + ((c - kTableSize) >> 10)),
                                      static_cast<UChar>(0xDC00 + (c & 0x3FF))};
  std::array<std::uint8_t, 64> key{};
  ucol_getSortKey(pinyin_.get(), units.data(), 2, key.data(), key.size());
  element.primary = 0;
  bool ended = false;
  for (int i = 0; i < 4; ++i) {
    ended = ended || key[static_cast<std::size_t>(i)] <= kEnd;
    element.primary = element.primary << 8 | (ended ? 0U : key[static_cast<std::size_t>(i)]);
  }
  return element;
}

const CollationWeights& CollationWeights::Get() {
  static const CollationWeights weights;
  return weights;
}

const AsciiRanks& GetAsciiRanks() {
  static const AsciiRanks ranks = RankAscii();
  return ranks;
}

std::string CollationVersion() {
  static const std::string version = [] {
    const Collator root = OpenCollator("root");
    UVersionInfo icu{};
    UVersionInfo data{};
    UVersionInfo order{};
    UErrorCode status = U_ZERO_ERROR;
    u_getVersion(icu);
    ulocdata_getCLDRVersion(data, &status);
    Check(status);
    ucol_getVersion(root.get(), order);
    return "ICU " + Dotted(icu) + ", CLDR " + Dotted(data) + ", collation " + Dotted(order) +
           ", rules " + kOwnVersion;
  }();
  return version;
}

void LoadCollation() { CollationWeights::Get(); }

}  // namespace ledgerwick::tsql
