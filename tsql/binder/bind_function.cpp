// Binding of function calls.
#include <algorithm>
#include <optional>

#include "tsql/binder/binder.h"
#include "tsql/functions/function_signature.h"
#include "tsql/syntax/system_variables.h"
#include "tsql/values/any_value.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::int32_t kQuotedName = 258;

bool TakesDatePart(FunctionId id) noexcept {
  return id == FunctionId::DateDiff || id == FunctionId::DateAdd || id == FunctionId::DatePart ||
         id == FunctionId::DateName;
}

// The type whose parts a date function takes of a value: its own, or datetime.
Type MomentType(const Type& type) noexcept {
  return IsMoment(type.kind) ? type : MakeType(TypeKind::DateTime);
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
  if (known->id == FunctionId::Year && !IsDate(bound->args[0]->type.kind)) {
    // As DATEPART, which is told the type.
    bound->function = FunctionId::DatePart;
    bound->args = arena_.Copy({TextLiteral(known->name), bound->args[0]});
    bound->text = u"datepart";
    AddType(*bound, bound->args[1]->type);
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
  if (expr.function == FunctionId::Count) {
    expr.type = MakeType(TypeKind::Int);
    return bound;
  }
  const bool chooses = expr.function == FunctionId::Min || expr.function == FunctionId::Max;
  if (chooses ? !orderable : !number) {
    throw errors::InvalidOperand(KindText(type.kind), expr.text, At(written.offset));
  }
  expr.type = type;
  expr.type.nullable = true;
  if (chooses) return bound;
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

BoundExpr* Binder::TextLiteral(TextView text) {
  BoundExpr* literal = arena_.Make<BoundExpr>();
  literal->kind = ExprKind::String;
  literal->text = arena_.Copy(text);
  literal->type = MakeType(TypeKind::VarChar, static_cast<std::int32_t>(text.size()));
  literal->type.nullable = false;
  return literal;
}

// Tells a date function the type of the value that it computes with, where that is none of those
// that are kept in milliseconds.
void Binder::AddType(BoundExpr& expr, const Type& type) {
  if (type.kind == TypeKind::DateTime) return;
  std::vector<BoundExpr*> args(expr.args.begin(), expr.args.end());
  const std::string name = TypeName(type);
  args.push_back(TextLiteral(Text(name.begin(), name.end())));
  expr.args = arena_.Copy(args);
}

BoundExpr* Binder::BindDateFunction(const Expr& written, const FunctionSignature& function,
                                    Scope& scope) {
  const Expr& part = *written.args[0];
  const bool bare = part.kind == ExprKind::Column && !IsQualified(part);
  const std::optional<DatePart> known = bare ? FindDatePart(part.text) : std::nullopt;
  if (!known) throw errors::UnknownDatePart(part.text, function.name, At(part.offset));
  BoundExpr* bound = NewExpr(written);
  BoundExpr& expr = *bound;
  expr.function = function.id;
  expr.text = function.name;
  expr.args = arena_.MakeSpan<BoundExpr*>(written.args.size());
  expr.args[0] = TextLiteral(DatePartName(*known));
  for (std::size_t i = 1; i < written.args.size(); ++i) {
    expr.args[i] = Bind(*written.args[i], scope);
    expr.has_aggregate |= expr.args[i]->has_aggregate;
  }
  const bool adds = expr.function == FunctionId::DateAdd;
  Type type = MomentType(expr.args.back()->type);
  if (expr.function == FunctionId::DateDiff) {
    // A text is read as what it is compared with.
    const Type& from = expr.args[1]->type;
    const Type& to = expr.args[2]->type;
    type = IsText(to.kind)     ? MomentType(from)
           : IsText(from.kind) ? MomentType(to)
                               : CommonType(MomentType(from), MomentType(to));
    // A day and a time have no boundary in common, but as moments.
    if (type.kind == TypeKind::Date || type.kind == TypeKind::Time) {
      type = MakeType(TypeKind::DateTime2);
      type.scale = kMostFractionDigits;
    }
  }
  const bool fine = *known > DatePart::Millisecond && IsDate(type.kind) && adds;
  const bool difference = expr.function == FunctionId::DateDiff;
  const bool iso = *known == DatePart::IsoWeek && (adds || difference);
  if (fine || iso || (!difference && !HasPart(type.kind, *known))) {
    throw errors::DatePartUnsupported(DatePartName(*known), expr.text, KindText(type.kind),
                                      At(part.offset));
  }
  if (adds) {
    expr.args[1] = Coerce(expr.args[1], MakeType(TypeKind::Int), Conversion::Cast);
    expr.args[2] = Coerce(expr.args[2], type);
  } else {
    for (BoundExpr*& arg : expr.args.subspan(1)) arg = Coerce(arg, type);
  }
  const bool counts = expr.function != FunctionId::DateName;
  expr.type = adds     ? type
              : counts ? MakeType(TypeKind::Int)
                       : MakeType(TypeKind::NVarChar, kCastLength);
  expr.type.nullable = true;
  if (adds || !IsDate(type.kind)) AddType(expr, type);
  return bound;
}

// Converts an argument to what the function takes.
void Binder::BringArgument(BoundExpr& expr, std::size_t i, char wanted) {
  BoundExpr*& arg = expr.args[i];
  const TypeKind kind = arg->type.kind;
  switch (wanted) {
    case 's':
      if (IsMoment(kind) && !IsDate(kind)) {
        throw errors::InvalidArgument(KindText(kind), static_cast<int>(i + 1), expr.text,
                                      At(arg->offset));
      }
      [[fallthrough]];
    case 'b':
    case 't':
      if (wanted == 'b' && IsBytes(kind) && kind != TypeKind::UniqueIdentifier) return;
      if (!IsText(kind)) arg = Coerce(arg, MakeType(TypeKind::VarChar, kLongestBytes));
      return;
    case 'i':
      arg = Coerce(arg, MakeType(TypeKind::Int), Conversion::Cast);
      return;
    case 'd':
      arg = Coerce(arg, MomentType(arg->type));
      return;
    default:
      if (IsMoment(kind) || IsBytes(kind) || kind == TypeKind::Bit) {
        throw errors::InvalidArgument(KindText(kind), static_cast<int>(i + 1), expr.text,
                                      At(arg->offset));
      }
      if (wanted == 'f' || !IsNumber(kind)) arg = Coerce(arg, MakeType(TypeKind::Float));
  }
}

void Binder::TypeResult(BoundExpr& expr, FunctionResult result) {
  const Type first = expr.args.empty() ? Type{} : expr.args[0]->type;
  const auto text = [](bool wide, std::int32_t length) {
    return MakeType(wide ? TypeKind::NVarChar : TypeKind::VarChar, length);
  };
  switch (result) {
    case FunctionResult::Float:
      expr.type = MakeType(TypeKind::Float);
      return;
    case FunctionResult::Identity:
      expr.type = MakeType(TypeKind::Decimal);
      expr.type.precision = kMostDigits;
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
      if (IsBytes(first.kind)) {
        expr.type = MakeType(TypeKind::VarBinary,
                             IsBinary(first.kind) ? first.length : StoredLength(first));
        return;
      }
      expr.type = text(IsUnicode(first.kind), first.length);
      return;
    case FunctionResult::LongText: {
      const bool wide = std::any_of(expr.args.begin(), expr.args.end(),
                                    [](const BoundExpr* arg) { return IsUnicode(arg->type.kind); });
      expr.type = text(wide, wide ? kLongestUnits : kLongestBytes);
      return;
    }
    case FunctionResult::Name:
      expr.type = text(true, kLongestName);
      return;
    case FunctionResult::Character:
    case FunctionResult::WideCharacter:
      expr.type = text(result == FunctionResult::WideCharacter, 1);
      return;
    case FunctionResult::Own:
    case FunctionResult::Int:
      expr.type = MakeType(TypeKind::Int);
  }
}

// Functions whose result follows a rule of its own.
BoundExpr* Binder::BindOwnRule(BoundExpr* expr) {
  switch (expr->function) {
    case FunctionId::IsNull:
    case FunctionId::Coalesce:
      BindChoice(*expr);
      return expr;
    case FunctionId::NullIf:
      return BindNullIf(expr);
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
                                  : expr->args.size() > 1 ? kLongestBytes
                                                          : kUsual;
      expr->type =
          MakeType(TypeKind::VarChar,
                   static_cast<std::int32_t>(std::clamp<std::int64_t>(length, 1, kLongestBytes)));
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
    case FunctionId::Replicate:
      BindReplicate(*expr);
      return expr;
    case FunctionId::SysDateTime:
      expr->type = MakeType(TypeKind::DateTime2);
      expr->type.scale = kMostFractionDigits;
      expr->type.nullable = false;
      return expr;
    case FunctionId::NewId:
      expr->type = MakeType(TypeKind::UniqueIdentifier);
      expr->type.nullable = false;
      return expr;
    case FunctionId::GetDate:
      expr->type = MakeType(TypeKind::DateTime);
      expr->type.nullable = false;
      return expr;
    case FunctionId::Unknown:
    case FunctionId::Count:
    case FunctionId::Sum:
    case FunctionId::Min:
    case FunctionId::Max:
    case FunctionId::Avg:
    case FunctionId::Scalar:
    case FunctionId::DateDiff:
    case FunctionId::DateAdd:
    case FunctionId::DatePart:
    case FunctionId::Year:
    case FunctionId::DateName:
    case FunctionId::Substring:
      break;  // bound elsewhere
  }
  return expr;
}

void Binder::BindChoice(BoundExpr& expr) {
  if (expr.function == FunctionId::IsNull) {
    // The type of the first argument, whatever the second is.
    const bool null_first = expr.args[0]->type.kind == TypeKind::Null;
    Type type = null_first ? expr.args[1]->type : expr.args[0]->type;
    if (type.kind == TypeKind::Null) type = MakeType(TypeKind::Int);
    const bool nullable = expr.args[1]->kind == ExprKind::Null || expr.args[1]->type.nullable;
    expr.args[0] = Coerce(expr.args[0], type);
    if (!IsNumber(type.kind)) RequireConversion(*expr.args[1], type, Conversion::Implicit);
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
  CoerceAll(expr.args, common);
  expr.type = common;
  expr.type.nullable = nullable;
}

// CASE WHEN a = b THEN NULL ELSE a END: the type is the first argument's, the comparison's is what
// both meet in.
BoundExpr* Binder::BindNullIf(BoundExpr* expr) {
  if (expr->args[0]->kind == ExprKind::Null) throw errors::NullIfOfNull(At(expr->offset));
  const Type type = expr->args[0]->type;
  const Type common = ComparisonType(type, expr->args[1]->type);
  const bool as_they_are = IsText(common.kind) || HoldsAsItIs(common, type) ||
                           (IsInteger(common.kind) && IsInteger(type.kind));
  if (as_they_are) {
    if (!IsText(common.kind)) expr->args[1] = Coerce(expr->args[1], common);
    expr->type = type;
    expr->type.nullable = true;
    return expr;
  }
  BoundExpr* compare = arena_.Make<BoundExpr>(*expr);
  compare->kind = ExprKind::Compare;
  compare->function = FunctionId::Unknown;
  compare->args = arena_.Copy(
      std::vector<BoundExpr*>{Coerce(expr->args[0], common), Coerce(expr->args[1], common)});
  BoundExpr* null = arena_.Make<BoundExpr>();
  null->type = type;
  expr->kind = ExprKind::Case;
  expr->function = FunctionId::Unknown;
  expr->has_else = true;
  expr->args = arena_.Copy({compare, null, expr->args[0]});
  expr->type = type;
  expr->type.nullable = true;
  return expr;
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

// It is told how long its result may get.
void Binder::BindReplicate(BoundExpr& expr) {
  const Type& type = expr.args[0]->type;
  const TypeKind kind = IsUnicode(type.kind) ? TypeKind::NVarChar : TypeKind::VarChar;
  expr.type = MakeType(kind, type.length == kMaxLength ? kMaxLength : LongestOf(kind));
  BoundExpr* longest = arena_.Make<BoundExpr>();
  longest->kind = ExprKind::Integer;
  longest->integer = expr.type.length;
  longest->type = MakeType(TypeKind::Int);
  expr.args = arena_.Copy({expr.args[0], expr.args[1], longest});
}

// A text is measured, everything else has the length of its type.
void Binder::BindDataLength(BoundExpr& expr) {
  const Type& type = expr.args[0]->type;
  BoundExpr* unit = arena_.Make<BoundExpr>();
  unit->kind = ExprKind::Integer;
  unit->integer = IsText(type.kind)     ? (IsUnicode(type.kind) ? 2 : 1)
                  : IsBinary(type.kind) ? 0
                                        : -StoredLength(type);
  expr.args = arena_.Copy({expr.args[0], unit});
  expr.type = MakeType(TypeKind::Int);
}

}  // namespace ledgerwick::tsql
