// The functions and the collation that T-SQL needs beyond SQLite's own, registered with a
// connection. The emitter writes calls to them; nothing else knows their names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include "tsql/errors.h"

struct sqlite3;

namespace ledgerwick::tsql {

// The name of the collation that every text column is declared with: letter case, width, kana type
// and trailing blanks do not count.
inline constexpr const char* kCollation = "CHINESE_PRC_CI_AS";

// What the functions share with whoever runs the statement.
struct FunctionState {
  // The error that a function raised while a statement ran: SQLite carries the text alone.
  std::optional<SqlError> error;

  // GETDATE's answer for the whole statement that runs; none before it is asked.
  std::optional<std::int64_t> now;

  // Keeps `raised` for whoever runs the statement.
  void Keep(SqlError&& raised) noexcept { error.emplace(std::move(raised)); }

  // Whether there is an object of that name ("tempdb..x"); empty until someone knows.
  std::function<bool(TextView name)> object_exists;
};

// Chooses SQLite's optimisations for a statement of `text_size` bytes that is prepared next.
void ChooseOptimizations(sqlite3* db, std::size_t text_size) noexcept;

// `number`; throws 8115 for what SQLite computes where a float overflows.
double Finite(double number);

// Registers everything with `db`. `state` outlives `db`. Throws SqlError when SQLite refuses.
void RegisterFunctions(sqlite3* db, FunctionState& state);

}  // namespace ledgerwick::tsql
