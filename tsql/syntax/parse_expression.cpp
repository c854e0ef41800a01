#include <array>
#include <charconv>

#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {
namespace {

bool ComparisonOf(Symbol symbol, Comparison& comparison) noexcept {
  switch (symbol) {
    case Symbol::Equal:
      comparison = Comparison::Equal;
      return true;
    case Symbol::NotEqual:
      comparison = Comparison::NotEqual;
      return true;
    case Symbol::Less:
      comparison = Comparison::Less;
      return true;
    case Symbol::LessEqual:
      comparison = Comparison::LessEqual;
      return true;
    case Symbol::Greater:
      comparison = Comparison::Greater;
      return true;
    case Symbol::GreaterEqual:
      comparison = Comparison::GreaterEqual;
      return true;
    default:
      return false;
  }
}

}  // namespace

ExprKind AdditiveOf(Symbol symbol) noexcept {
  switch (symbol) {
    case Symbol::Plus:
      return ExprKind::Add;
    case Symbol::Minus:
      return ExprKind::Subtract;
    case Symbol::Ampersand:
      return ExprKind::BitAnd;
    case Symbol::Bar:
      return ExprKind::BitOr;
    case Symbol::Caret:
      return ExprKind::BitXor;
    default:
      return ExprKind::Null;
  }
}

ExprKind MultiplicativeOf(Symbol symbol) noexcept {
  switch (symbol) {
    case Symbol::Star:
      return ExprKind::Multiply;
    case Symbol::Slash:
      return ExprKind::Divide;
    case Symbol::Percent:
      return ExprKind::Modulo;
    default:
      return ExprKind::Null;
  }
}

Expr* Parser::NewExpr(ExprKind kind, std::uint32_t offset) {
  Expr* expr = arena_.Make<Expr>();
  expr->kind = kind;
  expr->offset = offset;
  return expr;
}

Expr* Parser::NewExpr(ExprKind kind, std::initializer_list<Expr*> args) {
  Expr* expr = NewExpr(kind, (*args.begin())->offset);
  expr->args = arena_.Copy(std::span<Expr* const>(args.begin(), args.size()));
  Finish(expr);
  return expr;
}

void Parser::Finish(Expr* expr) const noexcept {
  const Token& last = tokens_[at_ - 1];
  expr->length = last.offset + last.length - expr->offset;
}

Expr* Parser::RequireValue(Expr* expr) {
  if (!IsPredicate(expr->kind)) return expr;
  Fail();
}

Expr* Parser::RequireCondition(Expr* expr) {
  if (IsPredicate(expr->kind)) return expr;
  const Token& next = Current();
  throw errors::ConditionExpected(batch_.substr(next.offset, next.length), At(next.offset));
}

Expr* Parser::Condition() { return RequireCondition(Disjunction()); }

Expr* Parser::Value() {
  const Nesting nesting(depth_);
  return RequireValue(Additive());
}

Expr* Parser::Disjunction() {
  const Nesting nesting(depth_);
  Expr* first = Conjunction();
  if (!Is(Keyword::Or)) return first;
  ArenaList<const Expr*> terms(arena_, RequireCondition(first));
  while (Accept(Keyword::Or)) terms.push_back(RequireCondition(Conjunction()));
  Expr* expr = NewExpr(ExprKind::Or, {first});
  expr->args = terms.items();
  return expr;
}

Expr* Parser::Conjunction() {
  Expr* first = Negation();
  if (!Is(Keyword::And)) return first;
  ArenaList<const Expr*> terms(arena_, RequireCondition(first));
  while (Accept(Keyword::And)) terms.push_back(RequireCondition(Negation()));
  Expr* expr = NewExpr(ExprKind::And, {first});
  expr->args = terms.items();
  return expr;
}

Expr* Parser::Negation() {
  const std::uint32_t offset = Current().offset;
  bool negated = false;
  bool any = false;
  while (Accept(Keyword::Not)) {
    negated = !negated;
    any = true;
  }
  Expr* operand = Relation();
  if (!any) return operand;
  RequireCondition(operand);
  if (!negated) return operand;
  Expr* expr = NewExpr(ExprKind::Not, {operand});
  expr->offset = offset;
  Finish(expr);
  return expr;
}

Expr* Parser::Relation() {
  Expr* left = Additive();
  Comparison comparison;
  if (ComparisonOf(Current().symbol, comparison)) {
    RequireValue(left);
    Advance();
    Expr* expr = NewExpr(ExprKind::Compare, {left, Value()});
    expr->compare = comparison;
    return expr;
  }
  if (Is(Keyword::Is)) {
    RequireValue(left);
    Advance();
    const bool negated = Accept(Keyword::Not);
    Expect(Keyword::Null);
    Expr* expr = NewExpr(ExprKind::IsNull, {left});
    expr->negated = negated;
    return expr;
  }
  const bool negated = Is(Keyword::Not);
  const Keyword next = negated ? Ahead(1).keyword : Current().keyword;
  if (next != Keyword::Like && next != Keyword::Between && next != Keyword::In) return left;
  RequireValue(left);
  if (negated) Advance();
  Advance();
  if (next == Keyword::Like) return LikeRule(left, negated);
  if (next == Keyword::Between) return BetweenRule(left, negated);
  return InRule(left, negated);
}

Expr* Parser::LikeRule(Expr* value, bool negated) {
  Expr* pattern = Value();
  Expr* expr = Accept(Keyword::Escape) ? NewExpr(ExprKind::Like, {value, pattern, Value()})
                                       : NewExpr(ExprKind::Like, {value, pattern});
  expr->negated = negated;
  return expr;
}

Expr* Parser::BetweenRule(Expr* value, bool negated) {
  Expr* low = Value();
  Expect(Keyword::And);
  Expr* expr = NewExpr(ExprKind::Between, {value, low, Value()});
  expr->negated = negated;
  return expr;
}

Expr* Parser::InRule(Expr* value, bool negated) {
  Expect(Symbol::LeftParen);
  if (Is(Keyword::Select)) {
    Query* query = ParseQuery();
    Expect(Symbol::RightParen);
    Expr* expr = NewExpr(ExprKind::InQuery, {value});
    expr->query = query;
    expr->negated = negated;
    return expr;
  }
  ArenaList<const Expr*> args(arena_, value);
  do {
    args.push_back(Value());
  } while (Accept(Symbol::Comma));
  Expect(Symbol::RightParen);
  Expr* expr = NewExpr(ExprKind::InList, {value});
  expr->args = args.items();
  expr->negated = negated;
  return expr;
}

Expr* Parser::Additive() {
  Expr* left = Multiplicative();
  for (int length = 0;; ++length) {
    const ExprKind kind = AdditiveOf(Current().symbol);
    if (kind == ExprKind::Null) return left;
    if (length > kDeepestTree) throw errors::NestedTooDeeply(At(Current().offset));
    RequireValue(left);
    Advance();
    left = NewExpr(kind, {left, RequireValue(Multiplicative())});
  }
}

Expr* Parser::Multiplicative() {
  Expr* left = Unary();
  for (int length = 0;; ++length) {
    const ExprKind kind = MultiplicativeOf(Current().symbol);
    if (kind == ExprKind::Null) return left;
    if (length > kDeepestTree) throw errors::NestedTooDeeply(At(Current().offset));
    RequireValue(left);
    Advance();
    left = NewExpr(kind, {left, RequireValue(Unary())});
  }
}

Expr* Parser::Unary() {
  const std::uint32_t offset = Current().offset;
  const bool plus = Is(Symbol::Plus);
  const bool minus = Is(Symbol::Minus);
  if (!plus && !minus && !Is(Symbol::Tilde)) return Primary();
  const Nesting nesting(depth_);
  Advance();
  if (plus) return RequireValue(Unary());
  Expr* operand = RequireValue(Unary());
  Expr* expr = NewExpr(minus ? ExprKind::Negate : ExprKind::BitNot, {operand});
  expr->offset = offset;
  Finish(expr);
  return expr;
}

Expr* Parser::Primary() {
  switch (Current().kind) {
    case TokenKind::String:
    case TokenKind::NationalString:
    case TokenKind::Integer:
    case TokenKind::Decimal:
    case TokenKind::Float:
    case TokenKind::Binary:
      return Literal();
    case TokenKind::Identifier:
    case TokenKind::QuotedIdentifier:
      return NameExpression();
    case TokenKind::Variable:
      return VariableRule();
    case TokenKind::Symbol:
      if (Is(Symbol::LeftParen)) return Parenthesised();
      Fail();
    case TokenKind::Keyword:
      break;
    default:
      Fail();
  }
  const Token token = Current();
  switch (token.keyword) {
    case Keyword::Null:
      Advance();
      return NewExpr(ExprKind::Null, token.offset);
    case Keyword::Case:
      return Case();
    case Keyword::Convert:
      return ConvertCall();
    case Keyword::Exists: {
      Advance();
      Expect(Symbol::LeftParen);
      Expr* expr = NewExpr(ExprKind::Exists, token.offset);
      expr->query = ParseQuery();
      Expect(Symbol::RightParen);
      Finish(expr);
      return expr;
    }
    case Keyword::Left:
    case Keyword::Right:
    case Keyword::Coalesce:
    case Keyword::Nullif:
      if (Ahead(1).symbol != Symbol::LeftParen) Fail();
      Advance();
      return Call(Name{token.text, token.offset});
    default:
      Fail();
  }
}

Expr* Parser::Parenthesised() {
  const std::uint32_t offset = Current().offset;
  Advance();
  if (Is(Keyword::Select)) {
    Expr* expr = NewExpr(ExprKind::Scalar, offset);
    expr->query = ParseQuery();
    Expect(Symbol::RightParen);
    Finish(expr);
    return expr;
  }
  Expr* inner = Disjunction();
  Expect(Symbol::RightParen);
  return inner;
}

Expr* Parser::Literal() {
  const Token token = Current();
  Advance();
  Expr* expr = NewExpr(ExprKind::Number, token.offset);
  expr->length = token.length;
  expr->text = token.text;
  if (token.kind == TokenKind::String || token.kind == TokenKind::NationalString) {
    expr->kind = ExprKind::String;
    expr->national = token.kind == TokenKind::NationalString;
  } else if (token.kind == TokenKind::Binary) {
    expr->kind = ExprKind::Binary;
  } else if (token.kind == TokenKind::Integer) {
    const std::string digits(token.text.begin(), token.text.end());
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), expr->integer);
    if (error == std::errc() && expr->integer <= INT32_MAX) expr->kind = ExprKind::Integer;
  }
  return expr;
}

Expr* Parser::NameExpression() {
  const std::uint32_t offset = Current().offset;
  constexpr std::size_t kMostParts = 4;
  std::array<Name, kMostParts> parts{ExpectName()};
  std::size_t count = 1;
  if (Is(Symbol::LeftParen) && tokens_[at_ - 1].kind == TokenKind::Identifier) {
    return EqualText(parts[0].text, u"CAST") ? Cast() : Call(parts[0]);
  }
  const bool bare = tokens_[at_ - 1].kind == TokenKind::Identifier && !Is(Symbol::Dot);
  if (bare && EqualText(parts[0].text, u"CURRENT_TIMESTAMP")) {
    Expr* call = NewExpr(ExprKind::Function, offset);
    call->text = u"getdate";
    Finish(call);
    return call;
  }
  bool star = false;
  while (Accept(Symbol::Dot)) {
    if (Accept(Symbol::Star)) {
      star = true;
      break;
    }
    // db..table.column: the schema between two points may be left out.
    if (count == kMostParts) Fail();
    parts[count++] = Is(Symbol::Dot) ? Name{{}, Current().offset} : ExpectName();
  }
  const std::size_t qualifiers = star ? count : count - 1;
  if (qualifiers == kMostParts) Fail();
  Expr* expr = NewExpr(star ? ExprKind::Star : ExprKind::Column, offset);
  if (!star) expr->text = parts[count - 1].text;
  if (qualifiers >= 1) {
    auto* qualifier = arena_.Make<ObjectName>();
    qualifier->object = parts[qualifiers - 1];
    if (qualifiers >= 2) qualifier->schema = parts[qualifiers - 2];
    if (qualifiers >= 3) qualifier->database = parts[0];
    expr->qualifier = qualifier;
  }
  Finish(expr);
  return expr;
}

Expr* Parser::Call(Name name) {
  Expect(Symbol::LeftParen);
  Expr* expr = NewExpr(ExprKind::Function, name.offset);
  expr->text = name.text;
  ArenaList<const Expr*> args(arena_);
  if (!Is(Symbol::RightParen)) {
    if (Accept(Keyword::Distinct)) {
      expr->distinct = true;
    } else {
      Accept(Keyword::All);
    }
    do {
      if (Is(Symbol::Star)) {
        args.push_back(NewExpr(ExprKind::Star, Current().offset));
        Advance();
      } else {
        args.push_back(Value());
      }
    } while (Accept(Symbol::Comma));
  }
  Expect(Symbol::RightParen);
  expr->args = args.items();
  Finish(expr);
  return expr;
}

Expr* Parser::Cast() {
  const std::uint32_t offset = tokens_[at_ - 1].offset;
  Expect(Symbol::LeftParen);
  Expr* operand = Value();
  Expect(Keyword::As);
  Expr* expr = NewExpr(ExprKind::Convert, {operand});
  expr->offset = offset;
  expr->type = TypeRule();
  Expect(Symbol::RightParen);
  Finish(expr);
  return expr;
}

Expr* Parser::ConvertCall() {
  const std::uint32_t offset = Current().offset;
  Advance();
  Expect(Symbol::LeftParen);
  const Type type = TypeRule();
  Expect(Symbol::Comma);
  Expr* expr = NewExpr(ExprKind::Convert, {Value()});
  expr->offset = offset;
  expr->type = type;
  if (Accept(Symbol::Comma)) {
    expr->style = static_cast<std::int32_t>(ExpectInteger());
  }
  Expect(Symbol::RightParen);
  Finish(expr);
  return expr;
}

Expr* Parser::Case() {
  Expr* expr = NewExpr(ExprKind::Case, Current().offset);
  Advance();
  ArenaList<const Expr*> args(arena_);
  if (!Is(Keyword::When)) {
    expr->has_operand = true;
    args.push_back(Value());
  }
  do {
    Expect(Keyword::When);
    args.push_back(expr->has_operand ? Value() : Condition());
    Expect(Keyword::Then);
    args.push_back(Value());
  } while (Is(Keyword::When));
  if (Accept(Keyword::Else)) {
    expr->has_else = true;
    args.push_back(Value());
  }
  Expect(Keyword::End);
  expr->args = args.items();
  Finish(expr);
  return expr;
}

}  // namespace ledgerwick::tsql
