// clsRepAQKCYJ, the safety-stock warning (安全库存预警): per warehouse and item, the stock on hand
// against the item's safety stock.
#include <memory>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "inventory/factories.h"
#include "inventory/steps.h"
#include "inventory/wording.h"

namespace ledgerwick {
namespace {

constexpr TextView kTable = u"tempdb..tempAqkcyj";

// The filter that this report words itself, and the values that it knows.
constexpr TextView kQueryType = u"def_queryType";
constexpr TextView kAbove = u"高于安全库存量存货";
constexpr TextView kNotAbove = u"不高于安全库存量存货";

// The statement's pieces in the order in which they stand; the item's free fields come behind the
// first and, without the last comma, behind the grouping.
constexpr const char16_t* kSelect =
    u"SELECT W.cWhName, I.[cInvCode] AS cInvCode ,I.cInvAddCode ,max(I.cInvName) AS CHMC, "
    u"max(I.cInvStd) AS GGXH, max(I.cAddress) AS 产地 ,max(CU.cComUnitName) AS JLDW, ";
constexpr const char16_t* kStock =
    u" max(I.iSafeNum) AS AQKCL, Sum(STPQ.iQuantity) AS DQKCL, "
    u"SUM((CASE WHEN (STPQ.iQuantity is null) THEN 0 ELSE STPQ.iQuantity END)) - "
    u"max((CASE WHEN (I.iSafeNum is null) THEN 0 ELSE I.iSafeNum END)) AS CL";
constexpr const char16_t* kInto = u" INTO ";
constexpr const char16_t* kFrom =
    u" FROM CurrentStock AS STPQ RIGHT JOIN (Inventory AS I LEFT JOIN ComputationUnit AS CU ON "
    u"I.cComUnitCode = CU.cComUnitCode) ON STPQ.cInvCode = I.cInvCode  "
    u" INNER JOIN WareHouse AS W ON STPQ.cWhCode = W.cWhCode "
    u" WHERE I.iSafeNum > 0  ";
constexpr const char16_t* kGroupBy = u" GROUP BY I.[cInvCode] ,I.cInvAddCode ,W.cWhName ,";
constexpr const char16_t* kHaving =
    u" having SUM((CASE WHEN (STPQ.iQuantity is null) THEN 0 ELSE STPQ.iQuantity END)) - "
    u"max((CASE WHEN (I.iSafeNum is null) THEN 0 ELSE I.iSafeNum END))";

// The HAVING clause for the value of def_queryType; none for a value that the report does not know.
Text HavingClause(const Text& query_type) {
  if (EqualText(query_type, kAbove)) return Text(kHaving) + u" > 0";
  if (EqualText(query_type, kNotAbove)) return Text(kHaving) + u" <= 0";
  return {};
}

// What the filters come to.
struct Conditions {
  Text where;   // the host's wording of all filters but def_queryType
  Text having;  // this report's wording of def_queryType
};

Conditions ReadFilters(ReportFilterSet& set) {
  Conditions conditions;
  std::shared_ptr<ReportFilter> item;
  const std::int32_t count = set.Count();
  for (std::int32_t i = 1; i <= count; ++i) {
    item = set.Item(i);
    if (!item) throw ObjectNotSet();
    if (EqualText(Trim(item->Name()), kQueryType)) {
      conditions.having = HavingClause(item->varValue().ToText());
      break;
    }
  }
  if (!item) {
    conditions.where = set.ConditionText();
    return conditions;
  }
  // The host words every item that has a value, so the value is taken away while it does. Without a
  // def_queryType it is the last item that is left out: that is how the report has always worked.
  const Value saved = item->varValue();
  item->set_varValue(Text());
  conditions.where = set.ConditionText();
  item->set_varValue(saved);
  return conditions;
}

class clsRepAQKCYJ final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return Text(kTable); }

  bool MoveDataDetail() override {
    OpenNew(*this, system());
    DropResultTable(mconn, kTable);
    const Conditions conditions = ReadFilters(*RequireFilterSet(*this));
    Held(mconn)->Execute(Statement(conditions), kOptionUnspecified);
    Held(mconn)->Close();
    return true;
  }

 private:
  Text Statement(const Conditions& conditions) {
    const Text defines = InventoryDefineColumns(u"I.");
    return kSelect + defines + kStock + kInto + TempTablename() + kFrom +
           AndCondition(conditions.where) + kGroupBy + defines.substr(0, defines.size() - 1) +
           conditions.having;
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSafetyStockWarning(System& system) {
  return std::make_unique<clsRepAQKCYJ>(system);
}

}  // namespace ledgerwick
