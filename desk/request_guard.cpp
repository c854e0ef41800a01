#include "desk/request_guard.h"

#include <algorithm>
#include <iterator>

#include "host/checks.h"
#include "host/filter_argument.h"
#include "host/filters.h"
#include "host/request_facts.h"

namespace ledgerwick::desk {
namespace {

// Of whatever `check` finds: a value that is no date or number where the statement takes it as it
// is, and values that break out of their quotes.
constexpr TextView kBreakingOut[] = {u"LW006", u"LW007", u"LW020", u"LW021",
                                     u"LW022", u"LW026", u"LW027"};
constexpr TextView kQuotes = u"'＇‘’\"[];";

std::string Named(const FilterItem& item) { return "filter " + ToUtf8(item.Name) + ": "; }

bool IsWholeNumber(const Text& text) {
  return std::all_of(text.begin(), text.end(), [](char16_t c) { return c >= u'0' && c <= u'9'; });
}

// A value that the report itself puts into its statement.
void CheckReportValue(const FilterInfo& filter, const FilterItem& item, const Value& value) {
  const Text text = ReadableText(value);
  if (text.empty()) return;
  switch (filter.kind) {
    case FilterKind::Option: {
      const bool known = std::find(filter.values.begin(), filter.values.end(), TextView(text)) !=
                         filter.values.end();
      if (!known) throw Refused(Named(item) + "'" + ToUtf8(text) + "' is none of its values");
      return;
    }
    case FilterKind::DateRange:
      if (!ParseDate(text)) throw Refused(Named(item) + "'" + ToUtf8(text) + "' is no date");
      return;
    case FilterKind::NumberRange:
      if (!IsNumber(text)) throw Refused(Named(item) + "'" + ToUtf8(text) + "' is no number");
      return;
    case FilterKind::PlainText:
    case FilterKind::List:
    case FilterKind::Range:
      break;
  }
  // A level stands in the statement without quotes.
  if (FindText(filter.name, u"Grade") != TextView::npos && !IsWholeNumber(text)) {
    throw Refused(Named(item) + "'" + ToUtf8(text) + "' is no level; give a whole number");
  }
  if (text.find_first_of(kQuotes) != Text::npos) {
    throw Refused(Named(item) + "a quote, a bracket or a semicolon cannot be looked for");
  }
}

void CheckItem(const ReportInfo& report, const FilterItem& item) {
  const FilterInfo* filter = FindItemInfo(report, item.Name, item.strcaption);
  // The host words conditions from the name, which has to be the report's own then.
  if (filter == nullptr || !EqualText(filter->name, item.Name)) {
    throw Refused(Named(item) + "the report has no filter of that name");
  }
  if (!IsHostWording(item)) {
    throw Refused(Named(item) + "a strSqlString of one's own is for `run`, not for the desk");
  }
  if (item.varValue.Opaque() || item.varValue2.Opaque()) {
    throw Refused(Named(item) + "a list or an object is no value");
  }
  if (filter->worded_by == WordedBy::Host) return;
  CheckReportValue(*filter, item, item.varValue);
  CheckReportValue(*filter, item, item.varValue2);
}

}  // namespace

Request ParsePageRequest(const std::string& json) {
  Request request = ParseRequest(json, "request");
  if (!request.connectionString.empty()) {
    throw Refused("the request names a connection; the desk has its own");
  }
  if (request.machine) throw Refused("the request names a machine, which is not for the desk");
  if (!request.recordsets.empty() || request.fail_at) {
    throw Refused("recordsets and fail_at are for `trace`");
  }
  const ReportInfo* report = FindReportInfo(request.report->name);
  if (request.filters && report != nullptr) {
    for (const FilterItem& item : *request.filters) CheckItem(*report, item);
  }
  if (request.login && request.login->cAcc_Id &&
      ReadableText(*request.login->cAcc_Id).find_first_of(kQuotes) != Text::npos) {
    throw Refused("the account holds a quote, a bracket or a semicolon");
  }
  for (const Finding& finding : CheckRequest(request)) {
    const bool breaks = std::find(std::begin(kBreakingOut), std::end(kBreakingOut),
                                  TextView(finding.code)) != std::end(kBreakingOut);
    if (breaks) throw Refused(ToUtf8(finding.what) + ' ' + ToUtf8(finding.remedy));
  }
  return request;
}

}  // namespace ledgerwick::desk
