// Binding of function calls.
#include <algorithm>

#include "tsql/binder/binder.h"
#include "tsql/functions/function_signature.h"
#include "tsql/syntax/system_variables.h"

namespace ledgerwick::tsql {
namespace {

struct DatePartName {
  TextView name;
  TextView part;  // as the storage's functions call it
};

constexpr DatePartName kDateParts[] = {
    {u"year", u"year"},
    {u"yy", u"year"},
    {u"yyyy", u"year"},
    {u"quarter", u"quarter"},
    {u"qq", u"quarter"},
    {u"q", u"quarter"},
    {u"month", u"month"},
    {u"mm", u"month"},
    {u"m", u"month"},
    {u"dayofyear", u"dayofyear"},
    {u"dy", u"dayofyear"},
    {u"y", u"dayofyear"},
    {u"day", u"day"},
    {u"dd", u"day"},
    {u"d", u"day"},
    {u"week", u"week"},
    {u"wk", u"week"},
    {u"ww", u"week"},
    {u"weekday", u"weekday"},
    {u"dw", u"weekday"},
    {u"hour", u"hour"},
    {u"hh", u"hour"},
    {u"minute", u"minute"},
    {u"mi", u"minute"},
    {u"n", u"minute"},
    {u"second", u"second"},
    {u"ss", u"second"},
    {u"s", u"second"},
    {u"millisecond", u"millisecond"},
    {u"ms", u"millisecond"},
};

constexpr std::int32_t kLongest = 8000;
constexpr std::int32_t kQuotedName = 258;

// The bytes that the server keeps a value of a fixed type in.
std::int32_t StoredLength(const Type& type) noexcept {
  switch (type.kind) {
    case TypeKind::Bit:
    case TypeKind::TinyInt:
      return 1;
    case TypeKind::SmallInt:
      return 2;
    case TypeKind::Int:
    case TypeKind::Real:
    case TypeKind::SmallMoney:
    case TypeKind::SmallDateTime:
      return 4;
    case TypeKind::Decimal:
      return type.precision <= 9 ? 5 : type.precision <= 19 ? 9 : type.precision <= 28 ? 13 : 17;
    default:
      return 8;
  }
}

bool TakesDatePart(FunctionId id) noexcept {
  return id == FunctionId::DateDiff || id == FunctionId::DateAdd || id == FunctionId::DatePart;
}

}  // namespace

BoundExpr* Binder::BindFunction(const Expr& expr, Scope& scope) {
  if (const SystemVariableName* system = FindSystemVariable(expr.text)) {
    if (!expr.args.empty()) throw errors::ArgumentCount(system->name, 0, 0, At(expr.offset));
    BoundExpr* variable = NewExpr(expr);
    variable->kind = ExprKind::Variable;
    variable->slot = static_cast<std::int32_t>(system->variable);
    variable->type = system->type;
    return variable;
  }
  const FunctionSignature* known = FindFunction(expr.text);
  if (known == nullptr) throw errors::UnknownFunction(expr.text, At(expr.offset));
  const auto count = static_cast<int>(expr.args.size());
  if (count < known->least || count > known->most) {
    throw errors::ArgumentCount(known->name, known->least, known->most, At(expr.offset));
  }
  if (IsAggregate(known->id)) return BindAggregate(expr, *known, scope);
  if (TakesDatePart(known->id)) return BindDateFunction(expr, *known, scope);
  BoundExpr* bound = BindArguments(expr, scope);
  bound->function = known->id;
  bound->text = known->name;
  for (std::size_t i = 0; known->arguments[0] != '\0' && i < bound->args.size(); ++i) {
    BringArgument(*bound, i, known->arguments[i]);
  }
  if (known->result == FunctionResult::Own) return BindOwnRule(bound);
  TypeResult(*bound, known->result);
  return bound;
}

BoundExpr* Binder::BindAggregate(const Expr& written, const FunctionSignature& known,
                                 Scope& scope) {
  using Clause = Scope::Clause;
  if (scope.clause == Clause::Where || scope.clause == Clause::On) {
    throw errors::AggregateInWhere(At(written.offset));
  }
  if (scope.clause == Clause::GroupBy) throw errors::AggregateInGroupBy(At(written.offset));
  if (scope.in_aggregate) throw errors::NestedAggregate(At(written.offset));
  scope.has_aggregate = true;
  BoundExpr* bound = NewExpr(written);
  BoundExpr& expr = *bound;
  expr.has_aggregate = true;
  expr.function = known.id;
  expr.text = known.name;
  expr.args = arena_.MakeSpan<BoundExpr*>(1);
  BoundExpr*& arg = expr.args[0];
  if (written.args[0]->kind == ExprKind::Star) {
    arg = NewExpr(*written.args[0]);
    if (expr.function != FunctionId::Count || expr.distinct) {
      throw errors::IncorrectSyntax(u"*", At(arg->offset));
    }
    expr.type = MakeType(TypeKind::Int);
    return bound;
  }
  scope.in_aggregate = true;
  arg = Bind(*written.args[0], scope);
  scope.in_aggregate = false;
  if (arg->query != nullptr) throw errors::NestedAggregate(At(arg->offset));
  const Type type = arg->type;
  const bool number = IsNumber(type.kind) && type.kind != TypeKind::Bit;
  const bool orderable = type.kind != TypeKind::Bit;
  switch (expr.function) {
    case FunctionId::Count:
      expr.type = MakeType(TypeKind::Int);
      return bound;
    case FunctionId::Min:
    case FunctionId::Max:
      if (!orderable)
        throw errors::InvalidOperand(KindText(type.kind), expr.text, At(written.offset));
      expr.type = type;
      expr.type.nullable = true;
      return bound;
    default:
      break;
  }
  if (!number) throw errors::InvalidOperand(KindText(type.kind), expr.text, At(written.offset));
  expr.type = type;
  expr.type.nullable = true;
  if (type.kind == TypeKind::TinyInt || type.kind == TypeKind::SmallInt) {
    expr.type.kind = TypeKind::Int;
  } else if (type.kind == TypeKind::Real) {
    expr.type.kind = TypeKind::Float;
  } else if (type.kind == TypeKind::SmallMoney) {
    expr.type.kind = TypeKind::Money;
  } else if (type.kind == TypeKind::Decimal) {
    constexpr std::uint8_t kAverageScale = 6;
    expr.type.precision = kMostDigits;
    if (expr.function == FunctionId::Avg) expr.type.scale = std::max(type.scale, kAverageScale);
  }
  return bound;
}

BoundExpr* Binder::BindDateFunction(const Expr& expr, const FunctionSignature& known,
                                    Scope& scope) {
  const Expr& part = *expr.args[0];
  const bool bare = part.kind == ExprKind::Column && !IsQualified(part);
  const auto found =
      std::find_if(std::begin(kDateParts), std::end(kDateParts),
                   [&](const DatePartName& p) { return bare && EqualText(p.name, part.text); });
  if (found == std::end(kDateParts)) {
    throw errors::UnknownDatePart(part.text, known.name, At(part.offset));
  }
  BoundExpr* bound = NewExpr(expr);
  bound->function = known.id;
  bound->text = known.name;
  bound->args = arena_.MakeSpan<BoundExpr*>(expr.args.size());
  auto* literal = arena_.Make<BoundExpr>();
  literal->kind = ExprKind::String;
  literal->text = found->part;
  literal->type = MakeType(TypeKind::VarChar, static_cast<std::int32_t>(found->part.size()));
  literal->type.nullable = false;
  bound->args[0] = literal;
  for (std::size_t i = 1; i < expr.args.size(); ++i) {
    bound->args[i] = Bind(*expr.args[i], scope);
    bound->has_aggregate |= bound->args[i]->has_aggregate;
  }
  const Type date = MakeType(TypeKind::DateTime);
  bound->type = MakeType(TypeKind::Int);
  if (known.id == FunctionId::DateAdd) {
    bound->args[1] = Coerce(bound->args[1], MakeType(TypeKind::Int), Conversion::Cast);
    bound->args[2] = Coerce(bound->args[2], date);
    bound->type = date;
    return bound;
  }
  for (BoundExpr*& arg : bound->args.subspan(1)) arg = Coerce(arg, date);
  return bound;
}

// Converts an argument to what the function takes.
void Binder::BringArgument(BoundExpr& expr, std::size_t i, char wanted) {
  BoundExpr*& arg = expr.args[i];
  const TypeKind kind = arg->type.kind;
  switch (wanted) {
    case 't':
      if (!IsText(kind)) arg = Coerce(arg, MakeType(TypeKind::VarChar, kLongest));
      return;
    case 'i':
      arg = Coerce(arg, MakeType(TypeKind::Int), Conversion::Cast);
      return;
    case 'd':
      arg = Coerce(arg, MakeType(TypeKind::DateTime));
      return;
    default:
      if (IsDate(kind) || kind == TypeKind::Bit) {
        throw errors::InvalidArgument(KindText(kind), static_cast<int>(i + 1), expr.text,
                                      At(arg->offset));
      }
      if (wanted == 'f' || !IsNumber(kind)) arg = Coerce(arg, MakeType(TypeKind::Float));
  }
}

void Binder::TypeResult(BoundExpr& expr, FunctionResult result) {
  const Type first = expr.args[0]->type;
  const auto text = [](bool wide, std::int32_t length) {
    return MakeType(wide ? TypeKind::NVarChar : TypeKind::VarChar, length);
  };
  switch (result) {
    case FunctionResult::Float:
      expr.type = MakeType(TypeKind::Float);
      return;
    case FunctionResult::Number:
    case FunctionResult::WholeNumber:
    case FunctionResult::Sign:
      expr.type = first;
      if (first.kind == TypeKind::TinyInt || first.kind == TypeKind::SmallInt) {
        expr.type.kind = TypeKind::Int;
      }
      if (result == FunctionResult::WholeNumber && first.kind == TypeKind::Decimal) {
        expr.type.scale = 0;
      }
      // A sign takes a digit in front of the point, which a fraction may lack.
      if (result == FunctionResult::Sign && first.kind == TypeKind::Decimal &&
          first.scale == first.precision) {
        expr.type.precision = std::min<std::uint8_t>(first.precision + 1, kMostDigits);
        expr.type.scale = expr.type.precision - 1;
      }
      return;
    case FunctionResult::Text:
      expr.type = text(IsUnicode(first.kind), first.length);
      return;
    case FunctionResult::LongText: {
      const bool wide = std::any_of(expr.args.begin(), expr.args.end(),
                                    [](const BoundExpr* arg) { return IsUnicode(arg->type.kind); });
      expr.type = text(wide, wide ? kLongest / 2 : kLongest);
      return;
    }
    case FunctionResult::Character:
    case FunctionResult::WideCharacter:
      expr.type = text(result == FunctionResult::WideCharacter, 1);
      return;
    default:
      expr.type = MakeType(TypeKind::Int);
  }
}

// Functions whose result follows a rule of its own.
BoundExpr* Binder::BindOwnRule(BoundExpr* expr) {
  switch (expr->function) {
    case FunctionId::IsNull:
    case FunctionId::Coalesce:
    case FunctionId::NullIf:
      BindChoice(*expr);
      return expr;
    case FunctionId::Left: {
      const Type type = expr->args[0]->type;
      const bool literal = expr->args[1]->kind == ExprKind::Integer && type.length != kMaxLength;
      // A character may take two bytes, so n characters of varchar may take 2n.
      const std::int64_t wide = expr->args[1]->integer * (IsUnicode(type.kind) ? 1 : 2);
      const std::int32_t length =
          literal ? static_cast<std::int32_t>(std::clamp<std::int64_t>(wide, 1, type.length))
                  : type.length;
      expr->type = MakeType(IsUnicode(type.kind) ? TypeKind::NVarChar : TypeKind::VarChar, length);
      return expr;
    }
    case FunctionId::Str: {
      constexpr std::int64_t kUsual = 10;
      const bool literal = expr->args.size() > 1 && expr->args[1]->kind == ExprKind::Integer;
      const std::int64_t length = literal                 ? expr->args[1]->integer
                                  : expr->args.size() > 1 ? kLongest
                                                          : kUsual;
      expr->type =
          MakeType(TypeKind::VarChar,
                   static_cast<std::int32_t>(std::clamp<std::int64_t>(length, 1, kLongest)));
      return expr;
    }
    case FunctionId::Abs:
      // A flag may be given as a bit; its amount is a number.
      BringArgument(*expr, 0, expr->args[0]->type.kind == TypeKind::Bit ? 'i' : 'n');
      expr->type = expr->args[0]->type;
      return expr;
    case FunctionId::Power:
      return BindPower(expr);
    case FunctionId::DataLength:
      BindDataLength(*expr);
      return expr;
    case FunctionId::QuoteName:
      expr->type = MakeType(TypeKind::NVarChar, kQuotedName);
      return expr;
    default:  // GETDATE
      expr->type = MakeType(TypeKind::DateTime);
      expr->type.nullable = false;
      return expr;
  }
}

void Binder::BindChoice(BoundExpr& expr) {
  if (expr.function == FunctionId::IsNull) {
    // The type of the first argument, whatever the second is.
    const bool null_first = expr.args[0]->type.kind == TypeKind::Null;
    Type type = null_first ? expr.args[1]->type : expr.args[0]->type;
    if (type.kind == TypeKind::Null) type = MakeType(TypeKind::Int);
    const bool nullable = expr.args[1]->kind == ExprKind::Null || expr.args[1]->type.nullable;
    expr.args[0] = Coerce(expr.args[0], type);
    expr.args[1] = Coerce(expr.args[1], type, Conversion::Cast);
    expr.type = type;
    expr.type.nullable = expr.args[0]->type.nullable && nullable;
    return;
  }
  Type common;
  bool nullable = true;
  for (const BoundExpr* arg : expr.args) {
    common = CommonType(common, arg->type);
    nullable = nullable && (arg->kind == ExprKind::Null || arg->type.nullable);
  }
  if (common.kind == TypeKind::Null) throw errors::CaseOfNulls(At(expr.offset));
  const Type first = expr.args[0]->type;
  const bool is_nullif = expr.function == FunctionId::NullIf;
  if (!is_nullif || !IsText(common.kind)) CoerceAll(expr.args, common);
  expr.type = is_nullif && IsText(common.kind) ? first : common;
  expr.type.nullable = is_nullif || nullable;
}

// Of the base's own type: an int stays one, decimals keep their scale.
BoundExpr* Binder::BindPower(BoundExpr* expr) {
  Type type = expr->args[0]->type;
  if (IsInteger(type.kind)) {
    if (type.kind < TypeKind::Int) type.kind = TypeKind::Int;
    expr->type = MakeType(TypeKind::BigInt);
  } else {
    if (type.kind == TypeKind::Decimal) type.precision = kMostDigits;
    expr->args[0] = Coerce(expr->args[0], MakeType(TypeKind::Float));
    expr->type = MakeType(TypeKind::Float);
  }
  return Coerce(expr, type);
}

// A text is measured, everything else has the length of its type.
void Binder::BindDataLength(BoundExpr& expr) {
  const Type& type = expr.args[0]->type;
  BoundExpr* unit = arena_.Make<BoundExpr>();
  unit->kind = ExprKind::Integer;
  unit->integer = IsText(type.kind) ? (IsUnicode(type.kind) ? 2 : 1) : -StoredLength(type);
  expr.args = arena_.Copy(std::vector<BoundExpr*>{expr.args[0], unit});
  expr.type = MakeType(TypeKind::Int);
}

}  // namespace ledgerwick::tsql
