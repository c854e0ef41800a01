#include "host/filters.h"

#include <algorithm>
#include <iterator>

#include "host/inventory_rows.h"
#include "host/sales_rows.h"

namespace ledgerwick {
namespace {

using enum FilterKind;
using namespace inventory_rows;
using namespace sales_rows;

// class, filters, columns, note on the columns
constexpr ReportInfo kReports[] = {
    {u"clsInventroy", {}, {}, kSnapshotColumns},
    {u"clsRepAQKCYJ", kSafetyStockFilters, kSafetyStockColumns, u""},
    {u"clsRepSFC", kBalanceFilters, kBalanceColumns, kBalanceNote},
    {u"clsRepHwhz", kLocationFilters, kLocationColumns, u""},
    {u"clsRepLsz", kJournalFilters, kJournalColumns, u""},
    {u"clsRepPcch", kBatchFilters, kBatchColumns, u""},
    {u"clsRepXCL", kCurrentStockFilters, kCurrentStockColumns, u""},
    {u"clsRepBzqyj", kShelfLifeFilters, kShelfLifeColumns, u""},
    {u"newclsReportDataSaleTotal", kSalesFilters, kSummaryColumns, kProcedureNote},
    {u"newclsReportDataSaleDetail", kSalesFilters, kDetailColumns, kProcedureNote},
    {u"newClsReportDaoSaleInCome", kIncomeFilters, kIncomeColumns, kProcedureNote},
    {u"newClsReportDaoSaleCost", kCostFilters, kCostColumns, kProcedureNote},
    {u"newClsReportDaoSaleProfit", kProfitFilters, {}, kProfitColumns},
    {u"newClsReportDaoConsignment", kConsignmentFilters, kConsignmentColumns, kProcedureNote},
    {u"newclsReportDaoOut", kDispatchFilters, kDispatchColumns, kProcedureNote},
    {u"newClsReportDaoOutIncome", kDispatchIncomeFilters, kDispatchIncomeColumns, kProcedureNote},
    {u"newclsReportDAOSRM", kSrmFilters, kSrmColumns, kProcedureNote},
    {u"newclsReportDaotrust", kEntrustedFilters, kEntrustedColumns, kProcedureNote},
};

}  // namespace

std::span<const ReportInfo> ReportInfos() noexcept { return kReports; }

const ReportInfo* FindReportInfo(TextView class_name) noexcept {
  const auto* found = std::find_if(std::begin(kReports), std::end(kReports), [&](const auto& r) {
    return EqualText(r.class_name, class_name);
  });
  return found == std::end(kReports) ? nullptr : found;
}

const FilterInfo* FindFilterInfo(const ReportInfo& report, TextView name_or_caption) noexcept {
  const TextView wanted = Trim(name_or_caption);
  for (const FilterInfo& filter : report.filters) {
    if (EqualText(filter.name, wanted) || EqualText(filter.caption, wanted)) return &filter;
  }
  return nullptr;
}

TextView KindName(FilterKind kind) noexcept {
  switch (kind) {
    case PlainText:
      return u"text";
    case List:
      return u"list";
    case Range:
      return u"range";
    case DateRange:
      return u"date range";
    case NumberRange:
      return u"number range";
    case Option:
      break;
  }
  return u"option";
}

}  // namespace ledgerwick
