// Text as the report contract counts it: UTF-16 code units, compared the way the host platform
// compares text. Conversion to and from UTF-8 happens only at the edges of the program.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ledgerwick {

using Text = std::u16string;
using TextView = std::u16string_view;

namespace detail {
char16_t FoldBeyondAscii(char16_t c) noexcept;
}

// The representative of the characters that text comparison does not tell apart: letter case, width
// (full-width forms) and kana type do not count, accents do. Never fails.
inline char16_t FoldChar(char16_t c) noexcept {
  if (c < 0x80) return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
  return detail::FoldBeyondAscii(c);
}

// Every character of `text` folded with FoldChar: a key under which equal texts are identical.
Text FoldText(TextView text);

// Text comparison without regard to case, width and kana type. Negative, zero or positive.
int CompareText(TextView a, TextView b) noexcept;

// True when CompareText finds no difference.
bool EqualText(TextView a, TextView b) noexcept;

// The position of the first `needle` in `haystack` at or after `from` by text comparison, or npos.
std::size_t FindText(TextView haystack, TextView needle, std::size_t from = 0) noexcept;

// `text` without leading and trailing blanks (U+0020 only: tabs and line breaks stay). The view
// points into `text`.
TextView Trim(TextView text) noexcept;

// The parts of `text` between `separator`s. An empty text has no parts at all.
std::vector<Text> Split(TextView text, char16_t separator);

// UTF-8 of `text`; a lone surrogate becomes U+FFFD.
std::string ToUtf8(TextView text);

// UTF-16 of `utf8`, or nothing when it is not valid UTF-8 (overlong forms and surrogates count as
// invalid).
std::optional<Text> TryFromUtf8(std::string_view utf8);

// As TryFromUtf8. Throws std::invalid_argument that names the offset of the first invalid byte.
Text FromUtf8(std::string_view utf8);

// The offset in bytes of the first byte that makes `utf8` invalid, or npos when it is valid.
std::size_t FindInvalidUtf8(std::string_view utf8) noexcept;

// The length of `text` in bytes of the ANSI code page: the system's own on Windows, code page 936
// elsewhere. A character that the code page lacks counts one per UTF-16 unit; a NUL ends the text.
std::size_t AnsiLength(TextView text);

}  // namespace ledgerwick
