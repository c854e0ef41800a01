#include "cli/prompt.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <sstream>

#include "cli/command_line.h"
#include "cli/connections.h"
#include "cli/interrupt.h"
#include "cli/line_editor.h"
#include "cli/name_completion.h"
#include "cli/prompt_input.h"
#include "cli/result_console.h"
#include "cli/result_output.h"
#include "cli/schema_reader.h"
#include "frame/null_sink.h"
#include "output/display_text.h"
#include "tsql/connection.h"

namespace ledgerwick {
namespace {

constexpr const char* kHelp =
    "GO          on a line of its own runs what was typed, GO 5 runs it five times\n"
    "…;          one line that is a whole SELECT, INSERT, UPDATE, DELETE, EXEC, USE …\n"
    "            and ends with a semicolon runs at once\n"
    "Ctrl-C      cancels the statement that runs, or forgets what was typed\n"
    "TAB         completes tables, columns, procedures, keywords; behind a backslash\n"
    "            commands, report classes, filters\n"
    "Up, Ctrl-R  what was typed before, also in earlier sessions\n"
    "\\run CLASS [OPTION…], \\check, \\describe, \\explain, \\list, \\schema, \\trace\n"
    "            as on the command line, on this database: \\run clsRepAQKCYJ\n"
    "\\help [COMMAND], \\?\n"
    "quit, exit, Ctrl-D  ends\n";

// The one number that `query` gives; 0 where there is none.
class NumberSink final : public NullSink {
 public:
  void Row(std::span<const Value> values) override { number = values.front().ToText(); }
  Text number = u"0";
};

class Prompt {
 public:
  Prompt(Console& terminal, const QueryOptions& options, const Text& connection)
      : terminal_(terminal),
        options_(options),
        connection_(connection),
        format_(ChooseFormat(terminal, options.output)),
        completer_([this] { return ReadNames(); },
                   [this](const auto& words) { return CommandWords(words); }) {}

  int Run() {
    if (!Connect()) return kRefused;
    terminal_.err << "GO on a line of its own runs what you type, \\? tells more, Ctrl-D ends\n";
    // What a command of the prompt opens is the same database.
    setenv("LEDGERWICK_CONNECTION", ToUtf8(connection_).c_str(), 1);
    LineEditor editor(HistoryPath(), [this](const std::string& before) {
      return completer_.Complete(input_.text(), before);
    });
    for (bool more = true; more;) {
      const InterruptGuard guard;  // a key that comes too early or too late ends nothing
      more = ReadLine(editor);
    }
    TellOpenTransaction();
    return InterruptGuard::ShallEnd() ? kRefused : kDone;
  }

 private:
  bool IsServer() const { return !connection_.starts_with(tsql::kEmbeddedPrefix); }

  // False after an error, which is told.
  bool Connect() {
    const InterruptGuard guard;
    ConnectionSettings settings = UsualSettings(terminal_, idle_, options_.server);
    settings.progress = [this] {
      if (progress_) progress_->Show("running");
    };
    settings.memory_limit = options_.memory_limit;
    settings.read_only = options_.read_only;
    settings.read_only_if_it_must = true;
    settings.create = options_.create;
    settings.password = [this](const Text& user, const Text& server) {
      if (!password_) password_ = FindPassword(terminal_, options_.server, user, server);
      return password_;
    };
    try {
      database_ = OpenReportDatabase(connection_, settings);
      name_ = ToUtf8(SchemaReader(database_->Reader()).DatabaseName());
      completer_.Forget();
      return true;
    } catch (const DatabaseError& error) {
      if (InterruptGuard::Flag()) {
        PrintError(terminal_, "cancelled");
      } else {
        PrintDatabaseError(terminal_, error, {});
      }
      return false;
    }
  }

  // False at the end.
  bool ReadLine(LineEditor& editor) {
    terminal_.out.flush();
    terminal_.err.flush();
    std::string line;
    const LineEnd end = editor.Read(PromptText(), line);
    if (end == LineEnd::EndOfInput) {
      terminal_.err << '\n';
      return false;
    }
    if (end == LineEnd::Cancelled) {
      input_.Clear();
      return true;
    }
    if (FindInvalidUtf8(line) != std::string::npos) {
      PrintError(terminal_, "that line is not UTF-8: set the terminal to UTF-8");
      return true;
    }
    editor.Remember(line);
    return Take(line);
  }

  bool Take(const std::string& line) {
    switch (input_.Add(line)) {
      case PromptInput::Step::More:
        break;
      case PromptInput::Step::Quit:
        return false;
      case PromptInput::Step::Command:
        return Command(line.substr(line.find('\\') + 1));
      case PromptInput::Step::Run:
        for (int i = 0; i < input_.times() && RunBatch(FromUtf8(input_.text())); ++i) {
        }
        input_.Clear();
        return !InterruptGuard::ShallEnd();
    }
    return true;
  }

  std::string PromptText() const {
    const std::string first = EscapeControls(name_) + "> ";
    if (input_.lines() == 0) return first;
    const std::string further = std::to_string(input_.lines() + 1) + "> ";
    const std::size_t width = DisplayWidth(first);
    return std::string(width - std::min(width, further.size()), ' ') + further;
  }

  // False when it failed or was cancelled.
  bool RunBatch(const Text& sql) {
    if (!database_ && !Connect()) return false;
    const InterruptGuard guard;
    MeasureTerminal(terminal_);
    bool done = false;
    try {
      ResultOutput output(terminal_, options_.output, format_, false);
      progress_.emplace(output.console());
      done = RunInto(output, sql);
      progress_.reset();
      if (done) output.Finish();
    } catch (const ReaderGone&) {
      // The user has left the pager.
    } catch (const std::exception& error) {
      progress_.reset();
      PrintError(terminal_, error.what());
    }
    const StatementWords words = WordsOfStatement(sql);
    if (words.changes_names) completer_.Forget();
    if (words.changes_database && database_) TryToAskName();
    return done;
  }

  bool RunInto(ResultOutput& output, const Text& sql) {
    const StatementSource source{sql, {}, 1};
    try {
      ResultConsole results(output.console(), *progress_, output.writer(), options_.output.limit,
                            source);
      database_->Reader().Run(sql, results);
      return true;
    } catch (const Interrupted&) {
      TellCancelled(output);
    } catch (const DatabaseError& error) {
      if (InterruptGuard::Flag()) {
        TellCancelled(output);
      } else {
        EndOutput(output);
        PrintDatabaseError(output.console(), error, source);
        if (error.native == 0) LookWhetherConnected();
      }
    }
    return false;
  }

  void EndOutput(ResultOutput& output) {
    progress_->Clear();
    output.writer().Abandon();
    output.console().out.flush();
  }

  void TellCancelled(ResultOutput& output) {
    EndOutput(output);
    PrintError(output.console(), "cancelled");
  }

  // A server may have gone away, and come back.
  void LookWhetherConnected() {
    if (!IsServer()) return;
    try {
      NullSink nobody;
      database_->Reader().Run(u"SELECT 1", nobody);
    } catch (const DatabaseError&) {
      database_.reset();
      PrintNote(terminal_,
                "the next statement connects anew; temporary tables, settings and an open "
                "transaction are gone");
    }
  }

  void TryToAskName() {
    try {
      name_ = ToUtf8(SchemaReader(database_->Reader()).DatabaseName());
    } catch (const DatabaseError&) {
      // The old name stays until the database answers again.
    }
  }

  DatabaseNames ReadNames() {
    const InterruptGuard guard;
    if (!database_) return {};
    SchemaReader reader(database_->Reader());
    return {reader.Objects(), reader.AllColumns()};
  }

  // As a shell asks for them.
  std::vector<std::string> CommandWords(std::vector<std::string> words) {
    words.insert(words.begin(), "__complete");
    std::stringstream answer;
    Main(words, terminal_.in, answer, terminal_.err);
    std::vector<std::string> found;
    std::string line;
    std::getline(answer, line);  // about the words as a whole
    while (std::getline(answer, line)) {
      const std::string word = line.substr(0, line.find('\t'));
      const bool is_one_word = word.find(' ') == std::string::npos;
      found.push_back(is_one_word ? word : '"' + word + '"');
    }
    return found;
  }

  // One of the program's commands, on this database. False for the end.
  bool Command(const std::string& line) {
    std::vector<std::string> words = CLI::detail::split_up(line);
    if (words.empty() || words.front() == "?") words = {"help"};
    const std::string name = words.front();
    if (name == "quit" || name == "exit" || name == "q") return false;
    const std::vector<std::string> known = PromptCommands();
    if (name == "help" && words.size() == 1) {
      terminal_.err << kHelp;
    } else if (name == "help") {
      Main({words[1], "--help"}, terminal_.in, terminal_.out, terminal_.err);
    } else if (std::find(known.begin(), known.end(), name) == known.end()) {
      PrintError(terminal_,
                 "unknown command '\\" + SafeLines(name) + "'; \\? tells which there are");
    } else {
      const bool asks_password = name == "run" || name == "schema";
      if (asks_password && !options_.server.password_file.empty()) {
        words.insert(words.end(), {"--password-file", options_.server.password_file});
      }
      Main(words, terminal_.in, terminal_.out, terminal_.err);
    }
    return true;
  }

  void TellOpenTransaction() {
    if (!database_) return;
    NumberSink sink;
    try {
      database_->Reader().Run(u"SELECT @@TRANCOUNT", sink);
    } catch (const DatabaseError&) {
      return;
    }
    if (sink.number != u"0") PrintNote(terminal_, "the open transaction is rolled back");
  }

  Console& terminal_;
  const QueryOptions& options_;
  Text connection_;
  const OutputFormat& format_;
  NameCompleter completer_;
  std::unique_ptr<ReportDatabase> database_;  // none where the connection is lost
  std::string name_;                          // of the database
  std::optional<Text> password_;
  PromptInput input_;
  ProgressLine idle_{terminal_};
  std::optional<ProgressLine> progress_;  // of the statement that runs
};

}  // namespace

bool IsAtTerminal(const Console& console) {
  return &console.in == &std::cin && isatty(STDIN_FILENO) == 1 && console.out_is_terminal;
}

int RunPrompt(Console& terminal, const QueryOptions& options, const Text& connection) {
  if (!options.output.file.empty() && options.output.file != "-") {
    throw UsageError(
        "--output takes the result of SQL, --file or standard input; here is a prompt");
  }
  return Prompt(terminal, options, connection).Run();
}

}  // namespace ledgerwick
