#include "host/checks.h"

#include <algorithm>

#include "host/filters.h"
#include "host/reference_host.h"
#include "host/request_facts.h"
#include "host/statement_checks.h"
#include "host/suggest.h"
#include "host/trace.h"

namespace ledgerwick {
namespace {

using Findings = std::vector<Finding>;

// What the host knows of a report, and a request for it.
struct Subject {
  const ReportInfo& report;
  RequestFacts facts;
};

void Add(Findings& findings, TextView code, TextView filter, const Sentence& what,
         std::initializer_list<TextView> values = {}) {
  findings.push_back(Found(code, filter, what, values));
}

constexpr Sentence kNoDate(u"'{1}' is no date of the calendar.", u"“{1}”不是有效日期。");

std::string NearestFilter(const ReportInfo& report, TextView name) {
  std::vector<std::string> known;
  for (const FilterInfo& filter : report.filters) {
    known.push_back(ToUtf8(filter.name));
    known.push_back(ToUtf8(filter.caption));
  }
  return Nearest(ToUtf8(name), known);
}

void CheckUnknown(const Subject& subject, const FilterItem& item, Findings& findings) {
  const ReportInfo& report = subject.report;
  const TextView name = Trim(item.Name);
  if (const FilterInfo* captioned = FindFilterInfo(report, name)) {
    Add(findings, u"LW002", name,
        {u"'{1}' is the caption of '{2}'.", u"“{1}”是过滤条件“{2}”的标题。"},
        {name, captioned->name});
  } else if (const std::string nearest = NearestFilter(report, name); nearest.empty()) {
    Add(findings, u"LW001", name, {u"{1} has no filter '{2}'.", u"{1} 没有过滤条件“{2}”。"},
        {report.class_name, name});
  } else {
    Add(findings, u"LW001", name,
        {u"{1} has no filter '{2}'; did you mean '{3}'?",
         u"{1} 没有过滤条件“{2}”；是否应为“{3}”？"},
        {report.class_name, name, FromUtf8(nearest)});
  }
  const bool left_out = report.unknown_filter == UnknownFilter::LeftOut;
  const Sentence fate = left_out ? Sentence(u" It changes nothing.", u"该条件不起作用。")
                                 : Sentence(u" Its condition goes into the statement as it stands.",
                                            u"其内容会原样写入语句。");
  findings.back().what.append(fate.english);
  findings.back().what_zh.append(fate.chinese);
}

void CheckOption(const FilterInfo& filter, const FilterItem& item, Findings& findings) {
  if (ReadableText(item.varValue).empty()) return;
  const Text value = filter.trims_value ? ReadableText(item.varValue) : item.varValue.ToText();
  const auto is_value = [&](TextView known) { return EqualText(known, value); };
  if (std::any_of(filter.values.begin(), filter.values.end(), is_value)) return;
  Text known;
  for (const TextView v : filter.values) known.append(known.empty() ? u"" : u", ").append(v);
  Add(findings, u"LW005", filter.name,
      {u"{1} does not know '{2}'; it knows {3}.", u"{1} 没有取值“{2}”；可用的取值有：{3}。"},
      {filter.name, value, known});
}

// Eight digits are a date to a server, in whatever way its session writes dates.
bool IsServerDate(const Text& text) {
  if (text.size() != 8 || text.find_first_not_of(u"0123456789") != Text::npos) return false;
  return ParseDate(text.substr(0, 4) + u"-" + text.substr(4, 2) + u"-" + text.substr(6))
      .has_value();
}

// Complains of a bound that its kind does not take. Returns false for one.
bool CheckBound(const FilterInfo& filter, const Value& bound, Findings& findings) {
  const Text text = ReadableText(bound);
  if (text.empty() || bound.If<Date>()) return true;
  if (filter.kind == FilterKind::DateRange && !ParseDate(text) && !IsServerDate(text)) {
    Add(findings, u"LW006", filter.name, kNoDate, {text});
    return false;
  }
  if (filter.kind == FilterKind::NumberRange && !IsNumber(text)) {
    Add(findings, u"LW007", filter.name, {u"'{1}' is no number.", u"“{1}”不是数值。"}, {text});
    return false;
  }
  return true;
}

bool EndsBeforeItBegins(const FilterInfo& filter, const Text& first, const Text& second) {
  if (filter.kind == FilterKind::NumberRange) return ToNumber(first) > ToNumber(second);
  if (filter.kind != FilterKind::DateRange) return CompareText(first, second) > 0;
  const std::optional<Date> from = ParseDate(first);
  const std::optional<Date> to = ParseDate(second);
  return from && to && from->serial > to->serial;
}

void CheckRange(const FilterInfo& filter, const FilterItem& item, Findings& findings) {
  const bool from_fits = CheckBound(filter, item.varValue, findings);
  const bool to_fits = CheckBound(filter, item.varValue2, findings);
  const Text from = ReadableText(item.varValue);
  const Text to = ReadableText(item.varValue2);
  if (!from_fits || !to_fits || from.empty() || to.empty()) return;
  if (filter.trait == FilterTrait::AnyOrder || !EndsBeforeItBegins(filter, from, to)) return;
  Add(findings, u"LW010", filter.name,
      {u"The range from '{1}' to '{2}' ends before it begins: no row meets it.",
       u"范围“{1}”至“{2}”的上限小于下限，没有记录满足条件。"},
      {from, to});
}

void CheckItem(const Subject& subject, const FilterItem& item, Findings& findings) {
  const FilterInfo* filter = FindItemInfo(subject.report, item.Name, item.strcaption);
  if (!filter) return CheckUnknown(subject, item, findings);
  if (filter->trait == FilterTrait::ByCaption &&
      !EqualText(Trim(item.strcaption), filter->caption)) {
    const Sentence none(u"The report knows {1} by its caption '{2}', and the item has none.",
                        u"报表按标题“{2}”识别 {1}，而该项没有标题。");
    const Sentence another(u"The report knows {1} by its caption '{2}', and the item has '{3}'.",
                           u"报表按标题“{2}”识别 {1}，而该项的标题是“{3}”。");
    Add(findings, u"LW003", filter->name, Trim(item.strcaption).empty() ? none : another,
        {filter->name, filter->caption, item.strcaption});
  }
  if (filter->kind == FilterKind::Option) CheckOption(*filter, item, findings);
  if (IsRange(filter->kind)) CheckRange(*filter, item, findings);
}

void CheckItems(const Subject& subject, Findings& findings) {
  const auto& items = subject.facts.Items();
  for (auto item = items.begin(); item != items.end(); ++item) {
    if (!IsSet(*item) && Trim(FragmentOf(*item)).empty()) continue;
    CheckItem(subject, *item, findings);
    const auto is_same = [&](const FilterItem& other) {
      return EqualText(Trim(other.Name), Trim(item->Name));
    };
    const bool is_second = std::count_if(items.begin(), item, is_same) == 1;
    if (is_second) findings.push_back(FindingOf(GeneralNote(u"LW004"), Trim(item->Name)));
  }
}

void CheckInputs(const Subject& subject, Findings& findings) {
  const Request& request = subject.facts.request();
  const auto& login = request.login;
  if (subject.report.login_input == LoginInput::CurDate && !(login && login->CurDate)) {
    Add(findings, u"LW008", {},
        {u"The report needs the login date (CurDate).", u"报表需要登录日期（CurDate）。"});
  }
  if (subject.report.login_input == LoginInput::CurDate && login && login->CurDate) {
    const Text date = ReadableText(*login->CurDate);
    if (!login->CurDate->If<Date>() && !ParseDate(date)) {
      Add(findings, u"LW006", u"CurDate", kNoDate, {date});
    }
  }
  if (subject.report.login_input == LoginInput::cAcc_Id && !(login && login->cAcc_Id)) {
    Add(findings, u"LW008", {},
        {u"The report needs the account's code (cAcc_Id).", u"报表需要账套号（cAcc_Id）。"});
  }
  if (request.filters || subject.report.without_set == WithoutSet::Runs) return;
  const bool gives_up = subject.report.without_set == WithoutSet::GivesUp;
  Add(findings, u"LW009", {},
      gives_up ? Sentence(u"Without a filter set the report gives up and says nothing.",
                          u"没有过滤条件集时，报表放弃执行且不作提示。")
               : Sentence(u"Without a filter set the report ends in error 91.",
                          u"没有过滤条件集时，报表以错误 91 结束。"));
}

void CheckResultTable(const Request& request, Findings& findings) {
  constexpr std::size_t kLengthInSuffix = 10;
  if (!request.report->has_machine_suffix) {
    findings.push_back(FindingOf(GeneralNote(u"LW011")));
  } else if ((request.machine ? *request.machine : ThisComputerName()).size() > kLengthInSuffix) {
    findings.push_back(FindingOf(GeneralNote(u"LW012")));
  }
}

bool Has(const Findings& findings, std::initializer_list<TextView> codes) {
  return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
    return std::find(codes.begin(), codes.end(), finding.code) != codes.end();
  });
}

// The request as it is performed without a database: with the levels that a report asks for.
Request ForTrace(Request request) {
  request.fail_at.reset();
  CannedRecordset levels{u"Select * From Rd_Style", {}};
  for (const std::int32_t level : {1, 2, 3}) {
    levels.rows.push_back({{u"iRdGrade", Value(level)}, {u"cRdCode", Value(u"1")}});
  }
  request.recordsets.push_back(std::move(levels));
  return request;
}

// Adds what the statement shows and nothing else has told.
void AddStatementFindings(const Request& request, Findings& findings) {
  if (!request.report->factory) return;
  const Request performed = ForTrace(request);
  for (Finding& finding : CheckStatements(performed, TraceReport(performed))) {
    const bool is_told = (finding.code == u"LW020" && Has(findings, {u"LW701"})) ||
                         (finding.code == u"LW028" &&
                          Has(findings, {u"LW006", u"LW007", u"LW008", u"LW009", u"LW805"}));
    if (!is_told) findings.push_back(std::move(finding));
  }
}

}  // namespace

void SortBySeverity(std::vector<Finding>& findings) {
  std::stable_sort(findings.begin(), findings.end(),
                   [](const Finding& a, const Finding& b) { return a.severity > b.severity; });
}

bool HasAtLeast(const std::vector<Finding>& findings, Severity severity) {
  return std::any_of(findings.begin(), findings.end(),
                     [&](const Finding& finding) { return finding.severity >= severity; });
}

std::vector<Finding> CheckRequest(const Request& request) {
  Findings findings;
  if (const ReportInfo* report = FindReportInfo(request.report->name)) {
    const Subject subject{*report, RequestFacts(request)};
    CheckInputs(subject, findings);
    CheckItems(subject, findings);
    for (const Note& note : report->notes) {
      if (note.applies(subject.facts)) findings.push_back(FindingOf(note));
    }
  }
  AddStatementFindings(request, findings);
  CheckResultTable(request, findings);
  SortBySeverity(findings);
  return findings;
}

}  // namespace ledgerwick
