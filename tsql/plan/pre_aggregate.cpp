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

bool IsColumnOf(const BoundExpr& expr, const Sources& sources) noexcept {
  return expr.kind == ExprKind::Column && Has(sources, expr.source);
}

bool DropsRows(const BoundExpr* condition) noexcept {
  return condition->kind != ExprKind::Compare || condition->compare != Comparison::NotEqual;
}

// A text is asked for few rows; a flag is for many, and then reading all rows in turn is quicker
// than finding each by an index.
bool PicksFew(const BoundExpr* condition) {
  const Nesting nesting;
  return DropsRows(condition) &&
         std::any_of(condition->args.begin(), condition->args.end(), [](const BoundExpr* arg) {
           return IsText(arg->type.kind) || (IsPredicate(arg->kind) && PicksFew(arg));
         });
}

std::int64_t RowsOf(const Source& source, Catalogue& catalogue);

std::int64_t RowsOf(const BoundFrom* from, Catalogue& catalogue) {
  if (from == nullptr) return 1;
  const Nesting nesting;
  if (from->source != nullptr) return RowsOf(*from->source, catalogue);
  return std::max(RowsOf(from->left, catalogue), RowsOf(from->right, catalogue));
}

// About as many rows as the largest table in it.
std::int64_t RowsOf(const Source& source, Catalogue& catalogue) {
  if (source.query == nullptr) return catalogue.RowEstimate(*source.table);
  std::int64_t rows = 0;
  for (const BoundSelect* select : source.query->selects) {
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
void PreAggregation::WeighKey(const BoundExpr& condition) {
  if (condition.kind != ExprKind::Compare || condition.compare != Comparison::Equal) return;
  for (const std::size_t side : {0U, 1U}) {
    const BoundExpr& key = *condition.args[side];
    const BoundExpr& other = *condition.args[1 - side];
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
  if (step.left || step.from->source == nullptr || step.from->source->table == nullptr ||
      !Has(lookup_, step.from->source))
    return;
  const Source* source = step.from->source;
  const auto reads_others = [&](const BoundExpr& condition) {
    return Reads(condition, detail_) ||
           std::any_of(lookup_.begin(), lookup_.end(), [&](const Source* lookup) {
             return lookup != source && Reads(condition, *lookup);
           });
  };
  std::vector<BoundExpr*> filters;
  std::copy_if(plan_.conditions.begin(), plan_.conditions.end(), std::back_inserter(filters),
               [&](const BoundExpr* condition) {
                 return Reads(*condition, *source) && !reads_others(*condition) &&
                        CannotFail(*condition);
               });
  if (std::none_of(filters.begin(), filters.end(), DropsRows)) return;
  for (BoundExpr* condition : plan_.conditions) {
    if (condition->kind != ExprKind::Compare || condition->compare != Comparison::Equal) continue;
    for (const std::size_t side : {0U, 1U}) {
      const BoundExpr& key = *condition->args[side];
      BoundExpr* partner = condition->args[1 - side];
      if (!IsColumnOf(key, detail_) || partner->kind != ExprKind::Column ||
          partner->source != source)
        continue;
      inner_conditions_.push_back(KeyIsAmong(key, *partner, step, filters));
      return;
    }
  }
}

// key IN (SELECT partner FROM the step's table WHERE filters)
BoundExpr* PreAggregation::KeyIsAmong(const BoundExpr& key, BoundExpr& partner,
                                      const JoinStep& step,
                                      const std::vector<BoundExpr*>& filters) {
  BoundItem item;
  item.expr = &partner;
  auto* select = context_.arena.Make<BoundSelect>();
  select->items = context_.arena.Copy({item});
  select->from = step.from;
  select->where = Conjunction(filters, context_.arena);
  auto* query = context_.arena.Make<BoundQuery>();
  query->selects = context_.arena.Copy({select});
  BoundExpr* column = context_.arena.Make<BoundExpr>(key);
  column->unindexed = std::none_of(filters.begin(), filters.end(), PicksFew);
  BoundExpr* filter = context_.arena.Make<BoundExpr>();
  filter->kind = ExprKind::InQuery;
  filter->args = context_.arena.Copy({column});
  filter->query = query;
  return filter;
}

void PreAggregation::SplitConditions() {
  for (BoundExpr* condition : plan_.conditions) {
    if (!Reads(*condition, lookup_)) {
      inner_conditions_.push_back(condition);
      continue;
    }
    conditions_.push_back(ConditionOutside(condition));
    WeighKey(*condition);
  }
  for (const JoinStep& step : plan_.steps) {
    std::vector<BoundExpr*>& on = on_.emplace_back();
    Sources sources;
    CollectSources(*step.from, sources);
    const bool inside = Has(detail_, sources.front());
    for (BoundExpr* term : step.on) {
      if (inside) {
        if (Reads(*term, lookup_)) Fail(*term);
        on.push_back(term);
      } else {
        on.push_back(ConditionOutside(term));
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
  for (BoundExpr* key : select_.group_by) {
    if (Reads(*key, detail_) && Reads(*key, lookup_)) Fail(*key);
  }
  ForEachShown([&](BoundExpr* expr) { shown_.push_back(Outside(expr, false)); });
  SplitConditions();
  const bool any_key = std::any_of(columns_.begin(), columns_.end(),
                                   [](const Column& column) { return column.is_key; });
  return !failed_ && any_key && !GainsNothing();
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
  std::vector<BoundExpr*> inner_columns;
  for (const std::size_t i : order) {
    inner_columns_[i]->column = static_cast<std::int32_t>(columns.size());
    columns.push_back(columns_[i]);
    inner_columns.push_back(inner_columns_[i]);
  }
  columns_ = std::move(columns);
  inner_columns_ = std::move(inner_columns);
}

BoundQuery* PreAggregation::MakeInnerQuery() {
  // What the storage's own function takes.
  constexpr std::size_t kMostHashed = 99;
  OrderColumns();
  auto* inner = context_.arena.Make<BoundSelect>();
  inner->grouped = true;
  inner->hashed = columns_.size() <= kMostHashed;
  std::vector<BoundItem> items;
  std::vector<BoundExpr*> group_by;
  std::vector<Type> types;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    BoundItem item;
    item.expr = columns_[i].expr;
    items.push_back(item);
    types.push_back(inner_columns_[i]->type);
    if (columns_[i].is_key) {
      group_by.push_back(item.expr);
      // The hashing knows no bytes but those of decimals.
      if (IsBytes(item.expr->type.kind)) inner->hashed = false;
    } else if (item.expr->function != FunctionId::Sum && item.expr->function != FunctionId::Count) {
      inner->hashed = false;
    }
  }
  inner->items = context_.arena.Copy(items);
  inner->group_by = context_.arena.Copy(group_by);
  inner->where = Conjunction(inner_conditions_, context_.arena);
  auto* query = context_.arena.Make<BoundQuery>();
  query->selects = context_.arena.Copy({inner});
  query->types = context_.arena.Copy(types);
  query->names = context_.arena.MakeSpan<TextView>(types.size());
  return query;
}

void PreAggregation::Commit() {
  BoundQuery* inner = MakeInnerQuery();
  auto* source = context_.arena.Make<Source>(inner_);
  source->query = inner;
  source->names = inner->names;
  ++context_.next_source;
  for (BoundExpr* column : inner_columns_) column->source = source;

  auto* outer = context_.arena.Make<BoundFrom>();
  outer->source = source;
  for (std::size_t i = 0; i < plan_.steps.size(); ++i) {
    JoinStep& step = plan_.steps[i];
    step.on = on_[i];
    Sources sources;
    CollectSources(*step.from, sources);
    BoundFrom*& side = Has(detail_, sources.front()) ? inner->selects[0]->from : outer;
    side = Join(side, step, context_.arena);
  }
  select_.from = outer;
  select_.where = Conjunction(conditions_, context_.arena);
  auto next = shown_.begin();
  ForEachShown([&](BoundExpr*& expr) { expr = *next++; });
}

std::string PreAggregation::Describe() const {
  const auto list = [](const Sources& sources) {
    std::string names;
    for (const Source* source : sources) {
      if (!names.empty()) names += ", ";
      names += NameOf(*source);
    }
    return names.empty() ? std::string("nothing") : names;
  };
  return list(detail_) + " grouped as s" + std::to_string(inner_.id) +
         " before it is joined with " + list(lookup_) + ": about " + std::to_string(largest_) +
         " rows become groups";
}

void PreAggregate(BoundSelect& select, BoundQuery& query, PlanContext& context) {
  if (select.from == nullptr || select.group_by.empty() || !query.outer_columns.empty()) return;
  PreAggregation attempt(select, query, context);
  if (!attempt.ChooseDetail()) {
    Note(context.notes,
         [] { return "not grouped before joining: few rows, or no table that holds the detail"; });
    return;
  }
  do {
    if (!attempt.Attempt()) continue;
    attempt.Commit();
    Note(context.notes, [&] { return attempt.Describe(); });
    return;
  } while (attempt.WidenDetail());
  Note(context.notes, [] {
    return "not grouped before joining: the groups' values need every row, or nothing is gained";
  });
}

}  // namespace ledgerwick::tsql
