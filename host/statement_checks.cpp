#include "host/statement_checks.h"

#include <algorithm>
#include <string>

#include "host/filters.h"
#include "host/request_facts.h"

namespace ledgerwick {
namespace {

// The sizes of a sales report's condition: from the first it travels through the parameter table,
// beyond the last it is refused. Within kNear of either it is worth a word.
constexpr std::size_t kFirstStored = 200;
constexpr std::size_t kLastStored = 600;
constexpr std::size_t kNear = 20;
constexpr Sentence kSharedCharacters(
    u"The condition takes {1} characters: from {2} on it travels through a table that all clients "
    u"share.",
    u"查询条件长 {1} 个字符：达到 {2} 起会经所有客户端共用的表传递。");
constexpr Sentence kSharedBytes(
    u"The condition takes {1} bytes: from {2} on it travels through a table that all clients "
    u"share.",
    u"查询条件长 {1} 字节：达到 {2} 起会经所有客户端共用的表传递。");
constexpr Sentence kRefusedCharacters(
    u"The condition takes about {1} of the {2} characters beyond which it is refused.",
    u"查询条件约长 {1} 个字符，超过 {2} 个字符会被拒绝。");
constexpr Sentence kRefusedBytes(
    u"The condition takes about {1} of the {2} bytes beyond which it is refused.",
    u"查询条件约长 {1} 字节，超过 {2} 字节会被拒绝。");

constexpr TextView kInsert = u"Insert into  tempdb..newReportParameter (name) values('";
constexpr TextView kInsertEnd = u"')";
constexpr TextView kTooLong = u"查询条件超过上限";
constexpr char16_t kFullWidthQuote = u'\uFF07';
// Stands for a value whose way into a statement is followed.
constexpr TextView kSentinel = u"\uE0F1\uE0F2\uE0F1";

Text Digits(std::size_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

Text Replaced(TextView text, TextView what, TextView with) {
  Text result;
  std::size_t from = 0;
  for (std::size_t at = text.find(what); at != TextView::npos; at = text.find(what, from)) {
    result.append(text.substr(from, at - from)).append(with);
    from = at + what.size();
  }
  return result.append(text.substr(from));
}

// The words of `sql`, folded; a text in quotes is one word, as is any other sign.
std::vector<Text> Words(TextView sql) {
  std::vector<Text> words;
  bool in_quotes = false;
  bool in_word = false;
  for (const char16_t c : sql) {
    if (c == u'\'') in_quotes = !in_quotes;
    const bool is_letter = !in_quotes && (c > 0x7F || c == u'_' || (c >= u'0' && c <= u'9') ||
                                          (FoldChar(c) >= u'a' && FoldChar(c) <= u'z'));
    if (is_letter && in_word) {
      words.back() += FoldChar(c);
    } else if (is_letter || (c > u' ' && !in_quotes)) {
      words.emplace_back(1, FoldChar(c));
    }
    in_word = is_letter;
  }
  return words;
}

// The texts that the server reads as SQL: statements, and conditions among parameters. A parameter
// that is one whole value of an item is no SQL.
struct SqlText {
  Text sql;
  bool is_parameter = false;
};
std::vector<SqlText> SqlTexts(const Trace& trace) {
  std::vector<SqlText> texts;
  for (const Operation& operation : trace.operations) {
    if (const auto* execute = std::get_if<ExecuteOperation>(&operation)) {
      texts.push_back({execute->sql});
    } else if (const auto* command = std::get_if<CommandOperation>(&operation)) {
      for (const CommandParameter& p : command->parameters) texts.push_back({p.value, true});
    }
  }
  return texts;
}

bool IsOneValue(const Request& request, TextView text) {
  const auto items = RequestFacts(request).Items();
  return std::any_of(items.begin(), items.end(), [&](const FilterItem& item) {
    return ReadableText(item.varValue) == text || ReadableText(item.varValue2) == text;
  });
}

// What the parameter table would hold after `insert`; nothing when its quotes end too early.
std::optional<Text> StoredText(TextView insert) {
  TextView literal = insert.substr(kInsert.size());
  literal.remove_suffix(kInsertEnd.size());
  Text stored;
  for (std::size_t i = 0; i < literal.size(); ++i) {
    if (literal[i] == u'\'' && (++i == literal.size() || literal[i] != u'\'')) return std::nullopt;
    stored += literal[i];
  }
  return stored;
}

// The condition on its way through the parameter table, where it takes that way.
const Text* FindInsert(const Trace& trace) {
  for (const Operation& operation : trace.operations) {
    const auto* execute = std::get_if<ExecuteOperation>(&operation);
    if (execute && execute->sql.starts_with(kInsert)) return &execute->sql;
  }
  return nullptr;
}

bool HasFullWidthQuote(const Request& request) {
  const auto& items = RequestFacts(request).Items();
  return std::any_of(items.begin(), items.end(), [](const FilterItem& item) {
    return FragmentOf(item).find(kFullWidthQuote) != Text::npos;
  });
}

struct Measure {
  bool in_characters;

  std::size_t operator()(TextView text) const {
    return in_characters ? text.size() : AnsiLength(text);
  }
  // The sentence that names the measure.
  const Sentence& Of(const Sentence& characters, const Sentence& bytes) const {
    return in_characters ? characters : bytes;
  }
};

Measure MeasureOf(const Request& request) {
  const ReportInfo* report = FindReportInfo(request.report->name);
  return {report && report->counts_characters};
}

void CheckStored(const Request& request, const Text& insert, std::vector<Finding>& findings) {
  findings.push_back(FindingOf(GeneralNote(u"LW023")));
  const std::optional<Text> stored = StoredText(insert);
  if (HasFullWidthQuote(request)) {
    findings.push_back(FindingOf(GeneralNote(u"LW027")));
  } else if (!stored || !IsBalanced(*stored)) {
    findings.push_back(FindingOf(GeneralNote(u"LW026")));
  }
  if (!stored) return;
  const Measure measure = MeasureOf(request);
  const std::size_t size = measure(*stored);
  if (size + kNear > kLastStored) {
    findings.push_back(Found(u"LW024", {}, measure.Of(kRefusedCharacters, kRefusedBytes),
                             {Digits(size), Digits(kLastStored)}));
  }
}

// The general condition of a sales report is the second of its parameters.
void CheckSize(const Request& request, const Trace& trace, std::vector<Finding>& findings) {
  for (const Operation& operation : trace.operations) {
    const auto* message = std::get_if<MessageOperation>(&operation);
    if (message && message->text.starts_with(kTooLong)) {
      findings.push_back(FindingOf(GeneralNote(u"LW025")));
    }
  }
  if (const Text* insert = FindInsert(trace)) return CheckStored(request, *insert, findings);
  const Measure measure = MeasureOf(request);
  for (const Operation& operation : trace.operations) {
    const auto* command = std::get_if<CommandOperation>(&operation);
    if (!command || command->parameters.size() < 2) continue;
    // With the blank that stands behind a condition handed over directly.
    const std::size_t size = measure(command->parameters[1].value);
    if (size > kFirstStored || size + kNear <= kFirstStored) continue;
    findings.push_back(Found(u"LW024", {}, measure.Of(kSharedCharacters, kSharedBytes),
                             {Digits(size - 1), Digits(kFirstStored)}));
  }
}

void CheckSyntax(const Request& request, const Trace& trace, std::vector<Finding>& findings) {
  for (const auto& [sql, is_parameter] : SqlTexts(trace)) {
    if (sql.starts_with(kInsert) || (is_parameter && IsOneValue(request, sql))) continue;
    if (HasDanglingAnd(sql)) findings.push_back(FindingOf(GeneralNote(u"LW020")));
    if (!IsBalanced(sql)) findings.push_back(FindingOf(GeneralNote(u"LW021")));
  }
}

// True when `value`, one of the two of `item`, gets out of its quotes in what `trace` sends. What
// would be sent for a harmless value is compared with it.
bool BreaksOut(const Request& request, std::size_t item, Value FilterItem::*value,
               const Trace& trace) {
  const Text* text = ((*request.filters)[item].*value).If<Text>();
  if (!text || text->find(u'\'') == Text::npos) return false;
  Request harmless = request;
  harmless.fail_at.reset();
  (*harmless.filters)[item].*value = Text(kSentinel);
  const std::vector<SqlText> got = SqlTexts(trace);
  const std::vector<SqlText> followed = SqlTexts(TraceReport(harmless));
  const Text doubled = Replaced(*text, u"'", u"''");
  for (std::size_t i = 0; i < std::min(got.size(), followed.size()); ++i) {
    if (followed[i].is_parameter && followed[i].sql == kSentinel) continue;  // a plain value
    if (followed[i].sql.starts_with(kInsert) || got[i].sql.starts_with(kInsert)) return false;
    if (got[i].sql != Replaced(followed[i].sql, kSentinel, doubled)) return true;
  }
  return false;
}

void CheckQuotes(const Request& request, const Trace& trace, std::vector<Finding>& findings) {
  if (!request.filters) return;
  for (std::size_t i = 0; i < request.filters->size(); ++i) {
    if (BreaksOut(request, i, &FilterItem::varValue, trace) ||
        BreaksOut(request, i, &FilterItem::varValue2, trace)) {
      findings.push_back(FindingOf(GeneralNote(u"LW022"), (*request.filters)[i].Name));
    }
  }
}

}  // namespace

bool IsBalanced(TextView sql) {
  bool in_quotes = false;
  int depth = 0;
  for (const char16_t c : sql) {
    if (c == u'\'') in_quotes = !in_quotes;
    if (in_quotes) continue;
    if (c == u'(') ++depth;
    if (c == u')' && --depth < 0) return false;
  }
  return !in_quotes && depth == 0;
}

bool HasDanglingAnd(TextView sql) {
  const std::vector<Text> words = Words(sql);
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] != u"and") continue;
    if (i + 1 == words.size() || words[i + 1] == u"and" || words[i + 1] == u")") return true;
  }
  return false;
}

std::vector<Finding> CheckStatements(const Request& request, const Trace& trace) {
  std::vector<Finding> findings;
  CheckQuotes(request, trace, findings);
  if (findings.empty()) CheckSyntax(request, trace, findings);
  CheckSize(request, trace, findings);
  if (const auto* error = std::get_if<DatabaseError>(&trace.result)) {
    findings.push_back(Found(u"LW028", {},
                             {u"The report ends in error {1}: {2}", u"报表以错误 {1} 结束：{2}"},
                             {Value(error->number).ToText(), error->description}));
  }
  return findings;
}

}  // namespace ledgerwick
