#include "sales/sub_titles.h"

#include <cstdint>
#include <memory>

#include "frame/error.h"
#include "frame/filter_items.h"
#include "frame/host.h"
#include "frame/value.h"

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

// The first item of `set` for which `matches` holds, or nullptr.
template <typename Matches>
std::shared_ptr<ReportFilter> FirstItem(ReportFilterSet& set, Matches matches) {
  const std::int32_t count = set.Count();
  for (std::int32_t i = 1; i <= count; ++i) {
    std::shared_ptr<ReportFilter> item = set.Item(i);
    if (!item) throw ObjectNotSet();
    if (matches(*item)) return item;
  }
  return nullptr;
}

// The phrase on the dates from `start` to `end`, either of which may be empty. With neither, it
// speaks of an end that is not there.
Text DatePhrase(const PhraseStart& words, const Value& start, const Value& end) {
  const Text from = FormatIsoDate(start);
  const Text to = FormatIsoDate(end);
  if (!from.empty() && !to.empty()) return Text(words.from) + from + Text(kTo) + to;
  if (!from.empty()) return Text(words.from) + from + Text(kOnwards);
  return Text(words.until) + to + Text(kEnding);
}

Text WordPhrase(ReportFilterSet& set, const CaptionedPhrase& phrase) {
  const auto item = FirstItem(
      set, [&](ReportFilter& i) { return EqualText(Trim(i.strcaption()), phrase.caption); });
  if (!item || (phrase.needs_condition && !HasFragment(*item))) return {};
  const Value start = item->varValue();
  const Value end = item->varValue2();
  if (start.ToText().empty() && end.ToText().empty()) return {};
  return DatePhrase(phrase.words, start, end);
}

}  // namespace

Text CaptionedSubTitle(ReportProvider& report, std::span<const CaptionedPhrase> phrases) {
  const std::shared_ptr<ReportFilterSet> set = FindFilterSet(report);
  Text sub_title;
  if (!set) return sub_title;
  for (const CaptionedPhrase& phrase : phrases) sub_title += WordPhrase(*set, phrase);
  return sub_title;
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
