// What nests deeper than SQLite reads is taken apart: its parser keeps at most 100 symbols that
// wait for their end, which thirty calls in one another are, or fourteen derived tables. An
// expression becomes a part, evaluated by a statement of its own when its turn comes, and a derived
// table that reads nothing from outside goes to a WITH in front. Nothing changes for what is
// shallow.
#pragma once

#include "tsql/plan/plan.h"

namespace ledgerwick::tsql {

// Each for everything in the tree. The last of the passes: what they mark stays as it is.
void SplitDeep(BoundQuery& query, PlanContext& context);
void SplitDeep(BoundExpr& expr, PlanContext& context);
void SplitDeep(BoundModification& modification, PlanContext& context);

}  // namespace ledgerwick::tsql
