// What differs between two results.
#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/stored_result.h"

namespace ledgerwick {

// The columns that were to tell the rows apart do not.
class KeyError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ComparisonOptions {
  std::vector<std::string> keys;  // columns that tell the rows apart; none to find them
  bool ordered = false;           // row by row instead
};

enum class DifferenceKind { OnlyInFirst, OnlyInSecond, Changed };

// A cell or a row that differs.
struct Difference {
  DifferenceKind kind = DifferenceKind::Changed;
  std::int64_t row = 0;  // its number in the second result where only that has it, else the first
  StoredResult::Row shown;  // its values in Comparison::shown
  std::string column;       // of a changed cell; its two values
  StoredResult::Cell first;
  StoredResult::Cell second;
};

struct Comparison {
  std::vector<std::string> only_in_first;   // columns
  std::vector<std::string> only_in_second;  // columns
  // What tells the rows apart. Empty where nothing does, or where rows were compared in order:
  // whole rows are then alike or not, as often as they occur.
  std::vector<std::string> keys;
  // The columns that show which row a difference is about: the keys, else all common ones; none
  // where rows were compared in order.
  std::vector<std::string> shown;
  std::int64_t rows_only_in_first = 0;
  std::int64_t rows_only_in_second = 0;
  std::int64_t changed_cells = 0;
  StoredResult differences;

  bool Equal() const noexcept {
    return only_in_first.empty() && only_in_second.empty() && rows_only_in_first == 0 &&
           rows_only_in_second == 0 && changed_cells == 0;
  }

  // Calls `visit` for each difference, in the order of the first result, then of the second, until
  // it returns false.
  void ForEachDifference(const std::function<bool(const Difference&)>& visit) const;
};

// Compares the columns that both have by their names, and their values as text. In a column that
// one side knows to hold numbers 1.50 and 1.5 are the same, and both results are changed to the
// shorter. Order does not count unless asked. Memory does not grow with the results. Throws
// KeyError for keys that are no common columns or that two rows of one side share, and OutputError.
Comparison Compare(StoredResult& first, StoredResult& second, const ComparisonOptions& options);

}  // namespace ledgerwick
