#include "tsql/plan/plan.h"

#include "tsql/base/nesting.h"
#include "tsql/plan/join_order.h"
#include "tsql/plan/lookup_keys.h"
#include "tsql/plan/pre_aggregate.h"
#include "tsql/plan/split.h"

namespace ledgerwick::tsql {
namespace {

void GroupFirst(BoundQuery& query, PlanContext& context);

// Derived tables before the queries that they stand in. A view is left as it is written.
void GroupFirst(const BoundFrom* from, PlanContext& context) {
  if (from == nullptr) return;
  const Nesting nesting;
  const Source* source = from->source;
  if (source != nullptr && source->table == nullptr) GroupFirst(*source->query, context);
  GroupFirst(from->left, context);
  GroupFirst(from->right, context);
}

void GroupFirst(BoundQuery& query, PlanContext& context) {
  for (BoundSelect* select : query.selects) {
    GroupFirst(select->from, context);
    PreAggregate(*select, query, context);
  }
}

void OrderAll(BoundQuery& query, PlanContext& context);

void OrderAll(BoundExpr* expr, PlanContext& context) {
  if (expr == nullptr) return;
  const Nesting nesting;
  for (BoundExpr* arg : expr->args) OrderAll(arg, context);
  if (expr->query != nullptr) OrderAll(*expr->query, context);
}

void OrderAll(const BoundFrom* from, PlanContext& context) {
  if (from == nullptr) return;
  const Nesting nesting;
  if (from->source != nullptr && from->source->query != nullptr) {
    OrderAll(*from->source->query, context);
  }
  OrderAll(from->left, context);
  OrderAll(from->right, context);
  OrderAll(from->on, context);
}

// The joins of `query` and of every query in it.
void OrderAll(BoundQuery& query, PlanContext& context) {
  const Nesting nesting;
  for (BoundSelect* select : query.selects) {
    OrderJoins(select->from, select->where, context);
    OrderAll(select->from, context);
    OrderAll(select->where, context);
    for (const BoundItem& item : select->items) OrderAll(item.expr, context);
    for (BoundExpr* key : select->group_by) OrderAll(key, context);
    OrderAll(select->having, context);
  }
  for (const BoundOrder& item : query.order_by) OrderAll(item.expr, context);
}

}  // namespace

std::string NameOf(const Source& source) {
  return ToUtf8(source.exposed) + " (s" + std::to_string(source.id) + ")";
}

void PlanQuery(BoundQuery& query, PlanContext& context) {
  if (context.planning == Planning::Plain) return SplitDeep(query, context);
  // Each row assigns: which rows there are, and in which order, is as it is written.
  if (query.selects[0]->items[0].variable == 0) {
    PreferKeys(query, context);
    GroupFirst(query, context);
  }
  OrderAll(query, context);
  SplitDeep(query, context);
}

void PlanExpression(BoundExpr& expr, PlanContext& context) {
  if (context.planning != Planning::Plain) OrderAll(&expr, context);
  SplitDeep(expr, context);
}

void PlanModification(BoundModification& modification, PlanContext& context) {
  if (context.planning == Planning::Plain) return SplitDeep(modification, context);
  OrderJoins(modification.from, modification.where, context);
  OrderAll(modification.from, context);
  OrderAll(modification.where, context);
  for (BoundExpr* value : modification.values) OrderAll(value, context);
  SplitDeep(modification, context);
}

}  // namespace ledgerwick::tsql
