// What becomes of expressions when their rows are grouped before they are joined.
#include <algorithm>

#include "tsql/plan/pre_aggregation.h"
#include "tsql/plan/total_expression.h"

namespace ledgerwick::tsql {
namespace {

// An expression that aggregates ask for so many values is a pivot.
constexpr std::size_t kPivotQuestions = 3;

bool IsAggregateCall(const BoundExpr& expr) noexcept {
  return expr.kind == ExprKind::Function && IsAggregate(expr.function);
}

bool IsLiteral(const BoundExpr& expr) noexcept {
  return expr.kind == ExprKind::Null || expr.kind == ExprKind::Integer ||
         expr.kind == ExprKind::Number || expr.kind == ExprKind::String;
}

// A number that adds nothing to a sum, or no number at all.
bool AddsNothing(const BoundExpr& expr) noexcept {
  return expr.kind == ExprKind::Null || (expr.kind == ExprKind::Integer && expr.integer == 0) ||
         (expr.kind == ExprKind::Number && !IsNonZeroLiteral(expr));
}

// True for numbers whose sum a decimal of 38 digits holds, however many they are.
bool CannotOverflow(const Type& type) noexcept {
  constexpr int kDigitsOfAnyCount = 19;
  return IsMoney(type.kind) ||
         (type.kind == TypeKind::Decimal && type.precision <= kMostDigits - kDigitsOfAnyCount);
}

bool HasSame(const std::vector<const BoundExpr*>& list, const BoundExpr& expr) {
  return std::any_of(list.begin(), list.end(),
                     [&](const BoundExpr* e) { return SameExpr(*e, expr); });
}

}  // namespace

BoundExpr* PreAggregation::Fail(BoundExpr& expr) {
  failed_ = true;
  for (const Source* source : lookup_) {
    if (Reads(expr, *source)) wanted_.push_back(source);
  }
  return &expr;
}

// Collects the expressions on the detail that aggregates compare with several literals.
void PreAggregation::FindPivots() {
  struct Asked {
    const BoundExpr* expr;
    std::vector<const BoundExpr*> values;
  };
  std::vector<Asked> asked;
  const auto visit = [&](const auto& self, const BoundExpr& e, bool summed) -> void {
    const Nesting nesting;
    if (summed && e.kind == ExprKind::Compare && e.compare == Comparison::Equal &&
        IsLiteral(*e.args[1]) && Reads(*e.args[0], detail_) && !Reads(*e.args[0], lookup_) &&
        CannotFail(*e.args[0])) {
      auto found = std::find_if(asked.begin(), asked.end(),
                                [&](const Asked& a) { return SameExpr(*a.expr, *e.args[0]); });
      if (found == asked.end()) found = asked.insert(asked.end(), {e.args[0], {}});
      if (!HasSame(found->values, *e.args[1])) found->values.push_back(e.args[1]);
    }
    for (const BoundExpr* arg : e.args) self(self, *arg, summed || IsAggregateCall(e));
  };
  ForEachShown([&](const BoundExpr* expr) { visit(visit, *expr, false); });
  for (const Asked& a : asked) {
    if (a.values.size() >= kPivotQuestions) pivots_.push_back(a.expr);
  }
}

bool PreAggregation::HasPivot(const BoundExpr& expr) const {
  if (pivots_.empty()) return false;
  const Nesting nesting;
  return HasSame(pivots_, expr) ||
         std::any_of(expr.args.begin(), expr.args.end(),
                     [&](const BoundExpr* arg) { return HasPivot(*arg); });
}

BoundExpr* PreAggregation::InnerColumn(BoundExpr& expr, bool is_key, Type type) {
  std::size_t index = 0;
  while (index < columns_.size() &&
         !(columns_[index].is_key == is_key && SameExpr(*columns_[index].expr, expr))) {
    ++index;
  }
  if (index < columns_.size()) return inner_columns_[index];
  columns_.push_back({&expr, is_key});
  BoundExpr* column = context_.arena.Make<BoundExpr>();
  column->kind = ExprKind::Column;
  column->offset = expr.offset;
  column->source = &inner_;
  column->column = static_cast<std::int32_t>(index);
  column->type = type;
  inner_columns_.push_back(column);
  return column;
}

BoundExpr* PreAggregation::Key(BoundExpr& expr) {
  if (!CannotFail(expr)) return Fail(expr);
  Type type = expr.type;
  if (IsPredicate(expr.kind)) type.kind = TypeKind::Bit;
  return InnerColumn(expr, true, type);
}

// An aggregate of the detail, computed inside.
BoundExpr* PreAggregation::InnerCall(FunctionId function, const BoundExpr& call, TypeKind type) {
  BoundExpr* inner = context_.arena.Make<BoundExpr>(call);
  inner->function = function;
  inner->type.kind = type;
  inner->type.nullable = true;
  return InnerColumn(*inner, false, inner->type);
}

BoundExpr* PreAggregation::Outside(BoundExpr* expr, bool spelling) {
  const Nesting nesting;
  if (IsAggregateCall(*expr)) return AggregateOutside(*expr);
  if (!expr->has_aggregate && !Reads(*expr, detail_)) return expr;
  if (expr->query != nullptr) return Fail(*expr);
  if (!expr->has_aggregate && !Reads(*expr, lookup_)) {
    const auto same = [&](const BoundExpr* key) { return SameExpr(*key, *expr); };
    const bool known = std::any_of(select_.group_by.begin(), select_.group_by.end(), same) ||
                       (summed_ && HasSame(pivots_, *expr));
    const bool is_column = expr->kind == ExprKind::Column;
    // Other values inside a sum would part the groups too finely.
    const bool fits = summed_   ? IsPredicate(expr->kind) && !HasPivot(*expr)
                      : strict_ ? is_column || CannotFail(*expr)
                                : is_column;
    const bool any_spelling = !IsText(expr->type.kind) || !spelling;
    if (any_spelling && (known || fits)) return Key(*expr);
    if (is_column) return Fail(*expr);
  }
  return OutsideArguments(*expr, spelling);
}

BoundExpr* PreAggregation::OutsideArguments(const BoundExpr& expr, bool spelling) {
  BoundExpr* copy = context_.arena.Make<BoundExpr>(expr);
  copy->args = context_.arena.Copy(std::span<BoundExpr* const>(expr.args));
  const bool is_case = expr.kind == ExprKind::Case;
  for (BoundExpr*& arg : copy->args) {
    // Comparing does not see the spelling; CASE hands its branches' on.
    const bool matters = is_case ? spelling : strict_ && !IsPredicate(expr.kind);
    arg = Outside(arg, expr.kind == ExprKind::Like ? strict_ : matters);
  }
  return copy;
}

BoundExpr* PreAggregation::ConditionOutside(BoundExpr* condition) {
  strict_ = true;
  BoundExpr* outside = Outside(condition, false);
  strict_ = false;
  return outside;
}

BoundExpr* PreAggregation::AggregateOutside(BoundExpr& call) {
  BoundExpr& arg = *call.args[0];
  const TypeKind type = call.type.kind;
  BoundExpr* outside = context_.arena.Make<BoundExpr>(call);
  const auto is_inside = [&] {
    return !call.distinct && !Reads(arg, lookup_) &&
           (arg.kind == ExprKind::Star || CannotFail(arg));
  };
  BoundExpr* value = nullptr;
  switch (call.function) {
    case FunctionId::Count:
      if (!is_inside()) return Fail(call);
      outside->function = FunctionId::Sum;
      value = InnerCall(FunctionId::Count, call, TypeKind::BigInt);
      break;
    case FunctionId::Min:
    case FunctionId::Max:
      if (!Reads(arg, detail_)) return outside;
      if (!is_inside()) return Fail(call);
      value = InnerCall(call.function, call, type);
      break;
    case FunctionId::Sum:
      if (call.distinct || !(IsFloat(type) || IsInteger(type) || CannotOverflow(arg.type))) {
        return Fail(call);
      }
      strict_ = summed_ = true;
      value = SumOutside(&arg);
      strict_ = summed_ = false;
      break;
    case FunctionId::Avg:
    case FunctionId::Unknown:
    case FunctionId::Scalar:
    case FunctionId::IsNull:
    case FunctionId::Coalesce:
    case FunctionId::NullIf:
    case FunctionId::Left:
    case FunctionId::Str:
    case FunctionId::Abs:
    case FunctionId::Power:
    case FunctionId::DataLength:
    case FunctionId::QuoteName:
    case FunctionId::Replicate:
    case FunctionId::DateDiff:
    case FunctionId::DateAdd:
    case FunctionId::DatePart:
    case FunctionId::Year:
    case FunctionId::DateName:
    case FunctionId::GetDate:
    case FunctionId::SysDateTime:
    case FunctionId::NewId:
    case FunctionId::Substring:
      return Fail(call);
  }
  outside->args = context_.arena.Copy({value});
  return outside;
}

BoundExpr* PreAggregation::SumOutside(BoundExpr* expr) {
  const Nesting nesting;
  if (AddsNothing(*expr)) return expr;
  if (!Reads(*expr, lookup_) && !HasPivot(*expr)) {
    if (!CannotFail(*expr)) return Fail(*expr);
    BoundExpr* sum = context_.arena.Make<BoundExpr>();
    sum->kind = ExprKind::Function;
    sum->text = u"SUM";
    sum->type = expr->type;
    sum->args = context_.arena.Copy({expr});
    // Wide enough for what only the statement's own sum is checked for.
    if (IsExactFraction(expr->type.kind)) {
      sum->type.precision = kMostDigits;
      return InnerCall(FunctionId::Sum, *sum, TypeKind::Decimal);
    }
    const bool whole = IsInteger(expr->type.kind);
    return InnerCall(FunctionId::Sum, *sum, whole ? TypeKind::BigInt : TypeKind::Float);
  }
  const bool is_float = IsFloat(expr->type.kind);
  BoundExpr* sum = context_.arena.Make<BoundExpr>(*expr);
  sum->args = context_.arena.Copy(std::span<BoundExpr* const>(expr->args));
  const std::size_t last = sum->args.size() - 1;
  switch (expr->kind) {
    case ExprKind::Case:
      for (std::size_t i = 0; i <= last; ++i) {
        const std::size_t in_pair = i - (expr->has_operand ? 1 : 0);
        const bool result = (expr->has_else && i == last) || in_pair % 2 == 1;
        const bool operand = expr->has_operand && i == 0;
        sum->args[i] = result && !operand ? SumOutside(sum->args[i]) : Outside(sum->args[i], false);
      }
      return sum;
    case ExprKind::Negate:
      if (!is_float) return Fail(*expr);
      sum->args[0] = SumOutside(sum->args[0]);
      return sum;
    case ExprKind::Convert:
      // A whole number as a float.
      if (!is_float || !IsNumber(expr->args[0]->type.kind)) return Fail(*expr);
      sum->args[0] = SumOutside(sum->args[0]);
      return sum;
    case ExprKind::Multiply: {
      if (!is_float) return Fail(*expr);
      const std::size_t factor = Reads(*expr->args[1], detail_) ? 0 : 1;
      sum->args[factor] = Outside(sum->args[factor], true);
      sum->args[1 - factor] = SumOutside(sum->args[1 - factor]);
      return sum;
    }
    case ExprKind::Divide:
      if (!is_float) return Fail(*expr);
      sum->args[0] = SumOutside(sum->args[0]);
      sum->args[1] = Outside(sum->args[1], true);
      return sum;
    case ExprKind::Function:
      // ISNULL(x, 0): a group without any x sums up to 0.
      if (expr->function != FunctionId::IsNull || !AddsNothing(*expr->args[1]) ||
          !(is_float || IsExactFraction(expr->type.kind))) {
        break;
      }
      sum->args[0] = SumOutside(sum->args[0]);
      return sum;
    case ExprKind::Null:
    case ExprKind::Integer:
    case ExprKind::Number:
    case ExprKind::String:
    case ExprKind::Binary:
    case ExprKind::Column:
    case ExprKind::Star:
    case ExprKind::Variable:
    case ExprKind::BitNot:
    case ExprKind::Add:
    case ExprKind::Subtract:
    case ExprKind::Modulo:
    case ExprKind::BitAnd:
    case ExprKind::BitOr:
    case ExprKind::BitXor:
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
  return Fail(*expr);
}

}  // namespace ledgerwick::tsql
