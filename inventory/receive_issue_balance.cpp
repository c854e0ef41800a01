// clsRepSFC, the receive/issue/balance summary (收发存汇总表): per warehouse and item the opening
// balance, the period's receipts and issues with a column for each receive/issue type, and the
// closing balance, as quantities and as pieces.
#include <cmath>
#include <memory>
#include <optional>

#include "frame/report_provider.h"
#include "inventory/arguments.h"
#include "inventory/factories.h"
#include "inventory/steps.h"
#include "inventory/summary_filters.h"
#include "inventory/wording.h"

namespace ledgerwick {
namespace {

constexpr TextView kTable = u"tempdb..temSFC";

// The work tables stand in the account's own database and stay there until the next run: first the
// movements and opening balances, then their sums.
constexpr TextView kMovements = u"TblQuanByRdCode_SFLX_Temp";
constexpr TextView kSums = u"TblResult_SFLX_Temp";

constexpr const char16_t* kIfExists =
    u" IF EXISTS (SELECT TABLE_NAME FROM INFORMATION_SCHEMA.TABLES"
    u" WHERE TABLE_NAME =  '";
constexpr const char16_t* kThenDrop = u" ' And TABLE_TYPE= 'BASE TABLE')\r\n DROP Table ";

constexpr const char16_t* kTypes = u" Select * From Rd_Style ";
constexpr const char16_t* kLevel = u"iRdGrade = ";
constexpr const char16_t* kNoSuchLevel = u"没有该级次收发类型";
constexpr const char16_t* kNotice = u"提示";
constexpr const char16_t* kCodeLength = u" AND LEN(RdRecord.cRdCode)>= ";

// The period's movements, a kit's line as its components. The opening columns take the type of the
// pieces: that is what the difference of a column and itself is for.
constexpr const char16_t* kKitMovements =
    u" SELECT RdRecord.bRdFlag, RdRecord.cWhCode,  (CASE WHEN cAccPCode IS NULL THEN "
    u"RdRecords.cInvCode ELSE cAccCode END)   AS cInvCode, (CASE WHEN cAccPCode IS NULL   THEN "
    u"RdRecords.iQuantity ELSE Accessaries.iNum * RdRecords.iQuantity END) "
    u" AS iQUantity, (CASE WHEN cAccPCode IS NULL THEN RdRecords.iNum ELSE Accessaries.iNum * "
    u"RdRecords.iNum END) AS iNum, RdRecord.cRdCode, RdRecords.iNum-RdRecords.iNum AS iQCJCSL, "
    u"RdRecords.iNum-RdRecords.iNum AS iQCJCJS INTO ";
constexpr const char16_t* kKitMovementsFrom =
    u" FROM Accessaries RIGHT OUTER JOIN  RdRecord INNER JOIN   RdRecords ON RdRecord.ID = "
    u"RdRecords.ID ON  Accessaries.cAccPCode = RdRecords.cInvCode "
    u" Where RdRecord.cVouchType<>'33' AND  RdRecord.cVouchType<>'34'";

// The same, a line as it stands.
constexpr const char16_t* kPlainMovements =
    u" SELECT  Warehouse.cWhCode, Warehouse.cWhName, RdRecords.cInvCode,"
    u" Inventory.cInvName, Inventory.cInvAddCode,Inventory.cInvStd,Inventory.cAddress , "
    u"Inventory.cInvCCode,InventoryClass.cInvCName ,Inventory.cComUnitCode  , "
    u"  RdRecord.cRdCode, iNum AS iNum, "
    u" iQuantity As iQuantity, iNum-iNum AS iQCJCSL, iNum-iNum AS iQCJCJS, RdRecord.bRdFlag "
    u" INTO ";
constexpr const char16_t* kPlainMovementsFrom =
    u" FROM RdRecord INNER JOIN "
    u" RdRecords ON RdRecord.ID = RdRecords.ID INNER JOIN "
    u" Inventory ON RdRecords.cInvCode = Inventory.cInvCode INNER JOIN "
    u" Warehouse ON RdRecord.cWhCode = Warehouse.cWhCode "
    u" INNER JOIN InventoryClass On Inventory.cInvCCode = InventoryClass.cInvCCode  "
    u" Where RdRecord.cVouchType<>'33' AND  RdRecord.cVouchType<>'34' ";

// The movements before the period, marked as receipts so that they never count as issues. Vouchers
// of type 34 count here and not in the period, which is meant.
constexpr const char16_t* kInsert = u" INSERT INTO  ";
constexpr const char16_t* kKitOpening =
    u" (cWhCode, cInvCode, iQCJCSL, iQCJCJS,bRdFlag)  "
    u" SELECT cWhCode, cInvCode, (CASE WHEN bRdFlag <>0 THEN (CASE WHEN cAccPCode IS NULL   THEN "
    u"RdRecords.iQuantity ELSE Accessaries.iNum * RdRecords.iQuantity END) "
    u" ELSE (CASE WHEN cAccPCode IS NULL   THEN -RdRecords.iQuantity ELSE -Accessaries.iNum * "
    u"RdRecords.iQuantity END) END) AS iQCJCSL, (CASE WHEN bRdFlag <>0 THEN (CASE WHEN cAccPCode "
    u"IS NULL   THEN RdRecords.iNum ELSE Accessaries.iNum * RdRecords.iNum END) "
    u" ELSE (CASE WHEN cAccPCode IS NULL   THEN -RdRecords.iNum ELSE -Accessaries.iNum * "
    u"RdRecords.iNum END) END) AS iQCJCJS,1 FROM Accessaries RIGHT OUTER JOIN  RdRecord INNER JOIN "
    u" RdRecords ON RdRecord.ID = RdRecords.ID ON  Accessaries.cAccPCode = RdRecords.cInvCode"
    u" WHERE RdRecord.cVouchType<>'33'  AND  dDate < '";
constexpr const char16_t* kPlainOpening =
    u" (cWhCode,cWhName,cInvCode , cInvName ,cInvAddCode, cInvStd,cAddress, cInvCCode ,cInvCName "
    u",cComUnitCode ,"
    u"iQCJCSL , iQCJCJS ,bRdFlag )  "
    u" SELECT RdRecord.cWhCode,cWhName, RdRecords.cInvCode, cInvName , "
    u"Inventory.cInvAddCode,cInvStd,Inventory.cAddress, Inventory.cInvCCode "
    u",InventoryClass.cInvCName , Inventory.cComUnitCode ,"
    u"(CASE WHEN bRdFlag <>0 THEN iQuantity ELSE -iQuantity END) AS iQCJCSL, (CASE WHEN bRdFlag "
    u"<>0 THEN iNUM ELSE -iNUM END) AS iQCJCJS,1 "
    u" FROM RdRecord INNER JOIN  RdRecords ON RdRecord.ID = RdRecords.ID INNER JOIN  Inventory ON "
    u"RdRecords.cInvCode = Inventory.cInvCode INNER JOIN Warehouse ON RdRecord.cWhCode = "
    u"Warehouse.cWhCode "
    u" INNER JOIN InventoryClass On Inventory.cInvCCode = InventoryClass.cInvCCode  "
    u" WHERE RdRecord.cVouchType<>'33'  "
    u"  AND  dDate < '";
constexpr const char16_t* kOpeningEnd = u"' ";

// The receive/issue types in use, receipts first.
constexpr const char16_t* kTypesInUse =
    u" SELECT RD.bRdFlag, Rd_Style.cRdCode, Rd_Style.cRdName "
    u" FROM Rd_Style RIGHT OUTER JOIN  "
    u"  (SELECT DISTINCT "
    u" ABS(RdRecord.bRdFlag) AS bRdFlag, RdRecord.cRdCode, Rd_Style.cRdName "
    u"  FROM Rd_Style RIGHT OUTER JOIN "
    u"  RdRecord ON Rd_Style.cRdCode =RdRecord.cRdCode ";
constexpr const char16_t* kTypesInUseLength = u" WHERE LEN(RdRecord.cRdCode)>=";
constexpr const char16_t* kTypesInUseEnd =
    u" ) AS RD ON "
    u" Rd_Style.cRdCode = RD.cRdCode "
    u" ORDER BY ABS(Rd.bRdFlag) DESC ";

// The columns of one type.
constexpr const char16_t* kNameless = u"其他_";
constexpr const char16_t* kReceiptQuantity = u"_入库数量";
constexpr const char16_t* kReceiptPieces = u"_入库件数";
constexpr const char16_t* kIssueQuantity = u"_出库数量";
constexpr const char16_t* kIssuePieces = u"_出库件数";
constexpr const char16_t* kQuantityOfType = u"SUM(Case When  ISNULL(";
constexpr const char16_t* kQuantityKey = u".cRdCode,'') + CONVERT(CHAR(1),abs(bRdflag))  ='";
constexpr const char16_t* kQuantityEnd = u" THEN iQuantity ELSE 0 END) AS [";
constexpr const char16_t* kPiecesOfType = u" SUM( Case When  ISNULL(";
constexpr const char16_t* kPiecesKey = u".cRdCode,'') + CONVERT(CHAR(1),abs(bRdflag)) ='";
constexpr const char16_t* kPiecesEnd = u" THEN iNum ELSE 0 END) AS [";

// The sums: grouping columns, opening, types, totals.
constexpr const char16_t* kInto = u" INTO ";
constexpr const char16_t* kKitGroup = u" SELECT cWhName,  ";
constexpr const char16_t* kKitGroupWarehouse = u".cWhCode AS cWhCode, ";
constexpr const char16_t* kKitGroupItem =
    u".cInvCode , cInvName , cInvAddCode,cInvStd,Inventory.cAddress, Inventory.cInvCCode "
    u",cInvCName, ComputationUnit.CComUnitName AS cInvM_Unit ,CU.cComUnitName As "
    u"cInvA_Unit,cInvDefine1  , cInvDefine2 , cInvDefine3 ,  ";
constexpr const char16_t* kPlainGroup = u" SELECT cWhCode,cWhName, ";
constexpr const char16_t* kPlainGroupItem =
    u".cInvCode , Inventory.cInvName , Inventory.cInvAddCode,Inventory.cInvStd,Inventory.cAddress, "
    u"Inventory.cInvCCode ,cInvCName, ComputationUnit.CComUnitName AS cInvM_Unit ,CU.cComUnitName "
    u"AS cInvA_Unit, ";
constexpr const char16_t* kOpeningSums =
    u" SUM(ISNULL(iQCJCSL,0))  as iQCJCSL , SUM(ISNULL(iQCJCJS,0))  as iQCJCJS, ";
constexpr const char16_t* kTotals =
    u" SUM(CASE WHEN bRdFlag<>0 THEN  iNum ELSE 0 END) AS iRkNum,SUM(CASE WHEN bRdFlag <>0 THEN "
    u"isnull(iQuantity,0) ELSE 0 END) AS iRkQuantity,"
    u" SUM(CASE WHEN bRdFlag=0 THEN  iNum ELSE 0  END) AS iCkNum,SUM(CASE WHEN bRdFlag = 0 THEN  "
    u"isnull(iQuantity,0)  ELSE 0 END) AS iCkQuantity ";
constexpr const char16_t* kKitFrom = u" FROM ";
constexpr const char16_t* kKitWarehouse = u" INNER JOIN  Warehouse ON ";
constexpr const char16_t* kKitWarehouseCode =
    u".cWhCode = Warehouse.cWhCode INNER JOIN "
    u" Inventory ON ";
constexpr const char16_t* kKitItemCode =
    u".cInvCode = Inventory.cInvCode LEFT JOIN ComputationUnit ON Inventory.cComUnitCode = "
    u"ComputationUnit.cComUnitCode  "
    u" LEFT JOIN ComputationUnit CU ON Inventory.cGroupCode = Cu.cGroupCode "
    u" LEFT JOIN InventoryClass ON Inventory.cInvCCode = InventoryClass.cInvCCode ";
constexpr const char16_t* kKitWhere = u" Where ";
constexpr TextView kAnd = u" AND ";
constexpr const char16_t* kKitNoCondition = u"(1 = 1)";
constexpr const char16_t* kKitGroupBy = u" Group By ";
constexpr const char16_t* kKitGroupByWarehouse = u".cWhCode,cWhName, ";
constexpr const char16_t* kKitGroupByItem =
    u".cInvCode , cInvName , cInvAddCode,cInvStd, Inventory.cInvCCode ,cInvCName , "
    u" ComputationUnit.CComUnitName ,CU.cComUnitName , Inventory.cAddress ,cInvDefine1  , "
    u"cInvDefine2 , cInvDefine3";
constexpr const char16_t* kPlainFrom = u"  FROM ";
constexpr const char16_t* kPlainItem = u" INNER JOIN Inventory ON ";
constexpr const char16_t* kPlainItemCode =
    u".cInvCode = Inventory.cInvCode LEFT JOIN  ComputationUnit ON Inventory.cComUnitCode = "
    u"ComputationUnit.cComUnitCode "
    u"LEFT JOIN ComputationUnit CU ON Inventory.cGroupCode = CU.cGroupCode ";
constexpr const char16_t* kPlainGroupBy = u" Group By cWhCode,cWhName, ";
constexpr const char16_t* kPlainGroupByItem =
    u".cInvCode , Inventory.cInvName , Inventory.cInvAddCode,Inventory.cInvStd, Inventory.cAddress "
    u",Inventory.cInvCCode , cInvCName,ComputationUnit.cComUnitName ,CU.cComUnitName ";

// The result.
constexpr const char16_t* kSelect = u" SELECT ";
constexpr const char16_t* kCaptions =
    u" cWhCode as 仓库编码, cWhName as 仓库名称, cInvCode as 存货编码, cInvName as "
    u"存货名称,cInvAddCode AS 存货代码, cInvStd as 规格型号, cAddress AS 产地, cInvM_Unit AS "
    u"计量单位,cInvA_Unit AS 辅计量单位, cInvCCode  ,cInvCName 存货大类名称 ,";
constexpr const char16_t* kOpeningColumns = u" iQCJCSL AS iQCJCSL ,iQCJCJS AS iQCJCJS , ";
constexpr const char16_t* kTotalColumns =
    u" iRkQuantity AS  总计_入库数量, iRkNum AS 总计_入库件数 ,iCkQuantity AS 总计_出库数量,  "
    u"iCkNum 总计_出库件数, (isnull(iQCJCSL,0)+isnull(iRkQuantity,0)-isnull(iCkQuantity,0)) AS "
    u"期末结存数量,(isnull(iQCJCJS,0)+isnull(iRkNum,0)-isnull(iCkNum,0)) AS 期末结存件数  ";
constexpr const char16_t* kResultInto = u" Into tempdb..temSFC From ";
constexpr const char16_t* kResultWhere = u"  Where ";
constexpr const char16_t* kNoBusinessState = u"(1 = 1)";
constexpr const char16_t* kOrderBy = u" ORDER BY cWhCode,cInvCode ";

constexpr RecordsetOptions kClientRows{kUseClient, kOpenStatic, kLockBatchOptimistic,
                                       kOptionUnspecified};

// Conditions on vouchers and their lines but the date, in order. A kit is made up of items of its
// own, so there the conditions on items wait until the components are known.
Text VoucherConditions(const SummaryFilters& f) {
  const Text on_items =
      f.expand_kits ? Text() : AndCondition(f.item_class) + AndCondition(f.specification);
  return AndCondition(f.warehouse) + AndCondition(f.item) + on_items +
         AndCondition(f.voucher_state) + (f.expand_kits ? Text() : AndCondition(f.item_type)) +
         AndCondition(f.type) + AndCondition(f.free_items);
}

Text DropIfThere(TextView table) {
  return Text(kIfExists).append(table).append(kThenDrop).append(table);
}

// `length_clause` is empty where no level is asked for.
Text MovementStatement(const SummaryFilters& f, const Period& period, const Text& length_clause) {
  const Text conditions = AndCondition(period.condition) + VoucherConditions(f);
  const Text table(kMovements);
  if (f.expand_kits) return kKitMovements + table + kKitMovementsFrom + length_clause + conditions;
  return kPlainMovements + table + kPlainMovementsFrom + conditions + length_clause;
}

Text OpeningStatement(const SummaryFilters& f, const Period& period) {
  return kInsert + Text(kMovements) + (f.expand_kits ? kKitOpening : kPlainOpening) + period.start +
         kOpeningEnd + VoucherConditions(f);
}

Text TypesInUseStatement(const Text& length) {
  return kTypesInUse + (length.empty() ? Text() : kTypesInUseLength + length) + kTypesInUseEnd;
}

// The columns of the receive/issue types.
struct TypeColumns {
  Text sums;    // how they are added up
  Text result;  // how the result takes them over
};

// A type as the query of the types in use gives it.
struct TypeInUse {
  Text code;  // empty for a code that Rd_Style lacks
  Text name;  // likewise
  std::int64_t flag = 0;
};

TypeInUse ReadType(Recordset& rows) {
  const Value flag = rows.Field(u"bRdFlag");
  const double number = flag.IsNull() || flag.IsEmpty() ? 0 : ToNumber(flag);
  return {rows.Field(u"cRdCode").ToText(), rows.Field(u"cRdName").ToText(),
          std::llabs(std::llround(number))};
}

void AddType(const TypeInUse& type, TypeColumns& columns) {
  const Text name = type.name.empty() ? Text(kNameless) : type.name;
  const Text quantity = name + (type.flag != 0 ? kReceiptQuantity : kIssueQuantity);
  const Text pieces = name + (type.flag != 0 ? kReceiptPieces : kIssuePieces);
  const Text key = type.code + Value(type.flag).ToText() + u"'";
  columns.sums += kQuantityOfType + Text(kMovements) + kQuantityKey + key + kQuantityEnd +
                  quantity + u"]," + kPiecesOfType + Text(kMovements) + kPiecesKey + key +
                  kPiecesEnd + pieces + u"],";
  columns.result +=
      u"[" + quantity + u"] AS [" + quantity + u"],[" + pieces + u"] AS [" + pieces + u"],";
}

// The columns of all types in `rows`. Types without a name share one pair of columns for each
// direction, counted by the first of them; two types of one name are the server's to refuse.
TypeColumns BuildTypeColumns(Recordset& rows) {
  TypeColumns columns;
  bool nameless_receipt = false;
  bool nameless_issue = false;
  for (; !rows.AtEnd(); rows.MoveNext()) {
    const TypeInUse type = ReadType(rows);
    if (type.name.empty()) {
      bool& written = type.flag != 0 ? nameless_receipt : nameless_issue;
      if (written) continue;
      written = true;
    }
    AddType(type, columns);
  }
  return columns;
}

Text KitSums(const SummaryFilters& f, const Text& columns) {
  const Text table(kMovements);
  const Text conditions =
      AndCondition(f.item_class) + AndCondition(f.specification) + AndCondition(f.item_type);
  return kKitGroup + table + kKitGroupWarehouse + table + kKitGroupItem + columns + kInto +
         Text(kSums) + kKitFrom + table + kKitWarehouse + table + kKitWarehouseCode + table +
         kKitItemCode + kKitWhere +
         (conditions.empty() ? Text(kKitNoCondition) : conditions.substr(kAnd.size())) +
         kKitGroupBy + table + kKitGroupByWarehouse + table + kKitGroupByItem;
}

Text PlainSums(const Text& columns) {
  const Text table(kMovements);
  return kPlainGroup + table + kPlainGroupItem + columns + kInto + Text(kSums) + kPlainFrom +
         table + kPlainItem + table + kPlainItemCode + kPlainGroupBy + table + kPlainGroupByItem;
}

Text SumsStatement(const SummaryFilters& f, const TypeColumns& types) {
  const Text columns = kOpeningSums + types.sums + kTotals;
  return f.expand_kits ? KitSums(f, columns) : PlainSums(columns);
}

Text ResultStatement(const SummaryFilters& f, const TypeColumns& types) {
  const Text business_state = f.business_state.empty() ? Text(kNoBusinessState) : f.business_state;
  return kSelect + Text(kCaptions) + kOpeningColumns + types.result + kTotalColumns + kResultInto +
         Text(kSums) + kResultWhere + business_state + AndCondition(f.closing_quantity) +
         AndCondition(f.zero_stock) + kOrderBy;
}

class clsRepSFC final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return Text(kTable); }

  bool MoveDataDetail() override {
    connection_ = system().NewConnection();
    Open(connection_, *this);
    DropTables();
    const std::shared_ptr<ReportFilterSet> set = FindFilterSet(*this);
    const SummaryFilters filters = ReadSummaryFilters(set.get());
    const Period period = BuildPeriodCondition(set.get());
    const std::optional<Text> length = CodeLength(filters.type_level);
    if (!length) {
      system().MessageBox(kNoSuchLevel, kNotice, kInformation);
      return false;
    }
    Fill(filters, period, *length);
    return true;
  }

  Value Call(Member member, std::span<const Argument> arguments) override {
    if (member == Member::IsBlank) return TextArgument(arguments, 0).empty();
    if (member == Member::SumString) return SumDigits(TextArgument(arguments, 0));
    return ReportProvider::Call(member, arguments);
  }

 private:
  void DropTables() {
    DropResultTable(connection_, kTable);
    for (const TextView table : {kMovements, kSums}) {
      DropIgnoringErrors(connection_, DropIfThere(table));
    }
  }

  // The length of the codes of the types of that level: empty where no level is asked for, nothing
  // where no type has it.
  std::optional<Text> CodeLength(const Text& level) {
    const std::unique_ptr<Recordset> types = Held(connection_)->OpenRecordset(kTypes, kClientRows);
    if (level.empty()) return Text();
    types->SetFilter(kLevel + level);
    if (types->AtEnd()) return std::nullopt;
    const Text code = types->Field(u"cRdCode").ToText();
    return Value(static_cast<std::int64_t>(code.size())).ToText();
  }

  void Fill(const SummaryFilters& filters, const Period& period, const Text& length) {
    const Text length_clause = length.empty() ? Text() : kCodeLength + length;
    Run(MovementStatement(filters, period, length_clause));
    Run(OpeningStatement(filters, period));
    const TypeColumns types = BuildTypeColumns(
        *Held(connection_)->OpenRecordset(TypesInUseStatement(length), kClientRows));
    Run(SumsStatement(filters, types));
    Run(ResultStatement(filters, types));
  }

  void Run(const Text& statement) { Held(connection_)->Execute(statement, kOptionUnspecified); }

  // Apart from mconn, which this report leaves to the host; it stays open.
  std::shared_ptr<Connection> connection_;
};

}  // namespace

std::unique_ptr<ReportProvider> NewReceiveIssueBalance(System& system) {
  return std::make_unique<clsRepSFC>(system);
}

}  // namespace ledgerwick
