// The functions and the collation that T-SQL needs beyond SQLite's own, registered with a
// connection. The emitter writes calls to them; nothing else knows their names.
#pragma once

#include <cstddef>

#include "tsql/functions/call.h"

struct sqlite3;

namespace ledgerwick::tsql {

// Chooses SQLite's optimisations for a statement of `text_size` bytes that is prepared next.
void ChooseOptimizations(sqlite3* db, std::size_t text_size) noexcept;

// Registers everything with `db`. `state` outlives `db`. Throws SqlError when SQLite refuses.
void RegisterFunctions(sqlite3* db, FunctionState& state);

}  // namespace ledgerwick::tsql
