// How a statement is read, planned and run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/text.h"

namespace ledgerwick::tsql {

// Texts are UTF-8 but for the statement's own.
struct Explanation {
  Text statement;                      // as it is written
  std::string bound;                   // what it means, a line for each part
  std::vector<std::string> decisions;  // what the planner did and why
  std::vector<std::string> sql;        // SQLite's, in the order in which it runs
  std::vector<std::string> parts;      // what t_part calls in it, by number
  std::vector<std::string> plan;       // SQLite's query plan, what belongs to another set in

  // Where it was run:
  std::int64_t runs = 0;
  std::int64_t rows = 0;       // given or changed, of all runs
  double compile_seconds = 0;  // from the syntax tree to SQL
  double run_seconds = 0;      // of all runs
};

}  // namespace ledgerwick::tsql
