// Names of objects that stand alone in a text, as OBJECT_ID and EXEC @name take them.
#include <algorithm>
#include <vector>

#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::size_t kMostParts = 3;

TextView WithoutBlanks(TextView text) noexcept {
  const std::size_t first = text.find_first_not_of(u" \t\r\n");
  if (first == TextView::npos) return {};
  return text.substr(first, text.find_last_not_of(u" \t\r\n") + 1 - first);
}

// A part between `text`'s first character and its `closing` one, which stands twice for itself;
// `at` goes behind it. False where it has no end.
bool ReadQuoted(TextView text, char16_t closing, std::size_t& at, Text& part) {
  for (++at; at < text.size(); ++at) {
    if (text[at] == closing) {
      ++at;
      if (at == text.size() || text[at] != closing) return true;
    }
    part += text[at];
  }
  return false;
}

// The part that begins at `at`, which goes to the dot behind it or to the end. False for what is no
// part of a name.
bool ReadPart(TextView text, std::size_t& at, Text& part) {
  const std::size_t first = std::min(text.find_first_not_of(u" \t\r\n", at), text.size());
  const char16_t opening = first < text.size() ? text[first] : u'.';
  if (opening == u'[' || opening == u'"') {
    at = first;
    if (!ReadQuoted(text, opening == u'[' ? u']' : u'"', at, part) || part.empty()) return false;
    at = std::min(text.find_first_not_of(u" \t\r\n", at), text.size());
    return at == text.size() || text[at] == u'.';
  }
  const std::size_t end = std::min(text.find(u'.', at), text.size());
  part = WithoutBlanks(text.substr(at, end - at));
  at = end;
  return part.find_first_of(u"[]\"'") == Text::npos;
}

}  // namespace

std::optional<ObjectName> ParseObjectName(TextView text, Arena& arena) {
  std::vector<TextView> parts;
  std::size_t at = 0;
  for (;;) {
    Text part;
    if (parts.size() == kMostParts || !ReadPart(text, at, part)) return std::nullopt;
    parts.push_back(arena.Copy(TextView(part)));
    if (at == text.size()) break;
    ++at;
  }
  if (parts.back().empty()) return std::nullopt;
  ObjectName name;
  name.object.text = parts.back();
  if (parts.size() >= 2) name.schema.text = parts[parts.size() - 2];
  if (parts.size() == kMostParts) name.database.text = parts[0];
  return name;
}

}  // namespace ledgerwick::tsql
