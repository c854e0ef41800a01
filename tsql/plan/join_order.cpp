#include "tsql/plan/join_order.h"

#include <algorithm>

#include "tsql/binder/binder.h"

namespace ledgerwick::tsql {
namespace {

bool IsLeaf(const From& from) noexcept {
  return from.kind == FromKind::Table || from.kind == FromKind::Derived;
}

}  // namespace

bool Has(const Sources& sources, const Source* source) noexcept {
  return std::find(sources.begin(), sources.end(), source) != sources.end();
}

void CollectSources(const From& from, Sources& sources) {
  const Nesting nesting;
  if (IsLeaf(from)) {
    sources.push_back(from.source);
    return;
  }
  CollectSources(*from.left, sources);
  CollectSources(*from.right, sources);
}

bool Reads(const Expr& expr, const Sources& sources) {
  if (expr.kind == ExprKind::Column) return Has(sources, expr.source);
  const Nesting nesting;
  const auto reads = [&](const Expr* e) { return Reads(*e, sources); };
  if (std::any_of(expr.args.begin(), expr.args.end(), reads)) return true;
  return expr.query != nullptr &&
         std::any_of(expr.query->outer_columns.begin(), expr.query->outer_columns.end(), reads);
}

namespace {

// True when `expr` is null whenever the columns of `sources` are.
bool NullWith(const Expr& expr, const Sources& sources) {
  const Nesting nesting;
  switch (expr.kind) {
    case ExprKind::Column:
      return Has(sources, expr.source);
    case ExprKind::Convert:
    case ExprKind::Negate:
    case ExprKind::Add:
    case ExprKind::Subtract:
    case ExprKind::Multiply:
    case ExprKind::Divide:
      return std::any_of(expr.args.begin(), expr.args.end(),
                         [&](const Expr* arg) { return NullWith(*arg, sources); });
    default:
      return false;
  }
}

// True when `condition` cannot hold while the columns of `sources` are all null.
bool Rejects(const Expr& condition, const Sources& sources) {
  const Nesting nesting;
  const auto rejects = [&](const Expr* arg) { return Rejects(*arg, sources); };
  const auto null_with = [&](const Expr* arg) { return NullWith(*arg, sources); };
  switch (condition.kind) {
    case ExprKind::And:
      return std::any_of(condition.args.begin(), condition.args.end(), rejects);
    case ExprKind::Or:
      return std::all_of(condition.args.begin(), condition.args.end(), rejects);
    case ExprKind::Compare:
    case ExprKind::Like:
      return std::any_of(condition.args.begin(), condition.args.end(), null_with);
    case ExprKind::Between:
    case ExprKind::InList:
      return NullWith(*condition.args[0], sources);
    case ExprKind::IsNull:
      return condition.negated && NullWith(*condition.args[0], sources);
    default:
      return false;
  }
}

void SplitAnd(const Expr* condition, std::vector<const Expr*>& terms) {
  if (condition == nullptr) return;
  if (condition->kind != ExprKind::And) {
    terms.push_back(condition);
    return;
  }
  const Nesting nesting;
  for (const Expr* arg : condition->args) SplitAnd(arg, terms);
}

void Append(JoinPlan& plan, JoinPlan&& more) {
  std::move(more.steps.begin(), more.steps.end(), std::back_inserter(plan.steps));
  plan.conditions.insert(plan.conditions.end(), more.conditions.begin(), more.conditions.end());
}

JoinPlan Flatten(const From& from);

// (left) LEFT JOIN (right) ON on.
JoinPlan FlattenLeft(const From& left, const From& right, const Expr* on) {
  JoinPlan plan = Flatten(left);
  JoinStep step;
  step.left = true;
  SplitAnd(on, step.on);
  if (IsLeaf(right)) {
    step.from = &right;
    plan.steps.push_back(std::move(step));
    return plan;
  }
  // A LEFT JOIN (B LEFT JOIN C ON q) ON p is (A LEFT JOIN B ON p) LEFT JOIN C ON q when p reads
  // nothing of C and q cannot hold without B.
  JoinPlan inner = Flatten(right);
  bool flat = inner.conditions.empty() && IsLeaf(*inner.steps[0].from);
  Sources before;
  if (flat) before.push_back(inner.steps[0].from->source);
  for (std::size_t i = 1; flat && i < inner.steps.size(); ++i) {
    const JoinStep& later = inner.steps[i];
    flat = later.left && IsLeaf(*later.from) &&
           std::any_of(later.on.begin(), later.on.end(),
                       [&](const Expr* term) { return Rejects(*term, before); }) &&
           (on == nullptr || !Reads(*on, {later.from->source}));
    if (flat) before.push_back(later.from->source);
  }
  if (!flat) {
    step.from = &right;
    plan.steps.push_back(std::move(step));
    return plan;
  }
  step.from = inner.steps[0].from;
  inner.steps[0] = std::move(step);
  Append(plan, std::move(inner));
  return plan;
}

JoinPlan Flatten(const From& from) {
  const Nesting nesting;
  JoinPlan plan;
  switch (from.kind) {
    case FromKind::Inner:
    case FromKind::Cross:
      plan = Flatten(*from.left);
      Append(plan, Flatten(*from.right));
      SplitAnd(from.on, plan.conditions);
      return plan;
    case FromKind::Left:
      return FlattenLeft(*from.left, *from.right, from.on);
    case FromKind::Right:
      return FlattenLeft(*from.right, *from.left, from.on);
    default: {
      JoinStep step;
      step.from = &from;
      plan.steps.push_back(step);
      return plan;
    }
  }
}

// Outer joins whose missing rows no condition lets through become inner joins, until none is left:
// each one's own condition may decide over an earlier one.
void ReduceOuterJoins(JoinPlan& plan) {
  for (bool changed = true; changed;) {
    changed = false;
    for (JoinStep& step : plan.steps) {
      if (!step.left) continue;
      Sources sources;
      CollectSources(*step.from, sources);
      const bool rejected =
          std::any_of(plan.conditions.begin(), plan.conditions.end(),
                      [&](const Expr* condition) { return Rejects(*condition, sources); });
      if (!rejected) continue;
      plan.conditions.insert(plan.conditions.end(), step.on.begin(), step.on.end());
      step.on.clear();
      step.left = false;
      changed = true;
    }
  }
}

// Each outer join stands right behind the tables that its condition reads: what describes a voucher
// is then looked up once for the voucher and not for every line of it. The storage keeps outer
// joins behind everything that is written before them, and orders the inner ones as it likes.
void PlaceOuterJoins(JoinPlan& plan) {
  const auto first_left = std::stable_partition(plan.steps.begin(), plan.steps.end(),
                                                [](const JoinStep& step) { return !step.left; });
  const bool flat = std::all_of(plan.steps.begin(), first_left,
                                [](const JoinStep& step) { return IsLeaf(*step.from); });
  if (!flat) return;
  std::vector<JoinStep> inner(plan.steps.begin(), first_left);
  std::vector<JoinStep> left(first_left, plan.steps.end());
  Sources missing;
  for (const JoinStep& step : plan.steps) CollectSources(*step.from, missing);
  const auto place = [&](JoinStep& step) {
    Sources sources;
    CollectSources(*step.from, sources);
    std::erase_if(missing, [&](const Source* source) { return Has(sources, source); });
    plan.steps.push_back(std::move(step));
  };
  const auto is_ready = [&](const JoinStep& step) {
    Sources others = missing;
    Sources own;
    CollectSources(*step.from, own);
    std::erase_if(others, [&](const Source* source) { return Has(own, source); });
    return std::none_of(step.on.begin(), step.on.end(),
                        [&](const Expr* term) { return Reads(*term, others); });
  };
  const auto described_by = [&](const JoinStep& table) {
    return std::count_if(left.begin(), left.end(), [&](const JoinStep& step) {
      return std::any_of(step.on.begin(), step.on.end(),
                         [&](const Expr* term) { return Reads(*term, {table.from->source}); });
    });
  };
  std::stable_sort(inner.begin(), inner.end(), [&](const JoinStep& a, const JoinStep& b) {
    return described_by(a) > described_by(b);
  });
  plan.steps.clear();
  for (JoinStep& table : inner) {
    place(table);
    for (auto step = left.begin(); step != left.end();) {
      if (!is_ready(*step)) {
        ++step;
        continue;
      }
      place(*step);
      left.erase(step);
      step = left.begin();
    }
  }
}

}  // namespace

JoinPlan PlanJoins(const From& from, const Expr* where) {
  JoinPlan plan = Flatten(from);
  SplitAnd(where, plan.conditions);
  ReduceOuterJoins(plan);
  PlaceOuterJoins(plan);
  return plan;
}

}  // namespace ledgerwick::tsql
