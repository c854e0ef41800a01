// clsRepLsz, the in/out journal (出入库流水帐): every line of the stock vouchers with its voucher,
// partner, item, quantities, prices and free fields.
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

constexpr TextView kTable = u"tempdb..temLsz";

// The statement's pieces in the order in which they stand; the item's defined fields come between
// the first and the second. Quantities, pieces and unit costs stand beside '' in one CASE, and the
// table's name is spelt in capitals of its own: both are meant.
constexpr const char16_t* kSelect =
    u" SELECT  R.dDate ,(CASE WHEN R.bRdFlag<>0 THEN '入库' ELSE '出库' END) AS SFBZ, "
    u"convert(varchar(10),Rs.dVDate,102) AS SXRQ, Vt.cVouchName AS DJLX, R.cBusType AS YWLX, "
    u" R.cMemo AS BZ ,R.cBusCode AS YWH, W.cWhName AS WN, R.cCode AS DJH, Rd.cRdName AS SFLB, "
    u"D.cDepName AS BM,  P.cPersonName AS YWY, Pt.cPTName AS CGLX,"
    u" (Case When IsNull(V.cVenName,'') = '' Then V.cVenAbbName Else V.cVenName End ) AS GHDW,  "
    u"R.cOrderCode AS DDH, R.cARVCode AS DHDH, SaleType.cSTName AS XSLX, R.cBillCode AS FPH, "
    u" (Case When IsNull(C.cCusName,'') ='' Then C.cCusAbbName  Else C.cCusName End ) AS KH, "
    u"R.cDLCode AS FHDH, R.cProBatch AS SCPH, R.cHandler AS JSR, R.cDefine1 AS ZDY1, "
    u" R.cDefine2 AS ZDY2, R.cDefine3 AS ZDY3, R.cDefine4 AS ZDY4, R.cDefine5 AS ZDY5, R.cDefine6 "
    u"AS ZDY6, R.cDefine7 AS ZDY7, "
    u" R.cDefine8 AS ZDY8, R.cDefine9 AS ZDY9, R.cDefine10 AS ZDY10,R.cDefine11 AS ZDY11 "
    u",R.cDefine12 AS ZDY12 ,R.cDefine13 AS ZDY13 , R.cDefine14 AS ZDY14 ,R.cDefine15 AS ZDY15 "
    u",R.cDefine16 AS ZDY16 , "
    u" Rs.cDefine22 AS ZDY22, Rs.cDefine23 AS ZDY23,Rs.cDefine24 AS ZDY24 ,Rs.cDefine25 AS ZDY25 "
    u",Rs.cDefine26 AS ZDY26 , "
    u" Rs.cDefine27 AS ZDY27 ,Rs.cDefine28 AS ZDY28 ,Rs.cDefine29 AS ZDY29 ,Rs.cDefine30 AS ZDY30 "
    u",Rs.cDefine31 AS ZDY31 ,Rs.cDefine32 AS ZDY32 ,Rs.cDefine33 AS ZDY33 ,Rs.cDefine34 AS ZDY34 "
    u",Rs.cDefine35 AS ZDY35 ,Rs.cDefine36 AS ZDY36 ,Rs.cDefine37 AS ZDY37 ,"
    u" Rs.cInvCode AS CHBM,I.cInvAddCode AS CHDM , I.cInvName AS CHMC, I.cInvStd AS GGXH, (CASE "
    u"WHEN R.bRdFlag<>0 THEN Rs.iNum  ELSE '' END)  AS RKJS,(CASE WHEN R.bRdFlag<>0 "
    u" THEN  '' ELSE Rs.iNum END)  AS CKJS, "
    u" (Case When I.iGroupType = 0 Then 0 Else (Case When I.IGroupType = 2 Then Rs.iQuantity / "
    u"Rs.iNum Else  Unit.iChangRate End )End )AS HSL, "
    u" MUnit.CComUnitName AS JLDW,   "
    u" Rs.cFree1 ,Rs.cFree2 ,Rs.cFree3, Rs.cFree4, Rs.cFree5, Rs.cFree6, Rs.cFree7, Rs.cFree8, "
    u"Rs.cFree9, Rs.cFree10 ,";
constexpr const char16_t* kQuantities =
    u" (CASE WHEN R.bRdFlag<>0 THEN Rs.iQuantity ELSE '' END)  AS RKSL, (CASE WHEN R.bRdFlag<>0 "
    u"THEN '' ELSE Rs.iQuantity END)  AS CKSL, "
    u" (CASE WHEN R.bRdFlag<>0 THEN Rs.iUnitCost ELSE '' END)  AS RKDJ,(CASE WHEN R.bRdFlag<>0 "
    u"THEN '' ELSE Rs.iUnitCost END)  AS CKDJ, "
    u" (CASE WHEN R.bRdFlag<>0 THEN Rs.iPrice ELSE 0 END) AS RKJE, (CASE WHEN R.bRdFlag<>0 THEN 0 "
    u"ELSE Rs.iPrice END) AS CKJE, "
    u" Rs.iPUnitCost AS JHJ, Rs.iPPrice AS JHJE, Rs.cBatch AS PH, Rs.cName AS XMMC,   "
    u"Rs.cItemCName AS XMDL,  R.cAccounter AS JZR, ";
constexpr const char16_t* kInto = u" R.cMaker AS ZDR INTO Tempdb..TemLsz ";
constexpr const char16_t* kFrom =
    u" FROM Customer C RIGHT OUTER JOIN Department D RIGHT OUTER JOIN SaleType  RIGHT OUTER JOIN  "
    u"Vendor V  RIGHT OUTER JOIN VouchType Vt "
    u" INNER JOIN  Warehouse W INNER JOIN  Inventory I INNER JOIN  RdRecords Rs INNER JOIN  "
    u"RdRecord R ON Rs.ID = R.ID ON I.cInvCode = Rs.cInvCode ON   W.cWhCode = R.cWhCode "
    u" ON Vt.cVouchType = R.cVouchType  ON V.cVenCode = R.cVenCode  ON SaleType.cSTCode = "
    u"R.cSTCode LEFT OUTER JOIN PurchaseType Pt ON R.cPTCode = Pt.cPTCode "
    u" LEFT OUTER JOIN Rd_Style Rd ON R.cRdCode = Rd.cRdCode ON D.cDepCode = R.cDepCode ON  "
    u"C.cCusCode = R.cCusCode LEFT OUTER JOIN  Person P ON R.cPersonCode = P.cPersonCode "
    u" LEFT JOIN  ComputationUnit AS Unit On Rs.cAssUnit = Unit.CComunitCode LEFT JOIN "
    u"ComputationUnit AS MUnit  ON I.cComUnitCode = MUnit.CComunitCode ";
constexpr const char16_t* kWhere = u" Where ";
constexpr const char16_t* kOrderBy = u"  ORDER BY R.dDate ";
constexpr const char16_t* kNoHostCondition = u" (1 = 1) ";

// The filters' words.
constexpr const char16_t* kAudited = u"   IsNull(R.cHandler,'') <> '' ";
constexpr const char16_t* kNotAudited = u"   IsNull(R.cHandler,'') = '' ";
constexpr TextView kWarehouse = u" R.cWhCode = '";
constexpr TextView kWarehouseEnd = u" ' AND ";  // the blank inside the quote is meant
constexpr const char16_t* kRdCode = u" R.cRdCode  Like '";

// What this report words itself.
struct Conditions {
  Text handler;
  Text warehouse;
  Text type;  // receive/issue type
};

// The condition for the value of VeriType, or nothing for a value that the report does not know.
std::optional<Text> HandlerCondition(const Text& value) {
  if (EqualText(value, u"全部单据")) return Text();
  if (EqualText(value, u"已审核单据")) return Text(kAudited);
  if (EqualText(value, u"未审核单据")) return Text(kNotAudited);
  return std::nullopt;
}

// True when the report takes `item` out of the host's condition.
bool TakeFilter(TextView name, ReportFilter& item, Conditions& conditions) {
  if (EqualText(name, u"VeriType")) {
    const std::optional<Text> handler = HandlerCondition(item.varValue().ToText());
    if (handler) conditions.handler = *handler;
    return handler.has_value();
  }
  const bool is_warehouse = EqualText(name, u"R.cWhCode");
  const bool is_type = EqualText(name, u"R.cRdCode");
  const bool is_dropped = EqualText(name, u"iAssUnitGrade");  // no condition takes its place
  if (!(is_warehouse || is_type || is_dropped) || !HasFragment(item)) return false;
  if (is_warehouse) {
    conditions.warehouse = EveryCode(item.varValue(), kWarehouse, kWarehouseEnd);
  } else if (is_type) {
    conditions.type = kRdCode + item.varValue().ToText() + u"%'";
  }
  return true;
}

// The WHERE text; empty when there is no filter set.
Text BuildCondition(ReportFilterSet* set) {
  if (!set) return {};
  Conditions conditions;
  ForEachItem(*set, [&](ReportFilter& item) {
    item.set_LngGrouptoken(kLeftToHost);
    const Text name = item.Name();
    if (TakeFilter(Trim(name), item, conditions)) item.set_LngGrouptoken(kTakenByReport);
  });
  const Text of_host(Trim(set->GroupConditionText(kLeftToHost)));
  return (of_host.empty() ? Text(kNoHostCondition) : of_host) + AndCondition(conditions.handler) +
         AndCondition(conditions.warehouse) + AndCondition(conditions.type);
}

// Rows are ordered only where there is a condition, which is meant.
Text Statement(const Text& condition) {
  const Text all = kSelect + InventoryDefineColumns(u"I.") + kQuantities + kInto + kFrom;
  return Trim(condition).empty() ? all : all + kWhere + condition + kOrderBy;
}

class clsRepLsz final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return Text(kTable); }

  bool MoveDataDetail() override {
    OpenIgnoringErrors();
    DropResultTable(mconn, kTable);
    const Text condition = BuildCondition(FindFilterSet(*this).get());
    Held(mconn)->Execute(Statement(condition), kOptionUnspecified);
    return true;  // the connection stays open, for the host to close
  }

 private:
  // Whatever fails on the way to an open connection is passed over, step by step, as the drop is:
  // what is wrong shows when the statement runs. Where none can be made, the host's is opened.
  void OpenIgnoringErrors() {
    Trapped([&] { mconn = system().NewConnection(); }, [] {});
    Trapped([&] { Open(mconn, *this); }, [] {});
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewInOutJournal(System& system) {
  return std::make_unique<clsRepLsz>(system);
}

}  // namespace ledgerwick
