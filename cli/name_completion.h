// What may stand where TAB was pressed at the prompt.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/line_editor.h"
#include "cli/schema_reader.h"

namespace ledgerwick {

// The names of a database.
struct DatabaseNames {
  std::vector<SchemaObject> objects;
  std::vector<std::pair<Text, Text>> columns;  // a table's or view's name and the column's
};

// In T-SQL: tables, views, procedures, columns, keywords, and behind tempdb.. the reports' result
// tables. Behind a table's name or alias and a dot its columns. Behind a backslash the prompt's
// commands and what these take.
class NameCompleter {
 public:
  using LoadNames = std::function<DatabaseNames()>;

  // What may stand for the last of the words of one of the program's commands.
  using CommandWords = std::function<std::vector<std::string>(const std::vector<std::string>&)>;

  // They are called when needed; what they throw, Complete throws.
  NameCompleter(LoadNames load, CommandWords command_words)
      : load_(std::move(load)), command_words_(std::move(command_words)) {}

  // `before` is the line up to the cursor, `batch` what was typed before it.
  Completions Complete(std::string_view batch, std::string_view before);

  // The names may have changed.
  void Forget() { names_.reset(); }

 private:
  const DatabaseNames& Names();
  std::vector<Text> InStatement(TextView statement, TextView word);
  std::vector<Text> ColumnsOf(TextView statement, TextView table_or_alias);
  std::vector<Text> InCommand(const std::vector<Text>& words);

  LoadNames load_;
  CommandWords command_words_;
  std::optional<DatabaseNames> names_;
};

// The commands that a backslash introduces at the prompt, without it.
std::vector<std::string> PromptCommands();

}  // namespace ledgerwick
