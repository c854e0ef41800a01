// The grammar of control flow, errors raised and caught, and transactions.
#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {
Statement* Parser::Block() {
  Statement* statement = NewStatement(StatementKind::Block);
  Expect(Keyword::Begin);
  const std::vector<Statement*> body = Statements();
  if (body.empty()) Fail();
  Expect(Keyword::End);
  statement->body = arena_.Copy(body);
  return statement;
}

Statement* Parser::If() {
  Statement* statement = NewStatement(StatementKind::If);
  Expect(Keyword::If);
  statement->where = Condition();
  statement->then_branch = ParseStatement();
  // A semicolon may end the branch; it ends the IF as well unless ELSE follows.
  if (Is(Symbol::Semicolon) && Ahead(1).keyword == Keyword::Else) Advance();
  if (Accept(Keyword::Else)) statement->else_branch = ParseStatement();
  return statement;
}
Statement* Parser::While() {
  Statement* statement = NewStatement(StatementKind::While);
  Expect(Keyword::While);
  statement->where = Condition();
  ++loops_;
  statement->then_branch = ParseStatement();
  --loops_;
  return statement;
}

Statement* Parser::LoopControl() {
  const bool leaves = Is(Keyword::Break);
  if (loops_ == 0) throw errors::OutsideLoop(leaves, At(Current().offset));
  Statement* statement = NewStatement(leaves ? StatementKind::Break : StatementKind::Continue);
  Advance();
  return statement;
}

Statement* Parser::Return() {
  Statement* statement = NewStatement(StatementKind::Return);
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
    return Transaction(StatementKind::Begin);
  }
  const bool tried = next.kind == TokenKind::Identifier && EqualText(next.text, u"TRY");
  return tried ? TryCatch() : Block();
}

// The statements up to END.
std::vector<Statement*> Parser::Statements() {
  std::vector<Statement*> body;
  for (;;) {
    while (Accept(Symbol::Semicolon)) {
    }
    if (Is(Keyword::End)) return body;
    body.push_back(ParseStatement());
  }
}

Statement* Parser::TryCatch() {
  Statement* statement = NewStatement(StatementKind::TryCatch);
  const auto block = [&](TextView word) {
    Statement* inner = NewStatement(StatementKind::Block);
    Expect(Keyword::Begin);
    if (!AcceptWord(word)) Fail();
    inner->body = arena_.Copy(Statements());
    Expect(Keyword::End);
    if (!AcceptWord(word)) Fail();
    return inner;
  };
  statement->then_branch = block(u"TRY");
  Accept(Symbol::Semicolon);
  statement->else_branch = block(u"CATCH");
  return statement;
}

// BEGIN, COMMIT and ROLLBACK. A name changes nothing: there are no save points.
Statement* Parser::Transaction(StatementKind kind) {
  Statement* statement = NewStatement(kind);
  Advance();
  const bool named = Accept(Keyword::Tran) || Accept(Keyword::Transaction);
  if (!named) {
    AcceptWord(u"WORK");
  } else if (Current().kind == TokenKind::Variable) {
    VariableRule();
  } else if (IsName()) {
    Advance();
  }
  return statement;
}

Statement* Parser::RaiseError() {
  Statement* statement = NewStatement(StatementKind::RaiseError);
  Advance();
  Expect(Symbol::LeftParen);
  std::vector<Expr*> values;
  do {
    values.push_back(Constant());
  } while (Accept(Symbol::Comma));
  if (values.size() < 3) Fail();
  Expect(Symbol::RightParen);
  if (Is(Keyword::With) && Ahead(1).kind == TokenKind::Identifier) {
    Advance();
    do {
      ExpectName();  // NOWAIT, LOG, SETERROR
    } while (Accept(Symbol::Comma));
  }
  statement->values = arena_.Copy(values);
  return statement;
}

Statement* Parser::Throw() {
  Statement* statement = NewStatement(StatementKind::Throw);
  Advance();
  if (Current().kind != TokenKind::Integer && Current().kind != TokenKind::Variable) {
    return statement;
  }
  std::vector<Expr*> values{Constant()};
  for (int i = 0; i < 2; ++i) {
    Expect(Symbol::Comma);
    values.push_back(Constant());
  }
  statement->values = arena_.Copy(values);
  return statement;
}

}  // namespace ledgerwick::tsql
