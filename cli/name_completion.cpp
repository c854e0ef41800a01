#include "cli/name_completion.h"

#include <algorithm>
#include <array>

#include "component/class_table.h"

namespace ledgerwick {
namespace {

constexpr std::array kCommands = {"?",    "check", "describe", "explain", "help",
                                  "list", "quit",  "run",      "schema",  "trace"};

constexpr TextView kKeywords[] = {
    u"ALTER",       u"AND",      u"AS",        u"ASC",       u"AVG",      u"BEGIN",    u"BETWEEN",
    u"BY",          u"CASE",     u"CAST",      u"CHARINDEX", u"COALESCE", u"COMMIT",   u"CONVERT",
    u"COUNT",       u"CREATE",   u"CROSS",     u"DATEADD",   u"DATEDIFF", u"DATEPART", u"DECLARE",
    u"DELETE",      u"DESC",     u"DISTINCT",  u"DROP",      u"ELSE",     u"END",      u"EXEC",
    u"EXISTS",      u"FROM",     u"FULL",      u"GETDATE",   u"GO",       u"GROUP",    u"HAVING",
    u"IF",          u"IN",       u"INDEX",     u"INNER",     u"INSERT",   u"INTO",     u"IS",
    u"ISNULL",      u"JOIN",     u"KEY",       u"LEFT",      u"LEN",      u"LIKE",     u"MAX",
    u"MIN",         u"NOT",      u"NULL",      u"ON",        u"OR",       u"ORDER",    u"OUTER",
    u"PRIMARY",     u"PRINT",    u"PROCEDURE", u"REPLACE",   u"RIGHT",    u"ROLLBACK", u"ROUND",
    u"SELECT",      u"SET",      u"SUBSTRING", u"SUM",       u"TABLE",    u"THEN",     u"TOP",
    u"TRANSACTION", u"TRUNCATE", u"UNION",     u"UNIQUE",    u"UPDATE",   u"USE",      u"VALUES",
    u"VIEW",        u"WHEN",     u"WHERE",     u"WHILE",     u"WITH",
};

// What ends a word of T-SQL. A dot parts a name.
constexpr TextView kBreaks = u" \t\r\n(),;=<>+-*/%'\"[]";

bool StartsWith(TextView name, TextView beginning) {
  return EqualText(name.substr(0, beginning.size()), beginning);
}

std::vector<Text> WordsOf(TextView text, TextView breaks) {
  std::vector<Text> words;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t first = text.find_first_not_of(breaks, at);
    if (first == TextView::npos) break;
    at = std::min(text.find_first_of(breaks, first), text.size());
    words.emplace_back(text.substr(first, at - first));
  }
  return words;
}

}  // namespace

Completions NameCompleter::Complete(std::string_view batch, std::string_view before) {
  const Text line = FromUtf8(before);
  const bool is_command = batch.empty() && Trim(line).starts_with(u'\\');
  const std::size_t gap = line.find_last_of(is_command ? TextView(u" \t") : kBreaks);
  const Text word = line.substr(gap == Text::npos ? 0 : gap + 1);
  std::vector<Text> candidates;
  if (is_command) {
    std::vector<Text> words = WordsOf(line, u" \t");
    if (word.empty()) words.emplace_back();
    candidates = InCommand(words);
  } else if (!word.empty()) {
    candidates = InStatement(FromUtf8(batch) + line.substr(0, line.size() - word.size()), word);
  }
  std::erase_if(candidates, [&](const Text& name) { return !StartsWith(name, word); });
  std::sort(candidates.begin(), candidates.end());
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  Completions found;
  found.start = before.size() - ToUtf8(word).size();
  for (const Text& candidate : candidates) found.words.push_back(ToUtf8(candidate));
  return found;
}

const DatabaseNames& NameCompleter::Names() {
  if (!names_) names_ = load_();
  return *names_;
}

std::vector<Text> NameCompleter::InStatement(TextView statement, TextView word) {
  std::vector<Text> candidates;
  const std::size_t dot = word.rfind(u'.');
  if (dot != TextView::npos) {
    const TextView qualifier = word.substr(0, dot);
    const Text prefix(word.substr(0, dot + 1));
    if (EqualText(qualifier, u"tempdb.") || EqualText(qualifier, u"tempdb.dbo")) {
      for (const ClassInfo& info : Classes())
        candidates.push_back(prefix + Text(info.result_table));
      return candidates;
    }
    if (EqualText(qualifier, u"dbo")) {
      for (const SchemaObject& object : Names().objects) candidates.push_back(prefix + object.name);
      return candidates;
    }
    for (const Text& column : ColumnsOf(statement, qualifier)) {
      candidates.push_back(prefix + column);
    }
    return candidates;
  }
  for (const TextView keyword : kKeywords) candidates.emplace_back(keyword);
  candidates.emplace_back(u"tempdb..");
  for (const SchemaObject& object : Names().objects) candidates.push_back(object.ShownName());
  for (const auto& [table, column] : Names().columns) candidates.push_back(column);
  return candidates;
}

std::vector<Text> NameCompleter::ColumnsOf(TextView statement, TextView table_or_alias) {
  std::vector<Text> columns;
  const auto add = [&](TextView name) {
    const TextView table = name.substr(name.rfind(u'.') + 1);
    for (const auto& [of, column] : Names().columns) {
      if (EqualText(of, table)) columns.push_back(column);
    }
  };
  add(table_or_alias);
  // An alias stands behind its table, perhaps with AS between them.
  const std::vector<Text> words = WordsOf(statement, kBreaks);
  for (std::size_t i = 1; i < words.size() && columns.empty(); ++i) {
    if (!EqualText(words[i], table_or_alias)) continue;
    add(words[i - (i > 1 && EqualText(words[i - 1], u"AS") ? 2 : 1)]);
  }
  return columns;
}

std::vector<Text> NameCompleter::InCommand(const std::vector<Text>& words) {
  std::vector<Text> candidates;
  if (words.size() <= 1) {
    for (const char* command : kCommands) candidates.push_back(u"\\" + FromUtf8(command));
    return candidates;
  }
  if (words.front() == u"\\schema" && !words.back().starts_with(u'-')) {
    for (const SchemaObject& object : Names().objects) candidates.push_back(object.ShownName());
    return candidates;
  }
  std::vector<std::string> arguments = {ToUtf8(words.front().substr(1))};
  for (std::size_t i = 1; i < words.size(); ++i) arguments.push_back(ToUtf8(words[i]));
  for (const std::string& word : command_words_(arguments)) candidates.push_back(FromUtf8(word));
  return candidates;
}

std::vector<std::string> PromptCommands() { return {kCommands.begin(), kCommands.end()}; }

}  // namespace ledgerwick
