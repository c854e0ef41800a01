#include "tsql/plan/plan.h"

#include "tsql/base/nesting.h"
#include "tsql/plan/lookup_keys.h"
#include "tsql/plan/pre_aggregate.h"

namespace ledgerwick::tsql {
namespace {

void PlanNested(Query& query, PlanContext& context);

void PlanFrom(From* from, PlanContext& context) {
  if (from == nullptr) return;
  const Nesting nesting;
  if (from->query != nullptr) PlanNested(*from->query, context);
  PlanFrom(from->left, context);
  PlanFrom(from->right, context);
}

void PlanNested(Query& query, PlanContext& context) {
  for (Select* select : query.selects) {
    PlanFrom(select->from, context);
    PreAggregate(*select, query, context);
  }
}

}  // namespace

void PlanQuery(Query& query, Arena& arena, Catalogue& catalogue, Planning planning) {
  if (planning == Planning::Plain) return;
  PreferKeys(query, catalogue);
  PlanContext context{arena, catalogue, planning, query.next_source};
  PlanNested(query, context);
  query.next_source = context.next_source;
}

}  // namespace ledgerwick::tsql
