#include "cli/prompt_input.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "tsql/base/arena.h"
#include "tsql/syntax/lexer.h"

namespace ledgerwick {
namespace {

using tsql::Keyword;
using tsql::Token;

constexpr int kMostTimes = 1'000'000;

// Statements that leave nothing behind which the rest of a batch could need: neither a variable nor
// an open block.
constexpr std::array kWholeByThemselves = {
    Keyword::Select, Keyword::Insert,  Keyword::Update,   Keyword::Delete,
    Keyword::Exec,   Keyword::Execute, Keyword::Drop,     Keyword::Truncate,
    Keyword::Use,    Keyword::Print,   Keyword::Rollback, Keyword::Commit,
};

std::string_view Trimmed(std::string_view line) {
  const std::size_t first = line.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(" \t\r") + 1 - first);
}

bool EqualsAscii(std::string_view word, std::string_view lower) {
  return std::equal(word.begin(), word.end(), lower.begin(), lower.end(),
                    [](char a, char b) { return (a | 0x20) == b; });
}

// The number behind GO; 1 without one, nothing for a line that is no GO.
std::optional<int> TimesOfGo(std::string_view line) {
  if (line.size() < 2 || !EqualsAscii(line.substr(0, 2), "go")) return std::nullopt;
  if (line.size() == 2) return 1;
  const std::string_view number = Trimmed(line.substr(2));
  int times = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), times);
  const bool is_number = error == std::errc() && end == number.data() + number.size();
  if (!is_number || number.size() + 2 == line.size() || times < 0 || times > kMostTimes) {
    return std::nullopt;
  }
  return times;
}

bool IsWholeStatement(std::string_view line) {
  if (!line.ends_with(';')) return false;
  tsql::Arena scratch;
  try {
    const Text sql = FromUtf8(line);
    const auto tokens = tsql::Tokenize(sql, scratch);
    // A semicolon in a comment is no token.
    const Token& last = tokens[tokens.size() - std::min<std::size_t>(tokens.size(), 2)];
    return last.symbol == tsql::Symbol::Semicolon &&
           std::find(kWholeByThemselves.begin(), kWholeByThemselves.end(),
                     tokens.front().keyword) != kWholeByThemselves.end();
  } catch (const tsql::SqlError&) {
    return false;  // a quotation mark or a comment without end
  }
}

}  // namespace

PromptInput::Step PromptInput::Add(const std::string& line) {
  const std::string_view word = Trimmed(line);
  times_ = 1;
  if (lines_ == 0) {
    if (word.empty()) return Step::More;
    if (word.starts_with('\\')) return Step::Command;
    if (EqualsAscii(word, "quit") || EqualsAscii(word, "exit")) return Step::Quit;
  }
  if (const auto times = TimesOfGo(word)) {
    times_ = *times;
    return lines_ == 0 ? Step::More : Step::Run;
  }
  text_ += line + '\n';
  ++lines_;
  return lines_ == 1 && IsWholeStatement(word) ? Step::Run : Step::More;
}

void PromptInput::Clear() {
  text_.clear();
  lines_ = 0;
  times_ = 1;
}

StatementWords WordsOfStatement(TextView sql) {
  tsql::Arena scratch;
  StatementWords words;
  try {
    for (const Token& token : tsql::Tokenize(sql, scratch)) {
      const Keyword k = token.keyword;
      if (k == Keyword::Use) words.changes_database = true;
      words.changes_names = words.changes_names || k == Keyword::Use || k == Keyword::Create ||
                            k == Keyword::Drop || k == Keyword::Alter || k == Keyword::Into ||
                            k == Keyword::Exec || k == Keyword::Execute;
    }
  } catch (const tsql::SqlError&) {
    // It did not run either.
  }
  return words;
}

}  // namespace ledgerwick
