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

Expr* Binder::BindFunction(Expr* expr, Scope& scope) {
  if (const SystemVariableName* system = FindSystemVariable(expr->text)) {
    if (!expr->args.empty()) {
      throw errors::ArgumentCount(system->name, 0, 0, At(expr->offset));
    }
    expr->kind = ExprKind::Variable;
    expr->slot = static_cast<std::int32_t>(system->variable);
    expr->type = system->type;
    return expr;
  }
  const FunctionSignature* known = FindFunction(expr->text);
  if (known == nullptr) throw errors::UnknownFunction(expr->text, At(expr->offset));
  const auto count = static_cast<int>(expr->args.size());
  if (count < known->least || count > known->most) {
    throw errors::ArgumentCount(known->name, known->least, known->most, At(expr->offset));
  }
  expr->function = known->id;
  expr->text = known->name;
  if (IsAggregate(known->id)) {
    BindAggregate(*expr, scope);
    return expr;
  }
  if (TakesDatePart(known->id)) {
    BindDateFunction(*expr, scope);
    return expr;
  }
  BindArguments(*expr, scope);
  for (std::size_t i = 0; known->arguments[0] != '\0' && i < expr->args.size(); ++i) {
    BringArgument(*expr, i, known->arguments[i]);
  }
  if (known->result == FunctionResult::Own) return BindOwnRule(expr);
  TypeResult(*expr, known->result);
  return expr;
}

void Binder::BindAggregate(Expr& expr, Scope& scope) {
  using Clause = Scope::Clause;
  if (scope.clause == Clause::Where || scope.clause == Clause::On) {
    throw errors::AggregateInWhere(At(expr.offset));
  }
  if (scope.clause == Clause::GroupBy) throw errors::AggregateInGroupBy(At(expr.offset));
  if (scope.in_aggregate) throw errors::NestedAggregate(At(expr.offset));
  scope.has_aggregate = true;
  expr.has_aggregate = true;
  Expr*& arg = expr.args[0];
  if (arg->kind == ExprKind::Star) {
    if (expr.function != FunctionId::Count || expr.distinct) {
      throw errors::IncorrectSyntax(u"*", At(arg->offset));
    }
    expr.type = MakeType(TypeKind::Int);
    return;
  }
  scope.in_aggregate = true;
  arg = Bind(arg, scope);
  scope.in_aggregate = false;
  if (arg->query != nullptr) throw errors::NestedAggregate(At(arg->offset));
  const Type type = arg->type;
  const bool number = IsNumber(type.kind) && type.kind != TypeKind::Bit;
  const bool orderable = type.kind != TypeKind::Bit;
  switch (expr.function) {
    case FunctionId::Count:
      expr.type = MakeType(TypeKind::Int);
      return;
    case FunctionId::Min:
    case FunctionId::Max:
      if (!orderable) throw errors::InvalidOperand(KindText(type.kind), expr.text, At(expr.offset));
      expr.type = type;
      expr.type.nullable = true;
      return;
    default:
      break;
  }
  if (!number) throw errors::InvalidOperand(KindText(type.kind), expr.text, At(expr.offset));
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
}

void Binder::BindDateFunction(Expr& expr, Scope& scope) {
  const Expr& part = *expr.args[0];
  const bool bare = part.kind == ExprKind::Column && part.qualifier.object.text.empty();
  const auto known =
      std::find_if(std::begin(kDateParts), std::end(kDateParts),
                   [&](const DatePartName& p) { return bare && EqualText(p.name, part.text); });
  if (known == std::end(kDateParts)) {
    throw errors::UnknownDatePart(part.text, expr.text, At(part.offset));
  }
  Expr* literal = arena_.Make<Expr>();
  literal->kind = ExprKind::String;
  literal->text = known->part;
  literal->type = LiteralType(*literal);
  expr.args[0] = literal;
  for (Expr*& arg : expr.args.subspan(1)) {
    arg = Bind(arg, scope);
    expr.has_aggregate |= arg->has_aggregate;
  }
  const Type date = MakeType(TypeKind::DateTime);
  expr.type = MakeType(TypeKind::Int);
  if (expr.function == FunctionId::DateAdd) {
    expr.args[1] = Coerce(expr.args[1], MakeType(TypeKind::Int), Conversion::Cast);
    expr.args[2] = Coerce(expr.args[2], date);
    expr.type = date;
    return;
  }
  for (Expr*& arg : expr.args.subspan(1)) arg = Coerce(arg, date);
}

// Converts an argument to what the function takes.
void Binder::BringArgument(Expr& expr, std::size_t i, char wanted) {
  Expr*& arg = expr.args[i];
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

void Binder::TypeResult(Expr& expr, FunctionResult result) {
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
                                    [](const Expr* arg) { return IsUnicode(arg->type.kind); });
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
Expr* Binder::BindOwnRule(Expr* expr) {
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

void Binder::BindChoice(Expr& expr) {
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
  for (const Expr* arg : expr.args) {
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
Expr* Binder::BindPower(Expr* expr) {
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
void Binder::BindDataLength(Expr& expr) {
  const Type& type = expr.args[0]->type;
  Expr* unit = arena_.Make<Expr>();
  unit->kind = ExprKind::Integer;
  unit->integer = IsText(type.kind) ? (IsUnicode(type.kind) ? 2 : 1) : -StoredLength(type);
  expr.args = arena_.Copy(std::vector<Expr*>{expr.args[0], unit});
  expr.type = MakeType(TypeKind::Int);
}

}  // namespace ledgerwick::tsql
