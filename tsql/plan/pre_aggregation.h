// One attempt to group before joining; the two sources of the pass share it.
#pragma once

#include <vector>

#include "tsql/base/nesting.h"
#include "tsql/binder/bound_tree.h"
#include "tsql/plan/join_order.h"
#include "tsql/plan/pre_aggregate.h"

namespace ledgerwick::tsql {

// One attempt at one select: what stands inside the grouped derived table, and what the statement
// becomes outside. Nothing of the select changes before Commit.
class PreAggregation {
 public:
  PreAggregation(BoundSelect& select, BoundQuery& query, PlanContext& context)
      : select_(select),
        query_(query),
        context_(context),
        plan_(PlanJoins(*select.from, select.where)) {
    for (const JoinStep& step : plan_.steps) CollectSources(*step.from, lookup_);
    inner_.id = context.next_source;
    inner_.query = &inner_query_;
  }

  // The tables that hold the detail; false when there are none to tell apart, or too little of it.
  bool ChooseDetail();

  // Works everything out. False when it cannot be done; then WidenDetail says whether another
  // attempt is worthwhile.
  bool Attempt();

  // Counts the tables that stood in the way as detail.
  bool WidenDetail();

  void Commit();

  // What Commit did, for who asks.
  std::string Describe() const;

 private:
  struct Column {
    BoundExpr* expr;
    bool is_key;
    std::int64_t weight = 0;  // the rows of the table that the key leads to
  };

  template <typename Visit>
  void ForEachShown(Visit&& visit);
  bool MoveToDetail(const Source* source);
  void FindPivots();
  bool HasPivot(const BoundExpr& expr) const;
  bool GainsNothing();

  // The expression as it stands outside, on the groups.
  BoundExpr* Outside(BoundExpr* expr, bool spelling);
  BoundExpr* OutsideArguments(const BoundExpr& expr, bool spelling);
  BoundExpr* AggregateOutside(BoundExpr& call);
  // The sum of `expr` over a group's rows.
  BoundExpr* SumOutside(BoundExpr* expr);
  BoundExpr* ConditionOutside(BoundExpr* condition);

  BoundExpr* Key(BoundExpr& expr);
  BoundExpr* InnerColumn(BoundExpr& expr, bool is_key, Type type);
  BoundExpr* InnerCall(FunctionId function, const BoundExpr& call, TypeKind type);
  BoundExpr* Fail(BoundExpr& expr);

  void SplitConditions();
  void FilterByLookup(const JoinStep& step);
  BoundExpr* KeyIsAmong(const BoundExpr& key, BoundExpr& partner, const JoinStep& step,
                        const std::vector<BoundExpr*>& filters);
  void WeighKey(const BoundExpr& condition);
  void OrderColumns();
  BoundQuery* MakeInnerQuery();

  BoundSelect& select_;
  BoundQuery& query_;
  PlanContext& context_;
  JoinPlan plan_;
  Sources detail_;
  Sources lookup_;
  std::int64_t largest_ = 0;

  Source inner_;
  BoundQuery inner_query_;  // stands for the derived table until there is one
  std::vector<Column> columns_;
  std::vector<BoundExpr*> inner_columns_;
  std::vector<BoundExpr*> inner_conditions_;
  std::vector<BoundExpr*> conditions_;
  std::vector<std::vector<BoundExpr*>> on_;  // of the lookups' steps
  std::vector<const BoundExpr*> pivots_;
  std::vector<BoundExpr*> shown_;  // what the select shows, in ForEachShown's order
  bool strict_ = false;            // the spelling of a text may matter
  bool summed_ = false;            // inside an aggregate
  bool failed_ = false;
  Sources wanted_;
};

// Everything that is evaluated for a group: the keys, the select list, HAVING, ORDER BY.
template <typename Visit>
void PreAggregation::ForEachShown(Visit&& visit) {
  for (BoundExpr*& key : select_.group_by) visit(key);
  for (BoundItem& item : select_.items) visit(item.expr);
  if (select_.having != nullptr) visit(select_.having);
  for (BoundOrder& item : query_.order_by) {
    if (item.ordinal == 0) visit(item.expr);
  }
}

}  // namespace ledgerwick::tsql
