#include "output/wrapped_text.h"

#include <algorithm>

#include "output/display_text.h"

namespace ledgerwick {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// The character that begins at `at`, in bytes.
std::size_t CharacterEnd(std::string_view text, std::size_t at) {
  ++at;
  while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) ++at;
  return at;
}

bool Closes(std::string_view character) {
  constexpr std::string_view kClosing = ",.;:!?)]}'\"，。；：！？、）】》」』”’";
  return kClosing.find(character) != std::string_view::npos;
}

// The pieces between which a line may end: words, and Chinese characters by themselves.
std::vector<std::string> PiecesOf(std::string_view word) {
  std::vector<std::string> pieces;
  bool was_wide = false;
  for (std::size_t at = 0; at < word.size();) {
    const std::size_t end = CharacterEnd(word, at);
    const std::string_view character = word.substr(at, end - at);
    const bool is_wide = DisplayWidth(character) > 1;
    if (pieces.empty() || ((is_wide || was_wide) && !Closes(character))) pieces.emplace_back();
    pieces.back() += character;
    was_wide = is_wide;
    at = end;
  }
  return pieces;
}

}  // namespace

std::vector<std::string> WrapText(std::string_view utf8, std::size_t width) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < utf8.size();) {
    const std::size_t first = std::min(utf8.find_first_not_of(kBlanks, at), utf8.size());
    const std::size_t end = std::min(utf8.find_first_of(kBlanks, first), utf8.size());
    std::string gap = " ";
    for (const std::string& piece : PiecesOf(EscapeControls(utf8.substr(first, end - first)))) {
      if (!lines.empty() && DisplayWidth(lines.back() + gap + piece) <= width) {
        lines.back() += gap + piece;
      } else {
        lines.push_back(piece);
      }
      gap.clear();
    }
    at = end;
  }
  return lines;
}

}  // namespace ledgerwick
