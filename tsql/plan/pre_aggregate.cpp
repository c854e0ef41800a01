#include "tsql/plan/pre_aggregate.h"

#include <algorithm>
#include <iterator>
#include <numeric>

#include "tsql/plan/pre_aggregation.h"
#include "tsql/plan/total_expression.h"

namespace ledgerwick::tsql {
namespace {

// Fewer rows are grouped at once, however it is done.
constexpr std::int64_t kWorthwhile = 1000;

// A table that is so many times smaller than the largest describes it.
constexpr std::int64_t kMuchSmaller = 8;

bool IsColumnOf(const Expr& expr, const Sources& sources) noexcept {
  return expr.kind == ExprKind::Column && Has(sources, expr.source);
}

bool DropsRows(const Expr* condition) noexcept {
  return condition->kind != ExprKind::Compare || condition->compare != Comparison::NotEqual;
}

// A text is asked for few rows; a flag is for many, and then reading all rows in turn is quicker
// than finding each by an index.
bool PicksFew(const Expr* condition) {
  const Nesting nesting;
  return DropsRows(condition) &&
         std::any_of(condition->args.begin(), condition->args.end(), [](const Expr* arg) {
           return IsText(arg->type.kind) || (IsPredicate(arg->kind) && PicksFew(arg));
         });
}

std::int64_t RowsOf(const Source& source, Catalogue& catalogue);

std::int64_t RowsOf(const From* from, Catalogue& catalogue) {
  if (from == nullptr) return 1;
  const Nesting nesting;
  if (from->source != nullptr) return RowsOf(*from->source, catalogue);
  return std::max(RowsOf(from->left, catalogue), RowsOf(from->right, catalogue));
}

// About as many rows as the largest table in it.
std::int64_t RowsOf(const Source& source, Catalogue& catalogue) {
  if (source.query == nullptr) return catalogue.RowEstimate(*source.table);
  std::int64_t rows = 0;
  for (const Select* select : source.query->selects) {
    rows = std::max(rows, RowsOf(select->from, catalogue));
  }
  return rows;
}

}  // namespace

bool PreAggregation::MoveToDetail(const Source* source) {
  const auto found = std::find(lookup_.begin(), lookup_.end(), source);
  if (found == lookup_.end()) return false;
  lookup_.erase(found);
  detail_.push_back(source);
  return true;
}

bool PreAggregation::ChooseDetail() {
  for (const Source* source : lookup_) {
    largest_ = std::max(largest_, RowsOf(*source, context_.catalogue));
  }
  if (context_.planning != Planning::Eager && largest_ < kWorthwhile) return false;
  for (const JoinStep& step : plan_.steps) {
    if (step.left || step.from->source == nullptr) continue;
    const std::int64_t rows = RowsOf(*step.from->source, context_.catalogue);
    const bool holds_detail =
        context_.planning == Planning::Eager ? detail_.empty() : rows > largest_ / kMuchSmaller;
    if (holds_detail) MoveToDetail(step.from->source);
  }
  return !detail_.empty();
}

bool PreAggregation::WidenDetail() {
  bool moved = false;
  for (const Source* source : wanted_) moved = MoveToDetail(source) || moved;
  // A join that stays nested is detail as a whole.
  for (const JoinStep& step : plan_.steps) {
    Sources sources;
    CollectSources(*step.from, sources);
    const bool detail = std::any_of(sources.begin(), sources.end(),
                                    [&](const Source* s) { return Has(detail_, s); });
    if (!detail) continue;
    for (const Source* source : sources) moved = MoveToDetail(source) || moved;
  }
  return moved;
}

// The larger the table that a key leads to, the more it tells rows apart: such keys are compared
// first.
void PreAggregation::WeighKey(const Expr& condition) {
  if (condition.kind != ExprKind::Compare || condition.compare != Comparison::Equal) return;
  for (const std::size_t side : {0U, 1U}) {
    const Expr& key = *condition.args[side];
    const Expr& other = *condition.args[1 - side];
    if (!IsColumnOf(key, detail_) || !IsColumnOf(other, lookup_)) continue;
    for (Column& column : columns_) {
      if (!column.is_key || !SameExpr(*column.expr, key)) continue;
      column.weight = std::max(column.weight, RowsOf(*other.source, context_.catalogue));
    }
  }
}

// Conditions on a lookup drop rows before they are grouped: a detail row whose partner is dropped
// is dropped with it.
void PreAggregation::FilterByLookup(const JoinStep& step) {
  if (step.left || step.from->kind != FromKind::Table || !Has(lookup_, step.from->source)) return;
  const Source* source = step.from->source;
  Sources others = detail_;
  std::copy_if(lookup_.begin(), lookup_.end(), std::back_inserter(others),
               [&](const Source* lookup) { return lookup != source; });
  std::vector<const Expr*> filters;
  std::copy_if(plan_.conditions.begin(), plan_.conditions.end(), std::back_inserter(filters),
               [&](const Expr* condition) {
                 return Reads(*condition, {source}) && !Reads(*condition, others) &&
                        CannotFail(*condition);
               });
  if (std::none_of(filters.begin(), filters.end(), DropsRows)) return;
  for (const Expr* condition : plan_.conditions) {
    if (condition->kind != ExprKind::Compare || condition->compare != Comparison::Equal) continue;
    for (const std::size_t side : {0U, 1U}) {
      const Expr& key = *condition->args[side];
      Expr* partner = condition->args[1 - side];
      if (!IsColumnOf(key, detail_) || !IsColumnOf(*partner, {source})) continue;
      inner_conditions_.push_back(KeyIsAmong(key, *partner, step, filters));
      return;
    }
  }
}

// key IN (SELECT partner FROM the step's table WHERE filters)
const Expr* PreAggregation::KeyIsAmong(const Expr& key, Expr& partner, const JoinStep& step,
                                       const std::vector<const Expr*>& filters) {
  SelectItem item;
  item.expr = &partner;
  auto* select = context_.arena.Make<Select>();
  select->items = context_.arena.Copy(std::vector<SelectItem>{item});
  select->from = const_cast<From*>(step.from);
  select->where = Conjunction(filters);
  auto* query = context_.arena.Make<Query>();
  query->selects = context_.arena.Copy(std::vector<Select*>{select});
  Expr* column = context_.arena.Make<Expr>(key);
  column->unindexed = std::none_of(filters.begin(), filters.end(), PicksFew);
  Expr* filter = context_.arena.Make<Expr>();
  filter->kind = ExprKind::InQuery;
  filter->args = context_.arena.Copy(std::vector<Expr*>{column});
  filter->query = query;
  return filter;
}

void PreAggregation::SplitConditions() {
  for (const Expr* condition : plan_.conditions) {
    if (!Reads(*condition, lookup_)) {
      inner_conditions_.push_back(condition);
      continue;
    }
    conditions_.push_back(Outside(condition));
    WeighKey(*condition);
  }
  for (const JoinStep& step : plan_.steps) {
    std::vector<const Expr*>& on = on_.emplace_back();
    Sources sources;
    CollectSources(*step.from, sources);
    const bool inside = Has(detail_, sources.front());
    for (const Expr* term : step.on) {
      if (inside) {
        if (Reads(*term, lookup_)) Fail(*term);
        on.push_back(term);
      } else {
        on.push_back(Outside(term));
        WeighKey(*term);
      }
    }
    FilterByLookup(step);
  }
}

// A grouping by a row's own number groups nothing.
bool PreAggregation::GainsNothing() {
  return context_.planning != Planning::Eager &&
         std::any_of(columns_.begin(), columns_.end(), [&](const Column& column) {
           if (!column.is_key || column.expr->kind != ExprKind::Column) return false;
           const Source& source = *column.expr->source;
           return source.table != nullptr && source.query == nullptr &&
                  source.table->columns[static_cast<std::size_t>(column.expr->column)]
                      .is_row_number &&
                  RowsOf(source, context_.catalogue) > largest_ / kMuchSmaller;
         });
}

bool PreAggregation::Attempt() {
  columns_.clear();
  inner_columns_.clear();
  inner_conditions_.clear();
  conditions_.clear();
  on_.clear();
  pivots_.clear();
  shown_.clear();
  wanted_.clear();
  failed_ = false;
  FindPivots();
  if (lookup_.empty() && pivots_.empty()) return false;
  for (const Expr* key : select_.group_by) {
    if (Reads(*key, detail_) && Reads(*key, lookup_)) Fail(*key);
  }
  ForEachShown([&](Expr* expr) { shown_.push_back(Outside(expr, false)); });
  SplitConditions();
  const bool any_key = std::any_of(columns_.begin(), columns_.end(),
                                   [](const Column& column) { return column.is_key; });
  return !failed_ && any_key && !GainsNothing();
}

Expr* PreAggregation::Conjunction(const std::vector<const Expr*>& terms) {
  if (terms.empty()) return nullptr;
  std::vector<Expr*> args;
  args.reserve(terms.size());
  for (const Expr* term : terms) args.push_back(const_cast<Expr*>(term));
  if (args.size() == 1) return args.front();
  Expr* all = context_.arena.Make<Expr>();
  all->kind = ExprKind::And;
  all->args = context_.arena.Copy(args);
  return all;
}

From* PreAggregation::Join(From* left, const JoinStep& step, const std::vector<const Expr*>& on) {
  From* right = const_cast<From*>(step.from);
  if (left == nullptr) return right;
  From* join = context_.arena.Make<From>();
  join->kind = step.left ? FromKind::Left : FromKind::Cross;
  join->left = left;
  join->right = right;
  join->on = Conjunction(on);
  return join;
}

// The keys stand before the totals, those first that lead to large tables.
void PreAggregation::OrderColumns() {
  std::vector<std::size_t> order(columns_.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    const Column& left = columns_[a];
    const Column& right = columns_[b];
    return left.is_key != right.is_key ? left.is_key : left.weight > right.weight;
  });
  std::vector<Column> columns;
  std::vector<Expr*> inner_columns;
  for (const std::size_t i : order) {
    inner_columns_[i]->column = static_cast<std::int32_t>(columns.size());
    columns.push_back(columns_[i]);
    inner_columns.push_back(inner_columns_[i]);
  }
  columns_ = std::move(columns);
  inner_columns_ = std::move(inner_columns);
}

Query* PreAggregation::MakeInnerQuery() {
  // What the storage's own function takes.
  constexpr std::size_t kMostHashed = 99;
  OrderColumns();
  auto* inner = context_.arena.Make<Select>();
  inner->grouped = true;
  inner->hashed = columns_.size() <= kMostHashed;
  std::vector<SelectItem> items;
  std::vector<Expr*> group_by;
  std::vector<Type> types;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    SelectItem item;
    item.expr = const_cast<Expr*>(columns_[i].expr);
    items.push_back(item);
    types.push_back(inner_columns_[i]->type);
    if (columns_[i].is_key) {
      group_by.push_back(item.expr);
    } else if (item.expr->function != FunctionId::Sum && item.expr->function != FunctionId::Count) {
      inner->hashed = false;
    }
  }
  inner->items = context_.arena.Copy(items);
  inner->group_by = context_.arena.Copy(group_by);
  inner->where = Conjunction(inner_conditions_);
  auto* query = context_.arena.Make<Query>();
  query->selects = context_.arena.Copy(std::vector<Select*>{inner});
  query->types = context_.arena.Copy(types);
  query->names = context_.arena.Copy(std::vector<TextView>(types.size()));
  return query;
}

void PreAggregation::Commit() {
  Query* inner = MakeInnerQuery();
  auto* source = context_.arena.Make<Source>(inner_);
  source->query = inner;
  source->names = inner->names;
  ++context_.next_source;
  for (Expr* column : inner_columns_) column->source = source;

  From* outer = context_.arena.Make<From>();
  outer->kind = FromKind::Derived;
  outer->query = inner;
  outer->source = source;
  for (std::size_t i = 0; i < plan_.steps.size(); ++i) {
    Sources sources;
    CollectSources(*plan_.steps[i].from, sources);
    From*& side = Has(detail_, sources.front()) ? inner->selects[0]->from : outer;
    side = Join(side, plan_.steps[i], on_[i]);
  }
  select_.from = outer;
  select_.where = Conjunction(conditions_);
  auto next = shown_.begin();
  ForEachShown([&](Expr*& expr) { expr = *next++; });
}

void PreAggregate(Select& select, Query& query, PlanContext& context) {
  if (select.from == nullptr || select.group_by.empty() || !query.outer_columns.empty()) return;
  PreAggregation attempt(select, query, context);
  if (!attempt.ChooseDetail()) return;
  do {
    if (attempt.Attempt()) return attempt.Commit();
  } while (attempt.WidenDetail());
}

}  // namespace ledgerwick::tsql
