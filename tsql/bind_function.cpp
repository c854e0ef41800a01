// Binding of function calls.
#include <algorithm>

#include "tsql/binder.h"
#include "tsql/parser.h"
#include "tsql/variables.h"

namespace ledgerwick::tsql {
namespace {

struct FunctionInfo {
  TextView name;
  FunctionId id;
  int least;
  int most;
};

constexpr int kMany = 1000;

constexpr FunctionInfo kFunctions[] = {
    {u"count", FunctionId::Count, 1, 1},
    {u"sum", FunctionId::Sum, 1, 1},
    {u"min", FunctionId::Min, 1, 1},
    {u"max", FunctionId::Max, 1, 1},
    {u"avg", FunctionId::Avg, 1, 1},
    {u"isnull", FunctionId::IsNull, 2, 2},
    {u"coalesce", FunctionId::Coalesce, 2, kMany},
    {u"nullif", FunctionId::NullIf, 2, 2},
    {u"len", FunctionId::Len, 1, 1},
    {u"left", FunctionId::Left, 2, 2},
    {u"right", FunctionId::Right, 2, 2},
    {u"substring", FunctionId::Substring, 3, 3},
    {u"ltrim", FunctionId::LTrim, 1, 1},
    {u"rtrim", FunctionId::RTrim, 1, 1},
    {u"upper", FunctionId::Upper, 1, 1},
    {u"lower", FunctionId::Lower, 1, 1},
    {u"replace", FunctionId::Replace, 3, 3},
    {u"charindex", FunctionId::CharIndex, 2, 3},
    {u"space", FunctionId::Space, 1, 1},
    {u"replicate", FunctionId::Replicate, 2, 2},
    {u"abs", FunctionId::Abs, 1, 1},
    {u"round", FunctionId::Round, 2, 3},
    {u"datediff", FunctionId::DateDiff, 3, 3},
    {u"dateadd", FunctionId::DateAdd, 3, 3},
    {u"datepart", FunctionId::DatePart, 2, 2},
    {u"year", FunctionId::Year, 1, 1},
    {u"month", FunctionId::Month, 1, 1},
    {u"day", FunctionId::Day, 1, 1},
    {u"getdate", FunctionId::GetDate, 0, 0},
    {u"object_id", FunctionId::ObjectId, 1, 2},
};

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
  const auto info =
      std::find_if(std::begin(kFunctions), std::end(kFunctions),
                   [&](const FunctionInfo& f) { return EqualText(f.name, expr->text); });
  if (info == std::end(kFunctions)) throw errors::UnknownFunction(expr->text, At(expr->offset));
  const auto count = static_cast<int>(expr->args.size());
  if (count < info->least || count > info->most) {
    throw errors::ArgumentCount(info->name, info->least, info->most, At(expr->offset));
  }
  expr->function = info->id;
  expr->text = info->name;
  if (IsAggregate(info->id)) {
    BindAggregate(*expr, scope);
    return expr;
  }
  if (TakesDatePart(info->id)) {
    BindDateFunction(*expr, scope);
    return expr;
  }
  BindArguments(*expr, scope);
  TypeFunction(*expr);
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
  } else if (type.kind == TypeKind::Decimal) {
    constexpr std::uint8_t kMostDigits = 38;
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

// Converts the arguments of a scalar function to what it takes and sets its type.
void Binder::TypeFunction(Expr& expr) {
  const auto text = [&](std::size_t i) {
    Expr*& arg = expr.args[i];
    if (!IsText(arg->type.kind)) arg = Coerce(arg, MakeType(TypeKind::VarChar, kLongest));
    return arg->type;
  };
  const auto integer = [&](std::size_t i) {
    expr.args[i] = Coerce(expr.args[i], MakeType(TypeKind::Int), Conversion::Cast);
  };
  const auto varying = [](const Type& type, std::int32_t length) {
    return MakeType(IsUnicode(type.kind) ? TypeKind::NVarChar : TypeKind::VarChar, length);
  };
  const auto is_number = [&](std::size_t i) {
    const Type type = expr.args[i]->type;
    if (IsDate(type.kind) || type.kind == TypeKind::Bit) {
      throw errors::InvalidArgument(KindText(type.kind), static_cast<int>(i + 1), expr.text,
                                    At(expr.args[i]->offset));
    }
    if (!IsNumber(type.kind)) expr.args[i] = Coerce(expr.args[i], MakeType(TypeKind::Float));
    return expr.args[i]->type;
  };
  switch (expr.function) {
    case FunctionId::IsNull: {
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
    case FunctionId::Coalesce: {
      Type type;
      bool nullable = true;
      for (const Expr* arg : expr.args) {
        type = CommonType(type, arg->type);
        nullable = nullable && (arg->kind == ExprKind::Null || arg->type.nullable);
      }
      if (type.kind == TypeKind::Null) throw errors::CaseOfNulls(At(expr.offset));
      CoerceAll(expr.args, type);
      expr.type = type;
      expr.type.nullable = nullable;
      return;
    }
    case FunctionId::NullIf: {
      const Type common = CommonType(expr.args[0]->type, expr.args[1]->type);
      if (common.kind == TypeKind::Null) throw errors::CaseOfNulls(At(expr.offset));
      const Type first = expr.args[0]->type;
      if (!IsText(common.kind)) CoerceAll(expr.args, common);
      expr.type = IsText(common.kind) ? first : common;
      expr.type.nullable = true;
      return;
    }
    case FunctionId::Len:
      text(0);
      expr.type = MakeType(TypeKind::Int);
      return;
    case FunctionId::Left:
    case FunctionId::Right: {
      const Type type = text(0);
      integer(1);
      const bool literal = expr.args[1]->kind == ExprKind::Integer && type.length != kMaxLength;
      // A character may take two bytes, so n characters of varchar may take 2n.
      const std::int64_t wide = expr.args[1]->integer * (IsUnicode(type.kind) ? 1 : 2);
      const std::int32_t length =
          literal ? static_cast<std::int32_t>(std::clamp<std::int64_t>(wide, 1, type.length))
                  : type.length;
      expr.type = varying(type, length);
      return;
    }
    case FunctionId::Substring: {
      const Type type = text(0);
      integer(1);
      integer(2);
      expr.type = varying(type, type.length);
      return;
    }
    case FunctionId::LTrim:
    case FunctionId::RTrim:
    case FunctionId::Upper:
    case FunctionId::Lower: {
      const Type type = text(0);
      expr.type = varying(type, type.length);
      return;
    }
    case FunctionId::Replace: {
      const bool unicode =
          IsUnicode(text(0).kind) || IsUnicode(text(1).kind) || IsUnicode(text(2).kind);
      expr.type = unicode ? MakeType(TypeKind::NVarChar, kLongest / 2)
                          : MakeType(TypeKind::VarChar, kLongest);
      return;
    }
    case FunctionId::CharIndex:
      text(0);
      text(1);
      if (expr.args.size() == 3) integer(2);
      expr.type = MakeType(TypeKind::Int);
      return;
    case FunctionId::Space:
      integer(0);
      expr.type = MakeType(TypeKind::VarChar, kLongest);
      return;
    case FunctionId::Replicate: {
      const Type type = text(0);
      integer(1);
      expr.type = varying(type, IsUnicode(type.kind) ? kLongest / 2 : kLongest);
      return;
    }
    case FunctionId::Abs: {
      // A flag may be given as a bit; its amount is a number.
      if (expr.args[0]->type.kind == TypeKind::Bit) integer(0);
      expr.type = is_number(0);
      return;
    }
    case FunctionId::Round:
      expr.type = is_number(0);
      integer(1);
      if (expr.args.size() == 3) integer(2);
      if (expr.type.kind == TypeKind::TinyInt || expr.type.kind == TypeKind::SmallInt) {
        expr.type.kind = TypeKind::Int;
      }
      return;
    case FunctionId::Year:
    case FunctionId::Month:
    case FunctionId::Day:
      expr.args[0] = Coerce(expr.args[0], MakeType(TypeKind::DateTime));
      expr.type = MakeType(TypeKind::Int);
      return;
    case FunctionId::GetDate:
      expr.type = MakeType(TypeKind::DateTime);
      expr.type.nullable = false;
      return;
    case FunctionId::ObjectId: {
      text(0);
      // Known when the statement is compiled: the literal names the object.
      const Expr& name = *expr.args[0];
      if (name.kind != ExprKind::String) {
        throw errors::InvalidArgument(KindText(name.type.kind), 1, expr.text, At(name.offset));
      }
      Arena scratch;
      const Text select = u"SELECT 1 FROM " + Text(name.text);
      bool exists = false;
      try {
        const auto statements = ParseBatch(select, scratch).statements;
        exists = ObjectExists(statements[0]->query->selects[0]->from->table);
      } catch (const SqlError&) {
        exists = false;  // a text that is no name names no object
      }
      expr.kind = exists ? ExprKind::Integer : ExprKind::Null;
      expr.integer = 1;
      expr.args = {};
      expr.type = MakeType(TypeKind::Int);
      return;
    }
    default:
      throw errors::UnknownFunction(expr.text, At(expr.offset));
  }
}

}  // namespace ledgerwick::tsql
