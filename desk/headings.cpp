#include "desk/headings.h"

#include <algorithm>
#include <iterator>

namespace ledgerwick::desk {
namespace {

struct Word {
  TextView zh;
  TextView en;
};

constexpr Word kCaptions[] = {
    {u"查询类型", u"Items shown"},
    {u"仓库编码", u"Warehouse"},
    {u"仓库名称", u"Warehouse name"},
    {u"仓库", u"Warehouse"},
    {u"存货编码", u"Item"},
    {u"存货名称", u"Item name"},
    {u"存货大类", u"Item class"},
    {u"存货分类", u"Item class"},
    {u"规格型号", u"Specification"},
    {u"安全库存量", u"Safety stock"},
    {u"现存数量", u"Quantity on hand"},
    {u"现存件数", u"Pieces on hand"},
    {u"日期", u"Date"},
    {u"审核日期", u"Audit date"},
    {u"记账日期", u"Booking date"},
    {u"发货日期", u"Dispatch date"},
    {u"开票日期", u"Invoice date"},
    {u"收款日期", u"Payment date"},
    {u"生产日期", u"Production date"},
    {u"失效日期", u"Expiry date"},
    {u"存货类型", u"Item type"},
    {u"存货状态", u"Shelf-life state"},
    {u"收发类别", u"Receive/issue type"},
    {u"收发类别级次", u"Level of receive/issue types"},
    {u"业务状态", u"Movements"},
    {u"结存数量", u"Closing quantity"},
    {u"显示零结存", u"Show zero balances"},
    {u"展开成套件", u"Kits as their components"},
    {u"已审核单据", u"Audited vouchers only"},
    {u"货位编码", u"Location"},
    {u"货位级次", u"Level of locations"},
    {u"存货大类级次", u"Level of item classes"},
    {u"辅计量单位级次", u"Level of units"},
    {u"批号", u"Batch"},
    {u"单据状态", u"Voucher state"},
    {u"单据类型", u"Voucher type"},
    {u"单据号", u"Voucher number"},
    {u"供应商编码", u"Vendor"},
    {u"客户编码", u"Customer"},
    {u"部门编码", u"Department"},
    {u"核算部门", u"Department of the account"},
    {u"业务员编码", u"Person"},
    {u"业务员", u"Person"},
    {u"条形码", u"Bar code"},
    {u"冻结状态", u"Stopped stock"},
    {u"过期天数", u"Days past expiry"},
    {u"距失效天数", u"Days to expiry"},
    {u"复核", u"Review"},
    {u"复核人", u"Reviewed by"},
    {u"审核", u"Audit"},
    {u"劳务", u"Services"},
    {u"劳务标志", u"Service flag"},
    {u"销售类型", u"Sale type"},
    {u"数量", u"Quantity"},
};

constexpr Word kValues[] = {
    {u"全部", u"all"},
    {u"高于安全库存量存货", u"above safety stock"},
    {u"不高于安全库存量存货", u"not above safety stock"},
    {u"所有存货", u"all items"},
    {u"发生业务", u"with movements"},
    {u"未发生业务", u"without movements"},
    {u"入库未出库", u"received, not issued"},
    {u"出库未入库", u"issued, not received"},
    {u"一般存货", u"ordinary items"},
    {u"呆滞积压存货", u"slow-moving items"},
    {u"受托代销商品", u"goods on commission"},
    {u"是", u"yes"},
    {u"否", u"no"},
    {u"全部单据", u"all vouchers"},
    {u"已审核单据", u"audited vouchers"},
    {u"未审核单据", u"vouchers not audited"},
    {u"冻结", u"stopped"},
    {u"未冻结", u"not stopped"},
    {u"所有保质期存货", u"all with a shelf life"},
    {u"过期存货", u"expired"},
    {u"未过期存货", u"not expired"},
    {u"到期存货", u"expiring"},
    {u"复核", u"reviewed"},
    {u"未复核", u"not reviewed"},
    {u"审核", u"audited"},
    {u"未审核", u"not audited"},
    {u"劳务", u"services"},
    {u"非劳务", u"goods"},
    {u"发货单", u"dispatch notes"},
    {u"委托结算", u"consignment settlements"},
    {u"委托结算单", u"consignment settlements"},
};

// Columns whose names are not what users call them; English only where the host knows no meaning.
struct Column {
  TextView name;
  TextView zh;
  TextView en = {};
};
constexpr Column kColumns[] = {
    {u"±", u"差异", u"difference"},
    {u"cWhCode", u"仓库编码"},
    {u"cWhName", u"仓库名称"},
    {u"cInvCode", u"存货编码", u"item code"},
    {u"cInvAddCode", u"存货代码", u"item's additional code"},
    {u"cInvName", u"存货名称", u"item name"},
    {u"cInvStd", u"规格型号", u"specification"},
    {u"cInvCCode", u"存货大类编码", u"item class code"},
    {u"cInvCName", u"存货大类名称"},
    {u"cInvM_Unit", u"主计量单位"},
    {u"cInvA_Unit", u"辅计量单位"},
    {u"cBatch", u"批号"},
    {u"cBarCode", u"条形码", u"bar code"},
    {u"cPosCode", u"货位编码"},
    {u"cPosName", u"货位名称"},
    {u"cPosition", u"货位编码", u"location code"},
    {u"cAddress", u"产地", u"origin"},
    {u"iGroupType", u"计量单位组类别", u"kind of unit group"},
    {u"cGroupCode", u"计量单位组编码", u"unit group"},
    {u"cComUnitCode", u"主计量单位编码", u"unit code"},
    {u"cAssComUnitCode", u"辅计量单位编码", u"code of the pieces' unit"},
    {u"iSafeNum", u"安全库存量", u"safety stock"},
    {u"iPlanPrice", u"计划价", u"plan price"},
    {u"iShelfDays", u"保质期", u"shelf life in days"},
    {u"bInvBatch", u"批次管理", u"kept by batch"},
    {u"bInvQuality", u"保质期管理", u"has a shelf life"},
    {u"bService", u"劳务", u"service"},
    {u"bInvEntrust", u"受托代销", u"on commission"},
    {u"bInvOverStock", u"呆滞积压", u"slow-moving"},
    {u"dMdate", u"生产日期"},
    {u"dVDate", u"失效日期"},
    {u"iMassDate", u"保质期"},
    {u"iQuantity", u"现存数量"},
    {u"iNum", u"现存件数"},
    {u"bStopFlag", u"冻结"},
    {u"fInQuantity", u"待入库数量"},
    {u"fInNum", u"待入库件数"},
    {u"fOutQuantity", u"待发货数量"},
    {u"fOutNum", u"待发货件数"},
    {u"fTransInQuantity", u"调拨在途数量"},
    {u"fTransInNum", u"调拨在途件数"},
    {u"fTransOutQuantity", u"调拨待发数量"},
    {u"fTransOutNum", u"调拨待发件数"},
    {u"fPlanQuantity", u"计划数量"},
    {u"fPlanNum", u"计划件数"},
    {u"fDisableQuantity", u"不可用数量"},
    {u"fDisableNum", u"不可用件数"},
    {u"fAvaQuantity", u"可用数量"},
    {u"fAvaNum", u"可用件数"},
    {u"AQKCL", u"安全库存量"},
    {u"DQKCL", u"当前库存量"},
    {u"CL", u"差量"},
    {u"iQCJCSL", u"期初结存数量"},
    {u"iQCJCJS", u"期初结存件数"},
    {u"dDate", u"日期"},
    {u"SFBZ", u"收发标志", u"receipt or issue"},
    {u"SXRQ", u"失效日期"},
    {u"DJLX", u"单据类型"},
    {u"YWLX", u"业务类型"},
    {u"BZ", u"备注"},
    {u"YWH", u"业务号"},
    {u"WN", u"仓库"},
    {u"DJH", u"单据号"},
    {u"SFLB", u"收发类别"},
    {u"BM", u"部门"},
    {u"YWY", u"业务员"},
    {u"CGLX", u"采购类型"},
    {u"GHDW", u"供货单位"},
    {u"DDH", u"订单号"},
    {u"DHDH", u"到货单号"},
    {u"XSLX", u"销售类型"},
    {u"FPH", u"发票号"},
    {u"KH", u"客户"},
    {u"FHDH", u"发货单号"},
    {u"SCPH", u"生产批号"},
    {u"JSR", u"审核人"},
    {u"CHBM", u"存货编码"},
    {u"CHDM", u"存货代码"},
    {u"CHMC", u"存货名称"},
    {u"GGXH", u"规格型号"},
    {u"JLDW", u"计量单位"},
    {u"RKJS", u"入库件数"},
    {u"CKJS", u"出库件数"},
    {u"HSL", u"换算率"},
    {u"RKSL", u"入库数量"},
    {u"CKSL", u"出库数量"},
    {u"RKDJ", u"入库单价"},
    {u"CKDJ", u"出库单价"},
    {u"RKJE", u"入库金额"},
    {u"CKJE", u"出库金额"},
    {u"JHJ", u"计划价"},
    {u"JHJE", u"计划金额"},
    {u"PH", u"批号"},
    {u"XMMC", u"项目名称"},
    {u"XMDL", u"项目大类"},
    {u"JZR", u"记账人"},
    {u"ZDR", u"制单人"},
};

// Families of columns and filters that a number tells apart.
struct Family {
  TextView prefix;
  TextView zh;
  TextView en;
};
constexpr Family kFamilies[] = {
    {u"cFree", u"自由项", u"free attribute "},
    {u"cInvDefine", u"存货自定义项", u"item's free field "},
    {u"ZDY", u"自定义项", u"free field "},
};

constexpr TextView kKeys[] = {u"±",      u"cInvCode", u"存货编码", u"CHBM",
                              u"DJH",    u"仓库编码", u"货位编码", u"客户编码",
                              u"发票号", u"发货单号", u"结算单号", u"单据号"};

constexpr TextView kNumberWords[] = {u"数量", u"件数", u"金额", u"单价",  u"成本",   u"毛利",
                                     u"税额", u"合计", u"收入", u"净额",  u"计划价", u"换算率",
                                     u"收款", u"差量", u"库存", u"保质期"};

template <typename Table>
auto Find(const Table& table, TextView zh) {
  const auto found = std::find_if(std::begin(table), std::end(table),
                                  [&](const Word& word) { return word.zh == zh; });
  return found == std::end(table) ? nullptr : found;
}

bool IsNumbered(TextView name, TextView prefix) {
  return name.size() > prefix.size() && name.starts_with(prefix) &&
         std::all_of(name.begin() + static_cast<std::ptrdiff_t>(prefix.size()), name.end(),
                     [](char16_t c) { return c >= u'0' && c <= u'9'; });
}

void NameByFamily(TextView column, Heading& heading) {
  for (const Family& family : kFamilies) {
    if (!IsNumbered(column, family.prefix)) continue;
    const TextView number = column.substr(family.prefix.size());
    heading.zh = Text(family.zh).append(number);
    heading.en = Text(family.en).append(number);
  }
}

}  // namespace

Heading HeadingOf(TextView report, TextView column) {
  Heading heading{Text(column), Text(column),
                  std::find(std::begin(kKeys), std::end(kKeys), column) != std::end(kKeys)};
  NameByFamily(column, heading);
  const auto* known = std::find_if(std::begin(kColumns), std::end(kColumns),
                                   [&](const Column& c) { return c.name == column; });
  if (known != std::end(kColumns)) {
    heading.zh = known->zh;
    if (!known->en.empty()) {
      heading.en = known->en;
      return heading;
    }
  }
  const ReportInfo* info = FindReportInfo(report);
  if (info == nullptr) return heading;
  for (const ResultColumnInfo& c : info->columns) {
    if (c.name == column) heading.en = c.meaning;
  }
  return heading;
}

const char* LikelyKind(const Heading& heading) {
  if (heading.zh.ends_with(u"日期")) return "date";
  const bool is_number =
      std::any_of(std::begin(kNumberWords), std::end(kNumberWords),
                  [&](TextView word) { return heading.zh.find(word) != Text::npos; });
  return is_number ? "number" : "text";
}

Text EnglishCaption(const FilterInfo& filter) {
  if (const Word* word = Find(kCaptions, filter.caption)) return Text(word->en);
  Heading heading{Text(filter.caption), Text(filter.caption), false};
  NameByFamily(filter.name, heading);
  return heading.en;
}

Text EnglishValue(TextView value) {
  const Word* word = Find(kValues, value);
  return Text(word != nullptr ? word->en : value);
}

Text EnglishTitle(const ClassInfo& report) {
  Text title(report.report);
  if (!title.empty() && title[0] >= u'a' && title[0] <= u'z') {
    title[0] = static_cast<char16_t>(title[0] - u'a' + u'A');
  }
  return title;
}

bool IsInventoryReport(const ClassInfo& report) { return report.name.starts_with(u"cls"); }

const Picture* PictureOf(TextView report) {
  static const std::vector<Picture> pictures = {
      {u"clsInventroy", "bar", u"cInvName", {u"iSafeNum"}},
      {u"clsRepAQKCYJ", "bar", u"CHMC", {u"DQKCL", u"AQKCL"}},
      {u"clsRepSFC", "bar", u"存货名称", {u"总计_入库数量", u"总计_出库数量"}},
      {u"clsRepHwhz", "bar", u"货位名称", {u"期末结存数量"}},
      {u"clsRepLsz", "bar", u"dDate", {u"RKSL", u"CKSL"}, "sum", 36},
      {u"clsRepPcch", "bar", u"存货名称", {u"收入数量", u"发出数量"}},
      {u"clsRepXCL", "bar", u"cInvName", {u"iQuantity", u"fAvaQuantity"}},
      {u"clsRepBzqyj", "scatter", u"失效日期", {u"结存数量"}, "none", 500},
      {u"newclsReportDataSaleTotal", "bar", u"客户名称", {u"金额", u"税额"}},
      {u"newclsReportDataSaleDetail", "line", u"开票日期", {u"金额", u"毛利"}, "sum", 366},
      {u"newClsReportDaoSaleInCome", "bar", u"客户名称", {u"收入", u"未收款"}},
      {u"newClsReportDaoSaleCost", "bar", u"存货名称", {u"收入", u"毛利"}},
      {u"newClsReportDaoConsignment", "bar", u"客户名称", {u"发货金额", u"收款金额"}},
      {u"newclsReportDaoOut", "line", u"日期", {u"金额"}, "sum", 366},
      {u"newClsReportDaoOutIncome", "bar", u"客户名称", {u"发货金额", u"开票金额"}},
      {u"newclsReportDAOSRM", "line", u"日期", {u"净额", u"毛利"}, "sum", 366},
      {u"newclsReportDaotrust", "bar", u"客户名称", {u"结算金额"}},
  };
  const auto found = std::find_if(pictures.begin(), pictures.end(),
                                  [&](const Picture& p) { return p.report == report; });
  return found == pictures.end() ? nullptr : &*found;
}

}  // namespace ledgerwick::desk
