#include "output/column_selection.h"

#include <algorithm>

namespace ledgerwick {

void ColumnSelection::Titles(const Text& title, const Text& sub_title) {
  inner_->Titles(title, sub_title);
}

void ColumnSelection::Columns(std::span<const ResultColumn> columns) {
  std::vector<ResultColumn> picked;
  places_.clear();
  for (const Text& name : names_) {
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const ResultColumn& c) { return EqualText(c.name, name); });
    if (found == columns.end()) {
      std::vector<std::string> known;
      for (const ResultColumn& column : columns) known.push_back(ToUtf8(column.name));
      throw MissingColumn(ToUtf8(name), std::move(known));
    }
    places_.push_back(static_cast<std::size_t>(found - columns.begin()));
    picked.push_back(*found);
  }
  inner_->Columns(picked);
}

void ColumnSelection::Row(std::span<const Value> values) {
  picked_.clear();
  for (const std::size_t place : places_) picked_.push_back(values[place]);
  inner_->Row(picked_);
}

}  // namespace ledgerwick
