#include "tsql/plan/split.h"

#include <algorithm>
#include <bit>

#include "tsql/base/nesting.h"

namespace ledgerwick::tsql {
namespace {

// Heights are counted in symbols that wait on the parser's stack, never too few of them, for what
// the emitter writes around an operand.
constexpr int kMost = 60;  // the rest is for what stands around a statement
constexpr int kPartCall = 5;

int Waiting(std::size_t terms) noexcept {
  constexpr int kForEachHalf = 3;
  return kForEachHalf * static_cast<int>(std::bit_width(terms - 1));
}

// What waits while the `i`th argument of `expr` is read.
int EdgeOf(const BoundExpr& expr, std::size_t i) noexcept {
  constexpr int kCall = 3;       // f(
  constexpr int kLaterCall = 5;  // f(x,
  switch (expr.kind) {
    case ExprKind::And:
    case ExprKind::Or:
      return Waiting(expr.args.size());
    case ExprKind::Not:
      return 2;
    case ExprKind::IsNull:
      return 1;
    case ExprKind::Compare:
      return i == 0 ? 1 : 3;
    case ExprKind::Between:
      return 1 + 2 * static_cast<int>(i);
    case ExprKind::InList:
    case ExprKind::InQuery:
      return i == 0 ? 1 : 6 + kCall;
    case ExprKind::Like:
      return 2 + kLaterCall;
    case ExprKind::Case:
      return 6;
    case ExprKind::Convert:
      return 3 * kCall;
    case ExprKind::Add:
    case ExprKind::Subtract:
    case ExprKind::Multiply:
      return i == 0 ? kCall + 2 : kLaterCall + 2;
    case ExprKind::Divide:
    case ExprKind::Modulo:
      return i == 0 ? kCall + 3 : 2 * kCall + 5;
    case ExprKind::Negate:
    case ExprKind::BitNot:
    case ExprKind::BitAnd:
    case ExprKind::BitOr:
    case ExprKind::BitXor:
      return kLaterCall;
    case ExprKind::Function:
      if (IsAggregate(expr)) return 2 * kCall + 2;
      return kLaterCall * (1 + static_cast<int>(i / kMostCallArguments));
    case ExprKind::Null:
    case ExprKind::Integer:
    case ExprKind::Number:
    case ExprKind::String:
    case ExprKind::Binary:
    case ExprKind::Star:
    case ExprKind::Column:
    case ExprKind::Variable:
    case ExprKind::Scalar:
    case ExprKind::Exists:
      break;
  }
  return 0;
}

// What waits while the query of `expr` is read.
int QueryEdgeOf(const BoundExpr& expr) noexcept {
  constexpr int kExists = 3;
  constexpr int kIn = 14;
  constexpr int kScalar = 18;
  if (expr.kind == ExprKind::Exists) return kExists;
  return expr.kind == ExprKind::InQuery ? kIn : kScalar;
}

// What stands in one tree: the sources of its queries, and what it reads beside their columns.
class Contents {
 public:
  explicit Contents(const BoundExpr& root) { Visit(root, true); }

  // Columns of other sources, variables and aggregates of the query around, each once.
  std::vector<const BoundExpr*> Inputs() const {
    std::vector<const BoundExpr*> inputs;
    for (const BoundExpr* read : reads_) {
      if (read->kind == ExprKind::Column && Has(sources_, read->source)) continue;
      const auto same = [&](const BoundExpr* known) {
        return known == read || (!IsAggregate(*read) && SameExpr(*known, *read));
      };
      if (std::none_of(inputs.begin(), inputs.end(), same)) inputs.push_back(read);
    }
    return inputs;
  }

 private:
  void Visit(const BoundExpr& expr, bool outermost) {
    const Nesting nesting;
    const bool aggregate = outermost && IsAggregate(expr);
    if (expr.kind == ExprKind::Column || expr.kind == ExprKind::Variable || aggregate) {
      reads_.push_back(&expr);
    }
    if (aggregate) return;
    for (const BoundExpr* arg : expr.args) Visit(*arg, outermost);
    if (expr.query != nullptr) Visit(*expr.query);
  }

  void Visit(const BoundExpr* expr) {
    if (expr != nullptr) Visit(*expr, false);
  }

  void Visit(const BoundFrom* from) {
    if (from == nullptr) return;
    const Nesting nesting;
    if (from->source != nullptr) {
      sources_.push_back(from->source);
      if (from->source->query != nullptr) Visit(*from->source->query);
    }
    Visit(from->left);
    Visit(from->right);
    Visit(from->on);
  }

  void Visit(const BoundQuery& query) {
    for (const BoundSelect* select : query.selects) {
      for (const BoundItem& item : select->items) Visit(item.expr);
      Visit(select->top_variable);
      Visit(select->from);
      Visit(select->where);
      for (const BoundExpr* key : select->group_by) Visit(key);
      Visit(select->having);
    }
    for (const BoundOrder& item : query.order_by) Visit(item.expr);
  }

  Sources sources_;
  std::vector<const BoundExpr*> reads_;
};

class Splitter {
 public:
  explicit Splitter(PlanContext& context) : context_(context) {}

  // The height of what is left of it.
  int Split(BoundExpr& expr) {
    const Nesting nesting;
    int height = 0;
    for (std::size_t i = 0; i < expr.args.size(); ++i) {
      BoundExpr& arg = *expr.args[i];
      const int edge = EdgeOf(expr, i);
      int of_arg = edge + Split(arg);
      if (of_arg > kMost && IsSeparable(arg)) {
        MakePart(arg);
        of_arg = edge + kPartCall;
      }
      height = std::max(height, of_arg);
    }
    if (expr.query != nullptr) height = std::max(height, QueryEdgeOf(expr) + Split(*expr.query));
    return height;
  }

  int Split(BoundQuery& query) {
    const Nesting nesting;
    // UNION, its texts kept apart, the limit of one of its selects.
    const int around = query.selects.size() > 1 ? 16 : 0;
    int height = 0;
    for (BoundSelect* select : query.selects) height = std::max(height, Split(*select));
    for (const BoundOrder& item : query.order_by) height = std::max(height, 8 + Root(item.expr));
    return around + height;
  }

  int Split(BoundFrom* from) {
    if (from == nullptr) return 0;
    const Nesting nesting;
    if (from->source != nullptr) return Split(*from->source);
    return std::max({2 + Split(from->left), 3 + Split(from->right), 4 + Root(from->on)});
  }

  // Of an expression that stands in a clause.
  int Root(BoundExpr* expr) {
    if (expr == nullptr) return 0;
    const int height = Split(*expr);
    if (height <= kMost || !IsSeparable(*expr)) return height;
    MakePart(*expr);
    return kPartCall;
  }

 private:
  int Split(BoundSelect& select) {
    constexpr int kItem = 5;
    constexpr int kWhere = 5;
    constexpr int kFrom = 4;
    constexpr int kGroup = 7;
    constexpr int kHashed = 10;
    int height = 0;
    for (BoundItem& item : select.items) height = std::max(height, kItem + Root(item.expr));
    height = std::max(height, kFrom + Split(select.from));
    height = std::max(height, kWhere + Root(select.where));
    for (BoundExpr*& key : select.group_by) height = std::max(height, kGroup + Root(key));
    height = std::max(height, kGroup + Root(select.having));
    return height + (select.hashed ? kHashed : 0);
  }

  int Split(Source& source) {
    constexpr int kDerived = 3;
    if (source.query == nullptr) return 0;
    const int height = kDerived + Split(*source.query);
    if (height <= kMost || !source.query->outer_columns.empty()) return height;
    source.hoisted = true;
    Note(context_.notes, [&] {
      return NameOf(source) + " goes in front of the statement: it nests deeper than SQLite reads.";
    });
    return 0;
  }

  // An aggregate belongs to the rows that it stands among.
  static bool IsSeparable(const BoundExpr& expr) noexcept {
    return !IsAggregate(expr) && (!expr.args.empty() || expr.query != nullptr);
  }

  void MakePart(BoundExpr& expr) {
    BoundPart* part = context_.arena.Make<BoundPart>();
    part->inputs = context_.arena.Copy(Contents(expr).Inputs());
    expr.part = part;
    Note(context_.notes, [] {
      return std::string(
          "An expression is evaluated by itself: it nests deeper than SQLite reads.");
    });
  }

  PlanContext& context_;
};

}  // namespace

void SplitDeep(BoundQuery& query, PlanContext& context) { Splitter(context).Split(query); }

void SplitDeep(BoundExpr& expr, PlanContext& context) { Splitter(context).Root(&expr); }

void SplitDeep(BoundModification& modification, PlanContext& context) {
  Splitter splitter(context);
  splitter.Split(modification.from);
  splitter.Root(modification.where);
  for (BoundExpr* value : modification.values) splitter.Root(value);
}

}  // namespace ledgerwick::tsql
