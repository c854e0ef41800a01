#include "tds/parameter.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tds/client_type.h"

namespace ledgerwick::tds {
namespace {

// The types that the database lacks, with their neighbours.
constexpr std::array<std::pair<TextView, TextView>, 3> kNeighbours = {{
    {u"datetimeoffset", u"datetime2"},
    {u"xml", u"nvarchar(max)"},
    {u"sql_variant", u"nvarchar(4000)"},
}};

bool IsWordCharacter(char16_t c) noexcept {
  return c == u'_' || (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') ||
         (c >= u'a' && c <= u'z') || c >= 0x80;
}

}  // namespace

Parameter ReadParameter(ByteReader& reader) {
  constexpr unsigned kByReference = 0x01;
  constexpr unsigned kDefault = 0x02;
  Parameter parameter;
  parameter.name = reader.ShortText();
  const unsigned flags = reader.U8();
  parameter.output = (flags & kByReference) != 0;
  parameter.is_default = (flags & kDefault) != 0;
  const ClientType type = ReadClientType(reader);
  ClientValue value = ReadClientValue(type, ReadClientBytes(reader, type));
  parameter.type = std::move(value.type);
  parameter.literal = std::move(value.literal);
  parameter.text = std::move(value.text);
  return parameter;
}

Text TranslateDeclarations(TextView declarations) {
  Text result;
  bool name_before = false;  // a variable's name stands before the word
  for (std::size_t i = 0; i < declarations.size();) {
    const char16_t c = declarations[i];
    std::size_t end = i + 1;
    const bool variable = c == u'@';
    if (variable || IsWordCharacter(c)) {
      while (end < declarations.size() &&
             (IsWordCharacter(declarations[end]) || declarations[end] == u'@')) {
        ++end;
      }
    }
    const TextView word = declarations.substr(i, end - i);
    i = end;
    const auto* const neighbour =
        std::find_if(kNeighbours.begin(), kNeighbours.end(),
                     [&](const auto& pair) { return EqualText(pair.first, word); });
    if (name_before && neighbour != kNeighbours.end()) {
      result += neighbour->second;
      // The number of digits goes with the type.
      if (i < declarations.size() && declarations[i] == u'(') {
        const std::size_t close = declarations.find(u')', i);
        i = close == TextView::npos ? declarations.size() : close + 1;
      }
    } else {
      result += word;
    }
    if (variable) name_before = true;
    if (!variable && c != u' ' && !EqualText(word, u"as")) name_before = false;
  }
  return result;
}

}  // namespace ledgerwick::tds
