// Binding of queries: the select list, grouping, ORDER BY, UNION.
#include <algorithm>
#include <array>
#include <memory_resource>
#include <unordered_set>

#include "tsql/binder/binder.h"

namespace ledgerwick::tsql {
namespace {

bool Contains(const std::vector<Source*>& sources, const Source* source) noexcept {
  return std::find(sources.begin(), sources.end(), source) != sources.end();
}

// True when `accept` takes `expr` or an expression inside it, those of subqueries left out.
template <typename Tree, typename Accept>
bool Holds(const Tree& expr, const Accept& accept) {
  return accept(expr) || std::any_of(expr.args.begin(), expr.args.end(),
                                     [&](const Tree* arg) { return Holds(*arg, accept); });
}

// What has a value of its own for each row or for each run: anything else is constant.
bool MayVary(const BoundExpr& expr) noexcept {
  return expr.kind == ExprKind::Column || expr.query != nullptr ||
         (expr.kind == ExprKind::Function &&
          (IsAggregate(expr.function) || expr.function == FunctionId::GetDate ||
           expr.function == FunctionId::SysDateTime || expr.function == FunctionId::NewId));
}

// The same as long as nobody knows the function.
bool MayVary(const Expr& expr) noexcept {
  return expr.kind == ExprKind::Column || expr.query != nullptr || expr.kind == ExprKind::Function;
}

}  // namespace

BoundQuery* Binder::BindQuery(const Query& query) {
  BoundQuery* bound = BindQueryIn(query, nullptr, false);
  CheckInto(query, *bound);
  const Select& select = *query.selects[0];
  if (select.items[0].variable == nullptr) return bound;
  for (std::size_t i = 0; i < select.items.size(); ++i) {
    BoundItem& item = bound->selects[0]->items[i];
    item.variable = select.items[i].variable->slot;
    const Type& type = select.items[i].variable->type;
    item.expr = Coerce(WithAllCharacters(item.expr, type), type);
  }
  return bound;
}

BoundQuery* Binder::BindViewQuery(const Query& query) {
  creates_view_ = true;
  return BindQueryIn(query, nullptr, true);
}

BoundQuery* Binder::BindQueryIn(const Query& query, Scope* parent, bool nested) {
  const Nesting nesting;
  auto* bound = arena_.Make<BoundQuery>();
  bound->selects = arena_.MakeSpan<BoundSelect*>(query.selects.size());
  bound->keeps_duplicates = query.keeps_duplicates;
  std::vector<BoundExpr*> outer;
  for (std::size_t i = 0; i < query.selects.size(); ++i) {
    const Select& select = *query.selects[i];
    Scope scope;
    scope.parent = parent;
    if (select.has_into && (nested || i > 0)) {
      throw errors::IncorrectSyntaxKeyword(u"INTO", At(select.into.object.offset));
    }
    CheckAssignments(query, select, nested);
    bound->selects[i] = BindSelect(select, scope);
    if (query.selects.size() == 1) BindOrderBy(query, *bound, scope);
    outer.insert(outer.end(), scope.outer_columns.begin(), scope.outer_columns.end());
  }
  if (nested && !query.order_by.empty() && !query.selects[0]->has_top) {
    throw errors::OrderByInSubquery(At(query.order_by[0].expr->offset));
  }
  if (query.selects.size() > 1) {
    UnifyUnion(query, *bound);
    bound->order_by = arena_.MakeSpan<BoundOrder>(query.order_by.size());
    for (std::size_t i = 0; i < query.order_by.size(); ++i) {
      bound->order_by[i] = BindUnionOrderItem(query.order_by[i], i + 1, bound->selects[0]->items);
    }
  }
  bound->outer_columns = arena_.Copy(outer);
  FinishQuery(*bound);
  return bound;
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

void Binder::FinishQuery(BoundQuery& query) {
  const std::span<const BoundItem> items = query.selects[0]->items;
  query.types = arena_.MakeSpan<Type>(items.size());
  query.names = arena_.MakeSpan<TextView>(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    Type type = items[i].expr->type;
    for (const BoundSelect* select : query.selects) {
      const bool nullable = type.nullable || select->items[i].expr->type.nullable;
      type = CommonType(type, select->items[i].expr->type);
      type.nullable = nullable;
    }
    // A NULL literal alone is an int.
    if (type.kind == TypeKind::Null) type = MakeType(TypeKind::Int);
    query.types[i] = type;
    query.names[i] = items[i].name;
  }
}

BoundSelect* Binder::BindSelect(const Select& select, Scope& scope) {
  auto* bound = arena_.Make<BoundSelect>();
  bound->distinct = select.distinct;
  bound->has_top = select.has_top;
  bound->top = select.top;
  bound->has_into = select.has_into;
  if (select.from != nullptr) bound->from = BindFrom(*select.from, scope);
  if (select.top_variable != nullptr) {
    bound->top_variable = NewExpr(*select.top_variable);
    // A decimal's units are no count of rows.
    if (IsNumber(select.top_variable->type.kind)) {
      bound->top_variable =
          Coerce(bound->top_variable, MakeType(TypeKind::BigInt), Conversion::Cast);
    }
  }
  const std::vector<WrittenItem> items = ExpandStars(select, scope);
  if (select.where != nullptr) {
    scope.clause = Scope::Clause::Where;
    bound->where = BindPredicate(*select.where, scope);
  }
  scope.clause = Scope::Clause::GroupBy;
  bound->group_by = arena_.MakeSpan<BoundExpr*>(select.group_by.size());
  for (std::size_t i = 0; i < select.group_by.size(); ++i) {
    const Expr& key = *select.group_by[i];
    if (key.query != nullptr) throw errors::AggregateInGroupBy(At(key.offset));
    bound->group_by[i] = Bind(key, scope);
    const auto is_own_column = [&](const BoundExpr& expr) {
      return expr.kind == ExprKind::Column && Contains(scope.sources, expr.source);
    };
    if (!Holds(*bound->group_by[i], is_own_column)) {
      throw errors::GroupByWithoutColumn(At(key.offset));
    }
  }
  scope.clause = Scope::Clause::Select;
  bound->items = arena_.MakeSpan<BoundItem>(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    bound->items[i] = BindItem(items[i], select.has_into, scope);
  }
  scope.clause = Scope::Clause::Having;
  if (select.having != nullptr) bound->having = BindPredicate(*select.having, scope);
  bound->grouped = !select.group_by.empty() || select.having != nullptr || scope.has_aggregate;
  if (!bound->grouped) return bound;
  for (const BoundItem& item : bound->items) {
    CheckGrouping(*bound, *item.expr, scope, false, false);
  }
  if (bound->having != nullptr) CheckGrouping(*bound, *bound->having, scope, true, false);
  return bound;
}

BoundItem Binder::BindItem(const WrittenItem& written, bool has_into, Scope& scope) {
  BoundItem item;
  item.expr = written.item != nullptr ? Bind(*written.item->expr, scope) : written.column;
  if (written.item != nullptr && !written.item->alias.text.empty()) {
    item.name = written.item->alias.text;
  } else if (item.expr->kind == ExprKind::Column) {
    // The name as the table has it: a report's capitals do not change it in the result.
    item.name = has_into ? item.expr->source->NameOf(item.expr->column) : item.expr->text;
  }
  return item;
}

void Binder::CheckGrouping(const BoundSelect& select, const BoundExpr& expr, const Scope& scope,
                           bool having, bool order) {
  const Nesting nesting;
  const auto is_key = [&](const BoundExpr& e) {
    return std::any_of(select.group_by.begin(), select.group_by.end(),
                       [&](const BoundExpr* key) { return SameExpr(*key, e); });
  };
  const auto refuse = [&](const BoundExpr& column) {
    const Text name =
        Text(column.source->exposed) + u"." + Text(column.source->NameOf(column.column));
    throw errors::NotGrouped(name, having, order, At(column.offset));
  };
  if (is_key(expr)) return;
  if (expr.kind == ExprKind::Function && IsAggregate(expr.function)) return;
  if (expr.kind == ExprKind::Column && Contains(scope.sources, expr.source)) refuse(expr);
  for (const BoundExpr* arg : expr.args) CheckGrouping(select, *arg, scope, having, order);
  if (expr.query == nullptr) return;
  for (const BoundExpr* column : expr.query->outer_columns) {
    if (Contains(scope.sources, column->source) && !is_key(*column)) refuse(*column);
  }
}

// Stars become the columns in the order in which the tables are written.
std::vector<Binder::WrittenItem> Binder::ExpandStars(const Select& select, const Scope& scope) {
  std::vector<WrittenItem> items;
  items.reserve(select.items.size());
  for (const SelectItem& item : select.items) {
    const Expr& star = *item.expr;
    if (star.kind != ExprKind::Star) {
      items.push_back({&item, nullptr});
      continue;
    }
    if (scope.sources.empty()) throw errors::StarWithoutFrom(At(star.offset));
    const bool qualified = IsQualified(star);
    bool found = false;
    for (const Source* source : scope.sources) {
      if (qualified && !QualifierMatches(*source, *star.qualifier)) continue;
      AddStarColumns(*source, star.offset, items);
      found = true;
    }
    if (!found) throw errors::PrefixUnmatched(star.qualifier->object.text, At(star.offset));
  }
  return items;
}

bool Binder::BindOrderOrdinal(const OrderItem& item, std::size_t count, BoundOrder& bound) const {
  if (!item.is_position) return false;
  const std::int64_t ordinal = item.expr->integer;
  if (ordinal < 1 || ordinal > static_cast<std::int64_t>(count)) {
    throw errors::OrderByOrdinal(ordinal, At(item.expr->offset));
  }
  bound.ordinal = static_cast<std::int32_t>(ordinal);
  return true;
}

void Binder::BindOrderBy(const Query& query, BoundQuery& bound, Scope& scope) {
  BoundSelect& select = *bound.selects[0];
  scope.clause = Scope::Clause::OrderBy;
  bound.order_by = arena_.MakeSpan<BoundOrder>(query.order_by.size());
  for (std::size_t i = 0; i < query.order_by.size(); ++i) {
    bound.order_by[i] = BindOrderItem(query.order_by[i], i + 1, select, scope);
  }
  if (!scope.has_aggregate || select.grouped) return;
  // An aggregate in ORDER BY alone groups the whole query.
  select.grouped = true;
  for (const BoundItem& item : select.items) {
    CheckGrouping(select, *item.expr, scope, false, false);
  }
}

// What no row changes orders nothing, and is refused; a number alone is a column's position.
template <typename Tree>
void Binder::CheckOrderTerm(const Tree& expr, std::size_t place) const {
  if (Holds(expr, [](const Tree& e) { return MayVary(e); })) return;
  const auto at = static_cast<std::int64_t>(place);
  if (Holds(expr, [](const Tree& e) { return e.kind == ExprKind::Variable; })) {
    throw errors::VariableInOrderBy(at, At(expr.offset));
  }
  throw errors::ConstantInOrderBy(at, At(expr.offset));
}

// An alias or column name of the select list comes first, then a column of the tables.
BoundOrder Binder::BindOrderItem(const OrderItem& item, std::size_t place,
                                 const BoundSelect& select, Scope& scope) {
  BoundOrder bound;
  bound.descending = item.descending;
  if (BindOrderOrdinal(item, select.items.size(), bound)) return bound;
  const bool bare = item.expr->kind == ExprKind::Column && !IsQualified(*item.expr);
  for (std::size_t i = 0; bare && i < select.items.size(); ++i) {
    if (select.items[i].name.empty() || !EqualText(select.items[i].name, item.expr->text)) continue;
    if (bound.ordinal != 0) {
      const BoundExpr& earlier = *select.items[static_cast<std::size_t>(bound.ordinal) - 1].expr;
      if (SameExpr(earlier, *select.items[i].expr)) continue;
      throw errors::AmbiguousColumn(item.expr->text, At(item.expr->offset));
    }
    bound.ordinal = static_cast<std::int32_t>(i + 1);
  }
  if (bound.ordinal != 0) return bound;
  bound.expr = Bind(*item.expr, scope);
  CheckOrderTerm(*bound.expr, place);
  for (std::size_t i = 0; i < select.items.size(); ++i) {
    if (SameExpr(*select.items[i].expr, *bound.expr)) {
      bound.ordinal = static_cast<std::int32_t>(i + 1);
      return bound;
    }
  }
  if (select.distinct) throw errors::OrderByNotInDistinct(At(item.expr->offset));
  if (select.grouped) CheckGrouping(select, *bound.expr, scope, false, true);
  return bound;
}

BoundOrder Binder::BindUnionOrderItem(const OrderItem& item, std::size_t place,
                                      std::span<const BoundItem> items) const {
  BoundOrder bound;
  bound.descending = item.descending;
  if (BindOrderOrdinal(item, items.size(), bound)) return bound;
  for (std::size_t i = 0; i < items.size() && item.expr->kind == ExprKind::Column; ++i) {
    if (EqualText(items[i].name, item.expr->text)) {
      bound.ordinal = static_cast<std::int32_t>(i + 1);
    }
  }
  if (bound.ordinal != 0) return bound;
  CheckOrderTerm(*item.expr, place);
  throw errors::OrderByNotInUnion(At(item.expr->offset));
}

void Binder::UnifyUnion(const Query& query, BoundQuery& bound) {
  const std::size_t count = bound.selects[0]->items.size();
  for (std::size_t i = 0; i < query.selects.size(); ++i) {
    if (bound.selects[i]->items.size() == count) continue;
    throw errors::UnionColumnCount(At(query.selects[i]->offset));
  }
  for (std::size_t i = 0; i < count; ++i) {
    Type common;
    for (const BoundSelect* select : bound.selects) {
      common = CommonType(common, select->items[i].expr->type);
    }
    if (common.kind == TypeKind::Null) continue;
    for (BoundSelect* select : bound.selects) {
      BoundExpr*& item = select->items[i].expr;
      const bool nullable = item->type.nullable;
      item = Coerce(item, common);
      item->type.nullable = nullable;
    }
  }
}

void Binder::CheckInto(const Query& query, const BoundQuery& bound) {
  const Select& select = *query.selects[0];
  if (!select.has_into) return;
  const TextView table = select.into.object.text;
  const std::span<const BoundItem> items = bound.selects[0]->items;
  std::array<std::byte, 8192> room;
  std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
  std::pmr::unordered_set<TextView, NameHash, SameName> seen(items.size(), &memory);
  for (std::size_t i = 0; i < items.size(); ++i) {
    const BoundItem& item = items[i];
    if (item.name.empty()) throw errors::ColumnNameMissing(i + 1, At(item.expr->offset));
    if (!seen.insert(item.name).second) {
      throw errors::DuplicateColumn(item.name, table, At(item.expr->offset));
    }
  }
  static_cast<void>(RequireNewName(select.into));
}

}  // namespace ledgerwick::tsql
