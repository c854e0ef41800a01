// newClsReportDaoSaleProfit, the sales profit: a member of the component whose table is not
// settled.
#include <memory>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {.table = u"Sa_TpSaleProfit"};

class newClsReportDaoSaleProfit final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return ResultTable(kReport, system()); }

  Text strSubTitle() override { return BuildDateSubTitle(*this); }

  // What the profit is made of is nowhere laid down, so no table is filled.
  bool MoveDataDetail() override {
    throw DatabaseError(kErrorNotImplemented, u"Ledgerwick",
                        u"The sales profit report (newClsReportDaoSaleProfit) is not implemented: "
                        u"what its table holds is not laid down.");
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSalesProfit(System& system) {
  return std::make_unique<newClsReportDaoSaleProfit>(system);
}

}  // namespace ledgerwick
