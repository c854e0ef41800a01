// T-SQL text to tokens.
#pragma once

#include <cstdint>
#include <memory_resource>
#include <vector>

#include "frame/text.h"
#include "tsql/base/arena.h"
#include "tsql/base/errors.h"

namespace ledgerwick::tsql {

enum class TokenKind : std::uint8_t {
  End,
  Identifier,        // bare
  QuotedIdentifier,  // [name] or "name"; the text is the name
  Keyword,           // a reserved word; see Token::keyword
  String,            // 'text'; the text has its quotes undoubled
  NationalString,    // N'text'
  Integer,
  Decimal,   // 1.5
  Float,     // 1e5
  Binary,    // 0xFF; the text is the digits behind the x
  Variable,  // @name or @@name
  Symbol,    // an operator or a punctuation mark; see Token::symbol
};

// The reserved words that the grammar knows, in alphabetical order.
// clang-format off
enum class Keyword : std::uint8_t {
  None, Add, All, Alter, And, Any, As, Asc, Begin, Between, Break, By, Case, Check, Clustered,
  Coalesce, Commit, Constraint, Continue, Convert, Create, Cross, Database, Declare, Default, Delete, Desc, Distinct,
  Drop, Else, End, Escape, Except, Exec, Execute, Exists, Foreign, From, Full, Function, Go, Group,
  Having, Holdlock, If, In, Index, Inner, Insert, Intersect, Into, Is, Join, Key, Left, Like,
  Nonclustered, Not, Null, Nullif, Of, On, Or, Order, Outer, Percent, Primary, Print, Proc,
  Procedure, Raiserror, References, Return, Right, Rollback, Save, Select, Set, Table, Then, Top, Tran, Transaction,
  Truncate, Union, Unique, Update, Use, Values, View, When, Where, While, With,
};
// clang-format on

// Operators and punctuation; one character stands for itself, the others for two characters.
enum class Symbol : std::uint8_t {
  None,
  LeftParen,
  RightParen,
  Comma,
  Dot,
  Semicolon,
  Star,
  Slash,
  Percent,
  Plus,
  Minus,
  Equal,
  Less,
  Greater,
  LessEqual,
  GreaterEqual,
  NotEqual,
  Ampersand,
  Bar,
  Caret,
  Tilde,
};

struct Token {
  TokenKind kind = TokenKind::End;
  Keyword keyword = Keyword::None;
  Symbol symbol = Symbol::None;
  std::uint32_t offset = 0;  // in the batch
  std::uint32_t length = 0;  // as written
  TextView text;             // without quotes and brackets
};

// The tokens of `batch`, the last of them End. Their texts point into `batch` or `arena`. Throws
// SqlError 105 for a quotation mark and 113 for a comment without end, 102 for a character that no
// token begins with. Charged to the batch that runs.
std::pmr::vector<Token> Tokenize(TextView batch, Arena& arena);

// The line and column of `offset` in `batch`.
Position PositionOf(TextView batch, std::size_t offset) noexcept;

}  // namespace ledgerwick::tsql
