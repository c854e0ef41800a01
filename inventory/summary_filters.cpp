#include "inventory/summary_filters.h"

#include <optional>

#include "frame/filter_items.h"
#include "frame/value.h"
#include "inventory/wording.h"

namespace ledgerwick {
namespace {

// The groups whose conditions the host words together.
constexpr std::int32_t kAudited = 3;    // dVeriDate
constexpr std::int32_t kFreeItems = 4;  // cFree1 to cFree10

constexpr TextView kYes = u"是";

constexpr TextView kWarehouse = u" RdRecord.cWhCode = '";
constexpr TextView kWarehouseEnd = u"' AND ";

constexpr const char16_t* kVoucherAudited = u" IsNull(cHandler,'') <> '' ";
constexpr const char16_t* kRdCode = u" RdRecord.cRdCode Like '";

constexpr const char16_t* kClosing =
    u" IsNull(iQCJCSL, 0) + IsNull(iRkQuantity, 0) - IsNull(iCkQuantity, 0) ";

// A value that an option knows, and its condition.
struct Choice {
  TextView value;
  TextView condition;
};

constexpr Choice kBusinessStates[] = {
    {u"所有存货", u""},
    {u"发生业务", u" IsNull(iRkQuantity,0) + IsNull(iCKQuantity,0) <> 0 "},
    {u"未发生业务", u" IsNull(iRkQuantity,0) + IsNull(iCKQuantity,0) = 0 "},
    {u"入库未出库", u" IsNull(iRkQuantity,0) <> 0 AND IsNull(iCKQuantity,0) = 0 "},
    {u"出库未入库", u" IsNull(iRkQuantity,0) = 0 AND IsNull(iCKQuantity,0) <> 0 "},
};

constexpr Choice kItemTypes[] = {
    {u"所有存货", u""},
    {u"一般存货", u" bInvEntrust=0 "},
    {u"呆滞积压存货", u" bInvOverStock<>0 "},
    {u"受托代销商品", u" bInvEntrust<>0 "},
};

// Writes the condition of the choice that `value` names; a value that is not known changes nothing.
void Choose(std::span<const Choice> choices, TextView value, Text& condition) {
  for (const Choice& choice : choices) {
    if (EqualText(choice.value, value)) condition = choice.condition;
  }
}

Text ClosingQuantity(const Text& first, const Text& second) {
  const Text at_least = Text(kClosing) + u">= ";
  const Text at_most = Text(kClosing) + u"<= ";
  if (first.empty()) return at_most + second;
  if (second.empty()) return at_least + first;
  if (ToNumber(first) <= ToNumber(second)) {
    return at_least + first + u" AND" + at_most + second;
  }
  return at_most + first + u" AND" + at_least + second;
}

bool SaysYes(ReportFilter& item) { return EqualText(item.varValue().ToText(), kYes); }

// A filter that counts only when the host has worded a condition for it.
struct WordedFilter {
  TextView name;
  void (*read)(ReportFilter& item, SummaryFilters& filters);
};

constexpr WordedFilter kWordedFilters[] = {
    {u"dVeriDate", [](ReportFilter& item, SummaryFilters&) { item.set_LngGrouptoken(kAudited); }},
    {u"RdRecord.cWhCode",
     [](ReportFilter& item, SummaryFilters& filters) {
       filters.warehouse = EveryCode(item.varValue(), kWarehouse, kWarehouseEnd);
     }},
    {u"RdRecords.cInvCode",
     [](ReportFilter& item, SummaryFilters& filters) { filters.item = item.strSqlString(); }},
    {u"Inventory.cInvCCode",
     [](ReportFilter& item, SummaryFilters& filters) { filters.item_class = item.strSqlString(); }},
    {u"Inventory.cInvStd",
     [](ReportFilter& item, SummaryFilters& filters) {
       filters.specification = item.strSqlString();
     }},
    {u"BusCond",
     [](ReportFilter& item, SummaryFilters& filters) {
       Choose(kBusinessStates, item.varValue().ToText(), filters.business_state);
     }},
    {u"DispZeroInv",
     [](ReportFilter& item, SummaryFilters& filters) {
       filters.zero_stock = SaysYes(item) ? Text() : Text(kClosing) + u"<> 0 ";
     }},
    {u"ExtAcc",
     [](ReportFilter& item, SummaryFilters& filters) { filters.expand_kits = SaysYes(item); }},
    {u"VeriType",
     [](ReportFilter& item, SummaryFilters& filters) {
       filters.voucher_state = SaysYes(item) ? Text(kVoucherAudited) : Text();
     }},
    {u"cInvType",
     [](ReportFilter& item, SummaryFilters& filters) {
       Choose(kItemTypes, TrimmedText(item.varValue()), filters.item_type);
     }},
};
constexpr WordedFilter kFreeItem = {
    u"cFree", [](ReportFilter& item, SummaryFilters&) { item.set_LngGrouptoken(kFreeItems); }};

// The filter of that name, or nullptr for one that the report does not know.
const WordedFilter* FindWordedFilter(TextView name) {
  if (IsNumbered(name, kFreeItem.name, 10)) return &kFreeItem;
  for (const WordedFilter& filter : kWordedFilters) {
    if (EqualText(filter.name, name)) return &filter;
  }
  return nullptr;
}

void ReadFilter(ReportFilter& item, SummaryFilters& filters) {
  item.set_LngGrouptoken(kVisited);
  const Text whole_name = item.Name();
  const TextView name = Trim(whole_name);
  if (EqualText(name, u"iAssUnitGrade")) {
    filters.type_level = item.varValue().ToText();
  } else if (EqualText(name, u"cRdCode")) {
    const Text code = item.varValue().ToText();
    if (!code.empty()) filters.type = kRdCode + code + u"%'";
  } else if (EqualText(name, u"JCQuantity")) {
    const Text first = TrimmedText(item.varValue());
    const Text second = TrimmedText(item.varValue2());
    if (!first.empty() || !second.empty())
      filters.closing_quantity = ClosingQuantity(first, second);
  } else if (const WordedFilter* worded = FindWordedFilter(name); worded && HasFragment(item)) {
    worded->read(item, filters);
  }
}

// The column that a date filter bounds: the filter for the audit date bounds the expiry date, which
// is meant.
std::optional<Text> DateColumn(TextView name) {
  if (EqualText(name, u"dDate")) return u" dDate ";
  if (EqualText(name, u"dVeriDate")) return u" dVDate ";
  return std::nullopt;
}

Text Between(const Text& column, const Text& from, const Text& to) {
  return column + u">= '" + from + u"' AND " + column + u"<= '" + to + u"'";
}

// The period between two bounds of which at least one is given.
Period PeriodBetween(const Text& column, const Value& first, const Value& second) {
  const Text from = first.ToText();
  const Text to = second.ToText();
  // Without a first day the period begins with the calendar, so that nothing is opening balance.
  if (from.empty()) return {Between(column, ZeroDate(), to), ZeroDate()};
  if (to.empty()) return {column + u">= '" + from + u"'", from};
  if (ToDate(second).serial > ToDate(first).serial) return {Between(column, from, to), from};
  return {Between(column, to, from), to};
}

}  // namespace

SummaryFilters ReadSummaryFilters(ReportFilterSet* set) {
  SummaryFilters filters;
  if (!set) return filters;
  ForEachItem(*set, [&](ReportFilter& item) { ReadFilter(item, filters); });
  filters.free_items = Trim(set->GroupConditionText(kFreeItems));
  if (!Trim(set->GroupConditionText(kAudited)).empty()) filters.voucher_state = kVoucherAudited;
  return filters;
}

Period BuildPeriodCondition(ReportFilterSet* set) {
  Period period;
  if (!set) return period;
  ForEachItem(*set, [&](ReportFilter& item) {
    const Text name = item.Name();
    const std::optional<Text> column = DateColumn(Trim(name));
    if (!column) return;
    const Value first = item.varValue();
    const Value second = item.varValue2();
    if (first.ToText().empty() && second.ToText().empty()) return;
    period = PeriodBetween(*column, first, second);
  });
  return period;
}

Period BuildDateRangeText(const Text& from, const Text& to) {
  const Text default_start = Period().start;
  const Text first = FormatIsoDate(from);
  const Text last = FormatIsoDate(to);
  if (from.empty() && to.empty()) return {u" dDATE >='" + default_start + u"' ", default_start};
  if (from.empty()) {
    return {u" dDATE  <= '" + last + u"' AND  dDATE >='" + default_start + u"' ", default_start};
  }
  if (to.empty()) return {u" dDATE  >= '" + first + u"' ", first};
  return {u" dDATE  >= '" + first + u"' AND  dDATE  <= '" + last + u"'", first};
}

}  // namespace ledgerwick
