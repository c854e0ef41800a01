#include <algorithm>
#include <charconv>

#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {

Batch ParseBatch(TextView batch, Arena& arena) { return Parser(batch, arena).ParseAll(); }

ParametrisedBatch ParseBatch(TextView batch, TextView parameters, Arena& arena) {
  Parser parser(parameters, arena);
  ParametrisedBatch result;
  result.parameters = parser.ParseParameters();
  parser.Restart(batch);
  result.batch = parser.ParseAll();
  return result;
}

Parser::Parser(TextView batch, Arena& arena)
    : batch_(batch), arena_(arena), tokens_(Tokenize(batch, arena)) {}

const Token& Parser::Ahead(std::size_t n) const noexcept {
  return tokens_[std::min(at_ + n, tokens_.size() - 1)];
}

bool Parser::IsWord(TextView word) const noexcept {
  return Current().kind == TokenKind::Identifier && EqualText(Current().text, word);
}

bool Parser::Accept(Keyword keyword) noexcept {
  if (!Is(keyword)) return false;
  Advance();
  return true;
}

bool Parser::Accept(Symbol symbol) noexcept {
  if (!Is(symbol)) return false;
  Advance();
  return true;
}

bool Parser::AcceptWord(TextView word) noexcept {
  if (!IsWord(word)) return false;
  Advance();
  return true;
}

void Parser::Expect(Keyword keyword) {
  if (!Accept(keyword)) Fail();
}

void Parser::Expect(Symbol symbol) {
  if (!Accept(symbol)) Fail();
}

void Parser::Fail() const {
  const Token& token = Current();
  const TextView near = batch_.substr(token.offset, token.length);
  if (token.kind == TokenKind::Keyword) {
    throw errors::IncorrectSyntaxKeyword(near, At(token.offset));
  }
  if (token.kind == TokenKind::End && at_ > 0) {
    // The batch ended too early: the last word is what stands out.
    const Token& last = tokens_[at_ - 1];
    const TextView word = batch_.substr(last.offset, last.length);
    throw errors::IncorrectSyntax(word, At(last.offset));
  }
  const bool quoted = token.kind == TokenKind::String || token.kind == TokenKind::NationalString ||
                      token.kind == TokenKind::QuotedIdentifier;
  throw errors::IncorrectSyntax(quoted ? token.text : near, At(token.offset));
}

bool Parser::IsName() const noexcept {
  return Current().kind == TokenKind::Identifier || Current().kind == TokenKind::QuotedIdentifier;
}

Name Parser::ExpectName() {
  if (!IsName()) Fail();
  const Name name{Current().text, Current().offset};
  Advance();
  return name;
}

std::int64_t Parser::ExpectInteger() {
  if (Current().kind != TokenKind::Integer) Fail();
  const TextView text = Current().text;
  const std::string digits(text.begin(), text.end());
  std::int64_t value = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), value).ec != std::errc()) {
    Fail();
  }
  Advance();
  return value;
}

void Parser::Restart(TextView batch) {
  batch_ = batch;
  tokens_ = Tokenize(batch, arena_);
  at_ = 0;
}

Batch Parser::ParseAll() {
  ArenaList<const Statement*> statements(arena_);
  try {
    for (;;) {
      while (Accept(Symbol::Semicolon)) {
      }
      if (Current().kind == TokenKind::End) break;
      statements.push_back(ParseStatement());
    }
  } catch (SqlError& error) {
    // What nests too deeply and what takes too much memory does so here.
    if (error.position.line == 0) error.position = At(Current().offset);
    throw;
  }
  return {statements.items(), arena_.Copy(variable_types_)};
}

Statement* Parser::ParseStatement() {
  constexpr int kDeepestStatement = 201;
  const Nesting nesting(depth_, kDeepestStatement);
  const std::uint32_t offset = Current().offset;
  Statement* statement = StatementRule();
  statement->offset = offset;
  const Token& last = tokens_[at_ - 1];
  statement->length = last.offset + last.length - offset;
  return statement;
}

// One rule for each kind of statement.
Statement* Parser::StatementRule() {
  switch (Current().keyword) {
    case Keyword::Select:
      return SelectRule();
    case Keyword::Insert:
      return Insert();
    case Keyword::Update:
      return Update();
    case Keyword::Delete:
      return Delete();
    case Keyword::Truncate:
      return Truncate();
    case Keyword::Create:
      return Create();
    case Keyword::Alter:
      return Alter();
    case Keyword::Drop:
      return Drop();
    case Keyword::If:
      return If();
    case Keyword::While:
      return While();
    case Keyword::Break:
    case Keyword::Continue:
      return LoopControl();
    case Keyword::Return:
      return Return();
    case Keyword::Begin:
      return BeginRule();
    case Keyword::Commit:
      return TransactionRule<CommitTransactionStatement>();
    case Keyword::Rollback:
      return TransactionRule<RollbackTransactionStatement>();
    case Keyword::Save:
      return SavePoint();
    case Keyword::Declare:
      return Declare();
    case Keyword::Set:
      if (EqualText(Ahead(1).text, u"IDENTITY_INSERT")) return IdentityInsert();
      return Ahead(1).kind == TokenKind::Variable ? SetVariable() : SetOption();
    case Keyword::Use:
      return Use();
    case Keyword::Exec:
    case Keyword::Execute:
      return Execute();
    case Keyword::Raiserror:
      return RaiseError();
    case Keyword::Print:
      return Print();
    default:
      if (IsWord(u"THROW")) return Throw();
      if (IsWord(u"DBCC")) return Dbcc();
      // The first statement of a batch may call a procedure by its name alone.
      if (at_ == 0 && IsName()) return ExecuteProcedure();
      if (!Is(Symbol::LeftParen) || Ahead(1).keyword != Keyword::Select) Fail();
      return SelectRule();
  }
}

Statement* Parser::SelectRule() {
  auto* statement = NewStatement<SelectStatement>();
  statement->query = ParseQuery();
  return statement;
}

Statement* Parser::Print() {
  auto* statement = NewStatement<PrintStatement>();
  Expect(Keyword::Print);
  statement->value = Value();
  return statement;
}

Statement* Parser::Insert() {
  auto* statement = NewStatement<InsertStatement>();
  Expect(Keyword::Insert);
  Accept(Keyword::Into);
  statement->target = ObjectNameRule();
  if (Is(Symbol::LeftParen) && Ahead(1).keyword != Keyword::Select) statement->columns = NameList();
  if (Accept(Keyword::Default)) {
    Expect(Keyword::Values);
    statement->default_values = true;
    return statement;
  }
  if (!Accept(Keyword::Values)) {
    if (!Is(Keyword::Select) && !Is(Symbol::LeftParen)) Fail();
    statement->query = ParseQuery();
    return statement;
  }
  ArenaList<std::span<const Expr* const>> rows(arena_);
  do {
    Expect(Symbol::LeftParen);
    ArenaList<const Expr*> row(arena_);
    do {
      row.push_back(Accept(Keyword::Default) ? nullptr : Value());
    } while (Accept(Symbol::Comma));
    Expect(Symbol::RightParen);
    rows.push_back(row.items());
  } while (Accept(Symbol::Comma));
  statement->rows = rows.items();
  return statement;
}

Statement* Parser::Update() {
  auto* statement = NewStatement<UpdateStatement>();
  Expect(Keyword::Update);
  statement->target = ObjectNameRule();
  Expect(Keyword::Set);
  ArenaList<Assignment> assignments(arena_);
  do {
    Assignment assignment;
    assignment.column = ExpectName();
    if (Accept(Symbol::Dot)) {
      assignment.qualifier = assignment.column;
      assignment.column = ExpectName();
    }
    Expect(Symbol::Equal);
    assignment.value = Value();
    assignments.push_back(assignment);
  } while (Accept(Symbol::Comma));
  statement->assignments = assignments.items();
  if (Accept(Keyword::From)) statement->from = FromList();
  if (Accept(Keyword::Where)) statement->where = Condition();
  return statement;
}

Statement* Parser::Delete() {
  auto* statement = NewStatement<DeleteStatement>();
  Expect(Keyword::Delete);
  Accept(Keyword::From);
  statement->target = ObjectNameRule();
  SkipTableHints();
  if (Accept(Keyword::From)) statement->from = FromList();
  if (Accept(Keyword::Where)) statement->where = Condition();
  return statement;
}

Statement* Parser::Truncate() {
  auto* statement = NewStatement<TruncateStatement>();
  Expect(Keyword::Truncate);
  Expect(Keyword::Table);
  statement->target = ObjectNameRule();
  return statement;
}
// TRANSACTION ISOLATION LEVEL …, which changes nothing: readers see what was committed, and who
// writes does so alone.
bool Parser::AcceptIsolationLevel() {
  if (!Is(Keyword::Transaction)) return false;
  Advance();
  static constexpr TextView kLevels[][2] = {{u"READ", u"COMMITTED"},
                                            {u"READ", u"UNCOMMITTED"},
                                            {u"REPEATABLE", u"READ"},
                                            {u"SERIALIZABLE", u""},
                                            {u"SNAPSHOT", u""}};
  if (!AcceptWord(u"ISOLATION") || !AcceptWord(u"LEVEL")) Fail();
  for (const auto& [first, second] : kLevels) {
    if (!IsWord(first)) continue;
    if (!second.empty() && !EqualText(Ahead(1).text, second)) continue;
    Advance();
    if (!second.empty()) Advance();
    return true;
  }
  Fail();
}

// SET NOCOUNT ON, SET TEXTSIZE 100 and the like. Most options of the session change nothing here;
// those that would are not known.
Statement* Parser::SetOption() {
  auto* statement = NewStatement<SetOptionStatement>();
  Expect(Keyword::Set);
  if (AcceptIsolationLevel()) return statement;
  static constexpr TextView kSwitches[] = {u"NOCOUNT",
                                           u"XACT_ABORT",
                                           u"FMTONLY",
                                           u"ANSI_NULLS",
                                           u"ANSI_WARNINGS",
                                           u"IMPLICIT_TRANSACTIONS",
                                           u"ANSI_PADDING",
                                           u"ANSI_DEFAULTS",
                                           u"QUOTED_IDENTIFIER",
                                           u"ANSI_NULL_DFLT_ON",
                                           u"ARITHABORT",
                                           u"ANSI_NULL_DFLT_OFF",
                                           u"ARITHIGNORE",
                                           u"NO_BROWSETABLE",
                                           u"CURSOR_CLOSE_ON_COMMIT",
                                           u"FORCEPLAN",
                                           u"NUMERIC_ROUNDABORT",
                                           u"CONCAT_NULL_YIELDS_NULL",
                                           u"REMOTE_PROC_TRANSACTIONS"};
  static constexpr TextView kValues[] = {
      u"TEXTSIZE",   u"ROWCOUNT", u"LOCK_TIMEOUT",      u"DATEFIRST",
      u"DATEFORMAT", u"LANGUAGE", u"DEADLOCK_PRIORITY", u"QUERY_GOVERNOR_COST_LIMIT"};
  const auto at_one_of = [&](std::span<const TextView> options) {
    return std::any_of(options.begin(), options.end(),
                       [&](TextView option) { return IsWord(option); });
  };
  ArenaList<Name> options(arena_);
  if (at_one_of(kValues)) {
    options.push_back(ExpectName());
    statement->options = options.items();
    statement->value = Constant();
    return statement;
  }
  do {
    if (!at_one_of(kSwitches)) Fail();
    options.push_back(ExpectName());
  } while (Accept(Symbol::Comma));
  statement->options = options.items();
  statement->on = Accept(Keyword::On);
  if (!statement->on && !AcceptWord(u"OFF")) Fail();
  return statement;
}

Statement* Parser::Use() {
  auto* statement = NewStatement<UseStatement>();
  Expect(Keyword::Use);
  statement->database = ExpectName();
  return statement;
}

}  // namespace ledgerwick::tsql
