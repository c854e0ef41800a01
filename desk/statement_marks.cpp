#include "desk/statement_marks.h"

#include "host/reference_host.h"
#include "host/request_facts.h"

namespace ledgerwick::desk {
namespace {

constexpr std::size_t kLeastBareValue = 2;  // characters; a shorter one stands everywhere

// `text` as it stands inside a literal.
Text Doubled(const Text& text) {
  Text doubled = Quoted(text);
  return doubled.substr(1, doubled.size() - 2);
}

// The ways in which an item may show, the surest first.
std::vector<std::vector<Text>> WaysOf(const FilterItem& item) {
  std::vector<std::vector<Text>> ways;
  if (const Text fragment(Trim(FragmentOf(item))); !fragment.empty()) {
    ways.push_back({fragment, Doubled(fragment)});
  }
  std::vector<Text> quoted;
  std::vector<Text> bare;
  for (const Value& value : {item.varValue, item.varValue2}) {
    const Text text = ReadableText(value);
    if (text.empty()) continue;
    quoted.push_back(Quoted(text));
    quoted.push_back(Doubled(Quoted(text)));
    if (text.size() >= kLeastBareValue) bare.push_back(text);
  }
  ways.push_back(std::move(quoted));
  ways.push_back(std::move(bare));
  return ways;
}

bool MarkAll(const Text& sql, const Text& text, const std::string& filter, Json& marks) {
  bool found = false;
  for (std::size_t at = sql.find(text); at != Text::npos; at = sql.find(text, at + text.size())) {
    marks.push_back({{"from", at}, {"to", at + text.size()}, {"filter", filter}});
    found = true;
  }
  return found;
}

}  // namespace

Json MarksOf(const Request& request) {
  Json marks = Json::array();
  for (const FilterItem& item : RequestFacts(request).Items()) {
    if (!IsSet(item)) continue;
    Json ways = Json::array();
    for (const std::vector<Text>& way : WaysOf(item)) {
      Json texts = Json::array();
      for (const Text& text : way) texts.push_back(ToUtf8(text));
      ways.push_back(std::move(texts));
    }
    marks.push_back({{"filter", ToUtf8(item.Name)}, {"ways", std::move(ways)}});
  }
  return marks;
}

Json MarkStatement(const Text& sql, const Json& marks) {
  Json found = Json::array();
  for (const Json& mark : marks) {
    const auto filter = mark.at("filter").get<std::string>();
    for (const Json& way : mark.at("ways")) {
      bool any = false;
      for (const Json& text : way) {
        any = MarkAll(sql, FromUtf8(text.get<std::string>()), filter, found) || any;
      }
      if (any) break;
    }
  }
  return found;
}

}  // namespace ledgerwick::desk
