// The rows that a request gives in place of a query's.
#pragma once

#include <vector>

#include "frame/database.h"
#include "host/request.h"

namespace ledgerwick {

// A recordset over rows in memory. Its errors carry ADO's numbers: 3021 without a current row, 3265
// for a column that no row has, 3001 for a filter that is not "column = value".
class MemoryRecordset final : public Recordset {
 public:
  explicit MemoryRecordset(std::vector<CannedRow> rows);

  void SetFilter(const Text& criteria) override;
  std::int32_t RecordCount() override { return static_cast<std::int32_t>(kept_.size()); }
  bool AtEnd() override { return current_ >= kept_.size(); }
  void MoveNext() override;
  Value Field(const Text& name) override;
  void Close() override {}

 private:
  bool HasColumn(TextView name) const;

  std::vector<CannedRow> rows_;
  std::vector<std::size_t> kept_;  // the rows that the filter lets through
  std::size_t current_ = 0;
};

}  // namespace ledgerwick
