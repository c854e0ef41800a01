// Characters of the storage's UTF-8, one by one.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "frame/text.h"

namespace ledgerwick::tsql {

// The character at `at`, which moves behind it. `at` stands before `end`. A byte that is no part of
// valid UTF-8 counts as U+FFFD.
inline char32_t NextChar(const char*& at, const char* end) noexcept {
  constexpr char32_t kReplacement = 0xFFFD;
  const auto byte = [&](std::ptrdiff_t i) {
    return static_cast<char32_t>(static_cast<unsigned char>(at[i]));
  };
  const char32_t lead = byte(0);
  if (lead < 0x80) {
    ++at;
    return lead;
  }
  const std::ptrdiff_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || end - at < length) {
    ++at;
    return kReplacement;
  }
  char32_t code = lead & (0x7FU >> length);
  for (std::ptrdiff_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) {
      ++at;
      return kReplacement;
    }
    code = (code << 6) | (byte(i) & 0x3F);
  }
  at += length;
  return code;
}

// True for the first byte of a character.
inline bool IsLead(char byte) noexcept { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

// How many UTF-16 units `c` takes.
inline std::size_t UnitsOf(char32_t c) noexcept { return c < 0x10000 ? 1 : 2; }

// FoldChar for a whole character; supplementary ones stand for themselves.
inline char32_t FoldCode(char32_t c) noexcept {
  return c < 0x10000 ? FoldChar(static_cast<char16_t>(c)) : c;
}

// Appends `c` to `out` as UTF-8.
inline void AppendChar(std::string& out, char32_t c) {
  const auto byte = [&out](char32_t b) { out += static_cast<char>(b); };
  if (c < 0x80) return byte(c);
  if (c < 0x800) {
    byte(0xC0 | (c >> 6));
  } else {
    if (c < 0x10000) {
      byte(0xE0 | (c >> 12));
    } else {
      byte(0xF0 | (c >> 18));
      byte(0x80 | ((c >> 12) & 0x3F));
    }
    byte(0x80 | ((c >> 6) & 0x3F));
  }
  byte(0x80 | (c & 0x3F));
}

// UTF-16 of what the storage holds. Whoever wrote the file may have written anything: what is not
// UTF-8 becomes U+FFFD.
inline Text ToText(std::string_view utf8) {
  if (std::optional<Text> text = TryFromUtf8(utf8)) return *std::move(text);
  Text text;
  const char* at = utf8.data();
  for (const char* const end = at + utf8.size(); at != end;) {
    const char32_t c = NextChar(at, end);
    // NextChar passes surrogates and what lies beyond Unicode on; they are no characters.
    const bool surrogate = c >= 0xD800 && c < 0xE000;
    if (surrogate || c > 0x10FFFF) {
      text += u'\uFFFD';
    } else if (c < 0x10000) {
      text += static_cast<char16_t>(c);
    } else {
      text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      text += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    }
  }
  return text;
}

}  // namespace ledgerwick::tsql
