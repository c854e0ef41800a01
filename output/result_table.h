// A result in memory.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "output/result_writer.h"

namespace ledgerwick {

// A result whose values are text, to be compared with another. Nothing stands for null.
struct ResultTable {
  struct Column {
    std::string name;
    bool is_number = false;  // known to be: a text of digits may be a code
  };
  using Row = std::vector<std::optional<std::string>>;

  std::vector<Column> columns;  // under unique names
  std::vector<Row> rows;        // one value for each column
};

// Keeps the one result set that it is given.
class ResultCollector final : public ResultWriter {
 public:
  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t) override {}
  void Finish() override {}

  ResultTable& table() noexcept { return table_; }

 private:
  std::vector<ResultColumn> columns_;
  ResultTable table_;
};

}  // namespace ledgerwick
