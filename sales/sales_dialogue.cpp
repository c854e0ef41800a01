#include "sales/sales_dialogue.h"

#include <cstddef>
#include <optional>

#include "sales/conditions.h"

namespace ledgerwick {
namespace {

constexpr TextView kAnd = u" and ";
constexpr std::size_t kLengthOfColumn = 8;  // "cDepCode"

// The department's fragment without its column, whatever that is: the procedure puts the comparison
// behind a column of its own.
void TakeDepartment(Text& condition, ReportFilter& item) {
  if (!HasFragment(item)) return;
  const Text fragment = item.strSqlString();
  const TextView trimmed = Trim(fragment);
  condition = trimmed.size() > kLengthOfColumn ? trimmed.substr(kLengthOfColumn) : TextView();
}

void TakeChecker(Text& condition, ReportFilter& item) {
  const std::optional<Text> test =
      WordNullTest(item.Name(), TrimmedText(item.varValue()), kReviewed, kNullTest);
  if (test) item.set_strSqlString(*test);
  TakeFragment(condition, item);
}

}  // namespace

void SortSalesItem(ReportFilter& item, SalesConditions& conditions) {
  const Text name = item.Name();
  const TextView key = Trim(name);
  if (EqualText(key, u"ddate")) {
    TakeFragment(conditions.sale_date, item);
  } else if (EqualText(key, u"dkeepdate")) {
    TakeFragment(conditions.keep_date, item);
  } else if (EqualText(key, u"cDepcode")) {
    TakeDepartment(conditions.department, item);
  } else if (EqualText(key, u"cWhCode")) {
    if (HasFragment(item)) conditions.warehouse = TrimmedText(item.varValue());
  } else if (EqualText(key, u"cChecker")) {
    TakeChecker(conditions.checker, item);
  } else if (EqualText(key, u"Inventory.bService")) {
    item.set_strSqlString(ServiceCondition(name, TrimmedText(item.varValue())));
    AppendFragment(conditions.general, item, kAnd);
  } else {
    AppendFragment(conditions.general, item, kAnd);
  }
}

TextParameters SalesParameters(const Text& table, const SalesConditions& conditions) {
  return {{u"chrtable", kVarChar, table},
          {u"chrWhere1", kLongVarChar, conditions.general},
          {u"chrsaledate", kLongVarChar, conditions.sale_date},
          {u"chrkeepdate", kLongVarChar, conditions.keep_date},
          {u"chrdep", kLongVarChar, conditions.department},
          {u"chrchecker", kLongVarChar, conditions.checker},
          {u"chrwarehouse", kLongVarChar, conditions.warehouse}};
}

}  // namespace ledgerwick
