#include "frame/report_provider.h"

#include "frame/error.h"

namespace ledgerwick {

Text ReportProvider::strSubTitle() { throw MemberNotFound(); }

Value ReportProvider::Call(Member, std::span<const Argument>) { throw MemberNotFound(); }

void OpenNew(ReportProvider& report, System& system) {
  report.mconn = system.NewConnection();
  report.mconn->Open(report.mConnectionString, u"", u"", kOptionUnspecified);
}

std::shared_ptr<ReportFilterSet> FindFilterSet(const ReportProvider& report) {
  if (!report.ObjReportManager) throw ObjectNotSet();
  return report.ObjReportManager->ReportFilterByName(report.ReportTitle);
}

std::shared_ptr<ReportFilterSet> RequireFilterSet(const ReportProvider& report) {
  std::shared_ptr<ReportFilterSet> set = FindFilterSet(report);
  if (!set) throw ObjectNotSet();
  return set;
}

Text AndCondition(TextView condition) {
  if (Trim(condition).empty()) return {};
  return u" AND " + Text(condition);
}

Text InventoryDefineColumns(TextView qualifier) {
  constexpr int kFirstLine = 10;
  constexpr int kCount = 16;
  Text columns = u" ";
  for (int i = 1; i <= kCount; ++i) {
    const std::string number = std::to_string(i);
    columns.append(qualifier).append(u"cInvDefine").append(number.begin(), number.end()) += u',';
    if (i == kFirstLine) columns += u"  ";
  }
  return columns;
}

}  // namespace ledgerwick
