#include "tsql/emit/emitter.h"

#include <algorithm>

#include "tsql/base/errors.h"
#include "tsql/binder/operators.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
void Emitter::EmitExpr(const BoundExpr& expr) {
  const Nesting nesting;
  RequireRoom();
  if (expr.part != nullptr && expr.part != part_) return EmitPart(expr);
  if (part_ != nullptr && EmitInput(expr)) return;
  switch (expr.kind) {
    case ExprKind::Null:
      Raw("NULL");
      return;
    case ExprKind::Integer:
      Raw(std::to_string(expr.integer));
      return;
    case ExprKind::Number:
      EmitNumber(expr);
      return;
    case ExprKind::String:
      EmitString(expr.text);
      return;
    case ExprKind::Binary:
      Raw("X'").Raw(expr.text.size() % 2 == 0 ? "" : "0").Raw(ToUtf8(expr.text)).Raw("'");
      return;
    case ExprKind::Column:
      EmitColumn(expr);
      return;
    case ExprKind::Variable:
      Raw(expr.live ? "t_variable(?" : "?").Raw(std::to_string(expr.slot + 1));
      Raw(expr.live ? ")" : "");
      return;
    case ExprKind::Case:
      EmitCase(expr);
      return;
    case ExprKind::Convert:
      EmitConvert(expr);
      return;
    case ExprKind::Function:
      EmitFunction(expr);
      return;
    case ExprKind::Scalar:
      EmitScalar(expr);
      return;
    case ExprKind::Compare:
      EmitCompare(expr);
      return;
    case ExprKind::And:
      EmitConnective(expr.args, " AND ");
      return;
    case ExprKind::Or:
      EmitConnective(expr.args, " OR ");
      return;
    case ExprKind::Like:
      EmitLike(expr);
      return;
    case ExprKind::InList:
    case ExprKind::InQuery:
      EmitIn(expr);
      return;
    case ExprKind::Not:
      Raw("(NOT ");
      EmitExpr(*expr.args[0]);
      Raw(")");
      return;
    case ExprKind::IsNull:
      Raw("(");
      EmitExpr(*expr.args[0]);
      Raw(expr.negated ? " IS NOT NULL)" : " IS NULL)");
      return;
    case ExprKind::Between:
      Raw("(");
      EmitCollated(*expr.args[0]);
      Raw(expr.negated ? " NOT BETWEEN " : " BETWEEN ");
      EmitExpr(*expr.args[1]);
      Raw(" AND ");
      EmitExpr(*expr.args[2]);
      Raw(")");
      return;
    case ExprKind::Exists:
      Raw("EXISTS (");
      EmitQuery(*expr.query);
      Raw(")");
      return;
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
      EmitArithmetic(expr);
      return;
    case ExprKind::Star:
      break;  // stands in COUNT(*) alone, which writes it
  }
  throw errors::Internal("a star stands for a value");
}

void Emitter::EmitNumber(const BoundExpr& expr) {
  if (IsExactFraction(expr.type.kind)) {
    EmitUnits(expr);
    return;
  }
  std::string digits(expr.text.begin(), expr.text.end());
  if (digits.front() == '.') digits.insert(0, "0");
  // "1e" is T-SQL for 1.
  if (digits.back() == 'e' || digits.back() == 'E') digits.pop_back();
  if (digits.find_first_of(".eE") == std::string::npos) digits += ".0";
  Raw(digits);
}

void Emitter::EmitString(TextView text) {
  const std::string utf8 = ToUtf8(text);
  if (utf8.find('\0') == std::string::npos) {
    Raw(QuoteLiteral(utf8));
    return;
  }
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  Raw("CAST(X'");
  for (const char c : utf8) {
    const auto byte = static_cast<unsigned char>(c);
    out_ += kDigits[byte >> 4];
    out_ += kDigits[byte & 0xF];
  }
  Raw("' AS TEXT)");
}

void Emitter::EmitColumn(const BoundExpr& expr) {
  if (expr.unindexed) Raw("+");
  if (expr.source->id == kNewRow) {
    Raw("NEW.");
  } else if (expr.source->id != kOwnRow) {
    Raw("s").Raw(std::to_string(expr.source->id)).Raw(".");
  }
  if (expr.source->query != nullptr) {
    Raw("c").Raw(std::to_string(expr.column + 1));
  } else {
    Raw(expr.source->table->columns[static_cast<std::size_t>(expr.column)].sql);
  }
}

void Emitter::EmitCollated(const BoundExpr& expr) {
  EmitExpr(expr);
  if (IsText(expr.type.kind) && !IsStoredColumn(expr)) Raw(" COLLATE ").Raw(kCollation);
}

void Emitter::EmitCompare(const BoundExpr& expr) {
  const BoundExpr& left = *expr.args[0];
  const BoundExpr& right = *expr.args[1];
  Raw("(");
  // A column on the left decides, even one of a derived table that has no collation of its own;
  // otherwise the collation of a column on the right holds for both.
  if (left.kind != ExprKind::Column && IsStoredColumn(right)) {
    EmitExpr(left);
  } else {
    EmitCollated(left);
  }
  Raw(SignOf(expr.compare));
  EmitExpr(right);
  Raw(")");
}

// Balanced, because SQLite limits the depth of an expression and long conditions are usual.
void Emitter::EmitConnective(std::span<BoundExpr* const> terms, std::string_view word) {
  if (terms.size() == 1) {
    EmitExpr(*terms[0]);
    return;
  }
  const std::size_t half = terms.size() / 2;
  Raw("(");
  EmitConnective(terms.first(half), word);
  Raw(word);
  EmitConnective(terms.subspan(half), word);
  Raw(")");
}

void Emitter::EmitCase(const BoundExpr& expr) {
  Raw("CASE");
  std::size_t i = 0;
  if (expr.has_operand) {
    Raw(" ");
    EmitCollated(*expr.args[i++]);
  }
  const std::size_t pairs_end = expr.args.size() - (expr.has_else ? 1 : 0);
  for (; i < pairs_end; i += 2) {
    Raw(" WHEN ");
    EmitExpr(*expr.args[i]);
    Raw(" THEN ");
    EmitExpr(*expr.args[i + 1]);
  }
  if (expr.has_else) {
    Raw(" ELSE ");
    EmitExpr(*expr.args.back());
  }
  Raw(" END");
}

void Emitter::EmitIn(const BoundExpr& expr) {
  Raw("(");
  EmitCollated(*expr.args[0]);
  Raw(expr.negated ? " NOT IN (" : " IN (");
  if (expr.query == nullptr) {
    for (std::size_t i = 1; i < expr.args.size(); ++i) {
      if (i > 1) Raw(", ");
      EmitMember(*expr.args[i]);
    }
  } else if (IsText(expr.query->selects[0]->items[0].expr->type.kind)) {
    Raw("SELECT rtrim(c1) FROM (");
    EmitQuery(*expr.query, true);
    Raw(")");
  } else {
    EmitQuery(*expr.query);
  }
  Raw("))");
}

// In a list of IN. No text ends with blanks there: see TextsApart.
void Emitter::EmitMember(const BoundExpr& expr) {
  if (!IsText(expr.type.kind)) {
    EmitExpr(expr);
  } else if (expr.kind == ExprKind::String) {
    EmitString(expr.text.substr(0, expr.text.find_last_not_of(u' ') + 1));
  } else {
    Raw("rtrim(");
    EmitExpr(expr);
    Raw(")");
  }
}

void Emitter::EmitLike(const BoundExpr& expr) {
  const bool unicode = IsUnicode(expr.args[0]->type.kind) || IsUnicode(expr.args[1]->type.kind);
  if (expr.negated) Raw("(NOT ");
  Raw("t_like(");
  EmitExpr(*expr.args[0]);
  Raw(", ");
  EmitExpr(*expr.args[1]);
  Raw(", ");
  if (expr.args.size() == 3) {
    EmitExpr(*expr.args[2]);
  } else {
    Raw("NULL");
  }
  Raw(unicode ? ", 1)" : ", 0)");
  if (expr.negated) Raw(")");
}

// A subquery that may give several rows fails when it does; SQLite would take the first.
void Emitter::EmitScalar(const BoundExpr& expr) {
  const BoundQuery& query = *expr.query;
  const BoundSelect& first = *query.selects[0];
  const bool single =
      query.selects.size() == 1 &&
      ((first.grouped && first.group_by.empty()) ||
       (first.has_top && first.top_variable == nullptr && first.top <= 1) || first.from == nullptr);
  Raw("(");
  if (single) {
    EmitQuery(query);
  } else {
    Raw("SELECT CASE WHEN count(*) > 1 THEN t_error_512() ELSE max(c1) END FROM (SELECT c1 FROM (");
    EmitQuery(query, true);
    Raw(") LIMIT 2)");
  }
  Raw(")");
}

void Emitter::EmitCall(std::string_view function, std::span<BoundExpr* const> args) {
  Raw(function).Raw("(");
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (i > 0) Raw(", ");
    EmitExpr(*args[i]);
  }
  Raw(")");
}

// More arguments than a call takes go into calls within calls.
void Emitter::EmitCoalesce(std::span<BoundExpr* const> args) {
  if (args.size() <= kMostCallArguments) return EmitCall("coalesce", args);
  Raw("coalesce(");
  for (const BoundExpr* arg : args.first(kMostCallArguments - 1)) {
    EmitExpr(*arg);
    Raw(", ");
  }
  EmitCoalesce(args.subspan(kMostCallArguments - 1));
  Raw(")");
}

void Emitter::EmitFunction(const BoundExpr& expr) {
  const std::span<BoundExpr* const> args = expr.args;
  switch (expr.function) {
    case FunctionId::Count:
    case FunctionId::Sum:
    case FunctionId::Min:
    case FunctionId::Max:
    case FunctionId::Avg:
      EmitAggregate(expr);
      return;
    case FunctionId::IsNull:
      // An aggregate stays: it may be what makes all rows one.
      if (args[0]->kind != ExprKind::Null && !args[0]->type.nullable && !args[1]->has_aggregate) {
        EmitExpr(*args[0]);
      } else {
        EmitCall("ifnull", args);
      }
      return;
    case FunctionId::Coalesce:
      EmitCoalesce(args);
      return;
    case FunctionId::NullIf:
      Raw("nullif(");
      EmitCollated(*args[0]);
      Raw(", ");
      EmitExpr(*args[1]);
      Raw(")");
      return;
    case FunctionId::Year:
      Raw("t_datepart('").Raw(ToUtf8(expr.text)).Raw("', ");
      EmitExpr(*args[0]);
      Raw(")");
      return;
    case FunctionId::Unknown:
    case FunctionId::Scalar:
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
    case FunctionId::DateName:
    case FunctionId::GetDate:
    case FunctionId::SysDateTime:
    case FunctionId::NewId:
    case FunctionId::Substring:
      // A fact such as SCOPE_IDENTITY() is exact, and computed from nothing that is.
      if (IsExactFraction(expr.type.kind) && !args.empty() && !IsText(args[0]->type.kind)) {
        EmitExactFunction(expr);
      } else {
        EmitCall("t_" + ToUtf8(expr.text), args);
      }
  }
}

void Emitter::EmitAggregate(const BoundExpr& expr) {
  const BoundExpr& arg = *expr.args[0];
  const TypeKind kind = expr.type.kind;
  const std::string_view distinct = expr.distinct ? "DISTINCT " : "";
  const auto call = [&](std::string_view function) {
    Raw(function).Raw("(").Raw(distinct);
    EmitCollated(arg);
    Raw(")");
  };
  if (arg.kind == ExprKind::Star) {
    Raw("count(*)");
    return;
  }
  if (expr.function == FunctionId::Count) return call("count");
  if (expr.function == FunctionId::Min) return call("min");
  if (expr.function == FunctionId::Max) return call("max");
  const bool average = expr.function == FunctionId::Avg;
  if (IsInteger(kind)) {
    // Whole numbers average to a whole number.
    Raw("t_to_int(");
    call(kind == TypeKind::BigInt ? "t_sum_bigint" : "sum");
    if (average) {
      Raw(" / ");
      call("count");
    }
    Raw(", '").Raw(KindName(kind)).Raw("')");
    return;
  }
  if (IsFloat(kind)) {
    call(average ? "avg" : "sum");
    return;
  }
  EmitExactSum(expr);
}

}  // namespace ledgerwick::tsql
