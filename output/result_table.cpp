#include "output/result_table.h"

#include "output/unique_names.h"

namespace ledgerwick {

void ResultCollector::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  const std::vector<std::string> names = UniqueNames(columns);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    table_.columns.push_back({names[i], IsNumeric(columns[i].kind)});
  }
}

void ResultCollector::Row(std::span<const Value> values) {
  ResultTable::Row& row = table_.rows.emplace_back();
  for (std::size_t i = 0; i < values.size(); ++i) {
    std::optional<std::string>& cell = row.emplace_back();
    if (!values[i].IsNull()) cell = CellText(values[i], columns_[i]);
  }
}

}  // namespace ledgerwick
