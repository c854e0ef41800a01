// Grouping before joining.
#pragma once

#include "tsql/plan/plan.h"

namespace ledgerwick::tsql {

// Reports join their detail rows to the tables that describe them and then group by the
// descriptions: a million rows are widened, sorted by forty columns, and become a thousand. This
// rewrite groups the detail rows first, by what the rest of the statement reads of them, and joins
// the groups:
//
//   SELECT I.name, SUM(D.quantity / I.rate) FROM D JOIN I ON D.item = I.code GROUP BY I.name
//   SELECT I.name, SUM(G.s / I.rate)
//     FROM (SELECT item, SUM(quantity) AS s FROM D GROUP BY item) G JOIN I ON G.item = I.code
//     GROUP BY I.name
//
// Why the rows stay the same:
// - Whether a group meets a row of another table depends on its key columns alone, and all its rows
//   meet the same ones; so a row that is doubled by a join is doubled with its whole group.
// - Sums are split only where they are linear in the detail: CASE whose conditions are the same for
//   the whole group, a factor or a divisor from outside, a sign. Nulls are skipped inside as they
//   were, and a group of nulls alone is null in both. Floats may differ in the last digits, as
//   they may by the order of rows.
// - What is evaluated inside cannot fail, because it may see rows that a later join drops; a
//   division by a column stays outside, where it fails for a group that reaches it as it did for
//   the rows.
// - Texts that differ in letter case or trailing blanks alone are one group, inside as outside.
//   Which of the spellings is shown is open in both; where a spelling could matter (LIKE, LEN, +)
//   the whole expression is made a key, or the rewrite does not take place.
//
// Where a sum asks the same expression for one of many values (a pivot), the expression becomes a
// key, so that it is computed once for each row and the questions are asked once for each group.
//
// `select` is changed whole or not at all. `query` is the query that it belongs to.
void PreAggregate(BoundSelect& select, BoundQuery& query, PlanContext& context);

}  // namespace ledgerwick::tsql
