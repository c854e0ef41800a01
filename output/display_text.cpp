#include "output/display_text.h"

#include <utf8proc.h>

#include <array>
#include <cstdio>

namespace ledgerwick {
namespace {

// Calls `visit` with each character of `utf8` and its bytes. A byte that is no UTF-8 comes as
// U+FFFD.
template <typename Visit>
void ForEachCharacter(std::string_view utf8, Visit visit) {
  while (!utf8.empty()) {
    utf8proc_int32_t code = 0;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(utf8.data());
    utf8proc_ssize_t n = utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(utf8.size()), &code);
    if (n <= 0) {
      n = 1;
      code = 0xFFFD;
    }
    const auto length = static_cast<std::size_t>(n);
    visit(code, utf8.substr(0, length));
    utf8.remove_prefix(length);
  }
}

bool TurnsDirection(utf8proc_int32_t code) noexcept {
  return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

bool NeedsEscape(utf8proc_int32_t code) noexcept {
  return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x2028 || code == 0x2029 ||
         TurnsDirection(code);
}

std::string Numbered(const char* format, utf8proc_int32_t code) {
  std::array<char, 16> buffer;
  const int n = std::snprintf(buffer.data(), buffer.size(), format, static_cast<unsigned>(code));
  return {buffer.data(), static_cast<std::size_t>(n)};
}

std::string Escaped(utf8proc_int32_t code) {
  switch (code) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  return Numbered(code < 0x100 ? "\\x%02X" : "\\u%04X", code);
}

// `utf8` with what `needs_escape` says so of as `escaped` writes it.
template <typename Needs, typename Escaped>
std::string Escape(std::string_view utf8, Needs needs_escape, Escaped escaped) {
  std::string text;
  text.reserve(utf8.size());
  ForEachCharacter(utf8, [&](utf8proc_int32_t code, std::string_view bytes) {
    if (needs_escape(code)) {
      text += escaped(code);
    } else {
      text += bytes;
    }
  });
  return text;
}

}  // namespace

std::size_t DisplayWidth(std::string_view utf8) noexcept {
  std::size_t width = 0;
  ForEachCharacter(utf8, [&](utf8proc_int32_t code, std::string_view) {
    const int columns = utf8proc_charwidth(code);
    if (columns > 0) width += static_cast<std::size_t>(columns);
  });
  return width;
}

std::string EscapeControls(std::string_view utf8) {
  return Escape(
      utf8, [](utf8proc_int32_t code) { return NeedsEscape(code); }, &Escaped);
}

std::string EscapeControlsInJson(std::string_view json) {
  // JSON has escaped what is below the blank itself, and parts its lines by the rest of that.
  return Escape(
      json, [](utf8proc_int32_t code) { return code > ' ' && NeedsEscape(code); },
      [](utf8proc_int32_t code) { return Numbered("\\u%04X", code); });
}

}  // namespace ledgerwick
