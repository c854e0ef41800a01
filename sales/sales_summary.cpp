// newclsReportDataSaleTotal, the sales summary: what was sold, summed by the procedure.
#include <memory>

#include "frame/report_provider.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sales_dialogue.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {
    .table = u"Sa_TempSaleDetail",
    .procedure = u"Sa_MoveSaleDetail",
    .measure = Measure::Characters,  // the others count bytes
    .place = u"newclsReportDataSaleTotal.MoveSaleDetail()",
    .has_machine_suffix = false,  // unlike all others
    .reads_sub_title = true,
};

// A new connection; errors reach the host and leave it open.
class newclsReportDataSaleTotal final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return ResultTable(kReport, system()); }

  Text strSubTitle() override { return BuildDateSubTitle(*this); }

  bool MoveDataDetail() override {
    return OpenNewIfFiltered(*this, system()) &&
           HandOff(*this, system(), kReport, SortSalesItem, SalesParameters);
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSalesSummary(System& system) {
  return std::make_unique<newclsReportDataSaleTotal>(system);
}

}  // namespace ledgerwick
