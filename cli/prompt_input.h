// What is typed at the prompt, line by line, until it can run.
#pragma once

#include <string>
#include <string_view>

#include "frame/text.h"

namespace ledgerwick {

// A batch that is being typed.
class PromptInput {
 public:
  enum class Step { More, Run, Command, Quit };

  // Takes a line (UTF-8). Run when it completes the batch: GO on a line of its own, with a number
  // to run it so often, or a first line that is a whole statement and ends with a semicolon.
  // Command for a line that begins with a backslash where no batch has begun, Quit for quit and
  // exit there.
  Step Add(const std::string& line);

  // How often a batch that is complete runs.
  int times() const noexcept { return times_; }

  const std::string& text() const noexcept { return text_; }

  // How many lines there are.
  int lines() const noexcept { return lines_; }

  // Forgets everything.
  void Clear();

 private:
  std::string text_;
  int lines_ = 0;
  int times_ = 1;
};

// What a batch may change, by the words in it.
struct StatementWords {
  bool changes_names = false;     // of tables and the like, or the database itself
  bool changes_database = false;  // the one that names are looked for in
};
StatementWords WordsOfStatement(TextView sql);

}  // namespace ledgerwick
