#include <charconv>

#include "tsql/parser.h"

namespace ledgerwick::tsql {
namespace {

struct TypeWord {
  TextView word;
  TypeKind kind;
};

constexpr TypeWord kTypes[] = {
    {u"int", TypeKind::Int},           {u"integer", TypeKind::Int},
    {u"varchar", TypeKind::VarChar},   {u"nvarchar", TypeKind::NVarChar},
    {u"char", TypeKind::Char},         {u"nchar", TypeKind::NChar},
    {u"float", TypeKind::Float},       {u"real", TypeKind::Real},
    {u"datetime", TypeKind::DateTime}, {u"smalldatetime", TypeKind::SmallDateTime},
    {u"bit", TypeKind::Bit},           {u"tinyint", TypeKind::TinyInt},
    {u"smallint", TypeKind::SmallInt}, {u"bigint", TypeKind::BigInt},
    {u"decimal", TypeKind::Decimal},   {u"numeric", TypeKind::Decimal},
    {u"money", TypeKind::Money},       {u"text", TypeKind::VarChar},
    {u"ntext", TypeKind::NVarChar},    {u"sysname", TypeKind::NVarChar},
};

constexpr std::int32_t kLongestVarChar = 8000;
constexpr std::int32_t kLongestNVarChar = 4000;
constexpr std::int64_t kMostPrecision = 38;
constexpr std::int32_t kLongestName = 128;

}  // namespace

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
  std::vector<Statement*> statements;
  for (;;) {
    while (Accept(Symbol::Semicolon)) {
    }
    if (Current().kind == TokenKind::End) break;
    statements.push_back(ParseStatement());
  }
  return {arena_.Copy(statements), arena_.Copy(variable_types_)};
}

Statement* Parser::NewStatement(StatementKind kind) {
  Statement* statement = arena_.Make<Statement>();
  statement->kind = kind;
  statement->offset = Current().offset;
  return statement;
}

// One rule for each kind of statement.
Statement* Parser::ParseStatement() {
  Statement* statement = nullptr;
  const std::uint32_t offset = Current().offset;
  switch (Current().keyword) {
    case Keyword::Select:
      statement = NewStatement(StatementKind::Select);
      statement->query = ParseQuery();
      break;
    case Keyword::Insert:
      statement = Insert();
      break;
    case Keyword::Update:
      statement = Update();
      break;
    case Keyword::Delete:
      statement = Delete();
      break;
    case Keyword::Truncate:
      statement = Truncate();
      break;
    case Keyword::Create:
      statement = Create();
      break;
    case Keyword::Alter:
      if (!AtProcedure()) {
        Advance();
        Fail();
      }
      statement = Procedure(StatementKind::AlterProcedure);
      break;
    case Keyword::Drop:
      statement = Drop();
      break;
    case Keyword::If:
      statement = If();
      break;
    case Keyword::While:
      statement = While();
      break;
    case Keyword::Break:
    case Keyword::Continue:
      statement = LoopControl();
      break;
    case Keyword::Return:
      statement = Return();
      break;
    case Keyword::Begin:
      statement = BeginRule();
      break;
    case Keyword::Commit:
      statement = Transaction(StatementKind::Commit);
      break;
    case Keyword::Rollback:
      statement = Transaction(StatementKind::Rollback);
      break;
    case Keyword::Declare:
      statement = Declare();
      break;
    case Keyword::Set:
      statement = Ahead(1).kind == TokenKind::Variable ? SetVariable() : SetOption();
      break;
    case Keyword::Exec:
    case Keyword::Execute:
      statement = Execute();
      break;
    case Keyword::Raiserror:
      statement = RaiseError();
      break;
    case Keyword::Print:
      statement = NewStatement(StatementKind::Print);
      Advance();
      statement->value = Value();
      break;
    default:
      if (IsWord(u"THROW")) {
        statement = Throw();
        break;
      }
      if (!Is(Symbol::LeftParen) || Ahead(1).keyword != Keyword::Select) Fail();
      statement = NewStatement(StatementKind::Select);
      statement->query = ParseQuery();
  }
  statement->offset = offset;
  const Token& last = tokens_[at_ - 1];
  statement->length = last.offset + last.length - offset;
  return statement;
}

Statement* Parser::Block() {
  if (++depth_ > 200) throw errors::NestedTooDeeply(At(Current().offset));
  Statement* statement = NewStatement(StatementKind::Block);
  Expect(Keyword::Begin);
  const std::vector<Statement*> body = Statements();
  if (body.empty()) Fail();
  Expect(Keyword::End);
  statement->body = arena_.Copy(body);
  --depth_;
  return statement;
}

Statement* Parser::If() {
  if (++depth_ > 200) throw errors::NestedTooDeeply(At(Current().offset));
  Statement* statement = NewStatement(StatementKind::If);
  Expect(Keyword::If);
  statement->where = Condition();
  statement->then_branch = ParseStatement();
  // A semicolon may end the branch; it ends the IF as well unless ELSE follows.
  if (Is(Symbol::Semicolon) && Ahead(1).keyword == Keyword::Else) Advance();
  if (Accept(Keyword::Else)) statement->else_branch = ParseStatement();
  --depth_;
  return statement;
}

Statement* Parser::Insert() {
  Statement* statement = NewStatement(StatementKind::Insert);
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
  std::vector<std::span<Expr*>> rows;
  do {
    Expect(Symbol::LeftParen);
    std::vector<Expr*> row;
    do {
      row.push_back(Accept(Keyword::Default) ? nullptr : Value());
    } while (Accept(Symbol::Comma));
    Expect(Symbol::RightParen);
    rows.push_back(arena_.Copy(row));
  } while (Accept(Symbol::Comma));
  statement->rows = arena_.Copy(rows);
  return statement;
}

Statement* Parser::Update() {
  Statement* statement = NewStatement(StatementKind::Update);
  Expect(Keyword::Update);
  statement->target = ObjectNameRule();
  Expect(Keyword::Set);
  std::vector<Assignment> assignments;
  do {
    Assignment assignment;
    assignment.column = ExpectName();
    if (Accept(Symbol::Dot)) assignment.column = ExpectName();  // table.column
    Expect(Symbol::Equal);
    assignment.value = Value();
    assignments.push_back(assignment);
  } while (Accept(Symbol::Comma));
  statement->assignments = arena_.Copy(assignments);
  if (Accept(Keyword::From)) statement->from = FromList();
  if (Accept(Keyword::Where)) statement->where = Condition();
  return statement;
}

Statement* Parser::Delete() {
  Statement* statement = NewStatement(StatementKind::Delete);
  Expect(Keyword::Delete);
  Accept(Keyword::From);
  statement->target = ObjectNameRule();
  SkipTableHints();
  if (Accept(Keyword::From)) statement->from = FromList();
  if (Accept(Keyword::Where)) statement->where = Condition();
  return statement;
}

Statement* Parser::Truncate() {
  Statement* statement = NewStatement(StatementKind::Truncate);
  Expect(Keyword::Truncate);
  Expect(Keyword::Table);
  statement->target = ObjectNameRule();
  return statement;
}

// At CREATE PROCEDURE and the like.
bool Parser::AtProcedure() const noexcept {
  return Ahead(1).keyword == Keyword::Procedure || Ahead(1).keyword == Keyword::Proc;
}

Statement* Parser::Create() {
  const Keyword what = Ahead(1).keyword;
  if (what == Keyword::Table) return CreateTable();
  if (what == Keyword::View) return CreateView();
  if (AtProcedure()) return Procedure(StatementKind::CreateProcedure);
  Advance();
  const bool unique = Accept(Keyword::Unique);
  if (!Accept(Keyword::Clustered)) Accept(Keyword::Nonclustered);
  return CreateIndex(unique);
}

Statement* Parser::CreateIndex(bool unique) {
  Statement* statement = NewStatement(StatementKind::CreateIndex);
  Expect(Keyword::Index);
  statement->unique = unique;
  statement->index = ExpectName();
  Expect(Keyword::On);
  statement->target = ObjectNameRule();
  statement->key_columns = KeyColumns();
  return statement;
}

Statement* Parser::CreateView() {
  Statement* statement = NewStatement(StatementKind::CreateView);
  const std::uint32_t offset = Current().offset;
  Advance();
  Expect(Keyword::View);
  statement->target = ObjectNameRule();
  if (Is(Symbol::LeftParen)) statement->columns = NameList();
  Expect(Keyword::As);
  statement->query = ParseQuery();
  const Token& last = tokens_[at_ - 1];
  statement->text = batch_.substr(offset, last.offset + last.length - offset);
  return statement;
}

Statement* Parser::CreateTable() {
  Statement* statement = NewStatement(StatementKind::CreateTable);
  Expect(Keyword::Create);
  Expect(Keyword::Table);
  statement->target = ObjectNameRule();
  Expect(Symbol::LeftParen);
  std::vector<ColumnDefinition> definitions;
  std::vector<TableKey> keys;
  do {
    if (Is(Symbol::RightParen) && !definitions.empty()) break;  // a comma may end the list
    if (AtTableKey()) {
      keys.push_back(Key());
    } else {
      definitions.push_back(Definition());
    }
  } while (Accept(Symbol::Comma));
  Expect(Symbol::RightParen);
  statement->definitions = arena_.Copy(definitions);
  statement->keys = arena_.Copy(keys);
  return statement;
}

bool Parser::AtTableKey() const noexcept {
  return Is(Keyword::Constraint) || Is(Keyword::Primary) || Is(Keyword::Unique);
}

TableKey Parser::Key() {
  if (Accept(Keyword::Constraint)) ExpectName();
  TableKey key;
  key.primary = Accept(Keyword::Primary);
  if (key.primary) {
    Expect(Keyword::Key);
  } else {
    Expect(Keyword::Unique);
  }
  if (!Accept(Keyword::Clustered)) Accept(Keyword::Nonclustered);
  key.columns = KeyColumns();
  return key;
}

std::span<KeyColumn> Parser::KeyColumns() {
  Expect(Symbol::LeftParen);
  std::vector<KeyColumn> columns;
  do {
    KeyColumn column;
    column.name = ExpectName();
    column.descending = Accept(Keyword::Desc);
    if (!column.descending) Accept(Keyword::Asc);
    columns.push_back(column);
  } while (Accept(Symbol::Comma));
  Expect(Symbol::RightParen);
  return arena_.Copy(columns);
}

ColumnDefinition Parser::Definition() {
  ColumnDefinition definition;
  definition.name = ExpectName();
  definition.type = TypeRule();
  definition.type.nullable = true;
  for (;;) {
    if (Accept(Keyword::Not)) {
      Expect(Keyword::Null);
      definition.type.nullable = false;
    } else if (Accept(Keyword::Null)) {
      definition.type.nullable = true;
    } else if (Accept(Keyword::Default)) {
      definition.default_value = Value();
    } else if (Accept(Keyword::Constraint)) {
      ExpectName();
    } else if (Accept(Keyword::Primary)) {
      Expect(Keyword::Key);
      if (!Accept(Keyword::Clustered)) Accept(Keyword::Nonclustered);
      definition.primary_key = true;
      definition.type.nullable = false;
    } else if (Accept(Keyword::Unique)) {
      definition.unique = true;
    } else {
      return definition;
    }
  }
}

Type Parser::TypeRule() {
  const Name name = ExpectName();
  Type type;
  for (const TypeWord& known : kTypes) {
    if (EqualText(name.text, known.word)) type.kind = known.kind;
  }
  if (type.kind == TypeKind::Null) throw errors::UnknownType(name.text, At(name.offset));
  if (type.kind == TypeKind::Money) type.scale = 4;
  if (type.kind == TypeKind::Decimal) type.precision = 18;
  // Without a length a column holds 1 character; a conversion's 30 is set where it is read.
  if (IsText(type.kind)) type.length = 0;
  if (EqualText(name.text, u"text") || EqualText(name.text, u"ntext")) {
    type.length = kMaxLength;
    return type;
  }
  if (EqualText(name.text, u"sysname")) {
    type.length = kLongestName;
    return type;
  }
  if (!Accept(Symbol::LeftParen)) return type;
  if (IsText(type.kind)) {
    if (AcceptWord(u"max")) {
      type.length = kMaxLength;
    } else {
      const std::int64_t length = ExpectInteger();
      const std::int64_t longest = IsUnicode(type.kind) ? kLongestNVarChar : kLongestVarChar;
      if (length < 1 || length > longest)
        throw errors::TypeLength(name.text, length, longest, At(name.offset));
      type.length = static_cast<std::int32_t>(length);
    }
  } else if (type.kind == TypeKind::Decimal) {
    const std::int64_t precision = ExpectInteger();
    const std::int64_t scale = Accept(Symbol::Comma) ? ExpectInteger() : 0;
    if (precision < 1 || precision > kMostPrecision || scale > precision) Fail();
    type.precision = static_cast<std::uint8_t>(precision);
    type.scale = static_cast<std::uint8_t>(scale);
  } else if (type.kind == TypeKind::Float) {
    constexpr std::int64_t kRealBits = 24;
    if (ExpectInteger() <= kRealBits) type.kind = TypeKind::Real;
  } else {
    Fail();
  }
  Expect(Symbol::RightParen);
  return type;
}

Statement* Parser::Drop() {
  Expect(Keyword::Drop);
  StatementKind kind;
  if (Accept(Keyword::Table)) {
    kind = StatementKind::DropTable;
  } else if (Accept(Keyword::View)) {
    kind = StatementKind::DropView;
  } else if (Accept(Keyword::Index)) {
    kind = StatementKind::DropIndex;
  } else if (Accept(Keyword::Procedure) || Accept(Keyword::Proc)) {
    kind = StatementKind::DropProcedure;
  } else {
    Fail();
  }
  Statement* statement = NewStatement(kind);
  if (Accept(Keyword::If)) {
    Expect(Keyword::Exists);
    statement->if_exists = true;
  }
  std::vector<ObjectName> targets;
  do {
    targets.push_back(ObjectNameRule());
    if (kind == StatementKind::DropIndex && Accept(Keyword::On)) {
      // DROP INDEX name ON table, the newer spelling of DROP INDEX table.name
      const Name index = targets.back().object;
      targets.back() = ObjectNameRule();
      targets.back() = ObjectName{targets.back().database, targets.back().object, index};
    }
  } while (Accept(Symbol::Comma));
  statement->targets = arena_.Copy(targets);
  return statement;
}

// SET NOCOUNT ON and the like. Most options of the session change nothing here; those that would
// are not known.
Statement* Parser::SetOption() {
  Statement* statement = NewStatement(StatementKind::SetOption);
  Expect(Keyword::Set);
  static constexpr TextView kOptions[] = {u"NOCOUNT",
                                          u"XACT_ABORT",
                                          u"ANSI_NULLS",
                                          u"QUOTED_IDENTIFIER",
                                          u"ANSI_WARNINGS",
                                          u"ANSI_PADDING",
                                          u"ANSI_DEFAULTS",
                                          u"ANSI_NULL_DFLT_ON",
                                          u"ARITHABORT",
                                          u"ARITHIGNORE",
                                          u"CURSOR_CLOSE_ON_COMMIT",
                                          u"NUMERIC_ROUNDABORT",
                                          u"CONCAT_NULL_YIELDS_NULL"};
  std::vector<Name> options;
  do {
    const bool known = std::any_of(std::begin(kOptions), std::end(kOptions),
                                   [&](TextView option) { return IsWord(option); });
    if (!known) Fail();
    options.push_back(ExpectName());
  } while (Accept(Symbol::Comma));
  statement->columns = arena_.Copy(options);
  statement->on = Accept(Keyword::On);
  if (!statement->on && !AcceptWord(u"OFF")) Fail();
  return statement;
}

}  // namespace ledgerwick::tsql
