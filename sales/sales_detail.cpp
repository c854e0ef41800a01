// newclsReportDataSaleDetail, the sales detail: the lines that the sales summary sums, with their
// cost.
#include <memory>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sales_dialogue.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {
    .table = u"Sa_TempSaleDetailCost",
    .procedure = u"Sa_MoveSaleDetailCost",
    .measure = Measure::AnsiBytes,
    .place = u"newclsReportDataSaleDetail.MoveSaleDetail()",
    .reads_sub_title = true,
};

constexpr std::int32_t kRaisedNumber = 1000;
// The number of the message box's icon in the place of a help file: that is meant.
constexpr const char16_t* kRaisedHelpFile = u"64";

// `error` as the host sees it.
DatabaseError Raised(const DatabaseError& error) {
  DatabaseError raised(kRaisedNumber, u"", error.description + PlaceLine(kReport));
  raised.help_file = kRaisedHelpFile;
  return raised;
}

// A new connection; every error is raised again with the place.
class newclsReportDataSaleDetail final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return ResultTable(kReport, system()); }

  Text strSubTitle() override { return BuildDateSubTitle(*this); }

  bool MoveDataDetail() override {
    return Trapped(
        [&] {
          return OpenNewIfFiltered(*this, system()) &&
                 HandOff(*this, system(), kReport, SortSalesItem, SalesParameters);
        },
        [](const DatabaseError& error) -> bool { throw Raised(error); });
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSalesDetail(System& system) {
  return std::make_unique<newclsReportDataSaleDetail>(system);
}

}  // namespace ledgerwick
