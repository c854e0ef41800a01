// A line that is typed at the terminal, with history and completion.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ledgerwick {

// What may stand where the user presses TAB.
struct Completions {
  std::size_t start = 0;           // of the word that they would replace, in bytes of the line
  std::vector<std::string> words;  // UTF-8
};

enum class LineEnd { Entered, Cancelled, EndOfInput };

// Reads lines from the standard input, which is a terminal, with the editing keys and ~/.editrc
// that libedit offers. One at a time.
class LineEditor {
 public:
  // Is given the line up to the cursor (UTF-8).
  using Complete = std::function<Completions(const std::string& before)>;

  // Lines that are remembered go to the file `history` too, which is made with its folder for its
  // user alone; without one that can be written the history ends with the program.
  LineEditor(std::filesystem::path history, Complete complete);
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  // Reads a line, without its end, behind `prompt`. Ctrl-C cancels it, Ctrl-D on an empty line is
  // the end.
  LineEnd Read(const std::string& prompt, std::string& line);

  // Puts the line into the history, unless it is blank or speaks of a password.
  void Remember(const std::string& line);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

// The file of the prompt's history: ledgerwick/history in XDG_STATE_HOME, else in ~/.local/state.
// Empty where neither is known.
std::filesystem::path HistoryPath();

}  // namespace ledgerwick
