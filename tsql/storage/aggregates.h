// The aggregates, which hold SQLite's own memory between their calls, and how SQLite's values keep
// exact numbers.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <exception>
#include <utility>

#include "tsql/functions/call.h"

namespace ledgerwick::tsql {

// The units of a decimal or of money as the storage keeps them, and the other way round.
// `precision` is the type's (exact.h).
Int128 UnitsOf(sqlite3_value* value) noexcept;
void ReturnUnits(sqlite3_context* context, Int128 units, int precision) noexcept;

// Calls `work`, which gives an aggregate its result; what it throws becomes the statement's error.
// The function's user data is its FunctionState.
template <typename Work>
void RaiseInStatement(sqlite3_context* context, Work&& work) noexcept {
  try {
    work();
  } catch (SqlError& error) {
    sqlite3_result_error(context, error.message.data(), static_cast<int>(error.message.size()));
    static_cast<FunctionState*>(sqlite3_user_data(context))->Keep(std::move(error));
  } catch (const std::exception&) {
    sqlite3_result_error_nomem(context);
  }
}

// Registers the aggregates of decimals and money. Returns SQLite's result. `state` outlives `db`.
int RegisterSums(sqlite3* db, FunctionState& state);

// Registers the aggregate t_group and the table t_groups. Returns SQLite's result. `state` outlives
// `db`.
int RegisterGrouping(sqlite3* db, FunctionState& state);

}  // namespace ledgerwick::tsql
