// check: what is wrong or surprising in a request, before it runs.
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/connections.h"
#include "cli/interrupt.h"
#include "cli/report_options.h"
#include "cli/text_table.h"
#include "host/checks.h"
#include "host/filters.h"

namespace ledgerwick {
namespace {

void WriteFindings(Console& console, const std::string& format,
                   const std::vector<Finding>& findings) {
  OutputOptions options;
  options.format = format;
  ResultOutput output(console, options, ChooseFormat(console, options), true);
  TextTable table(output.writer(), {u"level", u"code", u"filter", u"finding", u"remedy"});
  for (const Finding& f : findings) {
    table.Row({SeverityName(f.severity), f.code, f.filter, f.what, f.remedy});
  }
  table.End();
  output.Finish();
}

// What the database at hand adds. One that cannot be opened is an error of its own.
void AddFromDatabase(Console& console, const Request& request, std::vector<Finding>& findings) {
  const InterruptGuard guard;
  ConnectionSettings settings;
  settings.cancel = &InterruptGuard::Flag();
  settings.password = [&](const Text& user, const Text& server) {
    return FindPassword(console, {}, user, server);
  };
  const auto database = OpenReportDatabase(request.connectionString, settings);
  for (Finding& finding : CheckOnDatabase(request, database->Reader())) {
    findings.push_back(std::move(finding));
  }
  InterruptGuard::Check();
  SortBySeverity(findings);
}

}  // namespace

int CheckCommand(Console& console, const CheckOptions& options) {
  std::vector<Finding> findings;
  const Request request = MakeRequest(console, options.report, &findings);
  for (Finding& finding : CheckRequest(request)) findings.push_back(std::move(finding));
  SortBySeverity(findings);
  if (!options.report.connection.empty()) AddFromDatabase(console, request, findings);
  WriteFindings(console, options.format, findings);
  const Severity worst_allowed = options.report.strict ? Severity::Warning : Severity::Error;
  return HasAtLeast(findings, worst_allowed) ? kRefused : kDone;
}

int CodesCommand(Console& console, const std::string& format) {
  OutputOptions options;
  options.format = format;
  ResultOutput output(console, options, ChooseFormat(console, options), true);
  TextTable table(output.writer(),
                  {u"code", u"level", u"report", u"filter", u"what happens", u"remedy"});
  for (const auto& [report, note] : EveryNote()) {
    table.Row(
        {note->code, SeverityName(note->severity), report, note->filter, note->does, note->remedy});
  }
  table.End();
  output.Finish();
  return kDone;
}

}  // namespace ledgerwick
