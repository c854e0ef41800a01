// The grammar of control flow, errors raised and caught, and transactions.
#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {
Statement* Parser::Block() {
  auto* statement = NewStatement<BlockStatement>();
  Expect(Keyword::Begin);
  statement->body = BlockStatements();
  if (statement->body.empty()) Fail();
  Expect(Keyword::End);
  return statement;
}

Statement* Parser::If() {
  auto* statement = NewStatement<IfStatement>();
  Expect(Keyword::If);
  statement->condition = Condition();
  statement->then_branch = ParseStatement();
  // A semicolon may end the branch; it ends the IF as well unless ELSE follows.
  if (Is(Symbol::Semicolon) && Ahead(1).keyword == Keyword::Else) Advance();
  if (Accept(Keyword::Else)) statement->else_branch = ParseStatement();
  return statement;
}
Statement* Parser::While() {
  auto* statement = NewStatement<WhileStatement>();
  Expect(Keyword::While);
  statement->condition = Condition();
  ++loops_;
  statement->body = ParseStatement();
  --loops_;
  return statement;
}

Statement* Parser::LoopControl() {
  const bool leaves = Is(Keyword::Break);
  if (loops_ == 0) throw errors::OutsideLoop(leaves, At(Current().offset));
  Statement* statement = nullptr;
  if (leaves) {
    statement = NewStatement<BreakStatement>();
  } else {
    statement = NewStatement<ContinueStatement>();
  }
  Advance();
  return statement;
}

Statement* Parser::Return() {
  auto* statement = NewStatement<ReturnStatement>();
  Expect(Keyword::Return);
  const Token& next = Current();
  const bool value = next.kind == TokenKind::Integer || next.kind == TokenKind::Variable ||
                     next.symbol == Symbol::Minus || next.symbol == Symbol::Plus ||
                     next.symbol == Symbol::LeftParen || next.keyword == Keyword::Case;
  if (!value) return statement;
  if (!in_procedure_) throw errors::ReturnWithValue(At(next.offset));
  statement->value = Value();
  return statement;
}

// What begins with BEGIN: a block, a tried block or a transaction.
Statement* Parser::BeginRule() {
  const Token& next = Ahead(1);
  if (next.keyword == Keyword::Tran || next.keyword == Keyword::Transaction) {
    return TransactionRule<BeginTransactionStatement>();
  }
  const bool tried = next.kind == TokenKind::Identifier && EqualText(next.text, u"TRY");
  return tried ? TryCatch() : Block();
}

// The statements up to END.
Statements Parser::BlockStatements() {
  ArenaList<const Statement*> body(arena_);
  for (;;) {
    while (Accept(Symbol::Semicolon)) {
    }
    if (Is(Keyword::End)) return body.items();
    body.push_back(ParseStatement());
  }
}

Statement* Parser::TryCatch() {
  auto* statement = NewStatement<TryCatchStatement>();
  const auto block = [&](TextView word) {
    Expect(Keyword::Begin);
    if (!AcceptWord(word)) Fail();
    const Statements body = BlockStatements();
    Expect(Keyword::End);
    if (!AcceptWord(word)) Fail();
    return body;
  };
  statement->tried = block(u"TRY");
  Accept(Symbol::Semicolon);
  statement->handler = block(u"CATCH");
  return statement;
}

// The name behind BEGIN, COMMIT, ROLLBACK and SAVE.
TransactionName Parser::TransactionNameRule() {
  TransactionName name;
  Advance();
  const bool named = Accept(Keyword::Tran) || Accept(Keyword::Transaction);
  if (!named) {
    AcceptWord(u"WORK");
  } else if (Current().kind == TokenKind::Variable) {
    name.variable = VariableRule();
  } else if (IsName()) {
    name.word = ExpectName();
  }
  return name;
}

Statement* Parser::SavePoint() {
  const Keyword next = Ahead(1).keyword;
  if (next != Keyword::Tran && next != Keyword::Transaction) {
    Advance();
    Fail();
  }
  auto* statement = NewStatement<SavePointStatement>();
  statement->name = TransactionNameRule();
  if (statement->name.word.text.empty() && statement->name.variable == nullptr) Fail();
  return statement;
}

Statement* Parser::RaiseError() {
  auto* statement = NewStatement<RaiseErrorStatement>();
  Advance();
  Expect(Symbol::LeftParen);
  ArenaList<const Expr*> values(arena_);
  do {
    values.push_back(Constant());
  } while (Accept(Symbol::Comma));
  if (values.items().size() < 3) Fail();
  constexpr std::size_t kMostValues = 3 + 20;
  if (values.items().size() > kMostValues) {
    throw errors::TooManyRaiseArguments(At(values.items()[kMostValues]->offset));
  }
  Expect(Symbol::RightParen);
  if (Is(Keyword::With) && Ahead(1).kind == TokenKind::Identifier) {
    Advance();
    do {
      statement->with_log = IsWord(u"LOG") || statement->with_log;
      ExpectName();  // NOWAIT, LOG, SETERROR
    } while (Accept(Symbol::Comma));
  }
  statement->values = values.items();
  return statement;
}

Statement* Parser::Throw() {
  auto* statement = NewStatement<ThrowStatement>();
  Advance();
  if (Current().kind != TokenKind::Integer && Current().kind != TokenKind::Variable) {
    return statement;
  }
  ArenaList<const Expr*> values(arena_, Constant());
  for (int i = 0; i < 2; ++i) {
    Expect(Symbol::Comma);
    values.push_back(Constant());
  }
  statement->values = values.items();
  return statement;
}

}  // namespace ledgerwick::tsql
