// What char and varchar can hold: the characters of code page 936.
#pragma once

#include <algorithm>
#include <string_view>

#include "frame/text.h"
#include "tsql/base/characters.h"

namespace ledgerwick::tsql {

// True when the code page has `c`. Throws where the C library does not know the code page.
inline bool FitsAnsi(char32_t c) {
  constexpr char32_t kEuro = 0x20AC;
  if (c < 0x80 || c == kEuro) return true;
  if (c >= 0x10000) return false;
  // All else that it has beyond ASCII takes two bytes.
  const auto unit = static_cast<char16_t>(c);
  return AnsiLength({&unit, 1}) == 2;
}

// True when the code page has all of `text`, which is UTF-8 or UTF-16.
inline bool FitsAnsi(std::string_view text) {
  const char* at = text.data();
  for (const char* const end = at + text.size(); at != end;) {
    if (!FitsAnsi(NextChar(at, end))) return false;
  }
  return true;
}
inline bool FitsAnsi(TextView text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) {
    return !(unit >= 0xD800 && unit < 0xE000) && FitsAnsi(char32_t{unit});
  });
}

}  // namespace ledgerwick::tsql
