#include "host/filters.h"

#include <algorithm>
#include <iterator>

#include "host/inventory_notes.h"
#include "host/inventory_rows.h"
#include "host/sales_notes.h"
#include "host/sales_rows.h"

namespace ledgerwick {
namespace {

using enum FilterKind;
using enum UnknownFilter;
using enum WithoutSet;
using namespace inventory_rows;
using namespace sales_rows;
using namespace inventory_notes;
using namespace sales_notes;

// class, title, filters, columns, note on the columns, notes, an unknown filter, without a filter
// set, what is read of the login, whether its condition counts in characters
constexpr ReportInfo kReports[] = {
    {u"clsInventroy", u"存货档案", {}, {}, kSnapshotColumns, {}, LeftOut, Runs},
    {u"clsRepAQKCYJ", u"安全库存预警", kSafetyStockFilters, kSafetyStockColumns, u"",
     kSafetyStockNotes, InCondition, Fails},
    {u"clsRepSFC", u"收发存汇总表", kBalanceFilters, kBalanceColumns, kBalanceNote, kBalanceNotes,
     LeftOut, Runs},
    {u"clsRepHwhz", u"货位汇总表", kLocationFilters, kLocationColumns, u"", kLocationNotes, LeftOut,
     Runs},
    {u"clsRepLsz", u"出入库流水帐", kJournalFilters, kJournalColumns, u"", kJournalNotes,
     InCondition, Runs},
    {u"clsRepPcch", u"批次存货汇总表", kBatchFilters, kBatchColumns, u"", kBatchNotes, LeftOut,
     Fails},
    {u"clsRepXCL", u"现存量", kCurrentStockFilters, kCurrentStockColumns, u"", kCurrentStockNotes,
     LeftOut, Fails},
    {u"clsRepBzqyj", u"保质期预警", kShelfLifeFilters, kShelfLifeColumns, u"", kShelfLifeNotes,
     InCondition, Fails, LoginInput::CurDate},
    {u"newclsReportDataSaleTotal", u"销售汇总表", kSalesFilters, kSummaryColumns, kProcedureNote,
     kSalesNotes, InCondition, GivesUp, LoginInput::None, true},
    {u"newclsReportDataSaleDetail", u"销售明细表", kSalesFilters, kDetailColumns, kProcedureNote,
     kSalesNotes, InCondition, GivesUp},
    {u"newClsReportDaoSaleInCome", u"销售收入表", kIncomeFilters, kIncomeColumns, kProcedureNote,
     kTrappedNotes, InCondition, Runs, LoginInput::cAcc_Id},
    {u"newClsReportDaoSaleCost", u"销售成本表", kCostFilters, kCostColumns, kProcedureNote,
     kTrappedNotes, InCondition, GivesUp},
    {u"newClsReportDaoSaleProfit",
     u"销售利润表",
     kProfitFilters,
     {},
     kProfitColumns,
     kProfitNotes,
     LeftOut,
     Runs},
    {u"newClsReportDaoConsignment",
     u"委托代销统计表",
     kConsignmentFilters,
     kConsignmentColumns,
     kProcedureNote,
     {},
     InCondition,
     GivesUp},
    {u"newclsReportDaoOut",
     u"发货明细表",
     kDispatchFilters,
     kDispatchColumns,
     kProcedureNote,
     {},
     InCondition,
     GivesUp},
    {u"newClsReportDaoOutIncome", u"发货收入表", kDispatchIncomeFilters, kDispatchIncomeColumns,
     kProcedureNote, kTrappedNotes, InCondition, GivesUp},
    {u"newclsReportDAOSRM", u"销售、退货与毛利明细表", kSrmFilters, kSrmColumns, kProcedureNote,
     kSrmNotes, InCondition, GivesUp},
    {u"newclsReportDaotrust", u"委托代销结算明细表", kEntrustedFilters, kEntrustedColumns,
     kProcedureNote, kTrappedNotes, InCondition, GivesUp},
};

}  // namespace

std::span<const ReportInfo> ReportInfos() noexcept { return kReports; }

const ReportInfo* FindReportInfo(TextView class_name) noexcept {
  const auto* found = std::find_if(std::begin(kReports), std::end(kReports), [&](const auto& r) {
    return EqualText(r.class_name, class_name);
  });
  return found == std::end(kReports) ? nullptr : found;
}

std::vector<NoteEntry> EveryNote() {
  std::vector<NoteEntry> entries;
  for (const Note& note : GeneralNotes()) entries.push_back({{}, &note});
  for (const ReportInfo& report : kReports) {
    for (const Note& note : report.notes) {
      const auto entry = std::find_if(entries.begin(), entries.end(),
                                      [&](const NoteEntry& e) { return e.note == &note; });
      if (entry == entries.end()) {
        entries.push_back({Text(report.class_name), &note});
      } else {
        entry->reports.append(u", ").append(report.class_name);
      }
    }
  }
  std::stable_sort(entries.begin(), entries.end(), [](const NoteEntry& a, const NoteEntry& b) {
    return a.note->code < b.note->code;
  });
  return entries;
}

const FilterInfo* FindFilterInfo(const ReportInfo& report, TextView name_or_caption) noexcept {
  const TextView wanted = Trim(name_or_caption);
  for (const FilterInfo& filter : report.filters) {
    if (EqualText(filter.name, wanted) || EqualText(filter.caption, wanted)) return &filter;
  }
  return nullptr;
}

const FilterInfo* FindItemInfo(const ReportInfo& report, TextView name, TextView caption) noexcept {
  const FilterInfo* named = nullptr;
  for (const FilterInfo& filter : report.filters) {
    const bool is_captioned = EqualText(filter.caption, Trim(caption));
    if (filter.trait == FilterTrait::ByCaption && is_captioned) return &filter;
    if (!named && EqualText(filter.name, Trim(name))) named = &filter;
  }
  return named;
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

TextView KindMeaning(FilterKind kind) noexcept {
  switch (kind) {
    case PlainText:
      return u"one value";
    case List:
      return u"values parted by commas";
    case Range:
      return u"one value, or FROM..TO of texts";
    case DateRange:
      return u"one date, or FROM..TO of dates, yyyy-mm-dd";
    case NumberRange:
      return u"one number, or FROM..TO of numbers";
    case Option:
      break;
  }
  return u"one of the known values";
}

}  // namespace ledgerwick
