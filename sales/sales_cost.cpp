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
    .place = u"\r\n错误位于模块：newClsReportDaoSaleCost.MoveSaleDetail()",
};

// The host's own connection, the host's own condition; every error ends in a message that does not
// say which, and False.
class newClsReportDaoSaleCost final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return InTempdb(TableOnThisMachine(kReport, system())); }

  Text strSubTitle() override { return BuildDateSubTitle(*this); }

  bool MoveDataDetail() override {
    return Trapped([&] { return HandOff(); },
                   [&] {
                     system().Beep();
                     system().MessageBox(Text(kNetworkConflict), u"", kInformation);
                     return false;
                   });
  }

 private:
  bool HandOff() {
    Open(mconn, *this);  // the host's
    const std::shared_ptr<ReportFilterSet> set = FindFilterSet(*this);
    if (!set) return false;
    const std::unique_ptr<Command> command = Held(mconn)->NewCommand();
    Text condition = set->ConditionText();
    if (!HandOverCondition(condition, *command, kReport, system())) return false;
    CallProcedure(*command, kReport.procedure,
                  {{u"chrtable", kVarChar, TableOnThisMachine(kReport, system())},
                   {u"chrWhere1", kLongVarChar, condition}},
                  system());
    Held(mconn)->Close();
    return true;
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSalesCost(System& system) {
  return std::make_unique<newClsReportDaoSaleCost>(system);
}

}  // namespace ledgerwick
