// newClsReportDaoSaleInCome, the sales income of an account set.
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
    .table = u"Sa_TpSaleInCome",
    .procedure = u"Sa_MoveSaleInCome",
    .measure = Measure::AnsiBytes,
    // Spelt unlike the class: that is how users know it.
    .place = u"newclsReportDaoSaleIncome.MoveSaleDetail()",
};

// Words the conditions on checker and service, which are known by their captions; the host has
// worded the others.
void RewriteItems(ReportFilterSet& set, const NullTest& test) {
  ForEachItem(set, [&](ReportFilter& item) {
    const Text caption = item.strcaption();
    const TextView key = Trim(caption);
    if (EqualText(key, u"复核")) {
      const auto sql = WordNullTest(item.Name(), TrimmedText(item.varValue()), kReviewed, test);
      if (sql) item.set_strSqlString(*sql);
    } else if (EqualText(key, u"劳务")) {
      item.set_strSqlString(ServiceCondition(item.Name(), TrimmedText(item.varValue())));
    }
  });
}

struct Conditions {
  Text general;
};

// The host's condition of all items. The quotes of a long one are doubled once more on its way into
// the parameter table: that is meant.
Conditions CollectConditions(ReportProvider& report) {
  const std::shared_ptr<ReportFilterSet> set = FindFilterSet(report);
  if (!set) return {};
  RewriteItems(*set, kNullTest);
  Text condition = set->ConditionText();
  if (condition.size() < kFirstDoubled) return {condition};
  RewriteItems(*set, kNullTestDoubled);
  return {set->ConditionText()};
}

// The host's own connection; without a filter set it goes on without a condition; every error ends
// in False without a word.
class newClsReportDaoSaleInCome final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return ResultTable(kReport, system()); }

  Text strSubTitle() override { return BuildDateSubTitle(*this); }

  bool MoveDataDetail() override {
    // The contract: the host learns no more than that.
    return Trapped([&] { return Fill(); }, [] { return false; });
  }

 private:
  bool Fill() {
    Open(mconn, *this);  // the host's
    return HandOff(
        *this, system(), kReport, [&] { return CollectConditions(*this); },
        [&](const Text& table, const Conditions& conditions) -> TextParameters {
          return {{u"chrtable", kVarChar, table},
                  {u"chrWhere1", kLongVarChar, conditions.general},
                  {u"chrZtCode", kVarChar, Held(objLogin)->cAcc_Id().ToText()}};
        });
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSalesIncome(System& system) {
  return std::make_unique<newClsReportDaoSaleInCome>(system);
}

}  // namespace ledgerwick
