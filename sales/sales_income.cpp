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
    .place = u"\r\n错误位于模块：newclsReportDaoSaleIncome.MoveSaleDetail()",
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

// The host's condition of all items. The quotes of a long one are doubled once more on its way into
// the parameter table: that is meant.
Text BuildCondition(ReportProvider& report) {
  const std::shared_ptr<ReportFilterSet> set = FindFilterSet(report);
  if (!set) return {};
  RewriteItems(*set, kNullTest);
  Text condition = set->ConditionText();
  if (condition.size() < kFirstDoubled) return condition;
  RewriteItems(*set, kNullTestDoubled);
  return set->ConditionText();
}

// The host's own connection; without a filter set it goes on without a condition; every error ends
// in False without a word.
class newClsReportDaoSaleInCome final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return InTempdb(TableOnThisMachine(kReport, system())); }

  Text strSubTitle() override { return BuildDateSubTitle(*this); }

  bool MoveDataDetail() override {
    // The contract: the host learns no more than that.
    return Trapped([&] { return HandOff(); }, [] { return false; });
  }

 private:
  bool HandOff() {
    Open(mconn, *this);  // the host's
    const std::unique_ptr<Command> command = Held(mconn)->NewCommand();
    Text condition = BuildCondition(*this);
    if (!HandOverCondition(condition, *command, kReport, system())) return false;
    CallProcedure(*command, kReport.procedure,
                  {{u"chrtable", kVarChar, TableOnThisMachine(kReport, system())},
                   {u"chrWhere1", kLongVarChar, condition},
                   {u"chrZtCode", kVarChar, Held(objLogin)->cAcc_Id().ToText()}},
                  system());
    Held(mconn)->Close();
    return true;
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSalesIncome(System& system) {
  return std::make_unique<newClsReportDaoSaleInCome>(system);
}

}  // namespace ledgerwick
