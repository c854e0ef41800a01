// The grammar of statements that change the schema, and of types.
#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {
namespace {

struct TypeWord {
  TextView word;
  TypeKind kind;
};

constexpr TypeWord kTypes[] = {
    {u"int", TypeKind::Int},
    {u"integer", TypeKind::Int},
    {u"varchar", TypeKind::VarChar},
    {u"nvarchar", TypeKind::NVarChar},
    {u"char", TypeKind::Char},
    {u"nchar", TypeKind::NChar},
    {u"float", TypeKind::Float},
    {u"real", TypeKind::Real},
    {u"datetime", TypeKind::DateTime},
    {u"smalldatetime", TypeKind::SmallDateTime},
    {u"bit", TypeKind::Bit},
    {u"tinyint", TypeKind::TinyInt},
    {u"smallint", TypeKind::SmallInt},
    {u"bigint", TypeKind::BigInt},
    {u"decimal", TypeKind::Decimal},
    {u"numeric", TypeKind::Decimal},
    {u"money", TypeKind::Money},
    {u"smallmoney", TypeKind::SmallMoney},
    {u"text", TypeKind::VarChar},
    {u"ntext", TypeKind::NVarChar},
    {u"sysname", TypeKind::NVarChar},
    {u"binary", TypeKind::Binary},
    {u"date", TypeKind::Date},
    {u"varbinary", TypeKind::VarBinary},
    {u"time", TypeKind::Time},
    {u"image", TypeKind::VarBinary},
    {u"datetime2", TypeKind::DateTime2},
    {u"rowversion", TypeKind::RowVersion},
    {u"timestamp", TypeKind::RowVersion},
    {u"uniqueidentifier", TypeKind::UniqueIdentifier},
};

// Types whose length is not written.
struct LengthOfName {
  TextView word;
  std::int32_t length;
};
constexpr LengthOfName kLengths[] = {{u"text", kMaxLength},
                                     {u"ntext", kMaxLength},
                                     {u"image", kMaxLength},
                                     {u"sysname", kLongestName}};

}  // namespace

// At CREATE PROCEDURE and the like.
bool Parser::AtProcedure() const noexcept {
  return Ahead(1).keyword == Keyword::Procedure || Ahead(1).keyword == Keyword::Proc;
}

Statement* Parser::Create() {
  const Keyword what = Ahead(1).keyword;
  if (what == Keyword::Table) return CreateTable();
  if (what == Keyword::View) return CreateView();
  if (AtProcedure()) return Procedure(false);
  Advance();
  const bool unique = Accept(Keyword::Unique);
  if (!Accept(Keyword::Clustered)) Accept(Keyword::Nonclustered);
  return CreateIndex(unique);
}

Statement* Parser::CreateIndex(bool unique) {
  auto* statement = NewStatement<CreateIndexStatement>();
  Expect(Keyword::Index);
  statement->unique = unique;
  statement->index = ExpectName();
  Expect(Keyword::On);
  statement->target = ObjectNameRule();
  statement->key_columns = KeyColumns();
  if (AcceptWord(u"INCLUDE")) statement->included = NameList();
  if (unique && Is(Keyword::Where)) {
    throw errors::NotSupported(u"CREATE UNIQUE INDEX … WHERE", At(Current().offset));
  }
  // An index of all rows finds those of some, too.
  if (Accept(Keyword::Where)) static_cast<void>(Condition());
  StorageOptions();
  return statement;
}

Statement* Parser::CreateView() {
  auto* statement = NewStatement<CreateViewStatement>();
  const std::uint32_t offset = Current().offset;
  Advance();
  Expect(Keyword::View);
  statement->target = ObjectNameRule();
  if (Is(Symbol::LeftParen)) statement->columns = NameList();
  Expect(Keyword::As);
  const std::size_t uses_before = variable_uses_.size();
  statement->query = ParseQuery();
  RequireNoVariables(uses_before, u"CREATE VIEW");
  const Token& last = tokens_[at_ - 1];
  statement->text = batch_.substr(offset, last.offset + last.length - offset);
  return statement;
}

// What outlives the batch must not read its variables.
void Parser::RequireNoVariables(std::size_t uses_before, TextView statement) const {
  if (variable_uses_.size() == uses_before) return;
  throw errors::VariableNotAllowed(statement, At(variable_uses_[uses_before]->offset));
}

Type Parser::TypeRule() {
  const Name name = ExpectName();
  Type type;
  for (const TypeWord& known : kTypes) {
    if (EqualText(name.text, known.word)) type.kind = known.kind;
  }
  if (type.kind == TypeKind::Null) throw errors::UnknownType(name.text, At(name.offset));
  if (IsMoney(type.kind)) type.scale = kMoneyScale;
  if (type.kind == TypeKind::Decimal) type.precision = kUsualDigits;
  const bool has_fraction = type.kind == TypeKind::Time || type.kind == TypeKind::DateTime2;
  if (has_fraction) type.scale = kMostFractionDigits;
  // Without a length a column holds 1 character; a conversion's 30 is set where it is read.
  for (const LengthOfName& known : kLengths) {
    if (!EqualText(name.text, known.word)) continue;
    type.length = known.length;
    return type;
  }
  if (!Accept(Symbol::LeftParen)) return type;
  if (IsText(type.kind) || IsBinary(type.kind)) {
    const bool varies = type.kind == TypeKind::VarChar || type.kind == TypeKind::NVarChar ||
                        type.kind == TypeKind::VarBinary;
    if (varies && AcceptWord(u"max")) {
      type.length = kMaxLength;
    } else {
      const std::int64_t length = ExpectInteger();
      const std::int64_t longest = LongestOf(type.kind);
      if (length < 1 || length > longest)
        throw errors::TypeLength(name.text, length, longest, At(name.offset));
      type.length = static_cast<std::int32_t>(length);
    }
  } else if (type.kind == TypeKind::Decimal) {
    const std::int64_t precision = ExpectInteger();
    const std::int64_t scale = Accept(Symbol::Comma) ? ExpectInteger() : 0;
    if (precision < 1 || precision > kMostDigits || scale > precision) Fail();
    type.precision = static_cast<std::uint8_t>(precision);
    type.scale = static_cast<std::uint8_t>(scale);
  } else if (has_fraction) {
    const std::int64_t scale = ExpectInteger();
    if (scale > kMostFractionDigits) throw errors::ScaleTooLarge(scale, At(name.offset));
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
  DropKind kind;
  if (Accept(Keyword::Table)) {
    kind = DropKind::Table;
  } else if (Accept(Keyword::View)) {
    kind = DropKind::View;
  } else if (Accept(Keyword::Index)) {
    kind = DropKind::Index;
  } else if (Accept(Keyword::Procedure) || Accept(Keyword::Proc)) {
    kind = DropKind::Procedure;
  } else {
    Fail();
  }
  auto* statement = NewStatement<DropStatement>();
  statement->what = kind;
  if (Accept(Keyword::If)) {
    Expect(Keyword::Exists);
    statement->if_exists = true;
  }
  std::vector<ObjectName> targets;
  do {
    targets.push_back(ObjectNameRule());
    if (kind == DropKind::Index && Accept(Keyword::On)) {
      // DROP INDEX name ON table, the newer spelling of DROP INDEX table.name
      const Name index = targets.back().object;
      targets.back() = ObjectNameRule();
      targets.back() = ObjectName{targets.back().database, targets.back().object, index};
    }
  } while (Accept(Symbol::Comma));
  statement->targets = arena_.Copy(targets);
  return statement;
}

}  // namespace ledgerwick::tsql
