// newclsReportDataSaleDetail, the sales detail: the lines that the sales summary sums, with their
// cost.
#include <memory>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "sales/conditions.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {
    .table = u"Sa_TempSaleDetailCost",
    .procedure = u"Sa_MoveSaleDetailCost",
    .measure = Measure::AnsiBytes,
    .place = u"\r\n错误位于模块：newclsReportDataSaleDetail.MoveSaleDetail()",
};

constexpr std::int32_t kRaisedNumber = 1000;
// The number of the message box's icon in the place of a help file: that is meant.
constexpr const char16_t* kRaisedHelpFile = u"64";

// `error` as the host sees it.
DatabaseError Raised(const DatabaseError& error) {
  DatabaseError raised(kRaisedNumber, u"", error.description + Text(kReport.place));
  raised.help_file = kRaisedHelpFile;
  return raised;
}

// A new connection; every error is raised again with the place.
class newclsReportDataSaleDetail final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return InTempdb(TableOnThisMachine(kReport, system())); }

  Text strSubTitle() override { return BuildDateSubTitle(*this); }

  bool MoveDataDetail() override {
    return Trapped([&] { return HandOff(); },
                   [](const DatabaseError& error) -> bool { throw Raised(error); });
  }

 private:
  bool HandOff() {
    if (!FindFilterSet(*this)) return false;
    OpenNew(*this, system());
    const std::unique_ptr<Command> command = Held(mconn)->NewCommand();
    SalesConditions conditions = BuildSalesConditions(*this);
    if (!HandOverCondition(conditions.general, *command, kReport, system())) return false;
    BuildDateSubTitle(*this);  // an item that cannot be read ends the run here
    CallProcedure(*command, kReport.procedure,
                  {{u"chrtable", kVarChar, TableOnThisMachine(kReport, system())},
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

std::unique_ptr<ReportProvider> NewSalesDetail(System& system) {
  return std::make_unique<newclsReportDataSaleDetail>(system);
}

}  // namespace ledgerwick
