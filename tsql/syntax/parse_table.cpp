// The grammar of tables: columns and constraints, as CREATE TABLE and ALTER TABLE have them.
#include <algorithm>
#include <optional>

#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {

// The constraints that have been read so far.
struct Parser::Rules {
  std::vector<TableKey> keys;
  std::vector<CheckRule> checks;
  std::vector<ReferenceRule> references;
  std::vector<DefaultRule> defaults;
};

TableRules Parser::Copy(const Rules& rules) {
  return {arena_.Copy(rules.keys), arena_.Copy(rules.checks), arena_.Copy(rules.references),
          arena_.Copy(rules.defaults)};
}

// What is written from `offset` up to the current token.
TextView Parser::TextFrom(std::uint32_t offset) const noexcept {
  const Token& last = tokens_[at_ - 1];
  return batch_.substr(offset, last.offset + last.length - offset);
}

Statement* Parser::CreateTable() {
  constexpr TextView kStatement = u"CREATE TABLE";
  auto* statement = NewStatement<CreateTableStatement>();
  Expect(Keyword::Create);
  Expect(Keyword::Table);
  statement->target = ObjectNameRule();
  Expect(Symbol::LeftParen);
  std::vector<ColumnDefinition> definitions;
  Rules rules;
  do {
    if (Is(Symbol::RightParen) && !definitions.empty()) break;  // a comma may end the list
    if (AtTableRule()) {
      TableRule(kStatement, rules);
    } else {
      definitions.push_back(Definition(kStatement, rules));
      // What belongs to the table may follow a column without a comma.
      while (AtTableRule()) TableRule(kStatement, rules);
    }
  } while (Accept(Symbol::Comma));
  Expect(Symbol::RightParen);
  StorageOptions();
  statement->definitions = arena_.Copy(definitions);
  statement->rules = Copy(rules);
  return statement;
}

Statement* Parser::Alter() { return AtProcedure() ? Procedure(true) : AlterTable(); }

Statement* Parser::AlterTable() {
  auto* statement = NewStatement<AlterTableStatement>();
  Expect(Keyword::Alter);
  Expect(Keyword::Table);
  statement->target = ObjectNameRule();
  const bool written = Accept(Keyword::With);
  const bool looks = written && Accept(Keyword::Check);
  if (written && !looks && !AcceptWord(u"NOCHECK")) Fail();
  if (Is(Keyword::Check) || IsWord(u"NOCHECK")) {
    statement->looks = looks;  // who only switches a constraint on does not look, unless told to
    SwitchConstraints(*statement);
  } else if (Is(Keyword::Add)) {
    statement->looks = looks || !written;
    AlterAdd(*statement);
  } else if (written) {
    Fail();
  } else if (Accept(Keyword::Drop)) {
    AlterDrop(*statement);
  } else {
    AlterColumn(*statement);
  }
  return statement;
}

void Parser::AlterAdd(AlterTableStatement& statement) {
  constexpr TextView kStatement = u"ALTER TABLE";
  Expect(Keyword::Add);
  std::vector<ColumnDefinition> definitions;
  Rules rules;
  do {
    if (AtTableRule()) {
      TableRule(kStatement, rules);
    } else {
      definitions.push_back(Definition(kStatement, rules));
    }
  } while (Accept(Symbol::Comma));
  statement.definitions = arena_.Copy(definitions);
  statement.rules = Copy(rules);
}

// DROP [CONSTRAINT] name, … and DROP COLUMN name, …; the word holds until another one stands there.
void Parser::AlterDrop(AlterTableStatement& statement) {
  statement.what = AlterKind::Drop;
  std::vector<DroppedPart> drops;
  DroppedPart part;
  do {
    if (Accept(Keyword::Constraint)) part.is_column = part.if_exists = false;
    if (AcceptWord(u"COLUMN")) part = {{}, true, false};
    if (Accept(Keyword::If)) {
      Expect(Keyword::Exists);
      part.if_exists = true;
    }
    part.name = ExpectName();
    drops.push_back(part);
  } while (Accept(Symbol::Comma));
  statement.drops = arena_.Copy(drops);
}

void Parser::AlterColumn(AlterTableStatement& statement) {
  statement.what = AlterKind::Column;
  Expect(Keyword::Alter);
  if (!AcceptWord(u"COLUMN")) Fail();
  ColumnDefinition definition;
  definition.name = ExpectName();
  definition.type = TypeRule();
  definition.type.nullable = true;
  while (ColumnProperty(definition)) {
  }
  if (definition.is_identity || definition.is_row_guid) Fail();
  statement.definitions = arena_.Copy(std::span<const ColumnDefinition>(&definition, 1));
}

void Parser::SwitchConstraints(AlterTableStatement& statement) {
  statement.what = AlterKind::Switch;
  statement.on = Accept(Keyword::Check);
  if (!statement.on) Advance();
  Expect(Keyword::Constraint);
  if (Accept(Keyword::All)) return;
  std::vector<Name> names;
  do {
    names.push_back(ExpectName());
  } while (Accept(Symbol::Comma));
  statement.switched = arena_.Copy(names);
}

ColumnDefinition Parser::Definition(TextView statement, Rules& rules) {
  ColumnDefinition definition;
  definition.name = ExpectName();
  if (Accept(Keyword::As)) {
    Computed(definition, statement);
  } else {
    definition.type = TypeRule();
    definition.type.nullable = true;
  }
  while (ColumnProperty(definition) || ColumnRule(definition, statement, rules)) {
  }
  return definition;
}

void Parser::Computed(ColumnDefinition& definition, TextView statement) {
  const std::size_t uses_before = variable_uses_.size();
  const std::uint32_t offset = Current().offset;
  definition.computed = Value();
  definition.computed_text = TextFrom(offset);
  definition.persisted = AcceptWord(u"PERSISTED");
  RequireNoVariables(uses_before, statement);
}

// What a column is, beside its type; false where none follows.
bool Parser::ColumnProperty(ColumnDefinition& definition) {
  if (Is(Keyword::Not) && Ahead(1).keyword == Keyword::Null) {
    Advance();
    Advance();
    definition.type.nullable = false;
    definition.not_null_written = true;
  } else if (Accept(Keyword::Null)) {
    definition.type.nullable = true;
    definition.null_written = true;
  } else if (AcceptWord(u"IDENTITY")) {
    Identity(definition);
  } else if (AcceptWord(u"ROWGUIDCOL")) {
    definition.is_row_guid = true;
  } else if (IsWord(u"COLLATE")) {
    Collation();
  } else {
    return false;
  }
  return true;
}

// A constraint of a column; false where none follows.
bool Parser::ColumnRule(ColumnDefinition& definition, TextView statement, Rules& rules) {
  const std::size_t start = at_;
  Name name;
  if (Accept(Keyword::Constraint)) name = ExpectName();
  if (Accept(Keyword::Default)) {
    DefaultOf(name, definition.name, statement, rules);
  } else if (Is(Keyword::Primary) || Is(Keyword::Unique)) {
    KeyRule(name, &definition.name, rules);
  } else if (Accept(Keyword::Check)) {
    CheckOf(name, definition.name, statement, rules);
  } else if (Is(Keyword::References) ||
             (Is(Keyword::Foreign) && Ahead(2).keyword == Keyword::References)) {
    if (Accept(Keyword::Foreign)) Expect(Keyword::Key);
    ReferenceOf(name, arena_.Copy(std::span<const Name>(&definition.name, 1)), rules);
  } else {
    at_ = start;  // of the table
    return false;
  }
  return true;
}

void Parser::Identity(ColumnDefinition& definition) {
  definition.is_identity = true;
  if (Accept(Symbol::LeftParen)) {
    definition.seed = SignedInteger();
    Expect(Symbol::Comma);
    definition.step = SignedInteger();
    Expect(Symbol::RightParen);
  }
  NotForReplication();
}

// Nobody replicates.
void Parser::NotForReplication() {
  if (!Is(Keyword::Not) || !EqualText(Ahead(1).text, u"FOR")) return;
  Advance();
  Advance();
  if (!AcceptWord(u"REPLICATION")) Fail();
}

std::int64_t Parser::SignedInteger() {
  const bool negative = Accept(Symbol::Minus);
  if (!negative) Accept(Symbol::Plus);
  const std::int64_t number = ExpectInteger();
  return negative ? -number : number;
}

// All texts of a database compare by one collation, which takes the part of those that compare as
// it does.
void Parser::Collation() {
  constexpr TextView kSame = u"_CI_AS";
  Advance();
  const Name name = ExpectName();
  const bool same = name.text.size() > kSame.size() &&
                    EqualText(name.text.substr(name.text.size() - kSame.size()), kSame);
  if (same || EqualText(name.text, u"database_default")) return;
  throw errors::CollationUnknown(name.text, At(name.offset));
}

bool Parser::AtTableRule() const noexcept {
  return Is(Keyword::Constraint) || Is(Keyword::Primary) || Is(Keyword::Unique) ||
         Is(Keyword::Foreign) || Is(Keyword::Check) || Is(Keyword::Default);
}

void Parser::TableRule(TextView statement, Rules& rules) {
  Name name;
  if (Accept(Keyword::Constraint)) name = ExpectName();
  if (Accept(Keyword::Check)) {
    CheckOf(name, {}, statement, rules);
  } else if (Accept(Keyword::Foreign)) {
    Expect(Keyword::Key);
    ReferenceOf(name, NameList(), rules);
  } else if (statement == u"ALTER TABLE" && Accept(Keyword::Default)) {
    DefaultOf(name, {}, statement, rules);
    if (!AcceptWord(u"FOR")) Fail();
    rules.defaults.back().column = ExpectName();
  } else {
    KeyRule(name, nullptr, rules);
  }
}

void Parser::KeyRule(Name name, const Name* column, Rules& rules) {
  TableKey key;
  key.name = name;
  key.primary = Accept(Keyword::Primary);
  Expect(key.primary ? Keyword::Key : Keyword::Unique);
  if (!Accept(Keyword::Clustered)) Accept(Keyword::Nonclustered);
  if (column == nullptr || Is(Symbol::LeftParen)) {
    key.columns = KeyColumns();
  } else {
    const KeyColumn own{*column};
    key.columns = arena_.Copy(std::span<const KeyColumn>(&own, 1));
  }
  StorageOptions();
  rules.keys.push_back(key);
}

void Parser::CheckOf(Name name, Name column, TextView statement, Rules& rules) {
  NotForReplication();
  const std::uint32_t offset = Current().offset;
  const std::size_t uses_before = variable_uses_.size();
  Expect(Symbol::LeftParen);
  const Expr* condition = Condition();
  Expect(Symbol::RightParen);
  RequireNoVariables(uses_before, statement);
  rules.checks.push_back({name, column, condition, TextFrom(offset)});
}

void Parser::ReferenceOf(Name name, std::span<const Name> columns, Rules& rules) {
  ReferenceRule rule;
  rule.name = name;
  rule.columns = columns;
  Expect(Keyword::References);
  rule.table = ObjectNameRule();
  if (Is(Symbol::LeftParen)) rule.referenced = NameList();
  while (Is(Keyword::On) &&
         (Ahead(1).keyword == Keyword::Delete || Ahead(1).keyword == Keyword::Update)) {
    Advance();
    ReferenceAction& action = Is(Keyword::Delete) ? rule.on_delete : rule.on_update;
    Advance();
    if (AcceptWord(u"NO")) {
      if (!AcceptWord(u"ACTION")) Fail();
      action = ReferenceAction::NoAction;
    } else if (AcceptWord(u"CASCADE")) {
      action = ReferenceAction::Cascade;
    } else {
      Expect(Keyword::Set);
      action = Accept(Keyword::Null) ? ReferenceAction::SetNull : ReferenceAction::SetDefault;
      if (action == ReferenceAction::SetDefault) Expect(Keyword::Default);
    }
  }
  NotForReplication();
  rules.references.push_back(rule);
}

void Parser::DefaultOf(Name name, Name column, TextView statement, Rules& rules) {
  const std::size_t uses_before = variable_uses_.size();
  const std::uint32_t offset = Current().offset;
  const Expr* value = Value();
  RequireNoVariables(uses_before, statement);
  rules.defaults.push_back({name, column, value, TextFrom(offset)});
  if (Is(Keyword::With) && Ahead(1).keyword == Keyword::Values) {
    Advance();
    Advance();
    rules.defaults.back().with_values = true;
  }
}

std::span<const KeyColumn> Parser::KeyColumns() {
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

// WITH (…) and ON filegroup, behind a table, a key and an index: where and how rows are kept is
// the storage's own affair.
void Parser::StorageOptions() {
  for (;;) {
    if (Is(Keyword::With) && Ahead(1).symbol == Symbol::LeftParen) {
      Advance();
      do {
        Advance();
        IndexOption();
      } while (Is(Symbol::Comma));
      Expect(Symbol::RightParen);
    } else if (Is(Keyword::With) && Ahead(2).symbol == Symbol::Equal) {
      do {
        Advance();
        IndexOption();
      } while (Is(Symbol::Comma) && Ahead(2).symbol == Symbol::Equal);
    } else if ((Is(Keyword::On) &&
                (Ahead(1).kind != TokenKind::Keyword || Ahead(1).keyword == Keyword::Primary)) ||
               IsWord(u"TEXTIMAGE_ON") || IsWord(u"FILESTREAM_ON")) {
      Advance();
      if (!Accept(Keyword::Primary)) ExpectName();
      if (Is(Symbol::LeftParen)) NameList();
    } else {
      return;
    }
  }
}

void Parser::IndexOption() {
  static constexpr TextView kOptions[] = {
      u"PAD_INDEX",        u"FILLFACTOR",      u"SORT_IN_TEMPDB",
      u"ONLINE",           u"ALLOW_ROW_LOCKS", u"ALLOW_PAGE_LOCKS",
      u"IGNORE_DUP_KEY",   u"DROP_EXISTING",   u"STATISTICS_NORECOMPUTE",
      u"DATA_COMPRESSION", u"MAXDOP",          u"OPTIMIZE_FOR_SEQUENTIAL_KEY"};
  const Name name = ExpectName();
  const bool known = std::any_of(std::begin(kOptions), std::end(kOptions),
                                 [&](TextView option) { return EqualText(option, name.text); });
  if (!known) throw errors::IndexOptionUnknown(name.text, At(name.offset));
  Expect(Symbol::Equal);
  const bool on = Accept(Keyword::On);
  Text option(name.text);
  if (on && (EqualText(option, u"IGNORE_DUP_KEY") || EqualText(option, u"DROP_EXISTING"))) {
    throw errors::NotSupported(option + u" = ON", At(name.offset));
  }
  if (!on) Advance();
}

// SET IDENTITY_INSERT table ON.
Statement* Parser::IdentityInsert() {
  auto* statement = NewStatement<IdentityInsertStatement>();
  Advance();
  Advance();
  statement->target = ObjectNameRule();
  statement->on = Accept(Keyword::On);
  if (!statement->on && !AcceptWord(u"OFF")) Fail();
  return statement;
}

// DBCC CHECKIDENT (table [, NORESEED | RESEED [, value]]).
Statement* Parser::Dbcc() {
  auto* statement = NewStatement<CheckIdentityStatement>();
  Advance();
  if (!IsWord(u"CHECKIDENT")) {
    throw errors::NotSupported(Text(u"DBCC ") + Text(Current().text), At(Current().offset));
  }
  Advance();
  Expect(Symbol::LeftParen);
  if (Current().kind == TokenKind::String || Current().kind == TokenKind::NationalString) {
    const std::optional<ObjectName> name = ParseObjectName(Current().text, arena_);
    if (!name) Fail();
    statement->target = *name;
    statement->target.object.offset = Current().offset;
    Advance();
  } else {
    statement->target = ObjectNameRule();
  }
  if (Accept(Symbol::Comma)) {
    statement->reseeds = AcceptWord(u"RESEED");
    if (!statement->reseeds && !AcceptWord(u"NORESEED")) Fail();
    if (statement->reseeds && Accept(Symbol::Comma)) statement->value = Value();
  }
  Expect(Symbol::RightParen);
  if (Is(Keyword::With) && EqualText(Ahead(1).text, u"NO_INFOMSGS")) {
    Advance();
    Advance();
    statement->silent = true;
  }
  return statement;
}

}  // namespace ledgerwick::tsql
