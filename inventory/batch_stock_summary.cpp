// clsRepPcch, the batch stock summary (批次存货汇总表): per warehouse, item and batch of the items
// kept by batch the opening balance, receipts, issues and closing balance, as quantities and as
// pieces, with the batch's origin, dates and shelf life.
#include <memory>
#include <optional>

#include "frame/error.h"
#include "frame/filter_items.h"
#include "frame/report_provider.h"
#include "inventory/factories.h"
#include "inventory/steps.h"
#include "inventory/wording.h"

namespace ledgerwick {
namespace {

constexpr TextView kTable = u"tempdb..temPcch";

// The expressions, each around the period's conditions. An item's unit group says what its pieces
// are: 0 none, 1 the quantity over the group's rate, 2 counted by themselves. The opening sums
// count whatever is not a receipt before the period as issued ("Else -1"), the period's own rows
// included, which is meant.
constexpr const char16_t* kOpeningQuantity = u" SUM(( Case When ";
constexpr const char16_t* kOpeningQuantityEnd =
    u"   AND  bRdFlag <> 0 Then 1 Else -1 End) * RdRecords.iQuantity ) ";
constexpr const char16_t* kOpeningPieces =
    u" SUM(CASE WHEN Inventory.iGroupType = 0 THEN 0  When Inventory.iGroupType = 2 Then     "
    u" (Case When ";
constexpr const char16_t* kOpeningCounted =
    u" AND  bRdFlag <> 0 Then 1 Else -1 End) * RdRecords.iNum  When Inventory.iGroupType = 1 Then  "
    u" (Case When ";
constexpr const char16_t* kOpeningConverted =
    u" AND  bRdFlag<>0 Then 1 Else -1 End) *  RdRecords.iQuantity /ComputationUnit.iChangRate  END "
    u") ";
constexpr const char16_t* kPieces =
    u" SUM( CASE WHEN Inventory.iGroupType = 0 THEN 0  When Inventory.iGroupType = 2 Then  (Case "
    u"When  ";
constexpr const char16_t* kIssuesCounted =
    u" AND  bRdFlag = 0 Then 1 Else 0 End) * RdRecords.iNum  When Inventory.iGroupType = 1 Then "
    u" (Case When  ";
constexpr const char16_t* kIssuesConverted =
    u" AND  bRdFlag = 0 Then 1 Else 0 End) * RdRecords.iQuantity/ComputationUnit.iChangRate END ) ";
constexpr const char16_t* kIssueQuantity = u" SUM((Case When  ";
constexpr const char16_t* kIssueQuantityEnd =
    u" AND  bRdFlag = 0 Then  RdRecords.iQuantity Else 0 End)) ";
constexpr const char16_t* kReceiptsCounted =
    u" AND  bRdFlag <> 0 Then 1 Else 0 End) * RdRecords.iNum  When Inventory.iGroupType = 1 Then "
    u" (Case When  ";
constexpr const char16_t* kReceiptsConverted =
    u" AND  bRdFlag <> 0 Then 1 Else 0 End) * RdRecords.iQuantity/ComputationUnit.iChangRate END "
    u") ";
constexpr const char16_t* kReceiptQuantity = u"SUM((Case When  ";
constexpr const char16_t* kReceiptQuantityEnd =
    u" AND bRdFlag <> 0 Then  RdRecords.iQuantity Else 0 End)) ";

// The statement's pieces in the order in which they stand. No filter but the dates restricts it.
constexpr const char16_t* kSelect =
    u" Select WareHouse.cWhName AS 仓库,WareHouse.cWhcode AS 仓库编码 ,RdRecords.cInvCode AS "
    u"存货编码 ,Inventory.cInvAddCode AS 存货代码 ,Inventory.cInvStd AS "
    u"规格型号,Inventory.cInvName AS 存货名称 ,CU.cComUnitName AS 计量单位 "
    u",ComputationUnit.cComUnitName AS 辅计量单位,RdRecords.cBatch AS 批号 , "
    u" Inventory.cAddress AS 产地,RdRecords.dMadeDate AS 生产日期,RdRecords.iMassDate AS 保质期, "
    u"RdRecords.dVDate AS 失效日期 ,";
constexpr const char16_t* kFree =
    u" RdRecords.cFree1 ,RdRecords.cFree2 ,RdRecords.cFree3, RdRecords.cFree4, RdRecords.cFree5, "
    u"RdRecords.cFree6, RdRecords.cFree7, RdRecords.cFree8, RdRecords.cFree9, RdRecords.cFree10 ,";
constexpr const char16_t* kAsOpeningQuantity = u" AS 期初结存数量 , ";
constexpr const char16_t* kAsOpeningPieces = u" AS 期初结存件数 , ";
constexpr const char16_t* kAsReceiptQuantity = u" AS  收入数量 , ";
constexpr const char16_t* kAsReceiptPieces = u" AS 收入件数 , ";
constexpr const char16_t* kAsIssueQuantity = u" AS 发出数量 , ";
constexpr const char16_t* kAsIssuePieces = u" AS 发出件数 ,";
constexpr const char16_t* kPlus = u" + ";
constexpr const char16_t* kMinus = u" - ";
constexpr const char16_t* kAsClosingQuantity = u" AS 期末结存数量 ,";
constexpr const char16_t* kAsClosingPieces = u" AS 期末结存件数 ";
constexpr const char16_t* kFrom =
    u" INTO Tempdb..TemPcch "
    u" FROM RdRecords INNER JOIN RdRecord On RdRecords.Id = RdRecord.id INNER JOIN Inventory "
    u" ON RdRecords.cInvCode = Inventory.cInvCode INNER JOIN WareHouse ON RdRecord.cWhCode = "
    u"WareHouse.cWhCode "
    u"  LEFT OUTER JOIN  ComputationUnit ON Inventory.cGroupCode = ComputationUnit.cGroupCode  "
    u"  LEFT OUTER JOIN ComputationUnit CU ON Inventory.cComUnitCode = CU.cComUnitCode ";
constexpr const char16_t* kWhere =
    u" WHERE  RdRecord.cVouchType <> '33' AND RdRecord.cVouchType <> '34' AND Inventory.bInvBatch "
    u"=1 AND Inventory.cInvCode <> '' ";
constexpr const char16_t* kGroupBy =
    u" GROUP BY  WareHouse.cWhName,WareHouse.cWhCode,RdRecords.cInvCode,Inventory.cInvAddCode, "
    u"Inventory.cInvstd ,Inventory.cAddress , "
    u" Inventory.cInvName,ComputationUnit.cComUnitName, CU.cComUnitName ,  RdRecords.cBatch "
    u",RdRecords.dMadeDate,RdRecords.iMassDate, RdRecords.dVDate , ";

// The conditions that tell opening balance and period apart.
struct Period {
  Text before;
  Text after;
};

// The columns that the date filters bound. The filter for the audit date bounds the batch's expiry
// date, which is meant.
constexpr const char16_t* kDate = u" dDate ";
constexpr const char16_t* kExpiryDate = u" dVDate ";

// The period of one date filter; nothing when it is open at both ends.
std::optional<Period> PeriodOf(const Text& column, ReportFilter& item) {
  const Text from = TrimmedText(item.varValue());
  const Text to = TrimmedText(item.varValue2());
  if (from.empty() && to.empty()) return std::nullopt;
  const auto between = [&](const Text& first, const Text& last) {
    return Period{column + u"< '" + first + u"'",
                  column + u">= '" + first + u"' AND " + column + u"<= '" + last + u"'"};
  };
  // Without a first day the upper bound is the lower one's text, which is empty, and not the last
  // day: so every sum is 0. That is meant.
  if (from.empty()) return between(ZeroDate(), from);
  if (to.empty()) return Period{column + u"< '" + from + u"'", column + u">= '" + from + u"'"};
  const bool in_order = ToDate(from).serial <= ToDate(to).serial;
  return in_order ? between(from, to) : between(to, from);
}

// The last date filter that is set decides; without one every movement is of the period.
Period BuildPeriod(ReportFilterSet& set) {
  std::optional<Period> period;
  ForEachItem(set, [&](ReportFilter& item) {
    const Text whole_name = item.Name();
    const TextView name = Trim(whole_name);
    const bool is_date = EqualText(name, u"dDate");
    if (!is_date && !EqualText(name, u"dVeriDate")) return;
    if (auto found = PeriodOf(is_date ? kDate : kExpiryDate, item)) period = std::move(found);
  });
  if (period) return *period;
  return {u" dDate <  '" + ZeroDate() + u"'", u" dDate >= '" + ZeroDate() + u"'"};
}

Text Statement(const Period& period) {
  const auto& [before, after] = period;
  const Text opening_quantity = kOpeningQuantity + before + kOpeningQuantityEnd;
  const Text opening_pieces =
      kOpeningPieces + before + kOpeningCounted + before + kOpeningConverted;
  const Text issue_pieces = kPieces + after + kIssuesCounted + after + kIssuesConverted;
  const Text issue_quantity = kIssueQuantity + after + kIssueQuantityEnd;
  const Text receipt_pieces = kPieces + after + kReceiptsCounted + after + kReceiptsConverted;
  const Text receipt_quantity = kReceiptQuantity + after + kReceiptQuantityEnd;
  const Text defines = InventoryDefineColumns(u"Inventory.");
  return kSelect + Text(kFree) + defines + opening_quantity + kAsOpeningQuantity + opening_pieces +
         kAsOpeningPieces + receipt_quantity + kAsReceiptQuantity + receipt_pieces +
         kAsReceiptPieces + issue_quantity + kAsIssueQuantity + issue_pieces + kAsIssuePieces +
         opening_quantity + kPlus + receipt_quantity + kMinus + issue_quantity +
         kAsClosingQuantity + opening_pieces + kPlus + receipt_pieces + kMinus + issue_pieces +
         kAsClosingPieces + kFrom + kWhere + kGroupBy + kFree +
         defines.substr(0, defines.size() - 1);
}

class clsRepPcch final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return Text(kTable); }

  bool MoveDataDetail() override {
    const std::shared_ptr<ReportFilterSet> set = FindFilterSet(*this);
    OpenNew(*this, system());
    DropResultTable(mconn, kTable);
    if (!set) throw ObjectNotSet();
    const Period period = BuildPeriod(*set);
    Held(mconn)->Execute(Statement(period), kOptionUnspecified);
    Held(mconn)->Close();
    return true;
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewBatchStockSummary(System& system) {
  return std::make_unique<clsRepPcch>(system);
}

}  // namespace ledgerwick
