// query: T-SQL on a database.
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/connections.h"
#include "cli/interrupt.h"
#include "cli/prompt.h"
#include "cli/result_console.h"
#include "cli/result_output.h"
#include "cli/script_text.h"
#include "cli/sql_script.h"

namespace ledgerwick {
namespace {

// A script and the name that stands in its errors; empty where it comes from no file.
struct Script {
  std::vector<ScriptBatch> batches;
  std::string file_name;
};

Script ReadScript(Console& console, const QueryOptions& options) {
  if (options.has_sql && !options.file.empty()) {
    throw UsageError("give either SQL or --file, not both");
  }
  if (options.has_sql && !options.encoding.empty()) {
    throw UsageError("--encoding is for --file and standard input; SQL as an argument is UTF-8");
  }
  if (options.has_sql) return {SplitScript(options.sql), {}};
  const bool from_input = options.file.empty() || options.file == "-";
  const std::string bytes = ReadInput(console, from_input ? "-" : options.file);
  const std::string name = from_input ? "standard input" : options.file;
  return {SplitScript(DecodeScript(bytes, options.encoding, name)),
          from_input ? std::string() : name};
}

}  // namespace

int QueryCommand(Console& terminal, const QueryOptions& options) {
  const OutputFormat& format = ChooseFormat(terminal, options.output);
  const Text connection = ChooseConnection(options.connection, options.server, {});
  if (!options.has_sql && options.file.empty() && IsAtTerminal(terminal)) {
    return RunPrompt(terminal, options, connection);
  }
  const Script script = ReadScript(terminal, options);
  const InterruptGuard guard;
  ResultOutput output(terminal, options.output, format, false);
  Console& console = output.console();
  ProgressLine progress(console);
  StatementSource source;
  source.file_name = script.file_name;
  ConnectionSettings settings = UsualSettings(console, progress, options.server);
  settings.memory_limit = options.memory_limit;
  settings.read_only = options.read_only;
  settings.read_only_if_it_must = true;
  settings.create = options.create;
  try {
    const auto database = OpenReportDatabase(connection, settings);
    for (const ScriptBatch& batch : script.batches) {
      source.sql = batch.sql;
      source.first_line = batch.first_line;
      ResultConsole results(console, progress, output.writer(), options.output.limit, source);
      database->Reader().Run(batch.sql, results);
    }
  } catch (const DatabaseError& error) {
    progress.Clear();
    output.writer().Abandon();
    console.out.flush();
    InterruptGuard::Check();
    // An error of the opening has no file of statements behind it.
    if (source.sql.empty()) source.file_name.clear();
    PrintDatabaseError(console, error, source);
    return kRefused;
  }
  output.Finish();
  return kDone;
}

}  // namespace ledgerwick
