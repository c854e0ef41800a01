// The filters of the receive/issue/balance summary as conditions.
#pragma once

#include "frame/host.h"
#include "frame/report_provider.h"
#include "frame/text.h"

namespace ledgerwick {

// What the filters of clsRepSFC come to; an empty text restricts nothing.
struct SummaryFilters {
  // On vouchers and their lines.
  Text warehouse;
  Text item;
  Text voucher_state;
  Text type;  // receive/issue type
  Text free_items;

  // On items.
  Text item_class;
  Text specification;
  Text item_type;

  // On the finished balance.
  Text business_state;
  Text closing_quantity;
  Text zero_stock;

  Text type_level;           // the level of the receive/issue types, as the user gave it
  bool expand_kits = false;  // a kit's line counts as its components
};

// The period: a condition on the movements, and the day before which movements are opening balance.
struct Period {
  Text condition = u"dDate >= '2001-11-01'";
  Text start = u"2001-11-01";
};

// Reads all filters but the dates and marks the items of `set` (nullptr: nothing is restricted).
// Throws error 13 for a closing quantity between two bounds of which one is no number.
SummaryFilters ReadSummaryFilters(ReportFilterSet* set);

// The period that the date filters of `set` ask for; the default without any. Throws error 13 for a
// period between two bounds of which one is no date.
Period BuildPeriodCondition(ReportFilterSet* set);

// A period from `from` to `to`, each of which may be empty, written yyyy-mm-dd, with a period's
// start of its own where `from` is missing. The report itself builds its period with
// BuildPeriodCondition.
Period BuildDateRangeText(const Text& from, const Text& to);

}  // namespace ledgerwick
