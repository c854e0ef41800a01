// Tables of texts that the command makes itself.
#pragma once

#include <initializer_list>
#include <vector>

#include "output/result_writer.h"

namespace ledgerwick {

// Writes one result set of texts.
class TextTable {
 public:
  // `writer` outlives the table.
  TextTable(ResultWriter& writer, std::initializer_list<TextView> names) : writer_(writer) {
    std::vector<ResultColumn> columns;
    for (const TextView name : names) columns.push_back({Text(name), ColumnKind::String, {}});
    writer_.Columns(columns);
  }

  // One cell for each name.
  void Row(std::initializer_list<TextView> cells) {
    const std::vector<Value> values(cells.begin(), cells.end());
    writer_.Row(values);
    ++count_;
  }

  // Ends the result set. Called once.
  void End() { writer_.EndRows(count_); }

 private:
  ResultWriter& writer_;
  std::int64_t count_ = 0;
};

}  // namespace ledgerwick
