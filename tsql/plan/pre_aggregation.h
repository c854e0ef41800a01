// One attempt to group before joining; the two sources of the pass share it.
#pragma once

#include <vector>

#include "tsql/binder/binder.h"
#include "tsql/plan/join_order.h"
#include "tsql/plan/pre_aggregate.h"

namespace ledgerwick::tsql {

// One attempt at one select: what stands inside the grouped derived table, and what the statement
// becomes outside. Nothing of the select changes before Commit.
class PreAggregation {
 public:
  PreAggregation(Select& select, Query& query, PlanContext& context)
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

 private:
  struct Column {
    const Expr* expr;
    bool is_key;
    std::int64_t weight = 0;  // the rows of the table that the key leads to
  };

  template <typename Visit>
  void ForEachShown(Visit&& visit);
  bool MoveToDetail(const Source* source);
  void FindPivots();
  bool HasPivot(const Expr& expr) const;
  bool GainsNothing();

  // The expression as it stands outside, on the groups.
  Expr* Outside(Expr* expr, bool spelling);
  Expr* OutsideArguments(const Expr& expr, bool spelling);
  Expr* AggregateOutside(const Expr& call);
  // The sum of `expr` over a group's rows.
  Expr* SumOutside(Expr* expr);
  Expr* Outside(const Expr* expr);  // of a condition

  Expr* Key(const Expr& expr);
  Expr* InnerColumn(const Expr& expr, bool is_key, Type type);
  Expr* InnerCall(FunctionId function, const Expr& call, TypeKind type);
  Expr* Fail(const Expr& expr);

  void SplitConditions();
  void FilterByLookup(const JoinStep& step);
  const Expr* KeyIsAmong(const Expr& key, Expr& partner, const JoinStep& step,
                         const std::vector<const Expr*>& filters);
  void WeighKey(const Expr& condition);
  From* Join(From* left, const JoinStep& step, const std::vector<const Expr*>& on);
  Expr* Conjunction(const std::vector<const Expr*>& terms);
  void OrderColumns();
  Query* MakeInnerQuery();

  Select& select_;
  Query& query_;
  PlanContext& context_;
  JoinPlan plan_;
  Sources detail_;
  Sources lookup_;
  std::int64_t largest_ = 0;

  Source inner_;
  Query inner_query_;  // stands for the derived table until there is one
  std::vector<Column> columns_;
  std::vector<Expr*> inner_columns_;
  std::vector<const Expr*> inner_conditions_;
  std::vector<const Expr*> conditions_;
  std::vector<std::vector<const Expr*>> on_;  // of the lookups' steps
  std::vector<const Expr*> pivots_;
  std::vector<Expr*> shown_;  // what the select shows, in ForEachShown's order
  bool strict_ = false;       // the spelling of a text may matter
  bool summed_ = false;       // inside an aggregate
  bool failed_ = false;
  Sources wanted_;
};

// Everything that is evaluated for a group: the keys, the select list, HAVING, ORDER BY.
template <typename Visit>
void PreAggregation::ForEachShown(Visit&& visit) {
  for (Expr*& key : select_.group_by) visit(key);
  for (SelectItem& item : select_.items) visit(item.expr);
  if (select_.having != nullptr) visit(select_.having);
  for (OrderItem& item : query_.order_by) {
    if (item.ordinal == 0) visit(item.expr);
  }
}

}  // namespace ledgerwick::tsql
