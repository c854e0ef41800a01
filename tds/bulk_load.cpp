#include "tds/bulk_load.h"

#include <utility>

#include "tds/server_error.h"
#include "tsql/base/arena.h"
#include "tsql/syntax/lexer.h"

namespace ledgerwick::tds {
namespace {

using tsql::Keyword;
using tsql::Symbol;
using tsql::Token;

constexpr std::uint8_t kColumnsToken = 0x81;
constexpr std::uint8_t kRowToken = 0xD1;
constexpr std::uint8_t kDoneToken = 0xFD;

Text Number(std::size_t number) {
  const std::string digits = std::to_string(number);
  return Text(digits.begin(), digits.end());
}

// Goes through the tokens of an INSERT BULK, the last of which is the text's end.
class Statement {
 public:
  explicit Statement(std::span<const Token> tokens) : tokens_(tokens) {}

  const Token& current() const { return tokens_[std::min(at_, tokens_.size() - 1)]; }
  void Advance() { ++at_; }
  bool Accept(Symbol symbol) {
    const bool is = current().symbol == symbol;
    if (is) Advance();
    return is;
  }
  void Require(Symbol symbol) {
    if (!Accept(symbol)) Fail();
  }
  const Token& Name() {
    const Token& name = current();
    if (name.kind == tsql::TokenKind::End || name.symbol != Symbol::None) Fail();
    Advance();
    return name;
  }
  [[noreturn]] void Fail() const {
    throw ServerError(102, 15, u"Incorrect syntax near '" + Text(current().text) + u"'.");
  }

  // What stands up to the comma or the parenthesis that ends a column.
  void SkipType() {
    for (int depth = 0;; Advance()) {
      const Token& token = current();
      if (token.kind == tsql::TokenKind::End) Fail();
      if (depth == 0 && (token.symbol == Symbol::Comma || token.symbol == Symbol::RightParen)) {
        return;
      }
      if (token.symbol == Symbol::LeftParen) ++depth;
      if (token.symbol == Symbol::RightParen) --depth;
    }
  }

 private:
  std::span<const Token> tokens_;
  std::size_t at_ = 0;
};

bool BeginsInsertBulk(std::span<const Token> tokens) {
  return tokens.size() > 2 && tokens[0].keyword == Keyword::Insert &&
         EqualText(tokens[1].text, u"BULK");
}

// Throws for a value with more bytes than its type tells.
void CheckLength(const std::optional<std::string>& bytes, const ClientType& type,
                 std::size_t column) {
  if (!bytes || type.in_parts || IsOldLong(type) || bytes->size() <= type.length) return;
  if (!IsMeasured(type)) return;
  throw ServerError(
      4815, 16,
      u"Received an invalid column length from the bcp client for colid " + Number(column) + u".");
}

}  // namespace

bool IsInsertBulk(TextView batch) {
  constexpr std::size_t kBeginning = 200;
  // A cheap look before the text is taken apart.
  const Text beginning = FoldText(batch.substr(0, kBeginning));
  if (beginning.find(FoldText(u"BULK")) == TextView::npos) return false;
  tsql::Arena arena;
  try {
    return BeginsInsertBulk(tsql::Tokenize(batch, arena));
  } catch (const tsql::SqlError&) {
    return false;  // whoever runs it finds the same
  }
}

BulkTarget ParseInsertBulk(TextView batch) {
  tsql::Arena arena;
  const auto tokens = tsql::Tokenize(batch, arena);
  Statement statement(tokens);
  statement.Advance();
  statement.Advance();
  BulkTarget target;
  const std::size_t begin = statement.current().offset;
  std::size_t end = begin;
  while (statement.current().symbol != Symbol::LeftParen) {
    const Token& part = statement.current();
    if (part.symbol != Symbol::Dot)
      statement.Name();
    else
      statement.Advance();
    end = part.offset + part.length;
  }
  if (end == begin) statement.Fail();
  target.table = batch.substr(begin, end - begin);
  statement.Require(Symbol::LeftParen);
  do {
    target.columns.emplace_back(statement.Name().text);
    statement.SkipType();
  } while (statement.Accept(Symbol::Comma));
  statement.Require(Symbol::RightParen);
  return target;
}

std::vector<BulkColumn> ReadBulkColumns(ByteReader& reader, Version version) {
  if (reader.U8() != kColumnsToken) throw ProtocolError("a bulk load does not begin with columns");
  constexpr std::uint16_t kMostColumns = 1024;
  const std::uint16_t count = reader.U16();
  if (count > kMostColumns) throw ProtocolError("a bulk load has too many columns");
  std::vector<BulkColumn> columns(count);
  for (BulkColumn& column : columns) {
    reader.Take(version >= Version::V72 ? 4 : 2);  // the type's own name, of which there are none
    reader.U16();                                  // what the client knows of the column
    column.type = ReadClientType(reader);
    if (IsOldLong(column.type)) {
      std::uint8_t parts = version >= Version::V72 ? reader.U8() : std::uint8_t{1};
      while (parts-- > 0) reader.LongText();
    }
    column.name = reader.ShortText();
  }
  return columns;
}

bool ReadBulkRow(ByteReader& reader, const std::vector<BulkColumn>& columns,
                 std::vector<Value>& values) {
  // Some clients end with the last row.
  if (reader.IsOver()) return false;
  const std::uint8_t token = reader.U8();
  if (token == kDoneToken) return false;
  if (token != kRowToken) throw ProtocolError("a bulk load has something else among its rows");
  values.clear();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const ClientType& type = columns[i].type;
    std::optional<std::string> bytes;
    if (!IsOldLong(type)) {
      bytes = ReadClientBytes(reader, type);
    } else if (const std::uint8_t pointer = reader.U8(); pointer != 0) {
      constexpr std::size_t kTimestamp = 8;
      reader.Take(pointer + kTimestamp);
      bytes = ReadClientBytes(reader, type);
    }
    CheckLength(bytes, type, i + 1);
    values.push_back(LoadableValue(type, bytes));
  }
  return true;
}

}  // namespace ledgerwick::tds
