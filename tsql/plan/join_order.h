// The order of joins: T-SQL's join trees as the flat lists that SQLite plans well.
#pragma once

#include <vector>

#include "tsql/plan/plan.h"

namespace ledgerwick::tsql {

// One table of a flat join list.
struct JoinStep {
  BoundFrom* from = nullptr;   // a table, a derived table, or a join that stays nested
  bool left = false;           // LEFT JOIN to everything before it
  std::vector<BoundExpr*> on;  // of a LEFT JOIN; inner conditions stand in JoinPlan::conditions
};

struct JoinPlan {
  std::vector<JoinStep> steps;
  std::vector<BoundExpr*> conditions;  // of the inner joins and of `where`: what every row meets
};

// The same rows as `from` restricted by `where` (may be nullptr): outer joins that the conditions
// make inner ones written so; the others right behind the tables that they read. What cannot be
// flattened stays one nested step. The trees are as they were. Tells `notes` (may be nullptr).
JoinPlan PlanJoins(BoundFrom& from, BoundExpr* where, PlanNotes* notes = nullptr);

// `left`, or nothing, joined with what `step` joins.
BoundFrom* Join(BoundFrom* left, const JoinStep& step, Arena& arena);

// All of `terms` as one condition; nullptr for none.
BoundExpr* Conjunction(const std::vector<BoundExpr*>& terms, Arena& arena);

// Puts the joins of a select, or of UPDATE or DELETE, in the order of PlanJoins.
void OrderJoins(BoundFrom*& from, BoundExpr*& where, PlanContext& context);

}  // namespace ledgerwick::tsql
