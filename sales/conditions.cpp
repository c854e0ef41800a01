#include "sales/conditions.h"

#include <cstddef>

namespace ledgerwick {
namespace {

constexpr TextView kIsNull = u" isnull(";
constexpr TextView kAnd = u" and ";
constexpr std::size_t kLengthOfJoiner = 5;  // " and "
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

void SortItem(ReportFilter& item, SalesConditions& conditions) {
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

}  // namespace

std::optional<Text> WordNullTest(TextView column, TextView value, const Choice& choice,
                                 const NullTest& test) {
  if (EqualText(value, choice.filled)) return Text(kIsNull).append(column).append(test.filled);
  if (EqualText(value, choice.blank)) return Text(kIsNull).append(column).append(test.blank);
  return std::nullopt;
}

Text ServiceCondition(TextView column, TextView value) {
  if (EqualText(value, u"非劳务")) return Text(column) + u"=0 ";
  if (EqualText(value, u"劳务")) return Text(column) + u"=1 ";
  return {};
}

void AppendFragment(Text& condition, ReportFilter& item, TextView joiner) {
  const Text fragment = item.strSqlString();
  if (!Trim(fragment).empty()) condition.append(fragment).append(joiner);
}

void TakeFragment(Text& condition, ReportFilter& item) {
  Text fragment = item.strSqlString();
  if (!Trim(fragment).empty()) condition = std::move(fragment);
}

void CutLastJoiner(Text& condition) {
  if (!Trim(condition).empty()) condition.resize(condition.size() - kLengthOfJoiner);
}

void TakeDates(DateRange& dates, ReportFilter& item) {
  const Text start = TrimmedText(item.varValue());
  const Text end = TrimmedText(item.varValue2());
  if (!start.empty()) dates.start = start;
  if (!end.empty()) dates.end = end;
}

SalesConditions BuildSalesConditions(ReportProvider& report) {
  SalesConditions conditions;
  ForEachItemOf(report, [&](ReportFilter& item) { SortItem(item, conditions); });
  CutLastJoiner(conditions.general);
  return conditions;
}

}  // namespace ledgerwick
