#include "frame/text.h"

#include <algorithm>
#include <stdexcept>

#include "frame/letter_case.h"

namespace ledgerwick {
namespace {

// Half-width katakana U+FF66..U+FF9D in code order, as the hiragana that they fold to.
constexpr std::u16string_view kHalfwidthKatakana =
    u"をぁぃぅぇぉゃゅょっーあいうえおかきくけこさしすせそ"
    u"たちつてとなにぬねのはひふへほまみむめもやゆよらりるれろわん";

constexpr bool In(char16_t c, char16_t first, char16_t last) noexcept {
  return c >= first && c <= last;
}

// Decodes the code point at `i` and moves `i` behind it; nothing when the bytes are not valid.
std::optional<char32_t> DecodeUtf8(std::string_view s, std::size_t& i) noexcept {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char lead = byte(i);
  if (lead < 0x80) {
    ++i;
    return lead;
  }
  std::size_t length = 0;
  char32_t code = 0;
  char32_t least = 0;
  if (lead >= 0xC2 && lead < 0xE0) {
    length = 2, code = lead & 0x1F, least = 0x80;
  } else if (lead >= 0xE0 && lead < 0xF0) {
    length = 3, code = lead & 0x0F, least = 0x800;
  } else if (lead >= 0xF0 && lead < 0xF5) {
    length = 4, code = lead & 0x07, least = 0x10000;
  } else {
    return std::nullopt;
  }
  if (i + length > s.size()) return std::nullopt;
  for (std::size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return std::nullopt;
    code = (code << 6) | (byte(i + k) & 0x3F);
  }
  if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return std::nullopt;
  i += length;
  return code;
}

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

}  // namespace

namespace detail {

char16_t FoldBeyondAscii(char16_t c) noexcept {
  if (In(c, 0x3100, 0xFEFF)) return c;  // Chinese text: nothing to fold
  if (In(c, 0xFF01, 0xFF5E)) return FoldChar(static_cast<char16_t>(c - 0xFEE0));
  if (In(c, 0xFF66, 0xFF9D)) return kHalfwidthKatakana[c - 0xFF66];
  if (In(c, 0x30A1, 0x30F6)) return static_cast<char16_t>(c - 0x60);
  if (c == 0x3000) return u' ';
  return static_cast<char16_t>(ToLower(c));
}

}  // namespace detail

Text FoldText(TextView text) {
  Text folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(), FoldChar);
  return folded;
}

int CompareText(TextView a, TextView b) noexcept {
  const std::size_t shared = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < shared; ++i) {
    if (a[i] == b[i]) continue;
    const int difference = int{FoldChar(a[i])} - int{FoldChar(b[i])};
    if (difference != 0) return difference;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool EqualText(TextView a, TextView b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && FoldChar(a[i]) != FoldChar(b[i])) return false;
  }
  return true;
}

std::size_t FindText(TextView haystack, TextView needle, std::size_t from) noexcept {
  for (std::size_t i = from; i + needle.size() <= haystack.size(); ++i) {
    if (EqualText(haystack.substr(i, needle.size()), needle)) return i;
  }
  return TextView::npos;
}

TextView Trim(TextView text) noexcept {
  const std::size_t first = text.find_first_not_of(u' ');
  if (first == TextView::npos) return {};
  return text.substr(first, text.find_last_not_of(u' ') - first + 1);
}

std::vector<Text> Split(TextView text, char16_t separator) {
  std::vector<Text> parts;
  if (text.empty()) return parts;
  for (std::size_t from = 0;;) {
    const std::size_t to = text.find(separator, from);
    parts.emplace_back(text.substr(from, to == TextView::npos ? to : to - from));
    if (to == TextView::npos) return parts;
    from = to + 1;
  }
}

std::string ToUtf8(TextView text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (In(text[i], 0xD800, 0xDFFF)) {
      const bool pair = c < 0xDC00 && i + 1 < text.size() && In(text[i + 1], 0xDC00, 0xDFFF);
      c = pair ? 0x10000 + ((c - 0xD800) << 10) + (char32_t{text[++i]} - 0xDC00) : 0xFFFD;
    }
    AppendUtf8(out, c);
  }
  return out;
}

std::size_t FindInvalidUtf8(std::string_view utf8) noexcept {
  for (std::size_t i = 0; i < utf8.size();) {
    if (!DecodeUtf8(utf8, i)) return i;
  }
  return std::string_view::npos;
}

std::optional<Text> TryFromUtf8(std::string_view utf8) {
  Text out;
  out.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size();) {
    const std::optional<char32_t> code = DecodeUtf8(utf8, i);
    if (!code) return std::nullopt;
    if (*code < 0x10000) {
      out += static_cast<char16_t>(*code);
    } else {
      out += static_cast<char16_t>(0xD800 + ((*code - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((*code - 0x10000) & 0x3FF));
    }
  }
  return out;
}

Text FromUtf8(std::string_view utf8) {
  std::optional<Text> text = TryFromUtf8(utf8);
  if (!text) {
    throw std::invalid_argument("invalid UTF-8 at byte " + std::to_string(FindInvalidUtf8(utf8)));
  }
  return *std::move(text);
}

}  // namespace ledgerwick
