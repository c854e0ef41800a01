#include "host/request_facts.h"

#include <algorithm>

#include "frame/error.h"
#include "host/reference_host.h"

namespace ledgerwick {
namespace {

std::optional<double> Number(const Text& text) {
  if (text.empty()) return std::nullopt;
  try {
    return ToNumber(text);
  } catch (const DatabaseError&) {
    return std::nullopt;
  }
}

}  // namespace

bool IsNumber(const Text& text) { return Number(text).has_value(); }

Text ReadableText(const Value& value) {
  return value.Opaque() ? Text() : Text(Trim(value.ToText()));
}

bool IsSet(const FilterItem& item) { return ReferenceFilter(item).IsSet(); }

Text FragmentOf(const FilterItem& item) { return ReferenceFilter(item).strSqlString(); }

const std::vector<FilterItem>& RequestFacts::Items() const noexcept {
  static const std::vector<FilterItem> kNone;
  return request_.filters ? *request_.filters : kNone;
}

const FilterItem* RequestFacts::Find(TextView name) const {
  const auto& items = Items();
  const auto found = std::find_if(items.begin(), items.end(), [&](const FilterItem& item) {
    return EqualText(Trim(item.Name), name) && ledgerwick::IsSet(item);
  });
  return found == items.end() ? nullptr : &*found;
}

Text RequestFacts::Untrimmed(TextView name) const {
  const FilterItem* item = Find(name);
  return item && !item->varValue.Opaque() ? item->varValue.ToText() : Text();
}

Text RequestFacts::First(TextView name) const {
  const FilterItem* item = Find(name);
  return item ? ReadableText(item->varValue) : Text();
}

Text RequestFacts::Second(TextView name) const {
  const FilterItem* item = Find(name);
  return item ? ReadableText(item->varValue2) : Text();
}

bool RequestFacts::HasSeveral(TextView name) const { return Split(First(name), u',').size() > 1; }

bool RequestFacts::TextOrderMisleads(TextView name) const {
  const Text first = First(name);
  const Text second = Second(name);
  const auto low = Number(first);
  const auto high = Number(second);
  return low && high && *low != *high && (*low < *high) != (CompareText(first, second) < 0);
}

}  // namespace ledgerwick
