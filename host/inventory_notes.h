// What the inventory reports do that their users do not expect. Part of filters.cpp; in Chinese
// they stand in notes_chinese.cpp. The statements stay as they are: hosts rely on them.
#pragma once

#include <array>

#include "host/notes.h"
#include "host/reference_host.h"
#include "host/request_facts.h"

namespace ledgerwick::inventory_notes {

using enum Severity;
using Facts = RequestFacts;

constexpr bool Always(const Facts&) { return true; }

inline constexpr TextView kSeveralWarehouses =
    u"The warehouses of the list are joined with AND, which no row meets: the table stays empty.";
inline constexpr TextView kOneWarehouse =
    u"Give one warehouse, or none, and run once for each that you want.";
inline constexpr TextView kGoesWithOut = u"Leave it out.";
inline constexpr TextView kExpiryDate =
    u"The filter for the audit date bounds the batch's expiry date (dVDate) instead.";
inline constexpr TextView kUseDate = u"Bound the period with dDate.";
inline constexpr TextView kLaterDate =
    u"Of dDate and dVeriDate the one that stands later in the filter set counts, and the other "
    u"does not.";
inline constexpr TextView kOneDate = u"Give one of the two.";
inline constexpr TextView kTextOrder =
    u"The two bounds are put in order as texts, in which 9 comes after 10: no row meets them.";
inline constexpr TextView kSameDigits =
    u"Give bounds of as many digits, or one bound and look at the rest yourself.";

// True when both date filters bound the period.
inline bool HasBothDates(const Facts& f) { return f.IsSet(u"dDate") && f.IsSet(u"dVeriDate"); }
inline bool HasNoDate(const Facts& f) { return !f.IsSet(u"dDate") && !f.IsSet(u"dVeriDate"); }

// clsRepAQKCYJ
inline bool LosesLastFilter(const Facts& f) {
  for (const FilterItem& item : f.Items()) {
    if (EqualText(Trim(item.Name), u"def_queryType")) return false;
  }
  if (f.Items().empty()) return false;
  FilterItem emptied = f.Items().back();
  if (Trim(FragmentOf(emptied)).empty() || !IsSet(emptied)) return false;
  emptied.varValue = Text();
  return !IsSet(emptied);
}
inline constexpr auto kSafetyStockNotes = std::to_array<Note>({
    {u"LW101", Warning, u"",
     u"Without an item def_queryType the last filter of the set is left out of the condition.",
     u"Put an item def_queryType into the set, which may be empty.", LosesLastFilter},
});

// clsRepSFC
inline constexpr auto kBalanceNotes = std::to_array<Note>({
    {u"LW201", Warning, u"dDate",
     u"Without a date the period begins on 2001-11-01, and what lies before is opening balance.",
     u"Give the first day of the period.", HasNoDate},
    {u"LW202", Warning, u"dDate",
     u"With a last day alone the period begins with the calendar: the opening balance is 0.",
     u"Give the first day too.",
     [](const Facts& f) {
       return f.IsSet(u"dDate") && f.First(u"dDate").empty() && !f.IsSet(u"dVeriDate");
     }},
    {u"LW203", Warning, u"RdRecord.cWhCode", kSeveralWarehouses, kOneWarehouse,
     [](const Facts& f) { return f.HasSeveral(u"RdRecord.cWhCode"); }},
    {u"LW204", Warning, u"dVeriDate", kExpiryDate, kUseDate,
     [](const Facts& f) { return f.IsSet(u"dVeriDate"); }},
    {u"LW205", Warning, u"dVeriDate", kLaterDate, kOneDate, HasBothDates},
    {u"LW206", Info, u"iAssUnitGrade",
     u"Movements whose type's code is shorter than the codes of this level drop out of every "
     u"column, the totals too.",
     u"Give level 1, or none, for totals of everything.",
     [](const Facts& f) { return f.IsSet(u"iAssUnitGrade"); }},
    {u"LW207", Info, u"",
     u"Vouchers of type 34 count in the opening balance but never in the period; those of type 33 "
     u"count in neither.",
     u"Keep it in mind when you compare with the journal, which lists both.", Always},
    {u"LW208", Warning, u"ExtAcc",
     u"Kits are replaced by their components in the period alone: their opening balance stays with "
     u"the kit's own code.",
     u"Read opening and closing balances from a run without ExtAcc.",
     [](const Facts& f) { return EqualText(f.Untrimmed(u"ExtAcc"), u"是"); }},
    {u"LW209", Info, u"cRdCode", u"The code matches every type whose code begins with it.",
     u"Give the whole code of one type.", [](const Facts& f) { return f.IsSet(u"cRdCode"); }},
});

// clsRepHwhz
inline constexpr auto kLocationNotes = std::to_array<Note>({
    {u"LW301", Warning, u"dDate",
     u"The date filter changes nothing: the border between opening balance and period is "
     u"2001-10-01, always.",
     u"Leave the date out; use clsRepSFC for a period of your own.",
     [](const Facts& f) { return f.IsSet(u"dDate"); }},
    {u"LW302", Warning, u"Warehouse.cWhCode", kSeveralWarehouses, kOneWarehouse,
     [](const Facts& f) { return f.HasSeveral(u"Warehouse.cWhCode"); }},
    {u"LW303", Info, u"",
     u"The columns of the period hold everything since 2001-10-01, those of the opening balance "
     u"everything before.",
     u"Use clsRepSFC for a period of your own.", Always},
    {u"LW304", Warning, u"",
     u"The opening pieces of items that are counted in pieces are receipts before 2001-10-01 less "
     u"every other row, so opening and closing pieces are too low.",
     u"Rely on the quantities of such items.", Always},
    {u"LW305", Error, u"iAssUnitGrade",
     u"The filter goes into the condition as a column of that name, which no table of the "
     u"statement has: the server refuses it.",
     kGoesWithOut, [](const Facts& f) { return f.IsSet(u"iAssUnitGrade"); }},
});

// clsRepLsz
inline bool HasUnknownVoucherState(const Facts& f) {
  const Text value = f.Untrimmed(u"VeriType");
  return f.IsSet(u"VeriType") && !EqualText(value, u"全部单据") &&
         !EqualText(value, u"已审核单据") && !EqualText(value, u"未审核单据");
}
inline constexpr auto kJournalNotes = std::to_array<Note>({
    {u"LW401", Warning, u"R.cWhCode", kSeveralWarehouses, kOneWarehouse,
     [](const Facts& f) { return f.HasSeveral(u"R.cWhCode"); }},
    {u"LW402", Warning, u"iAssUnitGrade", u"The filter is taken out and changes nothing.",
     kGoesWithOut, [](const Facts& f) { return f.IsSet(u"iAssUnitGrade"); }},
    {u"LW403", Error, u"VeriType",
     u"A value that the report does not know stays in the host's condition as a column VeriType, "
     u"which no table has: the server refuses it.",
     u"Give 全部单据, 已审核单据 or 未审核单据.", HasUnknownVoucherState},
    {u"LW404", Info, u"R.cRdCode", u"The code matches every type whose code begins with it.",
     u"Give the whole code of one type.", [](const Facts& f) { return f.IsSet(u"R.cRdCode"); }},
    {u"LW405", Info, u"", u"Without a filter set the rows come in no order.",
     u"Give a filter set, which may be empty, and the rows come by date.",
     [](const Facts& f) { return !f.request().filters.has_value(); }},
    {u"LW406", Info, u"",
     u"A receipt shows 0, not nothing, as its quantity and cost issued, and an issue as those "
     u"received.",
     u"Tell the two by SFBZ.", Always},
});

// clsRepPcch
inline constexpr auto kBatchNotes = std::to_array<Note>({
    {u"LW501", Warning, u"",
     u"The opening balance is the receipts before the period less every other row, those of the "
     u"period too; the closing balance follows from it.",
     u"Rely on the columns of receipts and issues alone.", Always},
    {u"LW502", Warning, u"dDate",
     u"Without a first day everything belongs to the period, and the opening balance is minus "
     u"everything.",
     u"Give the first day of the period, or pass the opening balance over.", HasNoDate},
    {u"LW503", Warning, u"",
     u"With a last day alone no row belongs to the period: receipts and issues are all 0.",
     u"Give the first day too.",
     [](const Facts& f) {
       return (f.IsSet(u"dDate") && f.First(u"dDate").empty()) ||
              (f.IsSet(u"dVeriDate") && f.First(u"dVeriDate").empty());
     }},
    {u"LW504", Warning, u"dVeriDate", kExpiryDate, kUseDate,
     [](const Facts& f) { return f.IsSet(u"dVeriDate"); }},
    {u"LW505", Warning, u"dVeriDate", kLaterDate, kOneDate, HasBothDates},
});

// clsRepXCL
inline bool HoldsLikeWildcard(TextView pattern) {
  return pattern.find_first_of(u"%_[") != TextView::npos;
}
inline bool HasForeignWildcard(const Facts& f) {
  const Text bar_code = f.First(u"I.cBarCode");
  const bool is_pattern = bar_code.find_first_of(u"?*") != Text::npos;
  return HoldsLikeWildcard(f.First(u"CS.cBatch")) || (is_pattern && HoldsLikeWildcard(bar_code));
}
inline bool IsNoLevel(const Facts& f, TextView name) {
  const Text level = f.First(name);
  if (level.empty()) return false;
  return !IsNumber(level) || CompareText(level, u"1") < 0;
}
inline bool HasNoLevel(const Facts& f) {
  return IsNoLevel(f, u"def_iInvCGrade") || IsNoLevel(f, u"def_iPosCGrade");
}
inline bool HasLevel(const Facts& f) {
  return (f.IsSet(u"def_iInvCGrade") && !IsNoLevel(f, u"def_iInvCGrade")) ||
         (f.IsSet(u"def_iPosCGrade") && !IsNoLevel(f, u"def_iPosCGrade"));
}
inline constexpr auto kCurrentStockNotes = std::to_array<Note>({
    {u"LW601", Warning, u"CS.cBatch",
     u"%, _ and [ in a batch or in a bar code with wildcards are wildcards of the database's, "
     u"beside * and ?.",
     u"Give a range around the value in place of a pattern, or look through the rows.",
     HasForeignWildcard},
    {u"LW602", Warning, u"iNum", kTextOrder, kSameDigits,
     [](const Facts& f) { return f.TextOrderMisleads(u"iNum"); }},
    {u"LW603", Warning, u"def_iInvCGrade",
     u"A level that is no number, or comes before 1 as a text, changes nothing.",
     u"Give a level from 1.", HasNoLevel},
    {u"LW604", Info, u"def_iInvCGrade",
     u"What lies deeper than the level is left out, and not added up to it.",
     u"Leave the level out for everything.", HasLevel},
});

// clsRepBzqyj
inline bool IsOwnFilter(TextView name) {
  for (const TextView own : {u"InvType", u"PassDays", u"CloserDays", u"iAssUnitGrade"}) {
    if (EqualText(Trim(name), own)) return true;
  }
  return false;
}
// True when the report words a condition and the host none.
inline bool HasDoubledAnd(const Facts& f) {
  for (const FilterItem& item : f.Items()) {
    if (!IsOwnFilter(item.Name) && !Trim(FragmentOf(item)).empty()) return false;
  }
  for (const TextView state : {u"所有保质期存货", u"过期存货", u"未过期存货", u"到期存货"}) {
    if (EqualText(f.Untrimmed(u"InvType"), state)) return true;
  }
  return f.IsSet(u"PassDays") || f.IsSet(u"CloserDays");
}
inline constexpr auto kShelfLifeNotes = std::to_array<Note>({
    {u"LW701", Error, u"InvType",
     u"InvType, PassDays and CloserDays alone make a condition that begins with AND, behind "
     u"another AND: the server refuses the statement.",
     u"Add a filter that changes nothing, such as Warehouse.cWhCode from 0, or leave them out.",
     HasDoubledAnd},
    {u"LW702", Warning, u"PassDays", kTextOrder, kSameDigits,
     [](const Facts& f) { return f.TextOrderMisleads(u"PassDays"); }},
    {u"LW703", Warning, u"CloserDays", kTextOrder, kSameDigits,
     [](const Facts& f) { return f.TextOrderMisleads(u"CloserDays"); }},
    {u"LW704", Warning, u"iAssUnitGrade", u"The filter is taken out and changes nothing.",
     kGoesWithOut, [](const Facts& f) { return f.IsSet(u"iAssUnitGrade"); }},
});

}  // namespace ledgerwick::inventory_notes
