#include "cli/report_run.h"

#include "cli/connections.h"
#include "cli/interrupt.h"
#include "cli/progress_line.h"
#include "cli/result_console.h"
#include "host/runner.h"

namespace ledgerwick {
namespace {

// Tells on the error stream what a running report does, and remembers the statement for its error.
class ConsoleListener final : public RunListener {
 public:
  ConsoleListener(Console& console, ResultWriter& writer, ProgressLine& progress,
                  const Request& request, bool show_sql)
      : console_(console),
        writer_(writer),
        progress_(progress),
        report_(*request.report),
        show_sql_(show_sql) {
    const bool has_account = request.login && request.login->cAcc_Id;
    if (!request.filters) {
      missing_ = "; the request gives it no filter set";
    } else if (report_.Has(Member::objLogin) && !has_account) {
      missing_ = "; it may need --account";
    }
  }

  void Statement(const Text& sql) override {
    source_.sql = sql;
    if (!show_sql_) return;
    progress_.Clear();
    console_.err << SafeLines(ToUtf8(sql)) << '\n' << std::flush;
  }
  void Failed(const DatabaseError& error) override { failure_ = error; }
  void Filled(const Text& title, const std::optional<Text>& sub_title) override {
    progress_.Clear();
    const Text shown =
        !title.empty() ? title : Text(report_.help.empty() ? report_.report : report_.help);
    console_.err << SafeLines(ToUtf8(shown)) << '\n';
    if (sub_title && !sub_title->empty()) console_.err << SafeLines(ToUtf8(*sub_title)) << '\n';
    writer_.Titles(shown, sub_title.value_or(Text()));
  }
  void MessageBox(const Text& text, const Text& title) override {
    has_spoken_ = true;
    progress_.Clear();
    if (!title.empty()) console_.err << SafeLines(ToUtf8(title)) << ": ";
    console_.err << SafeLines(ToUtf8(text)) << '\n';
  }
  void Beep() override {
    if (console_.err_is_terminal) console_.err << '\a' << std::flush;
  }

  const StatementSource& source() const { return source_; }

  // After a report that gave up: the error that it kept to itself, or what may be missing. One that
  // has refused a condition has said so itself.
  void ExplainGivingUp() {
    progress_.Clear();
    if (failure_) {
      PrintDatabaseError(console_, *failure_, source_);
    } else if (!has_spoken_) {
      PrintError(console_, ToUtf8(report_.name) + " gave up without a reason" + missing_);
    }
  }

 private:
  Console& console_;
  ResultWriter& writer_;
  ProgressLine& progress_;
  const ClassInfo& report_;
  bool show_sql_;
  std::string missing_;
  StatementSource source_;
  std::optional<DatabaseError> failure_;
  bool has_spoken_ = false;
};

}  // namespace

std::optional<std::int64_t> RunReportInto(Console& console, ResultWriter& writer,
                                          const Request& request, const RunSettings& options) {
  ProgressLine progress(console);
  const std::string table = ToUtf8(request.report->result_table);
  ConnectionSettings settings = UsualSettings(console, progress, options.server);
  settings.memory_limit = options.memory_limit;
  settings.read_only = options.read_only;
  settings.progress = [&] { progress.Show("working on tempdb.." + table); };
  settings.on_wait = [&] {
    progress.Clear();
    PrintNote(console, "waiting for another process that uses tempdb.." + table);
  };
  ConsoleListener listener(console, writer, progress, request, options.show_sql);
  try {
    const auto database = OpenReportDatabase(request.connectionString, settings);
    ResultConsole rows(console, progress, writer, options.limit);
    if (!RunReport(request, *database, listener, rows)) {
      InterruptGuard::Check();
      listener.ExplainGivingUp();
      return std::nullopt;
    }
    return rows.count();
  } catch (const DatabaseError& error) {
    progress.Clear();
    InterruptGuard::Check();
    PrintDatabaseError(console, error, listener.source());
    return std::nullopt;
  }
}

}  // namespace ledgerwick
