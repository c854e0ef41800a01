// What the sales reports do that their users do not expect. Part of filters.cpp; in Chinese
// they stand in notes_chinese.cpp.
#pragma once

#include <array>

#include "host/notes.h"
#include "host/request_facts.h"

namespace ledgerwick::sales_notes {

using enum Severity;
using Facts = RequestFacts;

inline constexpr TextView kFirstWarehouse =
    u"The report hands on the first value alone, as one warehouse: an upper bound changes nothing.";
inline constexpr TextView kOneWarehouse =
    u"Give one warehouse, and run once for each that you want.";
inline bool HasUpperWarehouse(const Facts& f) { return !f.Second(u"cWhCode").empty(); }

// newclsReportDataSaleTotal and newclsReportDataSaleDetail
inline bool HasForeignDepartment(const Facts& f) {
  constexpr TextView kColumn = u"cDepCode";
  const FilterItem* item = f.Find(kColumn);
  if (!item) return false;
  const Text fragment = FragmentOf(*item);
  return !EqualText(Trim(fragment).substr(0, kColumn.size()), kColumn);
}
inline constexpr auto kSalesNotes = std::to_array<Note>({
    {u"LW801", Error, u"cDepCode",
     u"The first eight characters of the department's condition are cut off, whatever they are, "
     u"and this one does not begin with cDepCode.",
     u"Begin the condition with cDepCode, or give a value and no strSqlString.",
     HasForeignDepartment},
    {u"LW802", Warning, u"cWhCode", kFirstWarehouse, kOneWarehouse, HasUpperWarehouse},
});

// newclsReportDAOSRM
inline constexpr auto kSrmNotes = std::to_array<Note>({
    {u"LW803", Warning, u"cWhCode", kFirstWarehouse, kOneWarehouse, HasUpperWarehouse},
});

// The reports that keep their errors to themselves.
inline constexpr auto kTrappedNotes = std::to_array<Note>({
    {u"LW804", Info, u"",
     u"The report keeps an error of the database to itself and gives up; a host learns no more "
     u"than that.",
     u"Let `run` tell the error.", [](const Facts&) { return true; }},
});

// newClsReportDaoSaleProfit
inline constexpr auto kProfitNotes = std::to_array<Note>({
    {u"LW805", Error, u"", u"The report is not implemented: it raises an error and fills no table.",
     u"Take sales detail, which has the margin of each line.", [](const Facts&) { return true; }},
});

}  // namespace ledgerwick::sales_notes
