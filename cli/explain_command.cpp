// explain: how the embedded database reads, plans and runs a statement.
#include <iomanip>
#include <sstream>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/connections.h"
#include "cli/interrupt.h"
#include "cli/progress_line.h"
#include "frame/null_sink.h"
#include "tsql/connection.h"

namespace ledgerwick {
namespace {

// The rows are only counted.
class CountedRows final : public NullSink {
 public:
  bool WantsRow() override { return false; }
};

void PrintPart(std::ostream& out, const char* title, const std::vector<std::string>& lines) {
  out << title << '\n';
  for (const std::string& line : lines) {
    std::istringstream parts(SafeLines(line));
    for (std::string part; std::getline(parts, part);) out << "  " << part << '\n';
  }
}

std::string Milliseconds(double seconds) {
  constexpr double kPerSecond = 1000;
  std::ostringstream text;
  text << std::fixed << std::setprecision(3) << seconds * kPerSecond << " ms";
  return text.str();
}

void Print(std::ostream& out, const tsql::Explanation& explanation, bool analyzed) {
  PrintPart(out, "Statement", {ToUtf8(explanation.statement)});
  if (!explanation.bound.empty()) PrintPart(out, "Meaning", {explanation.bound});
  if (explanation.decisions.empty()) {
    PrintPart(out, "Planning", {"as written"});
  } else {
    PrintPart(out, "Planning", explanation.decisions);
  }
  PrintPart(out, "SQLite's SQL", explanation.sql);
  if (!explanation.parts.empty()) PrintPart(out, "Its parts", explanation.parts);
  if (!explanation.plan.empty()) PrintPart(out, "SQLite's plan", explanation.plan);
  if (!analyzed) return;
  PrintPart(
      out, "Run",
      {"rows " + std::to_string(explanation.rows) + ", runs " + std::to_string(explanation.runs),
       "from text to SQL " + Milliseconds(explanation.compile_seconds) + ", running " +
           Milliseconds(explanation.run_seconds)});
}

}  // namespace

int ExplainCommand(Console& console, const ExplainOptions& options) {
  const Text connection = ChooseConnection(options.connection, {}, {});
  if (!connection.starts_with(tsql::kEmbeddedPrefix)) {
    throw UsageError("explain takes the connection of an embedded database, embedded:PATH");
  }
  const std::string path = ToUtf8(connection.substr(tsql::kEmbeddedPrefix.size()));
  const Text sql = FromUtf8(options.sql);
  const InterruptGuard guard;
  ProgressLine progress(console);
  tsql::DatabaseOptions settings;
  settings.cancel = &InterruptGuard::Flag();
  settings.progress = [&] { progress.Show("running"); };
  StatementSource source;
  try {
    const auto database = tsql::Database::Open(path, settings);
    source.sql = sql;
    CountedRows sink;
    const auto explanations = database->Explain(sql, options.analyze, sink);
    progress.Clear();
    for (const tsql::Explanation& explanation : explanations) {
      if (&explanation != explanations.data()) console.out << '\n';
      Print(console.out, explanation, options.analyze);
    }
    return kDone;
  } catch (const DatabaseError& error) {
    progress.Clear();
    InterruptGuard::Check();
    PrintDatabaseError(console, error, source);
    return kRefused;
  }
}

}  // namespace ledgerwick
