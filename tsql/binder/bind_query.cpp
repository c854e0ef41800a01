// Binding of queries: the select list, grouping, ORDER BY, UNION.
#include <algorithm>

#include "tsql/binder/binder.h"

namespace ledgerwick::tsql {
namespace {

bool Contains(const std::vector<Source*>& sources, const Source* source) noexcept {
  return std::find(sources.begin(), sources.end(), source) != sources.end();
}

// True when `accept` takes `expr` or an expression inside it, those of subqueries left out.
template <typename Accept>
bool Holds(const Expr& expr, const Accept& accept) {
  return accept(expr) || std::any_of(expr.args.begin(), expr.args.end(),
                                     [&](const Expr* arg) { return Holds(*arg, accept); });
}

// What has a value of its own for each row or for each run: anything else is constant.
bool MayVary(const Expr& expr) noexcept {
  return expr.kind == ExprKind::Column || expr.query != nullptr ||
         (expr.kind == ExprKind::Function &&
          (IsAggregate(expr.function) || expr.function == FunctionId::GetDate ||
           expr.function == FunctionId::Unknown));
}

bool IsVariable(const Expr& expr) noexcept { return expr.kind == ExprKind::Variable; }

}  // namespace

void Binder::BindQuery(Query& query) {
  BindQueryIn(query, nullptr, false);
  query.next_source = next_source_;
  CheckInto(query);
}

void Binder::BindQueryIn(Query& query, Scope* parent, bool nested) {
  const Nesting nesting;
  std::vector<Expr*> outer;
  for (std::size_t i = 0; i < query.selects.size(); ++i) {
    Select& select = *query.selects[i];
    Scope scope;
    scope.parent = parent;
    if (select.has_into && (nested || i > 0)) {
      throw errors::IncorrectSyntaxKeyword(u"INTO", At(select.into.object.offset));
    }
    CheckAssignments(query, select, nested);
    BindSelect(select, scope);
    if (query.selects.size() == 1) BindOrderBy(query, scope);
    outer.insert(outer.end(), scope.outer_columns.begin(), scope.outer_columns.end());
  }
  if (nested && !query.order_by.empty() && !query.selects[0]->has_top) {
    throw errors::OrderByInSubquery(At(query.order_by[0].expr->offset));
  }
  if (query.selects.size() > 1) {
    UnifyUnion(query);
    BindUnionOrderBy(query);
  }
  query.outer_columns = arena_.Copy(outer);
  FinishQuery(query);
}

// SELECT @v = … stands alone: it gives no rows, and nothing else takes them.
void Binder::CheckAssignments(const Query& query, const Select& select, bool nested) const {
  const auto assigns = [](const SelectItem& item) { return item.variable != nullptr; };
  const auto first = std::find_if(select.items.begin(), select.items.end(), assigns);
  if (first == select.items.end()) return;
  if (nested || query.selects.size() > 1) {
    throw errors::IncorrectSyntax(u"=", At(first->variable->offset));
  }
  if (select.has_into || !std::all_of(select.items.begin(), select.items.end(), assigns)) {
    throw errors::AssignmentWithRows(At(first->variable->offset));
  }
}

void Binder::FinishQuery(Query& query) {
  std::vector<Type> types;
  std::vector<TextView> names;
  const std::span<SelectItem> items = query.selects[0]->items;
  for (std::size_t i = 0; i < items.size(); ++i) {
    Type type = items[i].expr->type;
    for (const Select* select : query.selects) {
      const bool nullable = type.nullable || select->items[i].expr->type.nullable;
      type = CommonType(type, select->items[i].expr->type);
      type.nullable = nullable;
    }
    // A NULL literal alone is an int.
    if (type.kind == TypeKind::Null) type = MakeType(TypeKind::Int);
    types.push_back(type);
    names.push_back(items[i].name);
  }
  query.types = arena_.Copy(types);
  query.names = arena_.Copy(names);
}

void Binder::BindSelect(Select& select, Scope& scope) {
  if (select.from != nullptr) BindFrom(*select.from, scope);
  // A decimal's units are no count of rows.
  if (select.top_variable != nullptr && IsNumber(select.top_variable->type.kind)) {
    select.top_variable = Coerce(select.top_variable, MakeType(TypeKind::BigInt), Conversion::Cast);
  }
  ExpandStars(select, scope);
  if (select.where != nullptr) {
    scope.clause = Scope::Clause::Where;
    BindPredicate(*select.where, scope);
  }
  scope.clause = Scope::Clause::GroupBy;
  for (Expr*& key : select.group_by) {
    if (key->query != nullptr) throw errors::AggregateInGroupBy(At(key->offset));
    key = Bind(key, scope);
    const auto is_own_column = [&](const Expr& expr) {
      return expr.kind == ExprKind::Column && Contains(scope.sources, expr.source);
    };
    if (!Holds(*key, is_own_column)) throw errors::GroupByWithoutColumn(At(key->offset));
  }
  scope.clause = Scope::Clause::Select;
  for (SelectItem& item : select.items) {
    item.expr = Bind(item.expr, scope);
    if (!item.alias.text.empty()) {
      item.name = item.alias.text;
    } else if (item.expr->kind == ExprKind::Column) {
      // The name as the table has it: a report's capitals do not change it in the result.
      item.name = select.has_into ? item.expr->source->NameOf(item.expr->column) : item.expr->text;
    }
  }
  scope.clause = Scope::Clause::Having;
  if (select.having != nullptr) BindPredicate(*select.having, scope);
  select.grouped = !select.group_by.empty() || select.having != nullptr || scope.has_aggregate;
  if (!select.grouped) return;
  for (const SelectItem& item : select.items)
    CheckGrouping(select, *item.expr, scope, false, false);
  if (select.having != nullptr) CheckGrouping(select, *select.having, scope, true, false);
}

void Binder::CheckGrouping(const Select& select, const Expr& expr, const Scope& scope, bool having,
                           bool order) {
  const Nesting nesting;
  const auto is_key = [&](const Expr& e) {
    return std::any_of(select.group_by.begin(), select.group_by.end(),
                       [&](const Expr* key) { return SameExpr(*key, e); });
  };
  const auto refuse = [&](const Expr& column) {
    const Text name =
        Text(column.source->exposed) + u"." + Text(column.source->NameOf(column.column));
    throw errors::NotGrouped(name, having, order, At(column.offset));
  };
  if (is_key(expr)) return;
  if (expr.kind == ExprKind::Function && IsAggregate(expr.function)) return;
  if (expr.kind == ExprKind::Column && Contains(scope.sources, expr.source)) refuse(expr);
  for (const Expr* arg : expr.args) CheckGrouping(select, *arg, scope, having, order);
  if (expr.query == nullptr) return;
  for (const Expr* column : expr.query->outer_columns) {
    if (Contains(scope.sources, column->source) && !is_key(*column)) refuse(*column);
  }
}

// Stars become the columns in the order in which the tables are written, before any join is turned
// round.
void Binder::ExpandStars(Select& select, Scope& scope) {
  const bool any =
      std::any_of(select.items.begin(), select.items.end(),
                  [](const SelectItem& item) { return item.expr->kind == ExprKind::Star; });
  if (!any) return;
  std::vector<SelectItem> items;
  for (const SelectItem& item : select.items) {
    const Expr& star = *item.expr;
    if (star.kind != ExprKind::Star) {
      items.push_back(item);
      continue;
    }
    if (scope.sources.empty()) throw errors::StarWithoutFrom(At(star.offset));
    const bool qualified = !star.qualifier.object.text.empty();
    bool found = false;
    for (const Source* source : scope.sources) {
      if (qualified && !QualifierMatches(*source, star.qualifier)) continue;
      AddStarColumns(*source, star.offset, items);
      found = true;
    }
    if (!found) throw errors::PrefixUnmatched(star.qualifier.object.text, At(star.offset));
  }
  select.items = arena_.Copy(items);
}

bool Binder::BindOrderOrdinal(OrderItem& item, std::size_t count) {
  if (!item.is_position) return false;
  const std::int64_t ordinal = item.expr->integer;
  if (ordinal < 1 || ordinal > static_cast<std::int64_t>(count)) {
    throw errors::OrderByOrdinal(ordinal, At(item.expr->offset));
  }
  item.ordinal = static_cast<std::int32_t>(ordinal);
  return true;
}

void Binder::BindOrderBy(Query& query, Scope& scope) {
  Select& select = *query.selects[0];
  scope.clause = Scope::Clause::OrderBy;
  for (OrderItem& item : query.order_by) BindOrderItem(item, query, scope);
  if (!scope.has_aggregate || select.grouped) return;
  // An aggregate in ORDER BY alone groups the whole query.
  select.grouped = true;
  for (const SelectItem& item : select.items)
    CheckGrouping(select, *item.expr, scope, false, false);
}

// What no row changes orders nothing, and is refused; a number alone is a column's position.
void Binder::CheckOrderTerm(const Query& query, const OrderItem& item) const {
  if (Holds(*item.expr, MayVary)) return;
  const std::int64_t place = &item - query.order_by.data() + 1;
  if (Holds(*item.expr, IsVariable)) {
    throw errors::VariableInOrderBy(place, At(item.expr->offset));
  }
  throw errors::ConstantInOrderBy(place, At(item.expr->offset));
}

// An alias or column name of the select list comes first, then a column of the tables.
void Binder::BindOrderItem(OrderItem& item, const Query& query, Scope& scope) {
  const Select& select = *query.selects[0];
  if (BindOrderOrdinal(item, select.items.size())) return;
  const bool bare = item.expr->kind == ExprKind::Column && item.expr->qualifier.object.text.empty();
  for (std::size_t i = 0; bare && i < select.items.size(); ++i) {
    if (select.items[i].name.empty() || !EqualText(select.items[i].name, item.expr->text)) continue;
    if (item.ordinal != 0) {
      const Expr& earlier = *select.items[static_cast<std::size_t>(item.ordinal) - 1].expr;
      if (SameExpr(earlier, *select.items[i].expr)) continue;
      throw errors::AmbiguousColumn(item.expr->text, At(item.expr->offset));
    }
    item.ordinal = static_cast<std::int32_t>(i + 1);
  }
  if (item.ordinal != 0) return;
  item.expr = Bind(item.expr, scope);
  CheckOrderTerm(query, item);
  for (std::size_t i = 0; i < select.items.size(); ++i) {
    if (SameExpr(*select.items[i].expr, *item.expr)) {
      item.ordinal = static_cast<std::int32_t>(i + 1);
      return;
    }
  }
  if (select.distinct) throw errors::OrderByNotInDistinct(At(item.expr->offset));
  if (select.grouped) CheckGrouping(select, *item.expr, scope, false, true);
}

void Binder::BindUnionOrderBy(Query& query) {
  const std::span<SelectItem> items = query.selects[0]->items;
  for (OrderItem& item : query.order_by) {
    if (BindOrderOrdinal(item, items.size())) continue;
    for (std::size_t i = 0; i < items.size() && item.expr->kind == ExprKind::Column; ++i) {
      if (EqualText(items[i].name, item.expr->text))
        item.ordinal = static_cast<std::int32_t>(i + 1);
    }
    if (item.ordinal != 0) continue;
    CheckOrderTerm(query, item);
    throw errors::OrderByNotInUnion(At(item.expr->offset));
  }
}

void Binder::UnifyUnion(Query& query) {
  const std::size_t count = query.selects[0]->items.size();
  for (const Select* select : query.selects) {
    if (select->items.size() != count) throw errors::UnionColumnCount(At(select->offset));
  }
  for (std::size_t i = 0; i < count; ++i) {
    Type common;
    for (const Select* select : query.selects) {
      common = CommonType(common, select->items[i].expr->type);
    }
    if (common.kind == TypeKind::Null) continue;
    for (Select* select : query.selects) {
      Expr*& item = select->items[i].expr;
      const bool nullable = item->type.nullable;
      item = Coerce(item, common);
      item->type.nullable = nullable;
    }
  }
}

void Binder::CheckInto(const Query& query) {
  const Select& select = *query.selects[0];
  if (!select.has_into) return;
  const TextView table = select.into.object.text;
  TextMap<std::size_t> seen;
  for (std::size_t i = 0; i < select.items.size(); ++i) {
    const SelectItem& item = select.items[i];
    if (item.name.empty()) throw errors::ColumnNameMissing(i + 1, At(item.expr->offset));
    if (!seen.emplace(FoldText(item.name), i).second) {
      throw errors::DuplicateColumn(item.name, table, At(item.expr->offset));
    }
  }
  static_cast<void>(RequireNewName(select.into));
}

}  // namespace ledgerwick::tsql
