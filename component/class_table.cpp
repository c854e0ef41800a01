#include "component/class_table.h"

#include <algorithm>
#include <iterator>

#include "inventory/factories.h"
#include "sales/factories.h"

namespace ledgerwick {
namespace {

using enum Member;

// The orders of members that more than one class has.
constexpr Member kSubTitleFirst[] = {ObjReportManager, ReportTitle,   mConnectionString, mconn,
                                     strSubTitle,      TempTablename, MoveDataDetail};
constexpr Member kInventory[] = {ObjReportManager,  ReportTitle,   mconn,
                                 mConnectionString, TempTablename, MoveDataDetail};

constexpr Member kSnapshot[] = {ObjReportManager, ReportTitle,    mConnectionString, mconn,
                                TempTablename,    MoveDataDetail, GetSubTitle};
constexpr Member kConsignment[] = {ObjReportManager,       ReportTitle, mconn,
                                   mConnectionString,      strSubTitle, TempTablename,
                                   MoveDataDetailAsVariant};
constexpr Member kDispatch[] = {ObjReportManager, ReportTitle,   mconn,         mConnectionString,
                                strSubTitle,      TempTablename, MoveDataDetail};
constexpr Member kDispatchIncome[] = {ObjReportManager, ReportTitle, mConnectionString, mconn,
                                      TempTablename,    strSubTitle, MoveDataDetail};
constexpr Member kSalesIncome[] = {
    ObjReportManager, ReportTitle,   mConnectionString, mconn,
    objLogin,         TempTablename, strSubTitle,       MoveDataDetail};
constexpr Member kSalesProfit[] = {ObjReportManager, ReportTitle, mconn,         mConnectionString,
                                   TempTablename,    strSubTitle, MoveDataDetail};
constexpr Member kSalesDetail[] = {ObjReportManager, mConnectionString, ReportTitle,   mconn,
                                   TempTablename,    strSubTitle,       MoveDataDetail};
constexpr Member kShelfLife[] = {ObjReportManager,  ReportTitle,   mconn,         objLogin,
                                 mConnectionString, TempTablename, MoveDataDetail};
constexpr Member kBalance[] = {ObjReportManager, ReportTitle,    mconn,   mConnectionString,
                               TempTablename,    MoveDataDetail, IsBlank, SumString};
constexpr Member kCurrentStock[] = {
    ObjReportManager, ReportTitle,    mconn,          mConnectionString, TempTablename,
    MoveDataDetail,   GetClassLength, GetGoodClass,   GetInformation,    GetDigConditionString,
    ExistsFuzzyChar,  RepForFuzzy,    RepCharWithChar};

// name, report, help text, result table, machine suffix, members, factory
constexpr ClassInfo kClasses[] = {
    {u"newclsReportDataSaleTotal", u"sales summary", u"", u"Sa_TempSaleDetail", false,
     kSubTitleFirst, &NewSalesSummary},
    {u"clsInventroy", u"inventory snapshot", u"", u"tempa", false, kSnapshot,
     &NewInventorySnapshot},
    {u"newClsReportDaoConsignment", u"consignment", u"", u"Sa_TpConsignment", true, kConsignment,
     &NewConsignment},
    {u"newclsReportDaoOut", u"dispatch", u"", u"Sa_TmpOutDetail", true, kDispatch, &NewDispatch},
    {u"newClsReportDaoOutIncome", u"dispatch income", u"", u"Sa_TpSaleOutIncome", true,
     kDispatchIncome, &NewDispatchIncome},
    {u"newClsReportDaoSaleCost", u"sales cost", u"", u"Sa_TempSaleCostDetail", true, kSubTitleFirst,
     &NewSalesCost},
    {u"newClsReportDaoSaleInCome", u"sales income", u"", u"Sa_TpSaleInCome", true, kSalesIncome,
     &NewSalesIncome},
    {u"newClsReportDaoSaleProfit", u"sales profit", u"", u"Sa_TpSaleProfit", true, kSalesProfit,
     &NewSalesProfit},
    {u"newclsReportDAOSRM", u"SRM", u"", u"Sa_TmpSRMDetail", true, kSubTitleFirst, &NewSrm},
    {u"newclsReportDaotrust", u"entrusted sales", u"", u"Sa_TmpTrustDetail", true, kSubTitleFirst,
     &NewEntrustedSales},
    {u"newclsReportDataSaleDetail", u"sales detail", u"", u"Sa_TempSaleDetailCost", true,
     kSalesDetail, &NewSalesDetail},
    {u"clsRepAQKCYJ", u"safety-stock warning", u"安全库存预警", u"tempAqkcyj", false, kInventory,
     &NewSafetyStockWarning},
    {u"clsRepBzqyj", u"shelf-life warning", u"保质期预警", u"tempBzqyj", false, kShelfLife,
     &NewShelfLifeWarning},
    {u"clsRepHwhz", u"location summary", u"货位汇总表", u"temHwhz", false, kInventory,
     &NewLocationSummary},
    {u"clsRepLsz", u"in/out journal", u"实现出入库流水帐", u"temLsz", false, kInventory,
     &NewInOutJournal},
    {u"clsRepPcch", u"batch stock summary", u"实现批次存货汇总表", u"temPcch", false, kInventory,
     &NewBatchStockSummary},
    {u"clsRepSFC", u"receive/issue/balance summary", u"实现收发存汇总表", u"temSFC", false,
     kBalance, &NewReceiveIssueBalance},
    {u"clsRepXCL", u"current stock", u"现存量", u"tempXcl", false, kCurrentStock, &NewCurrentStock},
};
static_assert(std::size(kClasses) == 18);

}  // namespace

bool ClassInfo::Has(Member member) const noexcept {
  return std::find(members.begin(), members.end(), member) != members.end();
}

std::span<const ClassInfo> Classes() noexcept { return kClasses; }

const ClassInfo* FindClass(TextView name) noexcept {
  const auto found = std::find_if(std::begin(kClasses), std::end(kClasses),
                                  [&](const ClassInfo& c) { return EqualText(c.name, name); });
  return found == std::end(kClasses) ? nullptr : found;
}

}  // namespace ledgerwick
