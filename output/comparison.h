// What differs between two results.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/result_table.h"

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

// A cell, a row or a column that differs.
struct Difference {
  std::optional<std::size_t> first;   // the row in the first result; nothing where it has none
  std::optional<std::size_t> second;  // the row in the second
  std::optional<std::string> column;  // whose values differ; nothing for a row that one side lacks
};

struct Comparison {
  std::vector<std::string> only_in_first;   // columns
  std::vector<std::string> only_in_second;  // columns
  std::vector<std::string> common;          // columns, in the order of the first
  // What tells the rows apart. Empty where nothing does, or where rows were compared in order:
  // whole rows are then alike or not, as often as they occur.
  std::vector<std::string> keys;
  std::vector<Difference> differences;  // in the order of the first, then of the second

  bool Equal() const noexcept {
    return only_in_first.empty() && only_in_second.empty() && differences.empty();
  }
};

// Compares the columns that both have by their names, and their values as text. In a column that
// one side knows to hold numbers 1.50 and 1.5 are the same, and both results are changed to the
// shorter. Order does not count unless asked. Throws KeyError for keys that are no common columns
// or that two rows of one side share.
Comparison Compare(ResultTable& first, ResultTable& second, const ComparisonOptions& options);

}  // namespace ledgerwick
