// What the sales summary and the sales detail share: the items of their dialogue, and the
// parameters of their procedures.
#pragma once

#include "frame/host.h"
#include "frame/text.h"
#include "sales/hand_off.h"

namespace ledgerwick {

// What the items come to.
struct SalesConditions {
  Text general;
  Text sale_date;
  Text keep_date;
  Text department;
  Text checker;
  Text warehouse;  // the value, not a condition
};

// Takes up one item. Those of the checker and of the service get the condition that they come to.
void SortSalesItem(ReportFilter& item, SalesConditions& conditions);

// What the procedure that fills `table` is called with.
TextParameters SalesParameters(const Text& table, const SalesConditions& conditions);

}  // namespace ledgerwick
