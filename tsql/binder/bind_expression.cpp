// Binding of expressions: what names stand for, which type a value has, where conversions go.
#include <algorithm>
#include <charconv>

#include "tsql/binder/binder.h"
#include "tsql/binder/operators.h"
#include "tsql/syntax/lexer.h"
#include "tsql/values/convert.h"

namespace ledgerwick::tsql {
namespace {

Text QualifiedName(const Expr& column) {
  Text name;
  for (const Name& part :
       {column.qualifier->database, column.qualifier->schema, column.qualifier->object}) {
    if (!part.text.empty() || !name.empty()) name.append(part.text) += u'.';
  }
  return name.append(column.text);
}

// The type with which `operand` meets `other` in arithmetic: a whole-number literal beside a
// decimal has the digits that it is written with, not those of an int.
Type OperandType(const BoundExpr& operand, const BoundExpr& other) {
  if (operand.kind != ExprKind::Integer || other.type.kind != TypeKind::Decimal) {
    return operand.type;
  }
  Type type = MakeType(TypeKind::Decimal);
  type.precision = static_cast<std::uint8_t>(std::to_string(operand.integer).size());
  type.nullable = false;
  return type;
}

}  // namespace

Position Binder::PositionOf_(std::uint32_t offset) const noexcept {
  return in_view_ ? Position{} : PositionOf(batch_, offset);
}

BoundExpr* Binder::BindCondition(const Expr& condition) {
  Scope scope;
  return BindPredicate(condition, scope);
}

BoundExpr* Binder::BindRowCondition(const Expr& condition, Source& row) {
  Scope scope;
  scope.sources.push_back(&row);
  scope.clause = Scope::Clause::Where;
  BoundExpr* bound = BindPredicate(condition, scope);
  if (HoldsQuery(*bound)) throw errors::SubqueryNotAllowed(At(condition.offset));
  return bound;
}

BoundExpr* Binder::BindRowValue(const Expr& value, Source& row) {
  Scope scope;
  scope.sources.push_back(&row);
  scope.clause = Scope::Clause::Where;
  BoundExpr* bound = Bind(value, scope);
  if (HoldsQuery(*bound)) throw errors::SubqueryNotAllowed(At(value.offset));
  return bound;
}

BoundExpr* Binder::BindExpression(const Expr& value) {
  Scope scope;
  return Bind(value, scope);
}

BoundExpr* Binder::BindValue(const Expr& value, const Type& target, Conversion conversion) {
  return Coerce(WithAllCharacters(BindExpression(value), target), target, conversion);
}

BoundExpr* Binder::NewExpr(const Expr& expr) {
  auto* bound = arena_.Make<BoundExpr>();
  bound->kind = expr.kind;
  bound->offset = expr.offset;
  bound->text = expr.text;
  bound->integer = expr.integer;
  bound->slot = expr.slot;
  bound->style = expr.style;
  bound->type = expr.type;
  bound->compare = expr.compare;
  bound->negated = expr.negated;
  bound->distinct = expr.distinct;
  bound->has_operand = expr.has_operand;
  bound->has_else = expr.has_else;
  bound->live = expr.live;
  return bound;
}

BoundExpr* Binder::BindPredicate(const Expr& expr, Scope& scope) {
  const Nesting nesting;
  switch (expr.kind) {
    case ExprKind::And:
    case ExprKind::Or:
    case ExprKind::Not: {
      BoundExpr* bound = NewExpr(expr);
      bound->args = arena_.MakeSpan<BoundExpr*>(expr.args.size());
      for (std::size_t i = 0; i < expr.args.size(); ++i) {
        bound->args[i] = BindPredicate(*expr.args[i], scope);
        bound->has_aggregate |= bound->args[i]->has_aggregate;
      }
      return bound;
    }
    case ExprKind::IsNull:
      return BindArguments(expr, scope);
    case ExprKind::Exists: {
      BoundExpr* bound = NewExpr(expr);
      bound->query = BindQueryIn(*expr.query, &scope, true);
      return bound;
    }
    case ExprKind::InQuery:
      return BindInQuery(expr, scope);
    case ExprKind::Compare:
    case ExprKind::Like:
    case ExprKind::Between:
    case ExprKind::InList:
      return BindCompare(expr, scope);
    case ExprKind::Null:
    case ExprKind::Integer:
    case ExprKind::Number:
    case ExprKind::String:
    case ExprKind::Binary:
    case ExprKind::Column:
    case ExprKind::Star:
    case ExprKind::Variable:
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
    case ExprKind::Convert:
    case ExprKind::Function:
    case ExprKind::Scalar:
      break;
  }
  throw errors::Internal("a value stands for a condition");
}

BoundExpr* Binder::BindArguments(const Expr& expr, Scope& scope) {
  BoundExpr* bound = NewExpr(expr);
  bound->args = arena_.MakeSpan<BoundExpr*>(expr.args.size());
  for (std::size_t i = 0; i < expr.args.size(); ++i) {
    bound->args[i] = Bind(*expr.args[i], scope);
    bound->has_aggregate |= bound->args[i]->has_aggregate;
  }
  return bound;
}

// Comparisons, LIKE, BETWEEN and IN lists: every operand meets the first in one type.
BoundExpr* Binder::BindCompare(const Expr& expr, Scope& scope) {
  BoundExpr* bound = BindArguments(expr, scope);
  if (expr.kind == ExprKind::Like) {
    for (BoundExpr*& arg : bound->args) {
      if (!IsText(arg->type.kind)) arg = Coerce(arg, MakeType(TypeKind::VarChar, kLongestBytes));
    }
    return bound;
  }
  Type common;
  for (const BoundExpr* arg : bound->args) common = ComparisonType(common, arg->type);
  if (common.kind == TypeKind::Null) return bound;  // NULL = NULL
  RequireComparable(*bound, common);
  if (IsExactFraction(common.kind) && BringLiterals(bound->args)) return bound;
  for (BoundExpr*& arg : bound->args) {
    // Integers and floats compare as they are stored; others have units or a precision of their
    // own.
    if (IsNumber(common.kind) && IsNumber(arg->type.kind) && !IsExactFraction(common.kind) &&
        !IsExactFraction(arg->type.kind) && common.kind != TypeKind::Real) {
      continue;
    }
    if (IsText(common.kind) && IsText(arg->type.kind)) continue;
    if (IsDate(common.kind) && IsDate(arg->type.kind)) continue;
    arg = Coerce(arg, common);
  }
  return bound;
}

// The clash is that of the first operand with the other one.
void Binder::RequireComparable(const BoundExpr& expr, const Type& common) const {
  const BoundExpr& first = *expr.args[0];
  const auto clashes = [&](const BoundExpr* arg) {
    return arg->kind != ExprKind::Null &&
           ConversionOf(arg->type.kind, common.kind) == Convertible::Never;
  };
  const auto meets = [&](const BoundExpr* arg) { return arg->type.kind == common.kind; };
  const auto clash = std::find_if(expr.args.begin(), expr.args.end(), clashes);
  if (clash == expr.args.end()) return;
  const BoundExpr& other =
      *clash == &first ? **std::find_if(expr.args.begin(), expr.args.end(), meets) : **clash;
  throw errors::TypeClash(KindText(first.type.kind), KindText(other.type.kind), At(first.offset));
}

BoundExpr* Binder::BindInQuery(const Expr& expr, Scope& scope) {
  BoundExpr* bound = BindArguments(expr, scope);
  BoundExpr*& value = bound->args[0];
  bound->query = BindQueryIn(*expr.query, &scope, true);
  if (bound->query->types.size() != 1) throw errors::OneExpressionInSubquery(At(expr.offset));
  const Type common = ComparisonType(value->type, bound->query->types[0]);
  if (!IsText(common.kind) || !IsText(value->type.kind)) value = Coerce(value, common);
  for (BoundSelect* select : bound->query->selects) {
    BoundExpr*& item = select->items[0].expr;
    if (!IsText(common.kind) || !IsText(item->type.kind)) item = Coerce(item, common);
  }
  return bound;
}

BoundExpr* Binder::Bind(const Expr& expr, Scope& scope) {
  const Nesting nesting;
  switch (expr.kind) {
    case ExprKind::Null:
    case ExprKind::Variable:
      return NewExpr(expr);
    case ExprKind::Integer:
    case ExprKind::Number:
    case ExprKind::String:
    case ExprKind::Binary: {
      if (expr.kind == ExprKind::Number) CheckRange(expr);
      BoundExpr* bound = NewExpr(expr);
      bound->type = LiteralType(expr);
      return bound;
    }
    case ExprKind::Column:
      return BindColumn(expr, scope);
    case ExprKind::Case:
      return BindCase(expr, scope);
    case ExprKind::Convert:
      return BindConvert(expr, scope);
    case ExprKind::Function:
      return BindFunction(expr, scope);
    case ExprKind::Scalar:
      return BindScalar(expr, scope);
    case ExprKind::Star:
      throw errors::IncorrectSyntax(u"*", At(expr.offset));
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
      return BindArithmetic(expr, scope);
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
  throw errors::Internal("a condition stands for a value");
}

void Binder::CheckRange(const Expr& number) const {
  const std::string text(number.text.begin(), number.text.end());
  const std::size_t e = text.find_first_of("eE");
  if (e != std::string::npos) {
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc::result_out_of_range) return;
    try {
      ParseFloat(number.text, "");
    } catch (const SqlError&) {
      throw errors::FloatOutOfRange(number.text, At(number.offset));
    }
    return;
  }
  const std::size_t first = std::min(text.find_first_not_of('0'), text.size());
  const auto digits = std::count_if(text.begin() + static_cast<std::ptrdiff_t>(first), text.end(),
                                    [](char c) { return c != '.'; });
  if (digits > kMostDigits) throw errors::NumberOutOfRange(number.text, At(number.offset));
}

bool Binder::QualifierMatches(const Source& source, const ObjectName& qualifier) const {
  if (!EqualText(source.exposed, qualifier.object.text)) return false;
  if (qualifier.schema.text.empty() && qualifier.database.text.empty()) return true;
  if (source.aliased) return false;
  const auto database = catalogue_.FindDatabase(qualifier.database.text, qualifier.object.text);
  return qualifier.database.text.empty() || (database && *database == source.database);
}

// Reports read the same few columns again and again, out of many tables.
ResolvedColumn Binder::ResolveColumn(const Expr& expr, Scope& scope) {
  if (IsQualified(expr) || scope.clause == Scope::Clause::On) return FindColumn(expr, scope);
  const auto [known, is_new] = scope.unqualified.try_emplace(expr.text);
  if (is_new) known->second = FindColumn(expr, scope);
  return known->second;
}

ResolvedColumn Binder::FindColumn(const Expr& expr, const Scope& scope) const {
  const bool qualified = IsQualified(expr);
  ResolvedColumn found;
  for (std::size_t i = scope.first_visible; i < scope.sources.size(); ++i) {
    Source* source = scope.sources[i];
    if (qualified && !QualifierMatches(*source, *expr.qualifier)) continue;
    const std::int32_t index = source->Find(expr.text);
    if (index == -1 && qualified) throw errors::InvalidColumn(expr.text, At(expr.offset));
    if (index == -1) continue;
    if (index == -2 || found.source != nullptr) {
      throw errors::AmbiguousColumn(expr.text, At(expr.offset));
    }
    found = {source, index};
    if (qualified) break;
  }
  return found;
}

BoundExpr* Binder::BindColumn(const Expr& expr, Scope& scope) {
  for (Scope* at = &scope; at != nullptr; at = at->parent) {
    const auto [source, column] = ResolveColumn(expr, *at);
    if (source == nullptr) continue;
    BoundExpr* bound = NewExpr(expr);
    bound->source = source;
    bound->column = column;
    bound->type = source->TypeOf(column);
    if (source->may_be_missing) bound->type.nullable = true;
    for (Scope* inner = &scope; inner != at; inner = inner->parent) {
      inner->outer_columns.push_back(bound);
    }
    return bound;
  }
  if (IsQualified(expr)) {
    throw errors::MultiPartUnbound(QualifiedName(expr), At(expr.offset));
  }
  throw errors::InvalidColumn(expr.text, At(expr.offset));
}

BoundExpr* Binder::BindArithmetic(const Expr& written, Scope& scope) {
  BoundExpr* expr = BindArguments(written, scope);
  if (expr->kind == ExprKind::Negate || expr->kind == ExprKind::BitNot) {
    const Type operand = expr->args[0]->type;
    if (!IsNumber(operand.kind) || operand.kind == TypeKind::Bit ||
        (expr->kind == ExprKind::BitNot && !IsInteger(operand.kind))) {
      if (operand.kind == TypeKind::Null) return expr->args[0];
      const TextView what = expr->kind == ExprKind::Negate ? u"minus" : u"'~'";
      throw errors::InvalidOperand(KindText(operand.kind), what, At(expr->offset));
    }
    expr->type = operand;
    if (operand.kind == TypeKind::TinyInt) expr->type.kind = TypeKind::SmallInt;
    return expr;
  }
  BoundExpr*& left = expr->args[0];
  BoundExpr*& right = expr->args[1];
  const TextView what = OperatorOf(expr->kind).word;
  const Type common = CommonType(left->type, right->type);
  if (common.kind == TypeKind::Null) {
    expr->type = MakeType(TypeKind::Int);
    return expr;
  }
  const bool bitwise = expr->kind >= ExprKind::BitAnd && expr->kind <= ExprKind::BitXor;
  if (IsText(common.kind) || IsBinary(common.kind)) {
    if (expr->kind != ExprKind::Add) {
      throw errors::InvalidOperand(KindText(common.kind), what, At(expr->offset));
    }
    const auto differs = [&](const BoundExpr& side) {
      return side.type.kind != TypeKind::Null && IsBinary(side.type.kind) != IsBinary(common.kind);
    };
    if (differs(*left) || differs(*right)) {
      throw errors::IncompatibleTypes(KindText(left->type.kind), KindText(right->type.kind), what,
                                      At(expr->offset));
    }
    const std::int32_t most = LongestOf(common.kind);
    const bool unlimited = left->type.length == kMaxLength || right->type.length == kMaxLength;
    expr->type =
        MakeType(IsBinary(common.kind)    ? TypeKind::VarBinary
                 : IsUnicode(common.kind) ? TypeKind::NVarChar
                                          : TypeKind::VarChar,
                 unlimited ? kMaxLength : std::min(left->type.length + right->type.length, most));
    expr->type.nullable = left->type.nullable || right->type.nullable;
    return expr;
  }
  if (IsMoment(common.kind)) return BindDateArithmetic(expr, what);
  if (IsBytes(common.kind)) {
    throw errors::InvalidOperand(KindText(common.kind), what, At(expr->offset));
  }
  const bool whole_only = bitwise || expr->kind == ExprKind::Modulo;
  if (common.kind == TypeKind::Bit || (whole_only && IsFloat(common.kind)) ||
      (bitwise && !IsInteger(common.kind))) {
    if (!bitwise || common.kind != TypeKind::Bit) {
      throw errors::InvalidOperand(KindText(common.kind), what, At(expr->offset));
    }
  }
  const auto to_number = [&](BoundExpr* operand) {
    return IsNumber(operand->type.kind) ? operand : Coerce(operand, common);
  };
  left = to_number(left);
  right = to_number(right);
  expr->type = ArithmeticType(expr->kind, OperandType(*left, *right), OperandType(*right, *left));
  for (BoundExpr** operand : {&left, &right}) {
    if (IsFloat(expr->type.kind) && IsExactFraction((*operand)->type.kind)) {
      *operand = Coerce(*operand, MakeType(TypeKind::Float));
    }
  }
  expr->type.nullable = true;
  return expr;
}

// Only datetime and smalldatetime are reckoned with, as numbers of days; a smalldatetime stays one.
BoundExpr* Binder::BindDateArithmetic(BoundExpr* expr, TextView what) {
  const Type a = expr->args[0]->type;
  const Type b = expr->args[1]->type;
  for (const Type* side : {&a, &b}) {
    const Type& other = side == &a ? b : a;
    if (!IsMoment(side->kind) || IsDate(side->kind)) continue;
    if (a.kind == b.kind) throw errors::InvalidOperand(KindText(a.kind), what, At(expr->offset));
    if (IsNumber(other.kind)) {
      throw errors::TypeClash(KindText(side->kind), KindText(other.kind), At(expr->offset));
    }
    throw errors::IncompatibleTypes(KindText(a.kind), KindText(b.kind), what, At(expr->offset));
  }
  if (expr->kind != ExprKind::Add && expr->kind != ExprKind::Subtract) {
    throw errors::IncompatibleTypes(KindText(a.kind), KindText(b.kind), what, At(expr->offset));
  }
  const Type common = CommonType(a, b);
  for (BoundExpr*& side : expr->args) side = Coerce(side, MakeType(TypeKind::DateTime));
  expr->type = MakeType(TypeKind::DateTime);
  expr->type.nullable = true;
  return Coerce(expr, MakeType(common.kind));
}

BoundExpr* Binder::BindCase(const Expr& written, Scope& scope) {
  BoundExpr* expr = NewExpr(written);
  expr->args = arena_.MakeSpan<BoundExpr*>(written.args.size());
  const std::size_t first = expr->has_operand ? 1 : 0;
  const std::size_t pairs_end = expr->args.size() - (expr->has_else ? 1 : 0);
  Type operand;
  if (expr->has_operand) {
    expr->args[0] = Bind(*written.args[0], scope);
    operand = expr->args[0]->type;
  }
  Type result;
  bool nullable = !expr->has_else;
  for (std::size_t i = first; i < expr->args.size(); ++i) {
    const bool is_when = i < pairs_end && (i - first) % 2 == 0;
    const bool is_condition = is_when && !expr->has_operand;
    BoundExpr* arg =
        is_condition ? BindPredicate(*written.args[i], scope) : Bind(*written.args[i], scope);
    expr->args[i] = arg;
    if (is_when && expr->has_operand) operand = ComparisonType(operand, arg->type);
    if (!is_when) {
      nullable |= arg->kind == ExprKind::Null || arg->type.nullable;
      result = CommonType(result, arg->type);
    }
  }
  for (const BoundExpr* arg : expr->args) expr->has_aggregate |= arg->has_aggregate;
  if (result.kind == TypeKind::Null) throw errors::CaseOfNulls(At(expr->offset));
  result.nullable = nullable;
  for (std::size_t i = 0; i < expr->args.size(); ++i) {
    const bool is_operand = expr->has_operand && i == 0;
    const bool is_when = i < pairs_end && i >= first && (i - first) % 2 == 0;
    if (is_operand || (is_when && expr->has_operand)) {
      expr->args[i] = Coerce(expr->args[i], operand);
    } else if (!is_when) {
      expr->args[i] = Coerce(expr->args[i], result);
    }
  }
  expr->type = result;
  return expr;
}

BoundExpr* Binder::BindScalar(const Expr& written, Scope& scope) {
  BoundExpr* expr = NewExpr(written);
  expr->query = BindQueryIn(*written.query, &scope, true);
  if (expr->query->types.size() != 1) throw errors::OneExpressionInSubquery(At(expr->offset));
  expr->type = expr->query->types[0];
  expr->type.nullable = true;
  return expr;
}

}  // namespace ledgerwick::tsql
