// clsRepHwhz, the location summary (货位汇总表): per warehouse, location, item and batch the
// opening balance, the receipts and issues, and the closing balance, as quantities and as pieces.
#include <memory>

#include "frame/filter_items.h"
#include "frame/report_provider.h"
#include "inventory/factories.h"
#include "inventory/steps.h"
#include "inventory/wording.h"

namespace ledgerwick {
namespace {

constexpr TextView kTable = u"tempdb..temHwhz";

// Groups that this report gives to filters.
constexpr std::int32_t kFreeItems = 4;  // cFree1 to cFree10, iAssUnitGrade

// The border between opening balance and period. It is fixed: the date filter does not move it.
constexpr const char16_t* kAfter = u" dDate >='2001-10-01'";
constexpr const char16_t* kBefore = u" dDate < '2001-10-01' ";

// The expressions, each around the border's conditions. An item's unit group says what its pieces
// are: 0 none, 1 the quantity over the group's rate, 2 counted by themselves. Opening pieces of
// group 2 count whatever is not a receipt before the border as issued ("Else -1"), which is meant.
constexpr const char16_t* kCase = u" SUM(( Case When ";
constexpr const char16_t* kReceived = u"   AND  bRdFlag <> 0 Then 1 Else 0 End) * iQuantity ) - ";
constexpr const char16_t* kIssued = u"   AND  bRdFlag = 0 Then 1 Else 0 End) * iQuantity ) ";
constexpr const char16_t* kOpeningPieces =
    u" SUM(CASE WHEN I.iGroupType = 0 THEN 0  When I.iGroupType = 2 Then     "
    u" (Case When ";
constexpr const char16_t* kOpeningCounted =
    u" AND  bRdFlag <> 0 Then 1 Else -1 End) * iNum  When I.iGroupType = 1 Then  "
    u"(((Case When ";
constexpr const char16_t* kOpeningReceived =
    u" AND bRdFlag <> 0 Then 1 Else 0 End ) *iQuantity) - "
    u" ((Case When ";
constexpr const char16_t* kOpeningIssued =
    u" AND bRdFlag = 0 Then 1 Else 0 End) * iQuantity)) /CU.iChangRate  END ) ";
constexpr const char16_t* kPieces =
    u" SUM( CASE WHEN I.iGroupType = 0 THEN 0  When I.iGroupType = 2 Then  (Case When  ";
constexpr const char16_t* kIssuesCounted =
    u" AND  bRdFlag = 0 Then 1 Else 0 End) * iNum  When I.iGroupType = 1 Then "
    u" (Case When  ";
constexpr const char16_t* kIssuesConverted =
    u" AND  bRdFlag = 0 Then 1 Else 0 End) * iQuantity/CU.iChangRate END ) ";
constexpr const char16_t* kIssueQuantity = u" SUM((Case When  ";
constexpr const char16_t* kIssueQuantityEnd = u" AND  bRdFlag = 0 Then  iQuantity Else 0 End)) ";
constexpr const char16_t* kReceiptsCounted =
    u" AND  bRdFlag <> 0 Then 1 Else 0 End) * iNum  When I.iGroupType = 1 Then "
    u" (Case When  ";
constexpr const char16_t* kReceiptsConverted =
    u" AND  bRdFlag <> 0 Then 1 Else 0 End) * iQuantity/CU.iChangRate END ) ";
constexpr const char16_t* kReceiptQuantity = u"SUM((Case When  ";
constexpr const char16_t* kReceiptQuantityEnd = u" AND bRdFlag <> 0 Then  iQuantity Else 0 End)) ";

// The statement's pieces in the order in which they stand.
constexpr const char16_t* kSelect =
    u" SELECT  InvPosition.cWhCode AS 仓库编码 ,Warehouse.cWhName AS 仓库名称 , "
    u"InvPosition.cPosCode AS 货位编码,P.cPosName AS 货位名称, InvPosition.cInvCode AS 存货编码, "
    u"InvPosition.cBatch AS 批号 ,"
    u" I.cInvName AS 存货名称 , I.cInvCCode AS 存货大类 , I.cInvAddCode AS 存货代码 ,I.cInvStd  AS "
    u"规格型号 ,   "
    u" ComputationUnit.cComUnitName AS 主计量单位,  CU.cComUnitName As 辅计量单位, ";
constexpr const char16_t* kFree =
    u" cFree1 ,cFree2 ,cFree3, cFree4, cFree5,cFree6, cFree7,cFree8, cFree9, cFree10 ,";
constexpr const char16_t* kAsOpeningPieces = u" AS 期初结存件数,";
constexpr const char16_t* kAsOpeningQuantity = u" AS 期初结存数量,";
constexpr const char16_t* kAsReceiptPieces = u" AS 本期入库件数,";
constexpr const char16_t* kAsReceiptQuantity = u"  AS 本期入库数量,";
constexpr const char16_t* kAsIssuePieces = u"  AS 本期出库件数,";
constexpr const char16_t* kAsIssueQuantity = u" AS 本期出库数量, (";
constexpr const char16_t* kAsClosingPieces = u") AS 期末结存件数,";
constexpr const char16_t* kAsClosingQuantity = u") AS 期末结存数量 ";
constexpr const char16_t* kFrom =
    u" INTO tempdb..temHwhz "
    u" FROM InvPosition INNER JOIN (SELECT cPosCode,cPosName From Position  WHERE (bPosEnd = 1)   "
    u"AND "
    u" Position.cPosCode <>  ' '  ) AS P ON InvPosition.cPosCode=P.cPosCode   INNER JOIN "
    u" Inventory  AS I  ON InvPosition.cInvCode = I.cInvCode INNER JOIN  Warehouse ON "
    u" InvPosition.cWhCode = Warehouse.cWhCode  "
    u" LEFT OUTER JOIN ComputationUnit ON  I.cComUnitCode = ComputationUnit.cComUnitCode "
    u" LEFT OUTER JOIN ComputationUnit CU ON I.cGroupCode = CU.cGroupCode ";
constexpr const char16_t* kWhere = u" WHERE ";
constexpr const char16_t* kNeutral = u" (1=1) ";
constexpr const char16_t* kWhereEnd = u" AND InvPosition.cInvCode <> ''";
constexpr const char16_t* kGroupBy =
    u" GROUP BY  InvPosition.cWhCode, InvPosition.cPosCode, InvPosition.cInvCode, "
    u"InvPosition.cBatch , "
    u" I.cInvName, I.cInvCCode, I.cInvAddCode,I.cInvStd,Warehouse.cWhName,P.cPosName "
    u",CU.cComUnitName ,  ComputationUnit.cComUnitName, ";
constexpr const char16_t* kHaving = u" HAVING ";

// The filters' words.
constexpr TextView kWarehouse = u" Warehouse.cWhCode = '";
constexpr TextView kWarehouseEnd = u" ' AND ";  // the blank inside the quote is meant
constexpr const char16_t* kAtLeast = u" >= ";
constexpr const char16_t* kAtMost = u" <= ";

// The six sums.
struct Sums {
  Text opening_quantity;
  Text opening_pieces;
  Text receipt_quantity;
  Text receipt_pieces;
  Text issue_quantity;
  Text issue_pieces;

  Text ClosingQuantity(const Text& plus, const Text& minus) const {
    return opening_quantity + plus + receipt_quantity + minus + issue_quantity;
  }
  Text ClosingPieces(const Text& plus, const Text& minus) const {
    return opening_pieces + plus + receipt_pieces + minus + issue_pieces;
  }
};

Sums BuildSums(const Text& before, const Text& after) {
  Sums sums;
  sums.opening_quantity = kCase + before + kReceived + kCase + before + kIssued;
  sums.opening_pieces = kOpeningPieces + before + kOpeningCounted + before + kOpeningReceived +
                        before + kOpeningIssued;
  sums.issue_pieces = kPieces + after + kIssuesCounted + after + kIssuesConverted;
  sums.issue_quantity = kIssueQuantity + after + kIssueQuantityEnd;
  sums.receipt_pieces = kPieces + after + kReceiptsCounted + after + kReceiptsConverted;
  sums.receipt_quantity = kReceiptQuantity + after + kReceiptQuantityEnd;
  return sums;
}

// What the filters come to.
struct Conditions {
  Text main = kNeutral;
  Text supplementary;  // stands twice in the statement
  Text balance = kNeutral;
};

// The conditions that stand in the main condition, in its order.
struct Terms {
  Text warehouse;
  Text item;
  Text item_class;
  Text specification;
  Text batch;
  Text location;
};

// The condition on the closing quantity between two bounds; empty without any.
Text BalanceCondition(const Sums& sums, const Text& low, const Text& high) {
  const Text closing = sums.ClosingQuantity(u" + ", u" - ");
  if (low.empty() && high.empty()) return {};
  if (high.empty()) return closing + kAtLeast + low;
  if (low.empty()) return closing + kAtMost + high;
  return closing + kAtLeast + low + u" AND " + closing + kAtMost + high;
}

// Where the fragment of the filter `name` goes, or nullptr for a filter that is none of these.
Text* FindTerm(Terms& terms, TextView name) {
  if (EqualText(name, u"InvPosition.cInvCode")) return &terms.item;
  if (EqualText(name, u"I.cInvCCode")) return &terms.item_class;
  if (EqualText(name, u"I.cInvStd")) return &terms.specification;
  if (EqualText(name, u"InvPosition.cBatch")) return &terms.batch;
  if (EqualText(name, u"InvPosition.cPosCode")) return &terms.location;
  return nullptr;
}

void ReadFilter(ReportFilter& item, const Sums& sums, Terms& terms, Text& balance) {
  item.set_LngGrouptoken(kLeftToHost);
  const Text whole_name = item.Name();
  const TextView name = Trim(whole_name);
  const bool is_date = EqualText(name, u"dDate");
  const bool is_warehouse = EqualText(name, u"Warehouse.cWhCode");
  const bool is_free = IsNumbered(name, u"cFree", 10) || EqualText(name, u"iAssUnitGrade");
  const bool is_balance = EqualText(name, u"JCQuantity");
  Text* const term = FindTerm(terms, name);
  if (!(is_date || is_warehouse || is_free || is_balance || term) || !HasFragment(item)) return;
  if (is_date) {
    item.set_LngGrouptoken(kTakenByReport);
  } else if (is_warehouse) {
    terms.warehouse = EveryCode(item.varValue(), kWarehouse, kWarehouseEnd);
    item.set_LngGrouptoken(kVisited);
  } else if (term) {
    *term = item.strSqlString();
    item.set_LngGrouptoken(kVisited);
  } else if (is_free) {
    item.set_LngGrouptoken(kFreeItems);
  } else {
    const Text condition =
        BalanceCondition(sums, TrimmedText(item.varValue()), TrimmedText(item.varValue2()));
    if (!condition.empty()) balance = condition;
  }
}

// `set` may be nullptr: then nothing is restricted.
Conditions CollectConditions(ReportFilterSet* set, const Sums& sums) {
  Conditions conditions;
  if (!set) return conditions;
  Terms terms;
  ForEachItem(*set, [&](ReportFilter& item) { ReadFilter(item, sums, terms, conditions.balance); });
  conditions.main += AndCondition(terms.warehouse) + AndCondition(terms.item) +
                     AndCondition(terms.item_class) + AndCondition(terms.specification) +
                     AndCondition(terms.batch) + AndCondition(terms.location);
  conditions.supplementary = set->GroupConditionText(kFreeItems);
  return conditions;
}

Text Statement(const Sums& sums, const Conditions& conditions) {
  const Text defines = InventoryDefineColumns(u"I.");
  return kSelect + Text(kFree) + defines + sums.opening_pieces + kAsOpeningPieces +
         sums.opening_quantity + kAsOpeningQuantity + sums.receipt_pieces + kAsReceiptPieces +
         sums.receipt_quantity + kAsReceiptQuantity + sums.issue_pieces + kAsIssuePieces +
         sums.issue_quantity + kAsIssueQuantity + sums.ClosingPieces(u") + (", u") - (") +
         kAsClosingPieces + u"(" + sums.ClosingQuantity(u") + (", u") - (") + kAsClosingQuantity +
         kFrom + kWhere + conditions.main + AndCondition(conditions.supplementary) +
         AndCondition(conditions.supplementary) + kWhereEnd + kGroupBy + kFree +
         defines.substr(0, defines.size() - 1) + kHaving + conditions.balance;
}

class clsRepHwhz final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return Text(kTable); }

  bool MoveDataDetail() override {
    // Asked for before anything is opened: without a report manager nothing happens.
    FindFilterSet(*this);
    OpenNew(*this, system());
    DropResultTable(mconn, kTable);
    const Sums sums = BuildSums(kBefore, kAfter);
    const Conditions conditions = CollectConditions(FindFilterSet(*this).get(), sums);
    Held(mconn)->Execute(Statement(sums, conditions), kOptionUnspecified);
    return true;  // the connection stays open, for the host to close
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewLocationSummary(System& system) {
  return std::make_unique<clsRepHwhz>(system);
}

}  // namespace ledgerwick
