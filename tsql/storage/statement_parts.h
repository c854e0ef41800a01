// Expressions that nest deeper than SQLite's parser goes, as statements of their own. The statement
// calls t_part(parts, i, value…) where part i stood; the part sees the values as ?2, ?3 …, and the
// parts that it calls itself through ?1. It is evaluated when its call is, so that what a CASE does
// not choose is not computed. Values beyond what one call takes come in bundles: t_bundle(value…).
#pragma once

#include <sqlite3.h>

#include <span>
#include <string>
#include <vector>

#include "tsql/storage/sqlite.h"

namespace ledgerwick::tsql {

// The parts of one statement that runs. Prepared as they are called.
class StatementParts {
 public:
  // `texts[i]` is "SELECT expression", which gives one row. They outlive this.
  explicit StatementParts(std::span<const std::string> texts);

  // Makes these what parameter `index` of `statement`, which they outlive, stands for.
  void Bind(sqlite3_stmt* statement, int index);

  // Gives a call its result, or its error; an error that a function raised is kept in its
  // FunctionState already.
  void Evaluate(sqlite3_context* context, std::span<sqlite3_value*> arguments) noexcept;

 private:
  int Prepare(sqlite3* db, std::size_t part) noexcept;

  std::span<const std::string> texts_;
  std::vector<SqliteStatement> prepared_;
};

// Registers t_part and t_bundle. Returns SQLite's result.
int RegisterParts(sqlite3* db) noexcept;

}  // namespace ledgerwick::tsql
