#include "desk/difference_rows.h"

#include <algorithm>
#include <numeric>

#include "output/comparison.h"

namespace ledgerwick::desk {
namespace {

using Cell = StoredResult::Cell;

// A column of the differences, and where it stands on either side.
struct Place {
  std::string name;
  std::optional<std::size_t> first;
  std::optional<std::size_t> second;
};

std::optional<std::size_t> Find(const StoredResult& result, const std::string& name) {
  const auto& columns = result.columns();
  const auto found = std::find_if(columns.begin(), columns.end(),
                                  [&](const auto& column) { return column.name == name; });
  if (found == columns.end()) return std::nullopt;
  return static_cast<std::size_t>(found - columns.begin());
}

std::vector<Place> PlacesOf(const StoredResult& first, const StoredResult& second) {
  std::vector<Place> places;
  for (std::size_t i = 0; i < first.columns().size(); ++i) {
    const std::string& name = first.columns()[i].name;
    places.push_back({name, i, Find(second, name)});
  }
  for (std::size_t i = 0; i < second.columns().size(); ++i) {
    const std::string& name = second.columns()[i].name;
    if (!Find(first, name)) places.push_back({name, std::nullopt, i});
  }
  return places;
}

StoredResult Collect(RowStore& rows) {
  StoredResult result;
  ResultCollector collector(result);
  rows.Read({}, collector);
  return result;
}

Value ToValue(const Cell& cell) { return cell ? Value(FromUtf8(*cell)) : Value(Null{}); }

// Finds rows by their numbers, which are asked for in rising order.
class RowFinder {
 public:
  explicit RowFinder(const StoredResult& result) {
    std::vector<std::size_t> all(result.columns().size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    cursor_ = result.Read(all);
  }

  const StoredResult::Row& At(std::int64_t number) {
    while (number_ < number && cursor_->Next()) number_ = cursor_->number();
    return cursor_->row();
  }

 private:
  std::unique_ptr<StoredResult::Cursor> cursor_;
  std::int64_t number_ = 0;
};

class DifferenceRows {
 public:
  DifferenceRows(const StoredResult& first, const StoredResult& second, ResultSink& sink)
      : places_(PlacesOf(first, second)), first_(first), second_(second), sink_(sink) {}

  void Write(const Comparison& comparison) {
    std::vector<ResultColumn> columns = {{u"±", ColumnKind::String, {}, 0}};
    for (const Place& place : places_) {
      columns.push_back({FromUtf8(place.name), ColumnKind::String, {}, 0});
    }
    sink_.Columns(columns);
    comparison.ForEachDifference([this](const Difference& difference) {
      Add(difference);
      return true;
    });
    WriteChanged();
    sink_.EndRows(rows_);
  }

 private:
  // The changed cells of one row come one after another.
  void Add(const Difference& difference) {
    if (difference.kind != DifferenceKind::Changed || difference.row != changed_row_) {
      WriteChanged();
    }
    if (difference.kind == DifferenceKind::Changed) {
      changed_row_ = difference.row;
      changes_.push_back(difference);
    } else if (difference.kind == DifferenceKind::OnlyInFirst) {
      WriteRow(u"only here", first_.At(difference.row), &Place::first);
    } else {
      WriteRow(u"only there", second_.At(difference.row), &Place::second);
    }
  }

  void WriteChanged() {
    if (changes_.empty()) return;
    WriteRow(u"changed", first_.At(changed_row_), &Place::first);
    changes_.clear();
  }

  void WriteRow(TextView kind, const StoredResult::Row& row,
                std::optional<std::size_t> Place::*side) {
    std::vector<Value> values = {Value(kind)};
    for (const Place& place : places_) {
      const auto change = std::find_if(changes_.begin(), changes_.end(),
                                       [&](const Difference& d) { return d.column == place.name; });
      if (change != changes_.end()) {
        values.emplace_back(
            FromUtf8(change->first.value_or("") + " → " + change->second.value_or("")));
      } else {
        const std::optional<std::size_t>& at = place.*side;
        values.push_back(at ? ToValue(row[*at]) : Value(Null{}));
      }
    }
    sink_.Row(values);
    ++rows_;
  }

  std::vector<Place> places_;
  RowFinder first_;
  RowFinder second_;
  ResultSink& sink_;
  std::vector<Difference> changes_;  // of one row
  std::int64_t changed_row_ = 0;
  std::int64_t rows_ = 0;
};

}  // namespace

void WriteDifferences(RowStore& first, RowStore& second, const std::vector<std::string>& keys,
                      ResultSink& sink) {
  StoredResult before = Collect(first);
  StoredResult after = Collect(second);
  const ledgerwick::Comparison comparison = ledgerwick::Compare(before, after, {keys, false});
  DifferenceRows(before, after, sink).Write(comparison);
}

}  // namespace ledgerwick::desk
