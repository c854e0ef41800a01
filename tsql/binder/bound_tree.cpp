#include "tsql/binder/bound_tree.h"

#include <algorithm>

#include "tsql/base/nesting.h"

namespace ledgerwick::tsql {

std::int32_t Source::Count() const noexcept {
  return static_cast<std::int32_t>(query != nullptr ? names.size() : table->columns.size());
}

TextView Source::NameOf(std::int32_t column) const noexcept {
  const auto i = static_cast<std::size_t>(column);
  return query != nullptr ? names[i] : TextView(table->columns[i].name);
}

Type Source::TypeOf(std::int32_t column) const noexcept {
  const auto i = static_cast<std::size_t>(column);
  return query != nullptr ? query->types[i] : table->columns[i].type;
}

std::int32_t Source::Find(TextView name) const {
  if (query == nullptr) return table->FindColumn(name);
  std::int32_t found = -1;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!EqualText(names[i], name)) continue;
    if (found >= 0) return -2;
    found = static_cast<std::int32_t>(i);
  }
  return found;
}

bool Has(std::span<const Source* const> sources, const Source* source) noexcept {
  return std::find(sources.begin(), sources.end(), source) != sources.end();
}

void CollectSources(const BoundFrom& from, Sources& sources) {
  const Nesting nesting;
  if (from.kind == BoundFromKind::Source) {
    sources.push_back(from.source);
    return;
  }
  CollectSources(*from.left, sources);
  CollectSources(*from.right, sources);
}

bool Reads(const BoundExpr& expr, std::span<const Source* const> sources) {
  if (expr.kind == ExprKind::Column) return Has(sources, expr.source);
  if (expr.args.empty() && expr.query == nullptr) return false;
  const Nesting nesting;
  const auto reads = [&](const BoundExpr* e) { return Reads(*e, sources); };
  if (std::any_of(expr.args.begin(), expr.args.end(), reads)) return true;
  return expr.query != nullptr &&
         std::any_of(expr.query->outer_columns.begin(), expr.query->outer_columns.end(), reads);
}

bool Reads(const BoundExpr& expr, const Source& source) {
  const Source* const one = &source;
  return Reads(expr, std::span(&one, 1));
}

bool IsAggregate(const BoundExpr& expr) noexcept {
  return expr.kind == ExprKind::Function && IsAggregate(expr.function);
}

bool HoldsQuery(const BoundExpr& expr) noexcept {
  return expr.query != nullptr ||
         std::any_of(expr.args.begin(), expr.args.end(),
                     [](const BoundExpr* arg) { return HoldsQuery(*arg); });
}

bool SameTree(const BoundExpr& a, const BoundExpr& b) {
  if (a.args.size() != b.args.size() || a.query != b.query) return false;
  const Nesting nesting;
  switch (a.kind) {
    case ExprKind::Integer:
      if (a.integer != b.integer) return false;
      break;
    case ExprKind::Variable:
      if (a.slot != b.slot) return false;
      break;
    case ExprKind::Number:
      // A literal that was brought to a type counts in that type's units.
      if (a.text != b.text || !(a.type == b.type)) return false;
      break;
    case ExprKind::String:
    case ExprKind::Binary:
      if (a.text != b.text) return false;
      break;
    case ExprKind::Convert:
      if (!(a.type == b.type) || a.style != b.style) return false;
      break;
    case ExprKind::Function:
      if (a.function != b.function || a.distinct != b.distinct || a.text != b.text) return false;
      break;
    case ExprKind::Null:
    case ExprKind::Column:
    case ExprKind::Star:
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
      break;
  }
  if (a.compare != b.compare || a.negated != b.negated || a.has_operand != b.has_operand ||
      a.has_else != b.has_else) {
    return false;
  }
  for (std::size_t i = 0; i < a.args.size(); ++i) {
    if (!SameExpr(*a.args[i], *b.args[i])) return false;
  }
  return true;
}

bool IsNonZeroLiteral(const BoundExpr& expr) noexcept {
  if (expr.kind == ExprKind::Integer) return expr.integer != 0;
  return expr.kind == ExprKind::Number &&
         expr.text.substr(0, expr.text.find_first_of(u"eE")).find_first_of(u"123456789") !=
             TextView::npos;
}

}  // namespace ledgerwick::tsql
