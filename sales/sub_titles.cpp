#include "sales/sub_titles.h"

#include <memory>

#include "sales/conditions.h"

namespace ledgerwick {
namespace {

constexpr TextView kTo = u" 到 ";
constexpr TextView kOnwards = u"开始";
constexpr TextView kEnding = u"结束";

constexpr TextView kDate = u"ddate";
constexpr PhraseStart kDateWords = {u"日期从：", u"日期到："};

constexpr TextView kStart = u"开始日期：";
constexpr TextView kAfterStart = u"  ";
constexpr TextView kEnd = u"结束日期：";

}  // namespace

Text DatePhrase(const PhraseStart& words, const Value& start, const Value& end) {
  const Text from = FormatIsoDate(start);
  const Text to = FormatIsoDate(end);
  if (!from.empty() && !to.empty()) return Text(words.from) + from + Text(kTo) + to;
  if (!from.empty()) return Text(words.from) + from + Text(kOnwards);
  return Text(words.until) + to + Text(kEnding);
}

Text BuildDateSubTitle(ReportProvider& report) {
  const std::shared_ptr<ReportFilterSet> set = FindFilterSet(report);
  if (!set) return {};
  const auto item =
      FirstItem(*set, [](ReportFilter& i) { return EqualText(Trim(i.Name()), kDate); });
  if (!item || !HasFragment(*item)) return {};
  return DatePhrase(kDateWords, item->varValue(), item->varValue2());
}

Text StartEndSubTitle(ReportProvider& report) {
  const std::shared_ptr<ReportFilterSet> set = FindFilterSet(report);
  if (!set) return {};
  const Text start = set->ValueByName(Text(kDate), 1).ToText();
  const Text end = set->ValueByName(Text(kDate), 2).ToText();
  Text sub_title;
  if (!start.empty()) sub_title.append(kStart).append(start).append(kAfterStart);
  if (!end.empty()) sub_title.append(kEnd).append(end);
  return sub_title;
}

}  // namespace ledgerwick
