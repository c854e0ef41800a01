#include "sales/conditions.h"

#include <cstddef>

namespace ledgerwick {
namespace {

constexpr TextView kIsNull = u" isnull(";
constexpr std::size_t kLengthOfJoiner = 5;  // " and "

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

}  // namespace ledgerwick
