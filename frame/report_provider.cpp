#include "frame/report_provider.h"

#include "frame/error.h"

namespace ledgerwick {

Text ReportProvider::strSubTitle() { throw MemberNotFound(); }

Value ReportProvider::Call(Member, std::span<const Argument>) { throw MemberNotFound(); }

void Open(const std::shared_ptr<Connection>& connection, const ReportProvider& report) {
  const Text connection_string = report.mConnectionString;  // which the host may change meanwhile
  Held(connection)->Open(connection_string, u"", u"", kOptionUnspecified);
}

void OpenNew(ReportProvider& report, System& system) {
  report.mconn = system.NewConnection();
  Open(report.mconn, report);
}

void DropIgnoringErrors(const std::shared_ptr<Connection>& connection, const Text& sql) {
  const std::shared_ptr<Connection> held = connection;
  // A missing connection fails the statement that follows.
  if (held) held->ExecuteIgnoringErrors(sql, kOptionUnspecified);
}

std::shared_ptr<ReportFilterSet> FindFilterSet(ReportProvider& report) {
  return Held(report.ObjReportManager)->ReportFilterByName(report.ReportTitle);
}

std::shared_ptr<ReportFilterSet> RequireFilterSet(ReportProvider& report) {
  return Held(FindFilterSet(report));
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
