// What reports of every kind do alike with their filter items.
#pragma once

#include <cstdint>
#include <memory>

#include "frame/error.h"
#include "frame/host.h"
#include "frame/text.h"
#include "frame/value.h"

namespace ledgerwick {

// Calls `visit` with each item of `set` in order. Throws error 91 for an item that is not there.
template <typename Visit>
void ForEachItem(ReportFilterSet& set, Visit visit) {
  const std::int32_t count = set.Count();
  for (std::int32_t i = 1; i <= count; ++i) {
    const std::shared_ptr<ReportFilter> item = set.Item(i);
    if (!item) throw ObjectNotSet();
    visit(*item);
  }
}

// The text of `value` without the blanks around it.
Text TrimmedText(const Value& value);

// True when the host has worded a condition for `item`.
bool HasFragment(ReportFilter& item);

}  // namespace ledgerwick
