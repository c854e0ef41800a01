// check: what is wrong or surprising in a request, before it runs.
#include <algorithm>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/connections.h"
#include "cli/interrupt.h"
#include "cli/report_options.h"
#include "cli/text_table.h"
#include "host/checks.h"
#include "host/filters.h"
#include "output/wrapped_text.h"

namespace ledgerwick {
namespace {

constexpr std::size_t kIndent = 4;
constexpr std::size_t kWidest = 100;  // longer lines read badly

// A head, and sentences below it, in lines that fit the terminal.
void PrintParagraph(ResultOutput& output, const Text& head, std::initializer_list<TextView> texts) {
  const std::size_t width = std::min(kWidest, output.console().width);
  for (const std::string& line : WrapText(ToUtf8(head), width)) output.stream() << line << '\n';
  for (const TextView text : texts) {
    for (const std::string& line : WrapText(ToUtf8(text), width - std::min(width, kIndent))) {
      output.stream() << std::string(kIndent, ' ') << line << '\n';
    }
  }
  CheckWritten(output.stream());
}

// Sentences side by side fit no terminal.
bool IsForReading(const Console& console, const OutputFormat& format) {
  return console.out_is_terminal && format.name == "table";
}

Text Head(const Text& level, TextView code, TextView filter) {
  Text head = level + u" " + Text(code);
  if (!filter.empty()) head.append(u", ").append(filter);
  return head;
}

void WriteFindings(Console& console, const std::string& format_name,
                   const std::vector<Finding>& findings) {
  OutputOptions options;
  options.format = format_name;
  const OutputFormat& format = ChooseFormat(console, options);
  ResultOutput output(console, options, format, true);
  if (IsForReading(console, format)) {
    for (const Finding& f : findings) {
      PrintParagraph(output, Head(Text(SeverityName(f.severity)), f.code, f.filter),
                     {f.what, f.remedy});
    }
    if (findings.empty()) output.console().err << "nothing is wrong or surprising\n";
  } else {
    TextTable table(output.writer(), {u"level", u"code", u"filter", u"finding", u"remedy"});
    for (const Finding& f : findings) {
      table.Row({SeverityName(f.severity), f.code, f.filter, f.what, f.remedy});
    }
    table.End();
  }
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

int CodesCommand(Console& console, const std::string& format_name) {
  OutputOptions options;
  options.format = format_name;
  const OutputFormat& format = ChooseFormat(console, options);
  ResultOutput output(console, options, format, true);
  if (IsForReading(console, format)) {
    for (const auto& [report, note] : EveryNote()) {
      PrintParagraph(output, Head(Text(SeverityName(note->severity)), note->code, note->filter),
                     {report, note->does, note->remedy});
    }
  } else {
    TextTable table(output.writer(),
                    {u"code", u"level", u"report", u"filter", u"what happens", u"remedy"});
    for (const auto& [report, note] : EveryNote()) {
      table.Row({note->code, SeverityName(note->severity), report, note->filter, note->does,
                 note->remedy});
    }
    table.End();
  }
  output.Finish();
  return kDone;
}

}  // namespace ledgerwick
