// Keeps the storage from making indexes of its own where a table's key serves.
#pragma once

#include "tsql/plan/plan.h"

namespace ledgerwick::tsql {

// A line names its customer, department and item, and each is found by its key. The storage may
// turn that round: it walks through the few departments, makes an index of the lines by department
// for this statement alone, and reads every line once for every item, because it takes an index
// whose contents it does not know for a selective one. With a key on one side and no index on the
// other, going from the other side to the key reads each row once, and making the index would have
// cost as much: so the column without an index is written in a way that no index can be made for
// it. What rows there are does not depend on it.
//
// Marks the inner equalities in `query`, in its derived tables and in its views.
void PreferKeys(BoundQuery& query, PlanContext& context);

}  // namespace ledgerwick::tsql
