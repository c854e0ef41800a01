#include "tsql/plan/lookup_keys.h"

#include "tsql/base/nesting.h"

namespace ledgerwick::tsql {
namespace {

// A column of a table, or none where an expression computes it.
struct StoredColumn {
  const Table* table = nullptr;
  std::int32_t column = 0;
};

// What `expr` reads, seen through derived tables and views that pass it on as it is.
StoredColumn Stored(const BoundExpr* expr) {
  while (expr->kind == ExprKind::Column && expr->source->query != nullptr) {
    const BoundQuery& query = *expr->source->query;
    const BoundSelect& select = *query.selects[0];
    if (query.selects.size() > 1 || select.grouped || select.distinct || select.has_top) return {};
    expr = select.items[static_cast<std::size_t>(expr->column)].expr;
  }
  if (expr->kind != ExprKind::Column) return {};
  return {expr->source->table, expr->column};
}

std::string NameOf(const BoundExpr& column) { return ToUtf8(column.source->NameOf(column.column)); }

// Marks `other` when `key` is a table's key and nothing leads from a value of `other` to its rows.
bool PreferKey(const BoundExpr& key, BoundExpr& other, PlanContext& context) {
  const StoredColumn by_key = Stored(&key);
  if (by_key.table == nullptr || !context.catalogue.IsKey(*by_key.table, by_key.column))
    return false;
  const StoredColumn from = Stored(&other);
  if (from.table != nullptr && context.catalogue.IsIndexed(*from.table, from.column)) return false;
  other.unindexed = true;
  Note(context.notes, [&] {
    return NameOf(*key.source) + " is found by its key " + NameOf(key) + ", never " +
           NameOf(*other.source) + " by " + NameOf(other) + ", which has no index";
  });
  return true;
}

void Mark(BoundExpr* condition, PlanContext& context) {
  if (condition == nullptr) return;
  const Nesting nesting;
  if (condition->kind == ExprKind::And) {
    for (BoundExpr* term : condition->args) Mark(term, context);
    return;
  }
  if (condition->kind != ExprKind::Compare || condition->compare != Comparison::Equal) return;
  BoundExpr& left = *condition->args[0];
  BoundExpr& right = *condition->args[1];
  if (left.kind != ExprKind::Column || right.kind != ExprKind::Column) return;
  if (!PreferKey(right, left, context)) PreferKey(left, right, context);
}

// `inner`: every row meets the conditions of the join.
void MarkFrom(const BoundFrom* from, bool inner, PlanContext& context) {
  if (from == nullptr) return;
  const Nesting nesting;
  if (from->source != nullptr && from->source->query != nullptr) {
    // The tree belongs to this statement, a view's too: it was parsed for this name alone.
    PreferKeys(*from->source->query, context);
  }
  const bool outer = from->kind == BoundFromKind::Left || from->kind == BoundFromKind::Full;
  MarkFrom(from->left, inner && !outer, context);
  MarkFrom(from->right, inner && !outer, context);
  if (inner && !outer) Mark(from->on, context);
}

}  // namespace

void PreferKeys(BoundQuery& query, PlanContext& context) {
  for (BoundSelect* select : query.selects) {
    MarkFrom(select->from, true, context);
    Mark(select->where, context);
  }
}

}  // namespace ledgerwick::tsql
