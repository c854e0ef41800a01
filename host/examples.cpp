#include "host/examples.h"

#include <algorithm>
#include <iterator>

namespace ledgerwick {
namespace {

constexpr TextView kMarch[] = {u"日期=2002-03-01..2002-03-31"};
constexpr TextView kStock[] = {u"查询类型=不高于安全库存量存货"};
constexpr TextView kBalance[] = {u"日期=2002-03-01..2002-03-31", u"仓库编码=03"};
constexpr TextView kLocation[] = {u"仓库编码=03", u"存货编码=0102..0103"};
constexpr TextView kJournal[] = {u"日期=2002-03-01..2002-03-31", u"单据状态=已审核单据"};
constexpr TextView kBatch[] = {u"日期=2002-02-01..2002-12-31"};
constexpr TextView kCurrent[] = {u"仓库编码=03", u"现存数量=100.."};
constexpr TextView kShelfLife[] = {u"存货状态=未过期存货", u"仓库编码=01..09"};
constexpr TextView kSales[] = {u"日期=2002-03-01..2002-03-31", u"复核=复核"};
constexpr TextView kIncome[] = {u"客户编码=C0003..C0007"};
constexpr TextView kYear[] = {u"日期=2002-01-01..2002-12-31"};
constexpr TextView kConsignment[] = {u"发货日期=2002-03-01..2002-06-30"};
constexpr TextView kDispatch[] = {u"单据类型=委托结算", u"日期=2002-03-01..2002-03-31"};
constexpr TextView kDispatchIncome[] = {u"发货日期=2002-03-01..2002-03-31", u"审核=审核"};

constexpr ReportExample kExamples[] = {
    {u"clsInventroy",
     u"What does the inventory file say of each item?",
     {},
     u"cInvCode,cInvName,cInvStd,cInvCCode,iSafeNum"},
    {u"clsRepAQKCYJ",
     u"Which items have more or less in stock than their safety stock, by how much, and where?",
     kStock, u"cWhName,cInvCode,CHMC,JLDW,AQKCL,DQKCL,CL"},
    {u"clsRepSFC",
     u"What did each warehouse have of each item when the period began, what came in and went out "
     u"by receive/issue type, and what was left at the end?",
     kBalance, u"仓库编码,存货编码,存货名称,iQCJCSL,总计_入库数量,总计_出库数量,期末结存数量"},
    {u"clsRepHwhz",
     u"What lies at each location of a warehouse, by item and batch, and what moved there since "
     u"2001-10-01?",
     kLocation, u"货位编码,存货编码,批号,期初结存数量,本期入库数量,本期出库数量,期末结存数量"},
    {u"clsRepLsz", u"Which receipts and issues were there, line by line?", kJournal,
     u"dDate,SFBZ,DJH,WN,CHBM,CHMC,RKSL,CKSL"},
    {u"clsRepPcch", u"What came in and went out of each batch of an item?", kBatch,
     u"仓库编码,存货编码,存货名称,批号,收入数量,发出数量"},
    {u"clsRepXCL",
     u"What is in stock at present, by warehouse, item, batch and free attributes, and how much of "
     u"it is on its way in or out?",
     kCurrent, u"cWhName,cInvCode,cInvName,cBatch,dVDate,iQuantity,fAvaQuantity"},
    {u"clsRepBzqyj",
     u"Which stock has passed its expiry date, or will on a day that comes, counted from the login "
     u"date?",
     kShelfLife, u"仓库,存货编码,存货名称,批号,结存数量,失效日期", u"2002-12-31"},
    {u"newclsReportDataSaleTotal",
     u"How much was invoiced to each customer of each department, by item?", kSales},
    {u"newclsReportDataSaleDetail",
     u"What was invoiced, line by line, at which price, and with which margin over its cost?",
     kSales},
    {u"newClsReportDaoSaleInCome",
     u"How much did each customer owe for each item, and how much of it is paid?",
     kIncome,
     {},
     {},
     u"001"},
    {u"newClsReportDaoSaleCost",
     u"What did the goods that were sold bring in, what did they cost, and what was the margin?",
     kYear},
    {u"newClsReportDaoSaleProfit",
     u"What the report answers is not laid down: its class can be created, and that is all.",
     kMarch},
    {u"newClsReportDaoConsignment",
     u"Of the goods that customers hold on consignment, what is invoiced, what is paid, and what "
     u"is still open?",
     kConsignment},
    {u"newclsReportDaoOut",
     u"Which goods left on dispatch notes, or were settled on consignment, line by line?",
     kDispatch},
    {u"newClsReportDaoOutIncome",
     u"How much of what was dispatched has been invoiced, and how much has not?", kDispatchIncome},
    {u"newclsReportDAOSRM",
     u"What was sold and what came back, line by line, and with which margin?", kMarch},
    {u"newclsReportDaotrust",
     u"What have customers settled of the goods that were entrusted to "
     u"them?",
     kYear},
};

}  // namespace

const ReportExample* FindExample(TextView class_name) noexcept {
  const auto* found = std::find_if(std::begin(kExamples), std::end(kExamples), [&](const auto& e) {
    return EqualText(e.class_name, class_name);
  });
  return found == std::end(kExamples) ? nullptr : found;
}

}  // namespace ledgerwick
