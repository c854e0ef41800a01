// newclsReportDaotrust, the detail of entrusted sales.
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
    .table = u"Sa_TmpTrustDetail",
    .procedure = u"Sa_MoveTrustDetail",
    .measure = Measure::AnsiBytes,
    .place = u"newclsReportDaotrust.MoveSaleDetail()",
};

constexpr TextView kAnd = u" and ";

struct Conditions {
  Text general;
  DateRange dates;  // values, not conditions
};

void SortItem(ReportFilter& item, Conditions& conditions) {
  if (EqualText(Trim(item.Name()), u"ddate")) {
    TakeDates(conditions.dates, item);
  } else {
    AppendFragment(conditions.general, item, kAnd);
  }
}

TextParameters ParametersOf(const Text& table, const Conditions& conditions) {
  return {{u"chrtable", kVarChar, table},
          {u"chrWhere", kLongVarChar, conditions.general},
          {u"chrStartDate", kVarChar, conditions.dates.start},
          {u"chrEndDate", kVarChar, conditions.dates.end}};
}

// A new connection; every error ends in a message with its number, and False.
class newclsReportDaotrust final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return ResultTable(kReport, system()); }

  Text strSubTitle() override { return StartEndSubTitle(*this); }

  bool MoveDataDetail() override {
    return Trapped(
        [&] {
          return OpenNewIfFiltered(*this, system()) &&
                 HandOff(*this, system(), kReport, SortItem, ParametersOf);
        },
        [&](const DatabaseError& error) { return EndWithNumber(error, system()); });
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewEntrustedSales(System& system) {
  return std::make_unique<newclsReportDaotrust>(system);
}

}  // namespace ledgerwick
