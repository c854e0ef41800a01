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

std::shared_ptr<ReportFilterSet> FindFilterSet(ReportProvider& report) {
  return Held(report.ObjReportManager)->ReportFilterByName(report.ReportTitle);
}

}  // namespace ledgerwick
