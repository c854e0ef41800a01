#include "tds/code_page.h"

#include <algorithm>
#include <array>

#include "tsql/values/code_page.h"

namespace ledgerwick::tds {
namespace {

constexpr char16_t kReplacement = u'\uFFFD';

// Code page 1252 is Latin-1 but for these; 0 for what is no character.
constexpr std::array<char16_t, 32> kWestern = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

Text DecodeWestern(std::string_view bytes) {
  Text text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    const bool latin = byte < 0x80 || byte >= 0xA0;
    const char16_t unit = latin ? byte : kWestern[byte - 0x80];
    text += unit == 0 && byte != 0 ? kReplacement : unit;
  }
  return text;
}

bool IsWestern(std::string_view collation) noexcept {
  // Danish, German, English, Spanish, Finnish, French, Italian, Dutch, Norwegian, Portuguese,
  // Swedish.
  constexpr std::array<unsigned char, 11> kLanguages = {0x06, 0x07, 0x09, 0x0A, 0x0B, 0x0C,
                                                        0x10, 0x13, 0x14, 0x16, 0x1D};
  return std::find(kLanguages.begin(), kLanguages.end(),
                   static_cast<unsigned char>(collation[0])) != kLanguages.end();
}

}  // namespace

Text DecodeAnsi(std::string_view bytes, std::string_view collation) {
  return IsWestern(collation) ? DecodeWestern(bytes) : tsql::FromCodePage(bytes, kReplacement);
}

}  // namespace ledgerwick::tds
