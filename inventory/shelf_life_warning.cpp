// clsRepBzqyj, the shelf-life warning (保质期预警): the stock of items under shelf-life control by
// batch, with production date, shelf life and expiry date, seen from the login date.
#include <memory>

#include "frame/error.h"
#include "frame/filter_items.h"
#include "frame/report_provider.h"
#include "inventory/factories.h"
#include "inventory/steps.h"
#include "inventory/wording.h"

namespace ledgerwick {
namespace {

constexpr TextView kTable = u"tempdb..tempBzqyj";

// The statement's pieces in the order in which they stand.
constexpr const char16_t* kSelect =
    u" SELECT Warehouse.cWhName AS 仓库 , CurrentStock.cInvCode AS 存货编码, Inventory.cInvName AS "
    u" 存货名称, Inventory.cInvAddCode AS 存货代码 , Inventory.cInvStd AS "
    u"规格型号,Inventory.cAddress As 产地, CU.cComUnitName AS 主计量单位 ,  "
    u" ComputationUnit.cComUnitName AS 辅计量单位, cFree1, cFree2,cFree3, cFree4, cFree5,cFree6, "
    u"cFree7,cFree8,cFree9, cFree10, "
    u" CurrentStock.iQuantity AS 结存数量 , ( CASE WHEN Inventory.iGroupType = 0 THEN 0 WHEN "
    u"Inventory.iGroupType = 2 THEN CurrentStock.iNum  "
    u" WHEN Inventory.iGRoupType = 1 THEN CurrentStock.iQuantity/ComputationUnit.iChangRate END) "
    u"AS 结存件数 ,"
    u" CurrentStock.cBatch AS 批号 , CurrentStock.dMdate AS 生产日期 , CurrentStock.iMassDate AS "
    u"保质期 , CurrentStock.dVDate AS 失效日期  ";
constexpr const char16_t* kInto = u" INTO ";
constexpr const char16_t* kFrom =
    u" FROM CurrentStock INNER JOIN  Inventory ON CurrentStock.cInvCode = Inventory.cInvCode INNER "
    u"JOIN "
    u" Warehouse ON  CurrentStock.cWhCode = Warehouse.cWhCode LEFT OUTER JOIN  ComputationUnit CU "
    u"ON  "
    u" Inventory.cComUnitCode = CU.cComunitCode LEFT OUTER JOIN  ComputationUnit ON    "
    u"Inventory.cGroupCode = ComputationUnit.cGroupCode";
constexpr const char16_t* kWhere = u" WHERE Inventory.bInvQuality =1 ";

// The filters' words, each around the login date.
constexpr const char16_t* kState = u" DATEDIFF(day,";
constexpr const char16_t* kExpired = u" ,dVdate) < 0 ";
constexpr const char16_t* kNotExpired = u",dVdate) >= 0 ";
constexpr const char16_t* kExpiresToday = u",dVdate) = 0 ";
constexpr const char16_t* kAnyState = u" (1=1) ";
constexpr const char16_t* kDaysPast = u" -DATEDIFF(day, ";
constexpr const char16_t* kDaysLeft = u" DATEDIFF(day, ";
constexpr const char16_t* kAtLeast = u",dVdate)  >= ";
constexpr const char16_t* kAtMost = u",dVdate)  <= ";

// The condition for the value of InvType; none for a value that the report does not know.
Text StateCondition(const Text& value, const Text& date) {
  if (EqualText(value, u"所有保质期存货")) return kAnyState;
  if (EqualText(value, u"过期存货")) return kState + date + kExpired;
  if (EqualText(value, u"未过期存货")) return kState + date + kNotExpired;
  if (EqualText(value, u"到期存货")) return kState + date + kExpiresToday;
  return {};
}

// The condition on a number of days between two bounds, which stand in it as typed. Their order is
// that of texts, so that 9 and 10 give an empty range: that is meant.
Text DaysCondition(const Text& days, const Text& date, ReportFilter& item) {
  const Text a = TrimmedText(item.varValue());
  const Text b = TrimmedText(item.varValue2());
  const Text at_least = days + date + kAtLeast;
  const Text at_most = days + date + kAtMost;
  if (a.empty() && b.empty()) return {};
  if (b.empty()) return at_least + a;
  if (a.empty()) return at_most + b;
  const bool in_order = CompareText(a, b) <= 0;
  return at_least + (in_order ? a : b) + u" AND " + at_most + (in_order ? b : a);
}

// What this report words itself.
struct Conditions {
  Text state;
  Text days_past;
  Text days_left;
};

// True when the report takes `item` out of the host's condition.
bool TakeFilter(TextView name, const Text& date, ReportFilter& item, Conditions& conditions) {
  if (EqualText(name, u"InvType")) {
    conditions.state = StateCondition(item.varValue().ToText(), date);
    return true;
  }
  if (EqualText(name, u"iAssUnitGrade")) return true;
  const bool is_past = EqualText(name, u"PassDays");
  if (!is_past && !EqualText(name, u"CloserDays")) return false;
  if (!HasFragment(item)) return false;
  Text& condition = is_past ? conditions.days_past : conditions.days_left;
  condition = DaysCondition(is_past ? kDaysPast : kDaysLeft, date, item);
  return true;
}

class clsRepBzqyj final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return Text(kTable); }

  bool MoveDataDetail() override {
    OpenNew(*this, system());
    DropResultTable(mconn, kTable);
    const Text condition = BuildCondition();
    Held(mconn)->Execute(
        kSelect + Text(kInto) + TempTablename() + kFrom + kWhere + AndCondition(condition),
        kOptionUnspecified);
    Held(mconn)->Close();
    return true;
  }

 private:
  // Without a condition of the host's the text begins with " AND ", which the statement then has
  // twice and the server rejects: that is meant.
  Text BuildCondition() {
    const Text date = u"'" + FormatIsoDate(Held(objLogin)->CurDate()) + u"'";
    const std::shared_ptr<ReportFilterSet> set = RequireFilterSet(*this);
    Conditions conditions;
    ForEachItem(*set, [&](ReportFilter& item) {
      const Text name = item.Name();
      if (TakeFilter(Trim(name), date, item, conditions)) item.set_LngGrouptoken(kTakenByReport);
    });
    return Text(Trim(set->GroupConditionText(kLeftToHost))) + AndCondition(conditions.state) +
           AndCondition(conditions.days_past) + AndCondition(conditions.days_left);
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewShelfLifeWarning(System& system) {
  return std::make_unique<clsRepBzqyj>(system);
}

}  // namespace ledgerwick
