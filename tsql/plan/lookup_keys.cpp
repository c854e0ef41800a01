#include "tsql/plan/lookup_keys.h"

#include "tsql/binder/binder.h"

namespace ledgerwick::tsql {
namespace {

// A column of a table, or none where an expression computes it.
struct StoredColumn {
  const Table* table = nullptr;
  std::int32_t column = 0;
};

// What `expr` reads, seen through derived tables and views that pass it on as it is.
StoredColumn Stored(const Expr* expr) {
  while (expr->kind == ExprKind::Column && expr->source->query != nullptr) {
    const Query& query = *expr->source->query;
    const Select& select = *query.selects[0];
    if (query.selects.size() > 1 || select.grouped || select.distinct || select.has_top) return {};
    expr = select.items[static_cast<std::size_t>(expr->column)].expr;
  }
  if (expr->kind != ExprKind::Column) return {};
  return {expr->source->table, expr->column};
}

// Marks `other` when `key` is a table's key and nothing leads from a value of `other` to its rows.
bool PreferKey(const Expr& key, Expr& other, Catalogue& catalogue) {
  const StoredColumn by_key = Stored(&key);
  if (by_key.table == nullptr || !catalogue.IsKey(*by_key.table, by_key.column)) return false;
  const StoredColumn from = Stored(&other);
  if (from.table != nullptr && catalogue.IsIndexed(*from.table, from.column)) return false;
  other.unindexed = true;
  return true;
}

void Mark(Expr* condition, Catalogue& catalogue) {
  if (condition == nullptr) return;
  const Nesting nesting;
  if (condition->kind == ExprKind::And) {
    for (Expr* term : condition->args) Mark(term, catalogue);
    return;
  }
  if (condition->kind != ExprKind::Compare || condition->compare != Comparison::Equal) return;
  Expr& left = *condition->args[0];
  Expr& right = *condition->args[1];
  if (left.kind != ExprKind::Column || right.kind != ExprKind::Column) return;
  if (!PreferKey(right, left, catalogue)) PreferKey(left, right, catalogue);
}

// `inner`: every row meets the conditions of the join.
void MarkFrom(const From* from, bool inner, Catalogue& catalogue) {
  if (from == nullptr) return;
  const Nesting nesting;
  if (from->source != nullptr && from->source->query != nullptr) {
    // The tree belongs to this statement, a view's too: it was parsed for this name alone.
    PreferKeys(const_cast<Query&>(*from->source->query), catalogue);
  }
  const bool outer =
      from->kind == FromKind::Left || from->kind == FromKind::Right || from->kind == FromKind::Full;
  MarkFrom(from->left, inner && !outer, catalogue);
  MarkFrom(from->right, inner && !outer, catalogue);
  if (inner && !outer) Mark(from->on, catalogue);
}

}  // namespace

void PreferKeys(Query& query, Catalogue& catalogue) {
  for (Select* select : query.selects) {
    MarkFrom(select->from, true, catalogue);
    Mark(select->where, catalogue);
  }
}

}  // namespace ledgerwick::tsql
