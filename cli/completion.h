// What a shell offers for the word under the cursor, from the command line's own description.
#pragma once

#include <CLI/App.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace ledgerwick {

struct Completion {
  struct Word {
    std::string text;
    std::string help;
  };
  std::vector<Word> words;  // all begin with what stands under the cursor, letter case aside
  bool paths = false;       // files and folders may stand here, too
  bool open = false;        // a word goes on behind what is offered
};

// `words` are those behind the program's name up to the cursor, the last one as far as it is
// typed; it may be empty. Never fails: what is not understood has no completion.
Completion Complete(const CLI::App& command, const std::vector<std::string>& words);

// Writes Complete's answer as the shells' scripts (cli/completion) read it: a line with the words
// "paths" and "open" where they hold, and a line "TEXT<tab>HELP" for each word.
void WriteCompletion(std::ostream& out, const CLI::App& command,
                     const std::vector<std::string>& words);

}  // namespace ledgerwick
