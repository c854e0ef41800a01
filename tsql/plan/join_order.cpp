#include "tsql/plan/join_order.h"

#include <algorithm>

#include "tsql/base/nesting.h"

namespace ledgerwick::tsql {
namespace {

bool IsLeaf(const BoundFrom& from) noexcept { return from.kind == BoundFromKind::Source; }

// True when `expr` is null whenever the columns of `sources` are.
bool NullWith(const BoundExpr& expr, const Sources& sources) {
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
                         [&](const BoundExpr* arg) { return NullWith(*arg, sources); });
    case ExprKind::Null:
    case ExprKind::Integer:
    case ExprKind::Number:
    case ExprKind::String:
    case ExprKind::Binary:
    case ExprKind::Star:
    case ExprKind::Variable:
    case ExprKind::BitNot:
    case ExprKind::Modulo:
    case ExprKind::BitAnd:
    case ExprKind::BitOr:
    case ExprKind::BitXor:
    case ExprKind::Case:
    case ExprKind::Function:
    case ExprKind::Scalar:
    case ExprKind::Compare:
    case ExprKind::And:
    case ExprKind::Or:
    case ExprKind::Not:
    case ExprKind::IsNull:
    case ExprKind::Like:
    case ExprKind::Between:
    case ExprKind::InList:
    case ExprKind::InQuery:
    case ExprKind::Exists:
      return false;
  }
  return false;
}

// True when `condition` cannot hold while the columns of `sources` are all null.
bool Rejects(const BoundExpr& condition, const Sources& sources) {
  const Nesting nesting;
  const auto rejects = [&](const BoundExpr* arg) { return Rejects(*arg, sources); };
  const auto null_with = [&](const BoundExpr* arg) { return NullWith(*arg, sources); };
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
    case ExprKind::Not:
    case ExprKind::InQuery:
    case ExprKind::Exists:
    case ExprKind::Null:
    case ExprKind::Integer:
    case ExprKind::Number:
    case ExprKind::String:
    case ExprKind::Binary:
    case ExprKind::Column:
    case ExprKind::Star:
    case ExprKind::Variable:
    case ExprKind::Negate:
    case ExprKind::BitNot:
    case ExprKind::Add:
    case ExprKind::Subtract:
    case ExprKind::Multiply:
    case ExprKind::Divide:
    case ExprKind::Modulo:
    case ExprKind::BitAnd:
    case ExprKind::BitOr:
    case ExprKind::BitXor:
    case ExprKind::Case:
    case ExprKind::Convert:
    case ExprKind::Function:
    case ExprKind::Scalar:
      return false;
  }
  return false;
}

void SplitAnd(BoundExpr* condition, std::vector<BoundExpr*>& terms) {
  if (condition == nullptr) return;
  if (condition->kind != ExprKind::And) {
    terms.push_back(condition);
    return;
  }
  const Nesting nesting;
  for (BoundExpr* arg : condition->args) SplitAnd(arg, terms);
}

void Append(JoinPlan& plan, JoinPlan&& more) {
  std::move(more.steps.begin(), more.steps.end(), std::back_inserter(plan.steps));
  plan.conditions.insert(plan.conditions.end(), more.conditions.begin(), more.conditions.end());
}

JoinPlan Flatten(BoundFrom& from);

// (left) LEFT JOIN (right) ON on.
JoinPlan FlattenLeft(BoundFrom& left, BoundFrom& right, BoundExpr* on) {
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
                       [&](const BoundExpr* term) { return Rejects(*term, before); }) &&
           (on == nullptr || !Reads(*on, *later.from->source));
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

JoinPlan Flatten(BoundFrom& from) {
  const Nesting nesting;
  JoinPlan plan;
  switch (from.kind) {
    case BoundFromKind::Inner:
      plan = Flatten(*from.left);
      Append(plan, Flatten(*from.right));
      SplitAnd(from.on, plan.conditions);
      return plan;
    case BoundFromKind::Left:
      return FlattenLeft(*from.left, *from.right, from.on);
    case BoundFromKind::Source:
    case BoundFromKind::Full:
      break;
  }
  JoinStep step;
  step.from = &from;
  plan.steps.push_back(step);
  return plan;
}

std::string NamesOf(const BoundFrom& from) {
  Sources sources;
  CollectSources(from, sources);
  std::string names;
  for (const Source* source : sources) {
    if (!names.empty()) names += ", ";
    names += NameOf(*source);
  }
  return names;
}

// Outer joins whose missing rows no condition lets through become inner joins, until none is left:
// each one's own condition may decide over an earlier one.
void ReduceOuterJoins(JoinPlan& plan, PlanNotes* notes) {
  for (bool changed = true; changed;) {
    changed = false;
    for (JoinStep& step : plan.steps) {
      if (!step.left) continue;
      Sources sources;
      CollectSources(*step.from, sources);
      const bool rejected =
          std::any_of(plan.conditions.begin(), plan.conditions.end(),
                      [&](const BoundExpr* condition) { return Rejects(*condition, sources); });
      if (!rejected) continue;
      plan.conditions.insert(plan.conditions.end(), step.on.begin(), step.on.end());
      step.on.clear();
      step.left = false;
      changed = true;
      Note(notes, [&] {
        return "outer join with " + NamesOf(*step.from) +
               " made an inner one: a condition drops the rows without a partner";
      });
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
  Sources others;
  const auto is_ready = [&](const JoinStep& step) {
    Sources own;
    CollectSources(*step.from, own);
    others.clear();
    std::copy_if(missing.begin(), missing.end(), std::back_inserter(others),
                 [&](const Source* source) { return !Has(own, source); });
    return std::none_of(step.on.begin(), step.on.end(),
                        [&](const BoundExpr* term) { return Reads(*term, others); });
  };
  const auto described_by = [&](const JoinStep& table) {
    return std::count_if(left.begin(), left.end(), [&](const JoinStep& step) {
      return std::any_of(step.on.begin(), step.on.end(),
                         [&](const BoundExpr* term) { return Reads(*term, *table.from->source); });
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

JoinPlan PlanJoins(BoundFrom& from, BoundExpr* where, PlanNotes* notes) {
  JoinPlan plan = Flatten(from);
  SplitAnd(where, plan.conditions);
  ReduceOuterJoins(plan, notes);
  PlaceOuterJoins(plan);
  return plan;
}

BoundExpr* Conjunction(const std::vector<BoundExpr*>& terms, Arena& arena) {
  if (terms.empty()) return nullptr;
  if (terms.size() == 1) return terms.front();
  auto* all = arena.Make<BoundExpr>();
  all->kind = ExprKind::And;
  all->args = arena.Copy(terms);
  return all;
}

BoundFrom* Join(BoundFrom* left, const JoinStep& step, Arena& arena) {
  if (left == nullptr) return step.from;
  auto* join = arena.Make<BoundFrom>();
  join->kind = step.left ? BoundFromKind::Left : BoundFromKind::Inner;
  join->left = left;
  join->right = step.from;
  join->on = Conjunction(step.on, arena);
  return join;
}

void OrderJoins(BoundFrom*& from, BoundExpr*& where, PlanContext& context) {
  if (from == nullptr || IsLeaf(*from)) return;
  Sources before;
  if (context.notes != nullptr) CollectSources(*from, before);
  const JoinPlan plan = PlanJoins(*from, where, context.notes);
  from = nullptr;
  for (const JoinStep& step : plan.steps) from = Join(from, step, context.arena);
  where = Conjunction(plan.conditions, context.arena);
  Note(context.notes, [&] {
    Sources after;
    CollectSources(*from, after);
    return after == before ? std::string()
                           : "joined in this order: " + NamesOf(*from) +
                                 "; what an outer join adds stands behind the tables it reads";
  });
}

}  // namespace ledgerwick::tsql
