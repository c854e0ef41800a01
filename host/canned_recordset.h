// The rows that a request gives in place of a query's.
#pragma once

#include <vector>

#include "frame/row_set.h"
#include "host/request.h"

namespace ledgerwick {

// A recordset over canned rows. A column is there when any row has it, and null in a row that lacks
// it; where there are no rows, every name is taken for a column's.
class MemoryRecordset final : public RowSet {
 public:
  explicit MemoryRecordset(const std::vector<CannedRow>& rows);
};

}  // namespace ledgerwick
