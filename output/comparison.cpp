#include "output/comparison.h"

#include <algorithm>
#include <charconv>

#include "output/key_search.h"

namespace ledgerwick {
namespace {

using Row = StoredResult::Row;
using Cell = StoredResult::Cell;
using Cursor = StoredResult::Cursor;

// The columns of Comparison::differences; those that are shown follow.
enum DifferenceColumn : std::size_t { kOrder, kKind, kName, kFirst, kSecond, kShown };

constexpr std::size_t kOrderDigits = 19;

std::optional<std::size_t> Place(const StoredResult& result, const std::string& name) {
  for (std::size_t i = 0; i < result.columns().size(); ++i) {
    if (result.columns()[i].name == name) return i;
  }
  return std::nullopt;
}

// Texts in the order of the rows' numbers, those of the first result before the second's.
std::string OrderOf(bool of_second, std::int64_t number) {
  const std::string digits = std::to_string(number);
  return (of_second ? "2" : "1") + std::string(kOrderDigits - digits.size(), '0') + digits;
}

std::int64_t NumberOf(const std::string& order) {
  std::int64_t number = 0;
  std::from_chars(order.data() + 1, order.data() + order.size(), number);
  return number;
}

// A side's rows while two are compared.
class Side {
 public:
  explicit Side(std::unique_ptr<Cursor> cursor) : cursor_(std::move(cursor)) { Next(); }

  bool has_row() const noexcept { return has_row_; }
  const Row& row() const { return cursor_->row(); }
  std::int64_t number() const { return cursor_->number(); }
  void Next() { has_row_ = cursor_->Next(); }

 private:
  std::unique_ptr<Cursor> cursor_;
  bool has_row_ = false;
};

class Comparer {
 public:
  Comparer(StoredResult& first, StoredResult& second) : first_(first), second_(second) {}

  Comparison Run(const ComparisonOptions& options) {
    MatchColumns();
    std::vector<CommonColumn> keys;
    if (!options.ordered) {
      keys = options.keys.empty() ? FindKeys(first_, second_, common_) : GivenKeys(options.keys);
      for (const CommonColumn& key : keys) result_.keys.push_back(key.name);
      for (const CommonColumn& column : keys.empty() ? common_ : keys) {
        result_.shown.push_back(column.name);
      }
    }
    MakeDifferences();
    if (options.ordered) {
      CompareInOrder();
    } else {
      CompareByKeys(keys);
    }
    return std::move(result_);
  }

 private:
  void MatchColumns() {
    std::vector<std::size_t> first_numbers;
    std::vector<std::size_t> second_numbers;
    for (std::size_t i = 0; i < first_.columns().size(); ++i) {
      const std::string& name = first_.columns()[i].name;
      const auto place = Place(second_, name);
      if (!place) {
        result_.only_in_first.push_back(name);
        continue;
      }
      common_.push_back({name, i, *place});
      if (!first_.columns()[i].is_number && !second_.columns()[*place].is_number) continue;
      first_numbers.push_back(i);
      second_numbers.push_back(*place);
    }
    first_.ShortenNumbers(first_numbers);
    second_.ShortenNumbers(second_numbers);
    for (const StoredResult::Column& column : second_.columns()) {
      if (!Place(first_, column.name)) result_.only_in_second.push_back(column.name);
    }
  }

  std::vector<CommonColumn> GivenKeys(const std::vector<std::string>& names) {
    std::vector<CommonColumn> keys;
    for (const std::string& name : names) {
      const auto found = std::find_if(common_.begin(), common_.end(),
                                      [&](const CommonColumn& c) { return c.name == name; });
      if (found == common_.end()) throw KeyError("no column '" + name + "' that both results have");
      keys.push_back(*found);
    }
    CheckApart(first_, Places(keys, &CommonColumn::first), "first");
    CheckApart(second_, Places(keys, &CommonColumn::second), "second");
    return keys;
  }

  static void CheckApart(const StoredResult& result, const std::vector<std::size_t>& keys,
                         const char* which) {
    const auto twins = Twins(result, keys, 1);
    if (twins.empty()) return;
    throw KeyError("the key does not tell the rows apart: rows " +
                   std::to_string(twins.front().first) + " and " +
                   std::to_string(twins.front().second) + " of the " + which + " result share it");
  }

  static std::vector<std::size_t> Places(const std::vector<CommonColumn>& columns,
                                         std::size_t CommonColumn::*place) {
    std::vector<std::size_t> places;
    for (const CommonColumn& column : columns) places.push_back(column.*place);
    return places;
  }

  void MakeDifferences() {
    for (std::size_t i = 0; i < kShown + result_.shown.size(); ++i) {
      result_.differences.AddColumn(std::to_string(i), false);
    }
  }

  // Both sides in the order of the key: equal keys meet. Of rows that share one, which whole rows
  // may, the earliest meet.
  void CompareByKeys(const std::vector<CommonColumn>& keys) {
    columns_ = keys.empty() ? common_ : keys;
    const std::size_t count = columns_.size();
    if (!keys.empty()) {
      for (const CommonColumn& column : common_) {
        const bool is_key = std::any_of(keys.begin(), keys.end(), [&](const CommonColumn& key) {
          return key.first == column.first;
        });
        if (!is_key) columns_.push_back(column);
      }
    }
    Side first(first_.ReadSorted(Places(columns_, &CommonColumn::first), count));
    Side second(second_.ReadSorted(Places(columns_, &CommonColumn::second), count));
    while (first.has_row() || second.has_row()) {
      const int order = !first.has_row()    ? 1
                        : !second.has_row() ? -1
                                            : CompareKeys(first.row(), second.row(), count);
      if (order < 0) {
        AddRow(first, DifferenceKind::OnlyInFirst);
      } else if (order > 0) {
        AddRow(second, DifferenceKind::OnlyInSecond);
      } else {
        AddCells(first, second, count);
      }
      if (order <= 0) first.Next();
      if (order >= 0) second.Next();
    }
  }

  static int CompareKeys(const Row& a, const Row& b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      if (a[i] < b[i]) return -1;
      if (b[i] < a[i]) return 1;
    }
    return 0;
  }

  void CompareInOrder() {
    columns_ = common_;
    Side first(first_.Read(Places(columns_, &CommonColumn::first)));
    Side second(second_.Read(Places(columns_, &CommonColumn::second)));
    for (; first.has_row() && second.has_row(); first.Next(), second.Next()) {
      AddCells(first, second, 0);
    }
    for (; first.has_row(); first.Next()) AddRow(first, DifferenceKind::OnlyInFirst);
    for (; second.has_row(); second.Next()) AddRow(second, DifferenceKind::OnlyInSecond);
  }

  // The cells of two rows that belong together, the first `equal` of which are the same.
  void AddCells(const Side& first, const Side& second, std::size_t equal) {
    std::vector<std::size_t> changed;
    for (std::size_t i = equal; i < columns_.size(); ++i) {
      if (first.row()[i] != second.row()[i]) changed.push_back(i);
    }
    // As the first result has its columns.
    std::sort(changed.begin(), changed.end(),
              [&](std::size_t a, std::size_t b) { return columns_[a].first < columns_[b].first; });
    for (const std::size_t i : changed) {
      ++result_.changed_cells;
      Add(first, DifferenceKind::Changed, columns_[i].name, first.row()[i], second.row()[i]);
    }
  }

  void AddRow(const Side& side, DifferenceKind kind) {
    ++(kind == DifferenceKind::OnlyInFirst ? result_.rows_only_in_first
                                           : result_.rows_only_in_second);
    Add(side, kind, {}, {}, {});
  }

  void Add(const Side& side, DifferenceKind kind, const std::string& column, const Cell& first,
           const Cell& second) {
    Row row = {OrderOf(kind == DifferenceKind::OnlyInSecond, side.number()),
               std::to_string(static_cast<int>(kind)), column, first, second};
    for (std::size_t i = 0; i < result_.shown.size(); ++i) row.push_back(side.row()[i]);
    result_.differences.AddRow(row);
  }

  StoredResult& first_;
  StoredResult& second_;
  std::vector<CommonColumn> common_;
  std::vector<CommonColumn> columns_;  // that are read, those that are shown first
  Comparison result_;
};

}  // namespace

void Comparison::ForEachDifference(const std::function<bool(const Difference&)>& visit) const {
  std::vector<std::size_t> columns(differences.columns().size());
  for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = i;
  const auto cursor = differences.ReadSorted(columns, 1);
  while (cursor->Next()) {
    const Row& row = cursor->row();
    Difference difference;
    difference.kind = static_cast<DifferenceKind>(std::stoi(*row[kKind]));
    difference.row = NumberOf(*row[kOrder]);
    difference.shown.assign(row.begin() + kShown, row.end());
    difference.column = *row[kName];
    difference.first = row[kFirst];
    difference.second = row[kSecond];
    if (!visit(difference)) return;
  }
}

Comparison Compare(StoredResult& first, StoredResult& second, const ComparisonOptions& options) {
  return Comparer(first, second).Run(options);
}

}  // namespace ledgerwick
