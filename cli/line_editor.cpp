#include "cli/line_editor.h"

#include <histedit.h>
#include <langinfo.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "cli/interrupt.h"
#include "frame/text.h"
#include "output/display_text.h"

namespace ledgerwick {
namespace {

namespace fs = std::filesystem;

constexpr int kKeptLines = 2000;
constexpr std::size_t kMostListed = 200;
constexpr std::size_t kListWidth = 80;

// While it lives, new files and folders are their user's alone.
class PrivateFiles {
 public:
  PrivateFiles() : before_(umask(kForOthersNothing)) {}
  ~PrivateFiles() { umask(before_); }
  PrivateFiles(const PrivateFiles&) = delete;
  PrivateFiles& operator=(const PrivateFiles&) = delete;

 private:
  static constexpr mode_t kForOthersNothing = 077;
  mode_t before_;
};

bool IsWorthRemembering(const std::string& line) {
  return line.find_first_not_of(" \t") != std::string::npos &&
         FindText(TryFromUtf8(line).value_or(Text()), u"password") == Text::npos;
}

std::size_t CountCharacters(const std::string& utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// What all of `words` begin with, letter case aside, as the first of them writes it.
std::string CommonBeginning(const std::vector<std::string>& words) {
  Text common = FromUtf8(words.front());
  for (const std::string& word : words) {
    const Text other = FromUtf8(word);
    std::size_t same = 0;
    while (same < std::min(common.size(), other.size()) &&
           FoldChar(common[same]) == FoldChar(other[same])) {
      ++same;
    }
    common.resize(same);
  }
  return ToUtf8(common);
}

void PrintInColumns(const std::vector<std::string>& words) {
  std::size_t width = 0;
  for (const std::string& word : words) width = std::max(width, DisplayWidth(word) + 2);
  const std::size_t in_line = std::max<std::size_t>(1, kListWidth / width);
  std::string text = "\n";
  const std::size_t shown = std::min(words.size(), kMostListed);
  for (std::size_t i = 0; i < shown; ++i) {
    text += EscapeControls(words[i]);
    const bool ends_line = (i + 1) % in_line == 0 || i + 1 == shown;
    text += ends_line ? "\n" : std::string(width - DisplayWidth(words[i]), ' ');
  }
  if (shown < words.size()) text += "… " + std::to_string(words.size() - shown) + " more\n";
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

}  // namespace

struct LineEditor::Parts {
  EditLine* editor = nullptr;
  History* history = nullptr;
  fs::path file;
  Complete complete;
  std::string prompt;
  bool cancelled = false;

  static Parts& Of(EditLine* editor) {
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<Parts*>(self);
  }

  static char* Prompt(EditLine* editor) { return Of(editor).prompt.data(); }

  static unsigned char Cancel(EditLine* editor, int) {
    Of(editor).cancelled = true;
    std::fputs("^C\n", stdout);
    std::fflush(stdout);
    return CC_NEWLINE;
  }

  static unsigned char Suspend(EditLine*, int) {
    raise(SIGTSTP);
    return CC_REDISPLAY;
  }

  static unsigned char Insert(EditLine* editor, int) {
    const LineInfo* info = el_line(editor);
    const std::string before(info->buffer, static_cast<std::size_t>(info->cursor - info->buffer));
    Completions found;
    {
      // Outside the editing of lines Ctrl-C is a signal again.
      const InterruptGuard guard;
      el_set(editor, EL_PREP_TERM, 0);
      try {
        found = Of(editor).complete(before);
      } catch (const std::exception&) {
        // Nothing is completed where the database does not answer.
      }
      el_set(editor, EL_PREP_TERM, 1);
    }
    if (InterruptGuard::ShallEnd()) return CC_EOF;
    if (InterruptGuard::Flag()) {
      Of(editor).cancelled = true;
      std::fputs("\n", stdout);  // the terminal has shown the key
      std::fflush(stdout);
      return CC_NEWLINE;
    }
    if (found.words.empty()) return CC_ERROR;
    const std::string word = before.substr(found.start);
    const std::string common = CommonBeginning(found.words);
    if (found.words.size() > 1 && common.size() <= word.size()) {
      PrintInColumns(found.words);
      return CC_REDISPLAY;
    }
    el_deletestr(editor, static_cast<int>(CountCharacters(word)));
    el_insertstr(editor, common.c_str());
    return CC_REFRESH;
  }

  void Load() {
    std::ifstream in(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    if (lines.size() > 2 * kKeptLines) {
      lines.erase(lines.begin(), lines.end() - kKeptLines);
      const PrivateFiles guard;
      const fs::path fresh = file.string() + ".new";
      std::ofstream out(fresh);
      for (const std::string& line : lines) out << line << '\n';
      out.close();
      std::error_code ignored;
      if (out) fs::rename(fresh, file, ignored);
    }
    for (const std::string& line : lines) Enter(line);
  }

  void Enter(const std::string& line) {
    HistEvent event;
    ::history(history, &event, H_ENTER, line.c_str());
  }
};

LineEditor::LineEditor(fs::path history, Complete complete) : parts_(std::make_unique<Parts>()) {
  parts_->file = std::move(history);
  parts_->complete = std::move(complete);
  // The line editor reads characters as the locale has them; ours are UTF-8.
  std::setlocale(LC_CTYPE, "");
  if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
  EditLine* editor = el_init("ledgerwick", stdin, stdout, stderr);
  parts_->editor = editor;
  parts_->history = history_init();
  HistEvent event;
  ::history(parts_->history, &event, H_SETSIZE, kKeptLines);
  ::history(parts_->history, &event, H_SETUNIQUE, 1);
  el_set(editor, EL_CLIENTDATA, static_cast<void*>(parts_.get()));
  el_set(editor, EL_PROMPT, &Parts::Prompt);
  el_set(editor, EL_HIST, &::history, parts_->history);
  el_set(editor, EL_SIGNAL, 1);
  el_set(editor, EL_EDITOR, "emacs");
  el_set(editor, EL_ADDFN, "lw-complete", "Complete the word", &Parts::Insert);
  el_set(editor, EL_ADDFN, "lw-cancel", "Cancel the line", &Parts::Cancel);
  el_set(editor, EL_ADDFN, "lw-suspend", "Suspend the program", &Parts::Suspend);
  el_source(editor, nullptr);
  // While a line is edited Ctrl-C is a key like others.
  el_set(editor, EL_SETTY, "-d", "-isig", nullptr);
  el_set(editor, EL_BIND, "^I", "lw-complete", nullptr);
  el_set(editor, EL_BIND, "^C", "lw-cancel", nullptr);
  el_set(editor, EL_BIND, "^Z", "lw-suspend", nullptr);
  el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
  parts_->Load();
}

LineEditor::~LineEditor() {
  el_end(parts_->editor);
  history_end(parts_->history);
}

LineEnd LineEditor::Read(const std::string& prompt, std::string& line) {
  parts_->prompt = prompt;
  parts_->cancelled = false;
  int count = 0;
  const InterruptGuard guard;
  // Before the prompt is shown, so that whoever has seen it types keys and not signals.
  el_set(parts_->editor, EL_PREP_TERM, 1);
  const char* text = el_gets(parts_->editor, &count);
  if (InterruptGuard::ShallEnd()) return LineEnd::EndOfInput;
  if (InterruptGuard::Flag() && !parts_->cancelled) {
    std::fputs("\n", stdout);
    std::fflush(stdout);
    return LineEnd::Cancelled;
  }
  if (parts_->cancelled) return LineEnd::Cancelled;
  if (text == nullptr || count <= 0) return LineEnd::EndOfInput;
  line.assign(text, static_cast<std::size_t>(count));
  while (line.ends_with('\n') || line.ends_with('\r')) line.pop_back();
  return LineEnd::Entered;
}

void LineEditor::Remember(const std::string& line) {
  if (!IsWorthRemembering(line)) return;
  parts_->Enter(line);
  if (parts_->file.empty()) return;
  const PrivateFiles guard;
  std::error_code ignored;
  fs::create_directories(parts_->file.parent_path(), ignored);
  std::ofstream(parts_->file, std::ios::app) << line << '\n';
}

fs::path HistoryPath() {
  const auto variable = [](const char* name) {
    const char* value = std::getenv(name);
    return fs::path(value == nullptr ? "" : value);
  };
  fs::path state = variable("XDG_STATE_HOME");
  if (!state.is_absolute()) {  // as one must be
    const fs::path home = variable("HOME");
    if (home.empty()) return {};
    state = home / ".local/state";
  }
  return state / "ledgerwick/history";
}

}  // namespace ledgerwick
