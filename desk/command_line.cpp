#include "desk/command_line.h"

#include <algorithm>

#include "host/filters.h"
#include "host/request_facts.h"

namespace ledgerwick::desk {
namespace {

// `word` as a shell reads it back.
std::string ShellWord(const std::string& word) {
  const bool plain = !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           std::string_view("_-=.:/,@%+").find(c) != std::string_view::npos;
  });
  if (plain) return word;
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + '\'';
}

std::string ValueOf(const FilterInfo* filter, const FilterItem& item) {
  const std::string from = ToUtf8(ReadableText(item.varValue));
  const std::string to = ToUtf8(ReadableText(item.varValue2));
  if (filter != nullptr && !IsRange(filter->kind)) return from;
  // A condition that begins with the lower bound alone is open above.
  const bool is_open = item.strSqlString && FindText(*item.strSqlString, u" >= ") != Text::npos;
  return to.empty() && !is_open ? from : from + ".." + to;
}

}  // namespace

std::string CommandOf(const Request& request, const Text& connection) {
  const ReportInfo* report = FindReportInfo(request.report->name);
  std::string command = "ledgerwick run " + ToUtf8(request.report->name);
  const auto add = [&](const char* option, const std::string& value) {
    command.append(" ").append(option).append(" ").append(ShellWord(value));
  };
  for (const FilterItem& item : RequestFacts(request).Items()) {
    if (!IsSet(item)) continue;
    const FilterInfo* filter =
        report != nullptr ? FindItemInfo(*report, item.Name, item.strcaption) : nullptr;
    add("--filter", ToUtf8(item.Name) + '=' + ValueOf(filter, item));
  }
  if (!request.ReportTitle.empty()) add("--title", ToUtf8(request.ReportTitle));
  if (request.login && request.login->CurDate) {
    add("--login-date", ToUtf8(ReadableText(*request.login->CurDate)));
  }
  if (request.login && request.login->cAcc_Id) {
    add("--account", ToUtf8(ReadableText(*request.login->cAcc_Id)));
  }
  add("--connection", ToUtf8(connection));
  return command;
}

}  // namespace ledgerwick::desk
