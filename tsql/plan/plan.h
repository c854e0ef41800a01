// Rewrites of bound queries that give the same rows sooner. Each is a pass of its own; without them
// a statement runs as it is written.
#pragma once

#include "tsql/base/arena.h"
#include "tsql/base/planning.h"
#include "tsql/storage/catalogue.h"
#include "tsql/syntax/syntax_tree.h"

namespace ledgerwick::tsql {

// Rewrites `query`, which a binder has passed, and the derived tables in it. What it adds lives in
// `arena`. Raises nothing of its own; the storage's errors pass through.
void PlanQuery(Query& query, Arena& arena, Catalogue& catalogue, Planning planning);

}  // namespace ledgerwick::tsql
