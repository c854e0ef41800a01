#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {

Query* Parser::ParseQuery() {
  Query* query = arena_.Make<Query>();
  query->offset = Current().offset;
  ArenaList<const Select*> selects(arena_, SelectOrParenthesised());
  ArenaList<char> keeps_duplicates(arena_);
  while (Accept(Keyword::Union)) {
    keeps_duplicates.push_back(Accept(Keyword::All) ? 1 : 0);
    selects.push_back(SelectOrParenthesised());
  }
  query->selects = selects.items();
  query->keeps_duplicates = keeps_duplicates.items();
  if (Is(Keyword::Order)) query->order_by = OrderBy();
  return query;
}

Select* Parser::SelectOrParenthesised() {
  const Nesting nesting(depth_);
  if (!Accept(Symbol::LeftParen)) return ParseSelect();
  Select* select = SelectOrParenthesised();
  Expect(Symbol::RightParen);
  return select;
}

Select* Parser::ParseSelect() {
  Select* select = arena_.Make<Select>();
  select->offset = Current().offset;
  const std::size_t uses_before = variable_uses_.size();
  Expect(Keyword::Select);
  if (Accept(Keyword::Distinct)) {
    select->distinct = true;
  } else {
    Accept(Keyword::All);
  }
  if (Accept(Keyword::Top)) {
    const bool parenthesised = Accept(Symbol::LeftParen);
    select->has_top = true;
    if (parenthesised && Current().kind == TokenKind::Variable) {
      select->top_variable = VariableRule();
    } else {
      select->top = ExpectInteger();
    }
    if (parenthesised) Expect(Symbol::RightParen);
  }
  ArenaList<SelectItem> items(arena_);
  do {
    items.push_back(Item());
  } while (Accept(Symbol::Comma));
  select->items = items.items();
  if (Accept(Keyword::Into)) {
    select->has_into = true;
    select->into = ObjectNameRule();
  }
  if (Accept(Keyword::From)) select->from = FromList();
  if (Accept(Keyword::Where)) select->where = Condition();
  if (Accept(Keyword::Group)) {
    Expect(Keyword::By);
    ArenaList<const Expr*> keys(arena_);
    do {
      keys.push_back(Value());
    } while (Accept(Symbol::Comma));
    select->group_by = keys.items();
  }
  if (Accept(Keyword::Having)) select->having = Condition();
  MarkLive(*select, uses_before);
  return select;
}

// A variable that the select assigns changes from row to row.
void Parser::MarkLive(const Select& select, std::size_t uses_before) {
  for (const SelectItem& item : select.items) {
    if (item.variable == nullptr) continue;
    for (std::size_t i = uses_before; i < variable_uses_.size(); ++i) {
      if (variable_uses_[i]->slot == item.variable->slot) variable_uses_[i]->live = true;
    }
  }
}

SelectItem Parser::Item() {
  SelectItem item;
  if (Is(Symbol::Star)) {
    item.expr = NewExpr(ExprKind::Star, Current().offset);
    Advance();
    return item;
  }
  if (AtAssignment()) {
    item.variable = VariableRule();
    item.expr = AssignedValue(*item.variable);
    return item;
  }
  // alias = expression
  if (IsName() && Ahead(1).symbol == Symbol::Equal) {
    item.alias = ExpectName();
    Advance();
    item.expr = Value();
    return item;
  }
  item.expr = Value();
  if (item.expr->kind != ExprKind::Star) item.alias = Alias();
  return item;
}

Name Parser::Alias() {
  if (Accept(Keyword::As)) {
    if (Current().kind == TokenKind::String) {
      const Name name{Current().text, Current().offset};
      Advance();
      return name;
    }
    return ExpectName();
  }
  return IsName() ? ExpectName() : Name{};
}

std::span<const OrderItem> Parser::OrderBy() {
  Expect(Keyword::Order);
  Expect(Keyword::By);
  ArenaList<OrderItem> items(arena_);
  do {
    OrderItem item;
    const bool number = Current().kind == TokenKind::Integer;
    item.expr = Value();
    item.is_position = number && item.expr->kind == ExprKind::Integer;
    item.descending = Accept(Keyword::Desc);
    if (!item.descending) Accept(Keyword::Asc);
    items.push_back(item);
  } while (Accept(Symbol::Comma));
  return items.items();
}

From* Parser::FromList() {
  From* left = JoinTree();
  for (int length = 0; Accept(Symbol::Comma); ++length) {
    if (length > kDeepestTree) throw errors::NestedTooDeeply(At(Current().offset));
    From* join = arena_.Make<From>();
    join->kind = FromKind::Cross;
    join->left = left;
    join->right = JoinTree();
    left = join;
  }
  return left;
}

bool Parser::AtJoin(FromKind& kind) {
  switch (Current().keyword) {
    case Keyword::Join:
      kind = FromKind::Inner;
      return true;
    case Keyword::Inner:
      kind = FromKind::Inner;
      break;
    case Keyword::Cross:
      kind = FromKind::Cross;
      break;
    case Keyword::Left:
      kind = FromKind::Left;
      break;
    case Keyword::Right:
      kind = FromKind::Right;
      break;
    case Keyword::Full:
      kind = FromKind::Full;
      break;
    default:
      return false;
  }
  const bool outer = kind == FromKind::Left || kind == FromKind::Right || kind == FromKind::Full;
  Advance();
  if (outer) Accept(Keyword::Outer);
  if (!Is(Keyword::Join)) Fail();
  return true;
}

// operand { join-kind JOIN tree ON condition }: a join inside `tree` takes the first ON behind it,
// so that `A RIGHT JOIN B INNER JOIN C ON b.x = c.x ON a.y = b.y` reads as A RIGHT JOIN (B INNER
// JOIN C).
From* Parser::JoinTree() {
  const Nesting nesting(depth_);
  From* left = JoinOperand();
  FromKind kind;
  for (int length = 0; AtJoin(kind); ++length) {
    if (length > kDeepestTree) throw errors::NestedTooDeeply(At(Current().offset));
    Advance();
    From* join = arena_.Make<From>();
    join->kind = kind;
    join->left = left;
    if (kind == FromKind::Cross) {
      join->right = JoinOperand();
    } else {
      // The right side is an operand, and with it every join whose ON comes before this one's.
      join->right = JoinTree();
      Expect(Keyword::On);
      join->on = Condition();
    }
    left = join;
    // An ON that follows belongs to a join further out.
    if (Is(Keyword::On)) break;
  }
  return left;
}

// Behind a parenthesis: a query, which may stand in parentheses itself. ((SELECT …) a JOIN … is a
// join; what stands behind the inner parentheses tells.
bool Parser::AtDerivedTable() const {
  if (Is(Keyword::Select)) return true;
  if (!Is(Symbol::LeftParen) || Ahead(1).keyword != Keyword::Select) return false;
  std::size_t at = 0;
  for (int open = 0; Ahead(at).kind != TokenKind::End; ++at) {
    if (Ahead(at).symbol == Symbol::LeftParen) ++open;
    if (Ahead(at).symbol == Symbol::RightParen && --open == 0) break;
  }
  const Token& behind = Ahead(at + 1);
  return behind.keyword == Keyword::Union || behind.keyword == Keyword::Order ||
         behind.symbol == Symbol::RightParen;
}

From* Parser::JoinOperand() {
  From* from = arena_.Make<From>();
  if (!Accept(Symbol::LeftParen)) {
    from->table = ObjectNameRule();
    from->alias = Alias();
    SkipTableHints();
    return from;
  }
  if (AtDerivedTable()) {
    from->kind = FromKind::Derived;
    from->query = ParseQuery();
    Expect(Symbol::RightParen);
    from->alias = Alias();
    if (from->alias.text.empty()) Fail();  // a derived table needs a name
    if (Is(Symbol::LeftParen)) from->column_aliases = NameList();
    return from;
  }
  From* inner = FromList();
  Expect(Symbol::RightParen);
  return inner;
}

// WITH (NOLOCK) and its like change nothing here.
void Parser::SkipTableHints() {
  const bool with = Is(Keyword::With) && Ahead(1).symbol == Symbol::LeftParen;
  const bool bare = Is(Symbol::LeftParen) && Ahead(1).kind == TokenKind::Identifier &&
                    EqualText(Ahead(1).text, u"NOLOCK");
  if (!with && !bare) return;
  if (with) Advance();
  Advance();
  do {
    ExpectName();
  } while (Accept(Symbol::Comma));
  Expect(Symbol::RightParen);
}

ObjectName Parser::ObjectNameRule() {
  ObjectName name;
  name.object = ExpectName();
  for (int dots = 0; dots < 2 && Accept(Symbol::Dot); ++dots) {
    name.database = name.schema;
    name.schema = name.object;
    name.object = Is(Symbol::Dot) ? Name{{}, Current().offset} : ExpectName();
  }
  return name;
}

std::span<const Name> Parser::NameList() {
  Expect(Symbol::LeftParen);
  ArenaList<Name> names(arena_);
  do {
    names.push_back(ExpectName());
  } while (Accept(Symbol::Comma));
  Expect(Symbol::RightParen);
  return names.items();
}

}  // namespace ledgerwick::tsql
