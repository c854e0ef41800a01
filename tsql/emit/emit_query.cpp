// Queries as SQLite's SQL.
#include <algorithm>

#include "tsql/emit/emitter.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
namespace {

// SQLite takes HAVING, or an aggregate in ORDER BY, without GROUP BY only where the select list
// holds an aggregate.
bool LacksAggregate(const BoundSelect& select) {
  return select.grouped && select.group_by.empty() &&
         std::none_of(select.items.begin(), select.items.end(),
                      [](const BoundItem& item) { return item.expr->has_aggregate; });
}

// SQLite calls its own file malformed where UNION or IN keeps a set of single texts, and one that
// is empty and one of a blank replace each other, which the collation finds equal. DISTINCT, which
// replaces nothing, does for UNION. Returns how many selects it is for: those up to the last UNION.
std::size_t TextsApart(const BoundQuery& query) noexcept {
  const std::span<const BoundItem> items = query.selects[0]->items;
  if (items.size() != 1 || !IsText(items[0].expr->type.kind)) return 0;
  std::size_t selects = 0;
  for (std::size_t i = 0; i < query.keeps_duplicates.size(); ++i) {
    if (!query.keeps_duplicates[i]) selects = i + 2;
  }
  return selects;
}

bool HoldsFullJoin(const BoundFrom* from) noexcept {
  return from != nullptr && (from->kind == BoundFromKind::Full || HoldsFullJoin(from->left) ||
                             HoldsFullJoin(from->right));
}

}  // namespace

void Emitter::EmitQuery(const BoundQuery& query, bool named) {
  const Nesting nesting;
  RequireRoom();
  const bool compound = query.selects.size() > 1;
  const std::size_t apart = TextsApart(query);
  if (apart > 0) Raw("SELECT DISTINCT c1 COLLATE ").Raw(kCollation).Raw(" AS c1 FROM (");
  for (std::size_t i = 0; i < query.selects.size(); ++i) {
    const bool all = i > 0 && (query.keeps_duplicates[i - 1] || i < apart);
    if (i > 0) Raw(all ? " UNION ALL " : " UNION ");
    const BoundSelect& select = *query.selects[i];
    // A limit belongs to its own select, which SQLite can only write in a subquery.
    const bool wrapped = compound && select.has_top;
    if (wrapped) Raw("SELECT * FROM (");
    EmitSelect(select, (named || apart > 0) && i == 0, compound);
    if (wrapped) {
      EmitLimit(select);
      Raw(")");
    }
    if (i + 1 == apart) Raw(")");
  }
  EmitOrderBy(query);
  // SQLite makes a UNION ALL part of the query around it. Where one of its selects has a full join
  // it then loses that query's conditions, and where that query has one it takes its ON clauses for
  // wrong; a limit, even of none, keeps them apart.
  const auto has_full_join = [](const BoundSelect* select) { return HoldsFullJoin(select->from); };
  const bool full =
      beside_full_join_ || std::any_of(query.selects.begin(), query.selects.end(), has_full_join);
  if (compound && full) Raw(" LIMIT -1");
  if (!compound && query.selects[0]->has_top) EmitLimit(*query.selects[0]);
}

// SQLite takes a negative limit for none.
void Emitter::EmitLimit(const BoundSelect& select) {
  Raw(" LIMIT ");
  if (select.top_variable == nullptr) {
    Raw(std::to_string(select.top));
    return;
  }
  Raw("max(0, ");
  EmitExpr(*select.top_variable);
  Raw(")");
}

void Emitter::EmitSelect(const BoundSelect& select, bool named, bool compound) {
  Raw(select.distinct ? "SELECT DISTINCT " : "SELECT ");
  for (std::size_t i = 0; i < select.items.size(); ++i) {
    const bool aggregates = i == 0 && LacksAggregate(select);
    Raw(i > 0 ? ", " : aggregates ? "CASE WHEN count(*) >= 0 THEN " : "");
    EmitItem(select, select.items[i], compound);
    if (aggregates) Raw(" END");
    if (named) Raw(" AS c").Raw(std::to_string(i + 1));
  }
  EmitFromWhere(select.from, select.where);
  for (std::size_t i = 0; i < select.group_by.size(); ++i) {
    Raw(i == 0 ? " GROUP BY " : ", ");
    EmitTerm(*select.group_by[i]);
  }
  if (select.having != nullptr) {
    Raw(" HAVING ");
    EmitExpr(*select.having);
  }
}

void Emitter::EmitItem(const BoundSelect& select, const BoundItem& item, bool compound) {
  // Where rows are compared, texts that differ in case or trailing blanks are one.
  if (select.has_into && IsFloat(item.expr->type.kind) && item.expr->kind != ExprKind::Column) {
    Raw("t_finite(");
    EmitExpr(*item.expr);
    Raw(")");
  } else if (select.distinct || compound) {
    EmitCollated(*item.expr);
  } else {
    EmitExpr(*item.expr);
  }
}

// What rows are ordered or grouped by. An expression may come down to a number (ISNULL(1, x)),
// which must not become a column's position.
void Emitter::EmitTerm(const BoundExpr& expr) {
  const std::size_t start = out_.size();
  EmitCollated(expr);
  if (out_.find_first_not_of("0123456789+-() ", start) != std::string::npos) return;
  out_.insert(start, "CAST(");
  Raw(" AS INTEGER)");
}

void Emitter::EmitOrderBy(const BoundQuery& query) {
  for (std::size_t i = 0; i < query.order_by.size(); ++i) {
    const BoundOrder& item = query.order_by[i];
    Raw(i == 0 ? " ORDER BY " : ", ");
    if (item.ordinal == 0) {
      EmitTerm(*item.expr);
    } else {
      Raw(std::to_string(item.ordinal));
      const Type& type =
          query.types.empty()
              ? query.selects[0]->items[static_cast<std::size_t>(item.ordinal) - 1].expr->type
              : query.types[static_cast<std::size_t>(item.ordinal) - 1];
      // The columns of a UNION bring their collation; SQLite takes none here beside GROUP BY.
      const bool brings = query.selects.size() > 1;
      if (IsText(type.kind) && !brings) Raw(" COLLATE ").Raw(kCollation);
    }
    if (item.descending) Raw(" DESC");
  }
}

void Emitter::EmitFromWhere(const BoundFrom* from, const BoundExpr* where) {
  if (from != nullptr) {
    const bool beside = beside_full_join_;
    beside_full_join_ = beside || HoldsFullJoin(from);
    Raw(" FROM ");
    EmitFrom(*from);
    beside_full_join_ = beside;
  }
  if (where == nullptr) return;
  Raw(" WHERE ");
  EmitExpr(*where);
}

// Joins one behind the other stand without parentheses.
void Emitter::EmitFrom(const BoundFrom& from) {
  const Nesting nesting;
  if (from.kind != BoundFromKind::Inner && from.kind != BoundFromKind::Left) {
    EmitJoinTree(from);
    return;
  }
  EmitFrom(*from.left);
  Raw(from.kind == BoundFromKind::Left ? " LEFT JOIN " : " JOIN ");
  EmitJoinTree(*from.right);
  if (from.on == nullptr) return;
  Raw(" ON ");
  EmitExpr(*from.on);
}

void Emitter::EmitJoinTree(const BoundFrom& from) {
  const Nesting nesting;
  if (from.kind == BoundFromKind::Source) {
    EmitLeaf(from);
    return;
  }
  Raw("(");
  EmitJoinTree(*from.left);
  Raw(from.kind == BoundFromKind::Full   ? " FULL JOIN "
      : from.kind == BoundFromKind::Left ? " LEFT JOIN "
                                         : " JOIN ");
  EmitJoinTree(*from.right);
  if (from.on != nullptr) {
    Raw(" ON ");
    EmitJoinCondition(from, *from.on);
  }
  Raw(")");
}

// SQLite asks what reads none of its tables once, before all rows; where the join is a side of a
// full one, the other side's rows would be lost as well. So it is made to read a column.
void Emitter::EmitJoinCondition(const BoundFrom& from, const BoundExpr& condition) {
  Sources sources;
  CollectSources(from, sources);
  if (condition.kind == ExprKind::And) {
    for (const BoundExpr* term : condition.args) {
      Raw(term == condition.args.front() ? "" : " AND ");
      EmitJoinCondition(from, *term);
    }
    return;
  }
  if (Reads(condition, sources)) return EmitExpr(condition);
  const Source& first = *sources.front();
  const std::string column = "s" + std::to_string(first.id) + "." +
                             (first.query == nullptr ? first.table->columns[0].sql : "c1");
  Raw("min(");
  EmitExpr(condition);
  Raw(", ").Raw(column).Raw(" IS ").Raw(column).Raw(")");
}

// The groups of `select` as a table of the storage's: keys, then totals.
void Emitter::EmitHashedGroups(const BoundSelect& select) {
  std::string values;
  for (const BoundItem& item : select.items.subspan(select.group_by.size())) {
    values += item.expr->function == FunctionId::Count ? 'n'
              : IsExactFraction(item.expr->type.kind)  ? 'd'
                                                       : 's';
  }
  Raw("t_groups((SELECT t_group('").Raw(std::to_string(select.group_by.size())).Raw(values);
  Raw("'");
  for (std::size_t i = 0; i < select.items.size(); ++i) {
    const BoundExpr& item = *select.items[i].expr;
    const BoundExpr& value = i < select.group_by.size() ? item : *item.args[0];
    Raw(", ");
    if (value.kind == ExprKind::Star) {
      Raw("1");
    } else {
      EmitExpr(value);
    }
  }
  Raw(")");
  EmitFromWhere(select.from, select.where);
  Raw("))");
}

void Emitter::EmitLeaf(const BoundFrom& from) {
  const Source& source = *from.source;
  if (source.hoisted) {
    Hoist(source);
  } else if (source.query != nullptr && source.query->selects[0]->hashed) {
    EmitHashedGroups(*source.query->selects[0]);
  } else if (source.query != nullptr) {
    Raw("(");
    EmitQuery(*source.query, true);
    Raw(")");
  } else {
    Raw(source.table->sql);
  }
  Raw(" AS s").Raw(std::to_string(source.id));
}

}  // namespace ledgerwick::tsql
