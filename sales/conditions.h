// How the sales reports turn filter items into the conditions that their procedures receive.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "frame/filter_items.h"
#include "frame/host.h"
#include "frame/report_provider.h"
#include "frame/text.h"

namespace ledgerwick {

// What stands behind " isnull(" and a column to ask whether it holds anything.
struct NullTest {
  TextView filled;
  TextView blank;
};
inline constexpr NullTest kNullTest = {u",'')<> '' ", u",'')= '' "};
// The same to stand within a quoted text.
inline constexpr NullTest kNullTestDoubled = {u",'''')<> '''' ", u",'''')= '''' "};
// The same as the reports with start and end dates space it.
inline constexpr NullTest kNullTestSpaced = {u",'') <>'' ", u",'') = '' "};
// From this length in characters of the host's whole condition, reports that know the doubled
// wording use it.
inline constexpr std::size_t kFirstDoubled = 201;

// The two values of a filter that asks whether somebody has signed a document.
struct Choice {
  TextView filled;
  TextView blank;
};
inline constexpr Choice kReviewed = {u"复核", u"未复核"};
inline constexpr Choice kAudited = {u"审核", u"未审核"};

// The test of `column` that `value` chooses; nothing for a value that is neither.
std::optional<Text> WordNullTest(TextView column, TextView value, const Choice& choice,
                                 const NullTest& test);

// The condition on whether an item is a service (劳务 or 非劳务), where `column` says so; empty for
// any other value.
Text ServiceCondition(TextView column, TextView value);

// Appends the fragment that the host has worded for `item`, where there is one, and `joiner`.
void AppendFragment(Text& condition, ReportFilter& item, TextView joiner);

// Puts the fragment that the host has worded for `item`, where there is one, into `condition`.
void TakeFragment(Text& condition, ReportFilter& item);

// Cuts off the joiner of five characters (" and ") that a condition's last fragment ends in.
void CutLastJoiner(Text& condition);

// What the items of `set` come to. `sort` takes up one item after the other; the joiner behind the
// last fragment of the general condition, the member `general`, is cut off.
template <typename Conditions>
Conditions SortItems(ReportFilterSet& set,
                     void (*sort)(ReportFilter& item, Conditions& conditions)) {
  Conditions conditions;
  ForEachItem(set, [&](ReportFilter& item) { sort(item, conditions); });
  CutLastJoiner(conditions.general);
  return conditions;
}

// The same with the items of the report's filter set, which is asked for anew; no conditions
// without a set. Throws error 91 without a report manager.
template <typename Conditions>
Conditions SortItems(ReportProvider& report,
                     void (*sort)(ReportFilter& item, Conditions& conditions)) {
  const std::shared_ptr<ReportFilterSet> set = FindFilterSet(report);
  return set ? SortItems(*set, sort) : Conditions();
}

// The ends of the date range as the user typed them.
struct DateRange {
  Text start;
  Text end;
};

// Takes from the item ddate those ends that are given.
void TakeDates(DateRange& dates, ReportFilter& item);

}  // namespace ledgerwick
