#include "output/comparison.h"

#include <algorithm>
#include <functional>
#include <map>
#include <unordered_map>

#include "output/value_text.h"

namespace ledgerwick {
namespace {

using Row = ResultTable::Row;
using Cell = std::optional<std::string>;

// A common column and its places.
struct Pair {
  std::string name;
  std::size_t first;
  std::size_t second;
};

bool IsDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// A number as people write it: no exponent, no zero in front of another digit.
bool IsPlainNumber(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  const std::string_view whole = text.substr(0, point);
  if (!IsDigits(whole) || (whole.size() > 1 && whole.front() == '0')) return false;
  return point == std::string_view::npos || IsDigits(text.substr(point + 1));
}

std::optional<std::size_t> Place(const ResultTable& table, const std::string& name) {
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (table.columns[i].name == name) return i;
  }
  return std::nullopt;
}

void ShortenNumbers(ResultTable& table, std::size_t column) {
  for (Row& row : table.rows) {
    if (row[column] && IsPlainNumber(*row[column])) row[column] = ShortestDecimal(*row[column]);
  }
}

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

  // Two rows of one group.
  std::pair<std::size_t, std::size_t> Twins() const {
    std::map<std::size_t, std::size_t> seen;
    for (std::size_t i = 0; i < group_.size(); ++i) {
      const auto [at, is_new] = seen.try_emplace(group_[i], i);
      if (!is_new) return {at->second, i};
    }
    return {0, 0};
  }

 private:
  const std::vector<Row>* rows_;
  std::vector<std::size_t> group_;
  std::size_t count_;
};

enum class Likely { Key, Number, Measure };

// Whether a column is likely to name what a row is about.
Likely Judge(const ResultTable& table, std::size_t column) {
  Likely likely = Likely::Number;
  for (const Row& row : table.rows) {
    if (!row[column]) continue;
    if (!IsPlainNumber(*row[column])) return Likely::Key;
    if (row[column]->find('.') != std::string::npos) likely = Likely::Measure;
  }
  return likely;
}

Likely Judge(const ResultTable& first, const ResultTable& second, const Pair& pair) {
  const Likely a = Judge(first, pair.first);
  const Likely b = Judge(second, pair.second);
  return a == Likely::Key || b == Likely::Key ? Likely::Key : std::max(a, b);
}

class Comparer {
 public:
  Comparer(ResultTable& first, ResultTable& second) : first_(first), second_(second) {}

  Comparison Run(const ComparisonOptions& options) {
    MatchColumns();
    if (options.ordered) {
      CompareInOrder();
      return std::move(result_);
    }
    const std::vector<Pair> keys = options.keys.empty() ? FindKeys() : GivenKeys(options.keys);
    for (const Pair& key : keys) result_.keys.push_back(key.name);
    CompareByKeys(keys.empty() ? pairs_ : keys, keys.empty());
    return std::move(result_);
  }

 private:
  void MatchColumns() {
    for (std::size_t i = 0; i < first_.columns.size(); ++i) {
      const std::string& name = first_.columns[i].name;
      const auto place = Place(second_, name);
      if (!place) {
        result_.only_in_first.push_back(name);
        continue;
      }
      pairs_.push_back({name, i, *place});
      result_.common.push_back(name);
      if (!first_.columns[i].is_number && !second_.columns[*place].is_number) continue;
      ShortenNumbers(first_, i);
      ShortenNumbers(second_, *place);
    }
    for (const ResultTable::Column& column : second_.columns) {
      if (!Place(first_, column.name)) result_.only_in_second.push_back(column.name);
    }
  }

  std::vector<Pair> GivenKeys(const std::vector<std::string>& names) {
    std::vector<Pair> keys;
    for (const std::string& name : names) {
      const auto found = std::find_if(pairs_.begin(), pairs_.end(),
                                      [&](const Pair& pair) { return pair.name == name; });
      if (found == pairs_.end()) throw KeyError("no column '" + name + "' that both results have");
      keys.push_back(*found);
    }
    CheckApart(first_, keys, &Pair::first, "first");
    CheckApart(second_, keys, &Pair::second, "second");
    return keys;
  }

  static void CheckApart(const ResultTable& table, const std::vector<Pair>& keys,
                         std::size_t Pair::*place, const char* which) {
    Groups groups(table.rows);
    for (const Pair& key : keys) groups.Refine(key.*place);
    if (groups.Apart()) return;
    const auto [a, b] = groups.Twins();
    throw KeyError("the key does not tell the rows apart: rows " + std::to_string(a + 1) + " and " +
                   std::to_string(b + 1) + " of the " + which + " result share it");
  }

  bool Apart(const std::vector<Pair>& keys) const {
    Groups first(first_.rows);
    Groups second(second_.rows);
    for (const Pair& key : keys) {
      first.Refine(key.first);
      second.Refine(key.second);
    }
    return first.Apart() && second.Apart();
  }

  // The first columns that together tell the rows of both sides apart, texts before whole numbers,
  // never a measure; none where no columns do.
  std::vector<Pair> FindKeys() const {
    std::vector<Pair> keys;
    Groups first(first_.rows);
    Groups second(second_.rows);
    for (const Likely wanted : {Likely::Key, Likely::Number}) {
      for (const Pair& pair : pairs_) {
        if (first.Apart() && second.Apart() && !keys.empty()) break;
        if (Judge(first_, second_, pair) != wanted) continue;
        Groups finer_first = first;
        Groups finer_second = second;
        finer_first.Refine(pair.first);
        finer_second.Refine(pair.second);
        if (finer_first.count() == first.count() && finer_second.count() == second.count())
          continue;
        first = std::move(finer_first);
        second = std::move(finer_second);
        keys.push_back(pair);
      }
    }
    if (!first.Apart() || !second.Apart()) return {};
    DropNeedless(keys);
    return keys;
  }

  // A column that is no part of the key shows its changes as changes.
  void DropNeedless(std::vector<Pair>& keys) const {
    for (std::size_t i = 0; i < keys.size() && keys.size() > 1;) {
      std::vector<Pair> fewer = keys;
      fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
      if (Apart(fewer)) {
        keys = std::move(fewer);
      } else {
        ++i;
      }
    }
  }

  static std::string KeyOf(const Row& row, const std::vector<Pair>& keys,
                           std::size_t Pair::*place) {
    std::string text;
    for (const Pair& key : keys) {
      const Cell& cell = row[key.*place];
      text += cell ? std::to_string(cell->size()) + ":" + *cell : "-";
    }
    return text;
  }

  void CompareByKeys(const std::vector<Pair>& keys, bool whole_rows) {
    // Of rows that share a key, which whole rows may, the earliest that is left.
    std::unordered_map<std::string, std::vector<std::size_t>> waiting;
    for (std::size_t i = second_.rows.size(); i-- > 0;) {
      waiting[KeyOf(second_.rows[i], keys, &Pair::second)].push_back(i);
    }
    std::vector<bool> met(second_.rows.size());
    for (std::size_t i = 0; i < first_.rows.size(); ++i) {
      const auto found = waiting.find(KeyOf(first_.rows[i], keys, &Pair::first));
      if (found == waiting.end() || found->second.empty()) {
        result_.differences.push_back({i, std::nullopt, std::nullopt});
        continue;
      }
      const std::size_t other = found->second.back();
      found->second.pop_back();
      met[other] = true;
      if (!whole_rows) CompareCells(i, other);
    }
    for (std::size_t i = 0; i < met.size(); ++i) {
      if (!met[i]) result_.differences.push_back({std::nullopt, i, std::nullopt});
    }
  }

  void CompareInOrder() {
    const std::size_t both = std::min(first_.rows.size(), second_.rows.size());
    for (std::size_t i = 0; i < both; ++i) CompareCells(i, i);
    for (std::size_t i = both; i < first_.rows.size(); ++i) {
      result_.differences.push_back({i, std::nullopt, std::nullopt});
    }
    for (std::size_t i = both; i < second_.rows.size(); ++i) {
      result_.differences.push_back({std::nullopt, i, std::nullopt});
    }
  }

  void CompareCells(std::size_t first, std::size_t second) {
    for (const Pair& pair : pairs_) {
      if (first_.rows[first][pair.first] == second_.rows[second][pair.second]) continue;
      result_.differences.push_back({first, second, pair.name});
    }
  }

  ResultTable& first_;
  ResultTable& second_;
  std::vector<Pair> pairs_;
  Comparison result_;
};

}  // namespace

Comparison Compare(ResultTable& first, ResultTable& second, const ComparisonOptions& options) {
  return Comparer(first, second).Run(options);
}

}  // namespace ledgerwick
