// newClsReportDaoSaleCost, the sales cost.
#include <memory>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {
    .table = u"Sa_TempSaleCostDetail",
    .procedure = u"Sa_MoveSaleCostDetail",
    .measure = Measure::AnsiBytes,
    .place = u"newClsReportDaoSaleCost.MoveSaleDetail()",
};

struct Conditions {
  Text general;
};

TextParameters ParametersOf(const Text& table, const Conditions& conditions) {
  return {{u"chrtable", kVarChar, table}, {u"chrWhere1", kLongVarChar, conditions.general}};
}

// The host's own connection, the host's own condition; every error ends in a message that does not
// say which, and False.
class newClsReportDaoSaleCost final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return ResultTable(kReport, system()); }

  Text strSubTitle() override { return BuildDateSubTitle(*this); }

  bool MoveDataDetail() override {
    return Trapped([&] { return Fill(); },
                   [&] {
                     system().Beep();
                     system().MessageBox(Text(kNetworkConflict), u"", kInformation);
                     return false;
                   });
  }

 private:
  bool Fill() {
    Open(mconn, *this);  // the host's
    const std::shared_ptr<ReportFilterSet> set = FindFilterSet(*this);
    if (!set) return false;
    return HandOff(
        *this, system(), kReport, [&] { return Conditions{set->ConditionText()}; }, ParametersOf);
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSalesCost(System& system) {
  return std::make_unique<newClsReportDaoSaleCost>(system);
}

}  // namespace ledgerwick
