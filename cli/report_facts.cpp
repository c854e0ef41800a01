#include "cli/report_facts.h"

namespace ledgerwick {

Text ProgId(const ClassInfo& info) { return u"Ledgerwick." + Text(info.name); }

Text ResultTable(const ClassInfo& info) {
  return u"tempdb.." + Text(info.result_table) + (info.has_machine_suffix ? u"_<machine>" : u"");
}

TextView WordingOf(const FilterInfo& filter) {
  if (filter.worded_by == WordedBy::Report) return u"the report";
  return filter.trait == FilterTrait::ByCaption ? u"the host; the report knows it by its caption"
                                                : u"the host";
}

Text ValuesOf(const FilterInfo& filter) {
  if (filter.values.empty()) return Text(KindMeaning(filter.kind));
  Text values;
  for (const TextView value : filter.values) {
    values.append(values.empty() ? u"" : u", ").append(value);
  }
  return values;
}

TextView InputsOf(const ReportInfo& report) {
  switch (report.login_input) {
    case LoginInput::CurDate:
      return u"the login date (--login-date, CurDate of \"login\")";
    case LoginInput::cAcc_Id:
      return u"the account (--account, cAcc_Id of \"login\")";
    case LoginInput::None:
      break;
  }
  return u"nothing but filters";
}

TextView SetOf(const ReportInfo& report) {
  switch (report.without_set) {
    case WithoutSet::Fails:
      return u"error 91";
    case WithoutSet::GivesUp:
      return u"the report gives up and says nothing";
    case WithoutSet::Runs:
      break;
  }
  return u"the report runs";
}

TextView UnknownOf(const ReportInfo& report) {
  return report.unknown_filter == UnknownFilter::LeftOut
             ? u"left out"
             : u"in the condition as the host has worded it";
}

std::vector<std::pair<TextView, Text>> Facts(const Subject& s) {
  return {{u"result table", ResultTable(s.info)},
          {u"subtitle", s.info.Has(Member::strSubTitle) ? u"yes" : u"no"},
          {u"needs", Text(InputsOf(s.report))},
          {u"without a filter set", Text(SetOf(s.report))},
          {u"an unknown filter", Text(UnknownOf(s.report))}};
}

}  // namespace ledgerwick
