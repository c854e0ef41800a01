// T-SQL's join trees as the flat lists that SQLite plans well.
#pragma once

#include <vector>

#include "tsql/syntax/syntax_tree.h"

namespace ledgerwick::tsql {

using Sources = std::vector<const Source*>;

bool Has(const Sources& sources, const Source* source) noexcept;

// The sources of `from`, appended in the order in which they stand.
void CollectSources(const From& from, Sources& sources);

// True when `expr` reads a column of `sources`. A subquery counts by the columns that it reads from
// outside.
bool Reads(const Expr& expr, const Sources& sources);

// One table of a flat join list.
struct JoinStep {
  const From* from = nullptr;   // a table, a derived table, or a join that stays nested
  bool left = false;            // LEFT JOIN to everything before it
  std::vector<const Expr*> on;  // of a LEFT JOIN; inner conditions stand in JoinPlan::conditions
};

struct JoinPlan {
  std::vector<JoinStep> steps;
  std::vector<const Expr*> conditions;  // of the inner joins and of `where`: what every row meets
};

// The same rows as `from` restricted by `where` (may be nullptr): every RIGHT JOIN turned round,
// because SQLite scans the left table of one for every row; outer joins that the conditions make
// inner ones written so; the others right behind the tables that they read. What cannot be
// flattened stays one nested step.
JoinPlan PlanJoins(const From& from, const Expr* where);

}  // namespace ledgerwick::tsql
