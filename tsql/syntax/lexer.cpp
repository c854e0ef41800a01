#include "tsql/syntax/lexer.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace ledgerwick::tsql {
namespace {

// In the order of the enumeration, which is alphabetical.
constexpr std::array<std::string_view, 94> kKeywords = {
    "",         "add",       "all",          "alter",     "and",         "any",
    "as",       "asc",       "begin",        "between",   "break",       "by",
    "case",     "check",     "clustered",    "coalesce",  "commit",      "constraint",
    "continue", "convert",   "create",       "cross",     "database",    "declare",
    "default",  "delete",    "desc",         "distinct",  "drop",        "else",
    "end",      "escape",    "except",       "exec",      "execute",     "exists",
    "foreign",  "from",      "full",         "function",  "go",          "group",
    "having",   "holdlock",  "if",           "in",        "index",       "inner",
    "insert",   "intersect", "into",         "is",        "join",        "key",
    "left",     "like",      "nonclustered", "not",       "null",        "nullif",
    "of",       "on",        "or",           "order",     "outer",       "percent",
    "primary",  "print",     "proc",         "procedure", "raiserror",   "references",
    "return",   "right",     "rollback",     "save",      "select",      "set",
    "table",    "then",      "top",          "tran",      "transaction", "truncate",
    "union",    "unique",    "update",       "use",       "values",      "view",
    "when",     "where",     "while",        "with"};
constexpr std::size_t kLongestKeyword = 12;
static_assert(static_cast<std::size_t>(Keyword::With) + 1 == kKeywords.size());
static_assert(std::is_sorted(kKeywords.begin(), kKeywords.end()));

// The keywords that begin with a letter and are of one length, as a list: where it begins, and
// which keyword comes after each; 0 ends it.
struct KeywordLists {
  std::array<std::array<std::uint8_t, kLongestKeyword + 1>, 26> first{};
  std::array<std::uint8_t, kKeywords.size()> next{};
};
constexpr KeywordLists kLists = [] {
  KeywordLists lists;
  for (std::size_t i = kKeywords.size() - 1; i > 0; --i) {
    const auto letter = static_cast<std::size_t>(kKeywords[i].front() - 'a');
    std::uint8_t& first = lists.first[letter][kKeywords[i].size()];
    lists.next[i] = first;
    first = static_cast<std::uint8_t>(i);
  }
  return lists;
}();

// The lower case of a letter; what is none becomes none.
constexpr char16_t Lower(char16_t c) noexcept { return c | 0x20; }

Keyword FindKeyword(TextView word) noexcept {
  const auto letter = static_cast<std::size_t>(Lower(word.front()) - u'a');
  if (word.size() > kLongestKeyword || letter >= 26) return Keyword::None;
  for (std::size_t i = kLists.first[letter][word.size()]; i != 0; i = kLists.next[i]) {
    const bool same = std::equal(word.begin(), word.end(), kKeywords[i].begin(),
                                 [](char16_t a, char b) { return Lower(a) == char16_t(b); });
    if (same) return static_cast<Keyword>(i);
  }
  return Keyword::None;
}

constexpr bool IsDigit(char16_t c) noexcept { return c >= u'0' && c <= u'9'; }
constexpr bool IsHexDigit(char16_t c) noexcept {
  return IsDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

// Letters of any script may stand in a name without brackets; punctuation and blanks of any width
// may not.
constexpr bool IsLetter(char16_t c) noexcept {
  if (c < 0x80) return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
  if (c < 0xC0) return c == 0xAA || c == 0xB5 || c == 0xBA;
  if (c >= 0x2000 && c <= 0x206F) return false;
  if (c >= 0x3000 && c <= 0x3020) return c >= 0x3005 && c <= 0x3007;
  if (c >= 0xFF00 && c <= 0xFF65) {
    return (c >= 0xFF21 && c <= 0xFF3A) || (c >= 0xFF41 && c <= 0xFF5A) ||
           (c >= 0xFF10 && c <= 0xFF19) || c == 0xFF3F;
  }
  return c != 0xD7 && c != 0xF7 && c != 0xFEFF;
}

// What begins with a character.
enum class Start : std::uint8_t { Other, Space, Name, Number, Quote, Variable };

constexpr Start StartBeyondAscii(char16_t c) noexcept {
  return c == 0xA0 ? Start::Space : IsLetter(c) ? Start::Name : Start::Other;
}

// What the lexer asks of most characters, of ASCII.
struct CharacterFacts {
  Start start = Start::Other;
  bool name_part = false;
};
constexpr std::array<CharacterFacts, 0x80> kAscii = [] {
  std::array<CharacterFacts, 0x80> facts{};
  for (char16_t c = 0; c < 0x80; ++c) {
    const bool space = c == u' ' || (c >= u'\t' && c <= u'\r');
    facts[c].start = space                                  ? Start::Space
                     : IsLetter(c) || c == u'#'             ? Start::Name
                     : IsDigit(c) || c == u'.'              ? Start::Number
                     : c == u'\'' || c == u'"' || c == u'[' ? Start::Quote
                     : c == u'@'                            ? Start::Variable
                                                            : Start::Other;
    facts[c].name_part = IsLetter(c) || IsDigit(c) || c == u'@' || c == u'#' || c == u'$';
  }
  return facts;
}();

constexpr Start StartOf(char16_t c) noexcept {
  return c < 0x80 ? kAscii[c].start : StartBeyondAscii(c);
}
constexpr bool IsNamePart(char16_t c) noexcept {
  return c < 0x80 ? kAscii[c].name_part : IsLetter(c);
}

class Lexer {
 public:
  Lexer(TextView batch, Arena& arena) : batch_(batch), arena_(arena) {
    constexpr std::size_t kUsualLength = 3;  // with the blanks around it
    tokens_.reserve(batch.size() / kUsualLength + 8);
  }

  std::pmr::vector<Token> Run() {
    for (;;) {
      Allowance::Check();
      SkipBlanksAndComments();
      // Filled where it stays: copying a token just written stalls the processor.
      Token& token = tokens_.emplace_back();
      Next(token);
      token.length = static_cast<std::uint32_t>(at_) - token.offset;
      if (token.kind == TokenKind::End) return std::move(tokens_);
    }
  }

 private:
  char16_t Peek(std::size_t ahead = 0) const noexcept {
    return at_ + ahead < batch_.size() ? batch_[at_ + ahead] : u'\0';
  }
  Position Here(std::size_t offset) const noexcept { return PositionOf(batch_, offset); }

  void SkipBlanksAndComments() {
    for (;;) {
      while (at_ < batch_.size() && StartOf(batch_[at_]) == Start::Space) ++at_;
      const char16_t c = Peek();
      if (c == u'-' && Peek(1) == u'-') {
        while (at_ < batch_.size() && batch_[at_] != u'\n') ++at_;
      } else if (c == u'/' && Peek(1) == u'*') {
        SkipComment();
      } else {
        return;
      }
    }
  }

  // Comments of the /* */ form nest.
  void SkipComment() {
    const std::size_t start = at_;
    int depth = 0;
    do {
      if (at_ >= batch_.size()) throw errors::MissingEndComment(Here(start));
      if (Peek() == u'/' && Peek(1) == u'*') {
        ++depth;
        at_ += 2;
      } else if (Peek() == u'*' && Peek(1) == u'/') {
        --depth;
        at_ += 2;
      } else {
        ++at_;
      }
    } while (depth > 0);
  }

  void Next(Token& token) {
    token.offset = static_cast<std::uint32_t>(at_);
    if (at_ >= batch_.size()) return;
    const char16_t c = batch_[at_];
    switch (StartOf(c)) {
      case Start::Name:
        if (Lower(c) == u'n' && Peek(1) == u'\'') {
          ++at_;
          ReadString(token, TokenKind::NationalString);
        } else {
          ReadWord(token);
        }
        return;
      case Start::Variable:
        token.kind = TokenKind::Variable;
        token.text = Word();
        return;
      case Start::Number:
        if (c == u'.' && !IsDigit(Peek(1))) return ReadSymbol(token);
        return ReadNumber(token);
      case Start::Quote:
        if (c == u'\'') return ReadString(token, TokenKind::String);
        return ReadQuotedName(token, c == u'[' ? u']' : c);
      case Start::Space:
      case Start::Other:
        return ReadSymbol(token);
    }
  }

  void ReadString(Token& token, TokenKind kind) {
    token.kind = kind;
    token.text = Quoted(u'\'');
  }

  // The storage's texts end at a NUL: the name would be another's.
  void ReadQuotedName(Token& token, char16_t close) {
    token.text = Quoted(close);
    token.kind = TokenKind::QuotedIdentifier;
    if (token.text.find(u'\0') != TextView::npos) {
      throw errors::NameWithNul(token.text, Here(token.offset));
    }
  }

  // The text behind a mark up to `close`, where a doubled `close` stands for one.
  TextView Quoted(char16_t close) {
    const std::size_t start = at_;
    ++at_;
    const std::size_t first = at_;
    bool doubled = false;
    for (;; ++at_) {
      if (at_ >= batch_.size()) {
        throw errors::UnclosedQuote(batch_.substr(first), Here(start));
      }
      if (batch_[at_] != close) continue;
      if (Peek(1) != close) break;
      doubled = true;
      ++at_;
    }
    const TextView raw = batch_.substr(first, at_ - first);
    ++at_;
    return doubled ? Undouble(raw, close) : raw;
  }

  TextView Undouble(TextView raw, char16_t quote) {
    Text text;
    text.reserve(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
      text += raw[i];
      if (raw[i] == quote) ++i;
    }
    return arena_.Copy(text);
  }

  void ReadNumber(Token& token) {
    const std::size_t start = at_;
    token.kind = TokenKind::Integer;
    while (IsDigit(Peek())) ++at_;
    if ((Peek() == u'x' || Peek() == u'X') && batch_.substr(start, at_ - start) == u"0") {
      token.kind = TokenKind::Binary;
      ++at_;
      while (IsHexDigit(Peek())) ++at_;
      token.text = batch_.substr(start + 2, at_ - start - 2);
      return;
    }
    if (Peek() == u'.') {
      token.kind = TokenKind::Decimal;
      ++at_;
      while (IsDigit(Peek())) ++at_;
    }
    if (Peek() == u'e' || Peek() == u'E') {
      const std::size_t sign = Peek(1) == u'+' || Peek(1) == u'-' ? 2 : 1;
      token.kind = TokenKind::Float;
      at_ += IsDigit(Peek(sign)) ? sign : 1;
      while (IsDigit(Peek())) ++at_;
    }
    token.text = batch_.substr(start, at_ - start);
  }

  // The characters of a name, of which the first is one.
  TextView Word() noexcept {
    const std::size_t start = at_;
    std::size_t end = at_ + 1;
    while (end < batch_.size() && IsNamePart(batch_[end])) ++end;
    at_ = end;
    return batch_.substr(start, end - start);
  }

  void ReadWord(Token& token) noexcept {
    token.text = Word();
    token.keyword = FindKeyword(token.text);
    token.kind = token.keyword == Keyword::None ? TokenKind::Identifier : TokenKind::Keyword;
  }

  void ReadSymbol(Token& token) {
    token.kind = TokenKind::Symbol;
    const char16_t c = batch_[at_];
    std::size_t length = 1;
    const auto two = [&](char16_t second, Symbol symbol, Symbol otherwise) {
      if (Peek(1) == second) {
        length = 2;
        return symbol;
      }
      return otherwise;
    };
    switch (c) {
      case u'(':
        token.symbol = Symbol::LeftParen;
        break;
      case u')':
        token.symbol = Symbol::RightParen;
        break;
      case u',':
        token.symbol = Symbol::Comma;
        break;
      case u'.':
        token.symbol = Symbol::Dot;
        break;
      case u';':
        token.symbol = Symbol::Semicolon;
        break;
      case u'*':
        token.symbol = Symbol::Star;
        break;
      case u'/':
        token.symbol = Symbol::Slash;
        break;
      case u'%':
        token.symbol = Symbol::Percent;
        break;
      case u'+':
        token.symbol = Symbol::Plus;
        break;
      case u'-':
        token.symbol = Symbol::Minus;
        break;
      case u'=':
        token.symbol = Symbol::Equal;
        break;
      case u'&':
        token.symbol = Symbol::Ampersand;
        break;
      case u'|':
        token.symbol = Symbol::Bar;
        break;
      case u'^':
        token.symbol = Symbol::Caret;
        break;
      case u'~':
        token.symbol = Symbol::Tilde;
        break;
      case u'<':
        token.symbol = Peek(1) == u'>' ? two(u'>', Symbol::NotEqual, Symbol::Less)
                                       : two(u'=', Symbol::LessEqual, Symbol::Less);
        break;
      case u'>':
        token.symbol = two(u'=', Symbol::GreaterEqual, Symbol::Greater);
        break;
      case u'!':
        token.symbol = Peek(1) == u'<'   ? two(u'<', Symbol::GreaterEqual, Symbol::None)
                       : Peek(1) == u'>' ? two(u'>', Symbol::LessEqual, Symbol::None)
                                         : two(u'=', Symbol::NotEqual, Symbol::None);
        break;
      default:
        break;
    }
    if (token.symbol == Symbol::None) {
      const std::size_t units = c >= 0xD800 && c < 0xDC00 ? 2 : 1;
      throw errors::IncorrectSyntax(batch_.substr(at_, units), Here(at_));
    }
    token.text = batch_.substr(at_, length);
    at_ += length;
  }

  TextView batch_;
  Arena& arena_;
  std::size_t at_ = 0;
  std::pmr::vector<Token> tokens_{ChargedMemory()};
};

}  // namespace

std::pmr::vector<Token> Tokenize(TextView batch, Arena& arena) { return Lexer(batch, arena).Run(); }

Position PositionOf(TextView batch, std::size_t offset) noexcept {
  Position position{1, 1};
  for (std::size_t i = 0; i < offset && i < batch.size(); ++i) {
    if (batch[i] == u'\n') {
      ++position.line;
      position.column = 1;
    } else {
      ++position.column;
    }
  }
  return position;
}

}  // namespace ledgerwick::tsql
