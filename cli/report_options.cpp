#include "cli/report_options.h"

#include "frame/value.h"
#include "host/filter_argument.h"

namespace ledgerwick {
namespace {

Request ReadRequest(Console& console, const std::string& path) {
  const std::string text = ReadInput(console, path);
  return ParseRequest(text, path == "-" ? "standard input" : path);
}

// A word that can only be meant as a file.
bool LooksLikeFile(const std::string& word) {
  if (HasProgIdPrefix(FromUtf8(word))) return false;
  return word == "-" || word.find('/') != std::string::npos || word.find('.') != std::string::npos;
}

Request StartRequest(Console& console, const ReportOptions& options) {
  if (options.report.empty() == options.request_file.empty()) {
    throw UsageError(options.report.empty() ? "which report? give a class or a request"
                                            : "give either a class or --request, not both");
  }
  if (!options.request_file.empty()) return ReadRequest(console, options.request_file);
  Request request;
  request.report = FindReportClass(FromUtf8(options.report));
  if (request.report) {
    request.filters = DialogueFilters(*request.report);
    return request;
  }
  if (LooksLikeFile(options.report)) return ReadRequest(console, options.report);
  throw UsageError(UnknownClassMessage(options.report));
}

void ApplyLogin(Request& request, const ReportOptions& options) {
  if (!options.login_date && !options.account) return;
  if (!request.login) request.login.emplace();
  if (options.account) request.login->cAcc_Id = FromUtf8(*options.account);
  if (!options.login_date) return;
  const Text date = FromUtf8(*options.login_date);
  if (!ParseDate(date)) {
    throw UsageError("--login-date: '" + *options.login_date + "' is no date (yyyy-mm-dd)");
  }
  request.login->CurDate = date;
}

}  // namespace

Request MakeRequest(Console& console, const ReportOptions& options,
                    std::vector<Finding>* repeated) {
  Request request = StartRequest(console, options);
  std::vector<Text> filters;
  for (const std::string& filter : options.filters) filters.push_back(FromUtf8(filter));
  for (Finding& finding : ApplyFilterArguments(request, filters)) {
    if (repeated != nullptr) {
      repeated->push_back(std::move(finding));
    } else {
      PrintNote(console, ToUtf8(finding.what));
    }
  }
  if (options.title) request.ReportTitle = FromUtf8(*options.title);
  if (!options.connection.empty()) request.connectionString = FromUtf8(options.connection);
  ApplyLogin(request, options);
  return request;
}

}  // namespace ledgerwick
