#include "output/key_search.h"

#include <set>
#include <unordered_map>

namespace ledgerwick {
namespace {

using Row = StoredResult::Row;
using Cell = StoredResult::Cell;
using Place = std::size_t CommonColumn::*;

constexpr std::size_t kSampled = 2000;   // rows of each side to begin with
constexpr std::size_t kMostTwins = 500;  // pairs that join them at a time

// Parts rows into groups that share the values of more and more columns.
class Groups {
 public:
  explicit Groups(const std::vector<Row>& rows)
      : rows_(&rows), group_(rows.size()), count_(rows.empty() ? 0 : 1) {}

  void Refine(std::size_t column) {
    std::unordered_map<std::string, std::size_t> found;
    for (std::size_t i = 0; i < group_.size(); ++i) {
      const Cell& cell = (*rows_)[i][column];
      std::string key = std::to_string(group_[i]) + (cell ? ":" + *cell : "");
      group_[i] = found.try_emplace(std::move(key), found.size()).first->second;
    }
    count_ = found.size();
  }
  std::size_t count() const noexcept { return count_; }
  bool Apart() const noexcept { return count_ == group_.size(); }

 private:
  const std::vector<Row>* rows_;
  std::vector<std::size_t> group_;
  std::size_t count_;
};

enum class Likely { Key, Number, Measure };

// Whether a column is likely to name what a row is about.
Likely Judge(const StoredResult& first, const StoredResult& second, const CommonColumn& column) {
  const StoredResult::Column& a = first.columns()[column.first];
  const StoredResult::Column& b = second.columns()[column.second];
  if (a.has_words || b.has_words) return Likely::Key;
  const bool is_number = a.is_number || b.is_number;
  const bool has_fraction =
      is_number ? a.has_short_fraction || b.has_short_fraction : a.has_fraction || b.has_fraction;
  return has_fraction ? Likely::Measure : Likely::Number;
}

std::vector<std::size_t> AllColumns(const StoredResult& result) {
  std::vector<std::size_t> columns(result.columns().size());
  for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = i;
  return columns;
}

// Some rows of a result.
class Sample {
 public:
  explicit Sample(const StoredResult& result) : result_(result) {
    const auto cursor = result.Read(AllColumns(result));
    while (rows_.size() < kSampled && cursor->Next()) Add(*cursor);
  }

  const std::vector<Row>& rows() const noexcept { return rows_; }

  // Adds rows that `keys` do not tell apart. False where there are none.
  bool AddTwins(const std::vector<CommonColumn>& keys, Place place) {
    std::vector<std::size_t> columns;
    for (const CommonColumn& key : keys) columns.push_back(key.*place);
    const auto twins = Twins(result_, columns, kMostTwins);
    for (const auto& [a, b] : twins) {
      for (const std::int64_t number : {a, b}) {
        const auto cursor = result_.Read(AllColumns(result_), number);
        if (!numbers_.contains(number) && cursor->Next()) Add(*cursor);
      }
    }
    return !twins.empty();
  }

 private:
  void Add(const StoredResult::Cursor& cursor) {
    numbers_.insert(cursor.number());
    rows_.push_back(cursor.row());
  }

  const StoredResult& result_;
  std::vector<Row> rows_;
  std::set<std::int64_t> numbers_;
};

class Search {
 public:
  Search(const StoredResult& first, const StoredResult& second,
         const std::vector<CommonColumn>& columns)
      : first_(first),
        second_(second),
        columns_(columns),
        first_sample_(first),
        second_sample_(second) {}

  std::vector<CommonColumn> Run() {
    for (;;) {
      const std::vector<CommonColumn> keys = FindInRows();
      if (keys.empty()) return keys;
      const bool first_twins = first_sample_.AddTwins(keys, &CommonColumn::first);
      const bool second_twins = second_sample_.AddTwins(keys, &CommonColumn::second);
      if (!first_twins && !second_twins) return keys;
    }
  }

 private:
  bool Apart(const std::vector<CommonColumn>& keys) const {
    Groups first(first_sample_.rows());
    Groups second(second_sample_.rows());
    for (const CommonColumn& key : keys) {
      first.Refine(key.first);
      second.Refine(key.second);
    }
    return first.Apart() && second.Apart();
  }

  std::vector<CommonColumn> FindInRows() const {
    std::vector<CommonColumn> keys;
    Groups first(first_sample_.rows());
    Groups second(second_sample_.rows());
    for (const Likely wanted : {Likely::Key, Likely::Number}) {
      for (const CommonColumn& column : columns_) {
        if (first.Apart() && second.Apart() && !keys.empty()) break;
        if (Judge(first_, second_, column) != wanted) continue;
        Groups finer_first = first;
        Groups finer_second = second;
        finer_first.Refine(column.first);
        finer_second.Refine(column.second);
        if (finer_first.count() == first.count() && finer_second.count() == second.count())
          continue;
        first = std::move(finer_first);
        second = std::move(finer_second);
        keys.push_back(column);
      }
    }
    if (!first.Apart() || !second.Apart()) return {};
    DropNeedless(keys);
    return keys;
  }

  // A column that is no part of the key shows its changes as changes.
  void DropNeedless(std::vector<CommonColumn>& keys) const {
    for (std::size_t i = 0; i < keys.size() && keys.size() > 1;) {
      std::vector<CommonColumn> fewer = keys;
      fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
      if (Apart(fewer)) {
        keys = std::move(fewer);
      } else {
        ++i;
      }
    }
  }

  const StoredResult& first_;
  const StoredResult& second_;
  const std::vector<CommonColumn>& columns_;
  Sample first_sample_;
  Sample second_sample_;
};

}  // namespace

std::vector<CommonColumn> FindKeys(const StoredResult& first, const StoredResult& second,
                                   const std::vector<CommonColumn>& columns) {
  return Search(first, second, columns).Run();
}

std::vector<std::pair<std::int64_t, std::int64_t>> Twins(const StoredResult& result,
                                                         const std::vector<std::size_t>& columns,
                                                         std::size_t most) {
  std::vector<std::pair<std::int64_t, std::int64_t>> twins;
  const auto cursor = result.ReadSorted(columns, columns.size());
  Row before;
  std::int64_t number = 0;
  while (twins.size() < most && cursor->Next()) {
    if (number != 0 && cursor->row() == before) twins.emplace_back(number, cursor->number());
    before = cursor->row();
    number = cursor->number();
  }
  return twins;
}

}  // namespace ledgerwick
