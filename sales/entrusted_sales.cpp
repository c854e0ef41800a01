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
    .place = u"\r\n错误位于模块：newclsReportDaotrust.MoveSaleDetail()",
};

constexpr TextView kAnd = u" and ";

struct Conditions {
  Text general;
  DateRange dates;  // values, not conditions
};

Conditions SortItems(ReportProvider& report) {
  Conditions conditions;
  ForEachItemOf(report, [&](ReportFilter& item) {
    if (EqualText(Trim(item.Name()), u"ddate")) {
      TakeDates(conditions.dates, item);
    } else {
      AppendFragment(conditions.general, item, kAnd);
    }
  });
  CutLastJoiner(conditions.general);
  return conditions;
}

// A new connection; every error ends in a message with its number, and False.
class newclsReportDaotrust final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return InTempdb(TableOnThisMachine(kReport, system())); }

  Text strSubTitle() override { return StartEndSubTitle(*this); }

  bool MoveDataDetail() override {
    return Trapped([&] { return HandOff(); },
                   [&](const DatabaseError& error) {
                     ShowNumberedConflict(error, system());
                     return false;
                   });
  }

 private:
  bool HandOff() {
    if (!FindFilterSet(*this)) return false;
    OpenNew(*this, system());
    const std::unique_ptr<Command> command = Held(mconn)->NewCommand();
    Conditions conditions = SortItems(*this);
    if (!HandOverCondition(conditions.general, *command, kReport, system())) return false;
    CallProcedure(*command, kReport.procedure,
                  {{u"chrtable", kVarChar, TableOnThisMachine(kReport, system())},
                   {u"chrWhere", kLongVarChar, conditions.general},
                   {u"chrStartDate", kVarChar, conditions.dates.start},
                   {u"chrEndDate", kVarChar, conditions.dates.end}},
                  system());
    Held(mconn)->Close();
    return true;
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewEntrustedSales(System& system) {
  return std::make_unique<newclsReportDaotrust>(system);
}

}  // namespace ledgerwick
