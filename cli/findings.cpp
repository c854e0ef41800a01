#include "cli/findings.h"

#include "host/checks.h"

namespace ledgerwick {
namespace {

std::string Line(const Finding& finding) {
  std::string line = ToUtf8(SeverityName(finding.severity)) + ' ' + ToUtf8(finding.code);
  if (!finding.filter.empty()) line += " (" + ToUtf8(finding.filter) + ')';
  return line + ": " + ToUtf8(finding.what) + ' ' + ToUtf8(finding.remedy);
}

}  // namespace

bool TellFindings(Console& console, const Request& request, bool strict) {
  bool is_clean = true;
  for (const Finding& finding : CheckRequest(request)) {
    if (finding.severity < Severity::Warning) continue;
    is_clean = false;
    PrintError(console, Line(finding));
  }
  if (is_clean || !strict) return true;
  PrintError(console, "nothing is run, as --strict was given");
  return false;
}

}  // namespace ledgerwick
