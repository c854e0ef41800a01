// Rows in memory as a recordset: what every database but ADO answers a query with.
#pragma once

#include <memory>
#include <vector>

#include "frame/database.h"
#include "frame/null_sink.h"

namespace ledgerwick {

// A recordset over rows in memory. Its errors carry ADO's numbers: 3021 without a current row, 3265
// for a column that is not there, 3001 for a criterion that is none, 3704 once it is closed.
//
// A criterion is "column = value", the column perhaps in brackets. The value is quoted (a quote
// within it doubled), a date between #, or one bare word; quoted or not, it is compared as what the
// column holds: numbers and dates by their value, True and False (or any other number than 0, and
// 0) with a boolean, text by text comparison. A bare Null keeps the rows without a value, which
// nothing else keeps. A filter that fails leaves the rows as they were.
class RowSet : public Recordset {
 public:
  // Each of `rows` has a value for each of `columns`. Without rows and columns, every name is
  // taken for a column's.
  RowSet(std::vector<Text> columns, std::vector<std::vector<Value>> rows);

  void SetFilter(const Text& criteria) override;
  std::int32_t RecordCount() override;
  bool AtEnd() override;
  void MoveNext() override;
  Value Field(const Text& name) override;
  void Close() override;

 private:
  void RequireOpen() const;
  // The column's number, or nothing where no column is known. Throws 3265.
  std::optional<std::size_t> ColumnIndex(TextView name) const;

  std::vector<Text> columns_;
  std::vector<std::vector<Value>> rows_;
  std::vector<std::size_t> kept_;  // the rows that the filter lets through
  std::size_t current_ = 0;
  bool open_ = true;
};

// Keeps the first result of a batch as a client's recordset has it: booleans as such, and decimals
// as floats, which is what readers of single fields reckon with.
class RowCollector final : public NullSink {
 public:
  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  bool WantsRow() override { return results_ == 1; }

  // What has come. Once.
  std::unique_ptr<RowSet> Take();

 private:
  int results_ = 0;
  std::vector<Text> names_;
  std::vector<ColumnKind> kinds_;
  std::vector<std::vector<Value>> rows_;
};

}  // namespace ledgerwick
