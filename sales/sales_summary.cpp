// newclsReportDataSaleTotal, the sales summary: what was sold, summed by the procedure.
#include <memory>

#include "frame/report_provider.h"
#include "sales/conditions.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {
    .table = u"Sa_TempSaleDetail",  // without the machine's suffix, unlike all others
    .procedure = u"Sa_MoveSaleDetail",
    .measure = Measure::Characters,  // the others count bytes
    .place = u"\r\n错误位于模块：newclsReportDataSaleTotal.MoveSaleDetail()",
};

// A new connection; errors reach the host and leave it open.
class newclsReportDataSaleTotal final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return InTempdb(kReport.table); }

  Text strSubTitle() override { return BuildDateSubTitle(*this); }

  bool MoveDataDetail() override {
    if (!FindFilterSet(*this)) return false;
    OpenNew(*this, system());
    const std::unique_ptr<Command> command = Held(mconn)->NewCommand();
    SalesConditions conditions = BuildSalesConditions(*this);
    if (!HandOverCondition(conditions.general, *command, kReport, system())) return false;
    BuildDateSubTitle(*this);  // an item that cannot be read ends the run here
    CallProcedure(*command, kReport.procedure,
                  {{u"chrtable", kVarChar, Text(kReport.table)},
                   {u"chrWhere1", kLongVarChar, conditions.general},
                   {u"chrsaledate", kLongVarChar, conditions.sale_date},
                   {u"chrkeepdate", kLongVarChar, conditions.keep_date},
                   {u"chrdep", kLongVarChar, conditions.department},
                   {u"chrchecker", kLongVarChar, conditions.checker},
                   {u"chrwarehouse", kLongVarChar, conditions.warehouse}},
                  system());
    Held(mconn)->Close();
    return true;
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSalesSummary(System& system) {
  return std::make_unique<newclsReportDataSaleTotal>(system);
}

}  // namespace ledgerwick
