// run and trace: one use of one report.
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/connections.h"
#include "cli/findings.h"
#include "cli/interrupt.h"
#include "cli/report_options.h"
#include "cli/report_run.h"
#include "cli/result_output.h"
#include "host/trace.h"
#include "host/trace_script.h"

namespace ledgerwick {

int RunCommand(Console& console, const RunOptions& options) {
  const OutputFormat& format = ChooseFormat(console, options.output);
  Request request = MakeRequest(console, options.report);
  request.connectionString =
      ChooseConnection(options.report.connection, options.report.server, request.connectionString);
  if (!request.report->factory) throw ReportMissing(*request.report);
  if (!TellFindings(console, request, options.report.strict)) return kRefused;
  const InterruptGuard guard;
  ResultOutput output(console, options.output, format, true);
  const RunSettings settings{options.memory_limit, options.output.limit, options.show_sql,
                             options.read_only, options.report.server};
  if (!RunReportInto(output.console(), output.writer(), request, settings)) return kRefused;
  InterruptGuard::Check();
  output.Finish();
  return kDone;
}

int TraceCommand(Console& console, const ReportOptions& options, const std::string& format) {
  const Request request = MakeRequest(console, options);
  if (!TellFindings(console, request, options.strict)) return kRefused;
  const Trace trace = TraceReport(request);
  console.out << (format == "sql" ? ToScript(trace, *request.report) : ToJson(trace)) << std::flush;
  CheckWritten(console.out);
  return Succeeded(trace) ? kDone : kRefused;
}

}  // namespace ledgerwick
