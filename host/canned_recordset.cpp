#include "host/canned_recordset.h"

#include <algorithm>

namespace ledgerwick {
namespace {

std::vector<Text> ColumnsOf(const std::vector<CannedRow>& rows) {
  std::vector<Text> columns;
  for (const CannedRow& row : rows) {
    for (const auto& [name, value] : row) {
      const auto is_name = [&name = name](const Text& column) { return EqualText(column, name); };
      if (std::none_of(columns.begin(), columns.end(), is_name)) columns.push_back(name);
    }
  }
  return columns;
}

std::vector<std::vector<Value>> ValuesOf(const std::vector<CannedRow>& rows) {
  const std::vector<Text> columns = ColumnsOf(rows);
  std::vector<std::vector<Value>> values;
  for (const CannedRow& row : rows) {
    std::vector<Value>& cells = values.emplace_back(columns.size(), Value(Null{}));
    // The first of two values of one name counts.
    for (auto cell = row.rbegin(); cell != row.rend(); ++cell) {
      const auto is_column = [&](const Text& column) { return EqualText(column, cell->first); };
      const auto column = std::find_if(columns.begin(), columns.end(), is_column);
      cells[static_cast<std::size_t>(column - columns.begin())] = cell->second;
    }
  }
  return values;
}

}  // namespace

MemoryRecordset::MemoryRecordset(const std::vector<CannedRow>& rows)
    : RowSet(ColumnsOf(rows), ValuesOf(rows)) {}

}  // namespace ledgerwick
