#include "host/filter_argument.h"

#include <algorithm>
#include <map>

#include "frame/error.h"
#include "host/filters.h"
#include "host/reference_host.h"
#include "host/request_facts.h"

namespace ledgerwick {
namespace {

constexpr TextView kUpTo = u"..";

// The two sides of an argument's value. Without ".." there is the first side alone.
struct Bounds {
  Text from;
  Text to;
  bool is_range = false;
};

Bounds SplitBounds(TextView value) {
  const std::size_t dots = value.find(kUpTo);
  if (dots == TextView::npos) return {Text(value), {}, false};
  return {Text(value.substr(0, dots)), Text(value.substr(dots + kUpTo.size())), true};
}

// A range that is open above: the shared wording would take its one value for the value meant.
Text WordLowerBound(TextView name, const Text& from) { return Text(name) + u" >= " + Quoted(from); }

Text WordList(TextView name, TextView values) {
  Text condition;
  for (const Text& value : Split(values, u',')) {
    condition += condition.empty() ? Text(name) + u" In (" : Text(u", ");
    condition += Quoted(Trim(value));
  }
  return condition.empty() ? condition : condition + u")";
}

void CheckBound(const FilterInfo& filter, const Text& bound) {
  if (bound.empty()) return;
  const std::string complaint = ToUtf8(filter.name) + ": '" + ToUtf8(bound) + "' is no ";
  if (filter.kind == FilterKind::DateRange && !ParseDate(bound)) {
    throw FilterError(complaint + "date (yyyy-mm-dd)");
  }
  if (filter.kind == FilterKind::NumberRange && !IsNumber(bound)) {
    throw FilterError(complaint + "number");
  }
}

void Place(std::vector<FilterItem>& items, FilterItem item) {
  const auto found = std::find_if(items.begin(), items.end(), [&](const FilterItem& i) {
    return EqualText(Trim(i.Name), item.Name);
  });
  if (found == items.end()) {
    items.push_back(std::move(item));
  } else {
    *found = std::move(item);
  }
}

struct Argument {
  TextView name;  // as it is given
  TextView value;
  const FilterInfo* filter = nullptr;  // null where the report does not know the name

  Text ItemName() const { return Text(filter ? filter->name : name); }
};

Argument SplitArgument(const Request& request, TextView argument) {
  const std::size_t equals = argument.find(u'=');
  const TextView name = Trim(argument.substr(0, equals));
  if (equals == TextView::npos || name.empty()) {
    throw FilterError("'" + ToUtf8(argument) + "' is not NAME=VALUE or NAME=FROM..TO");
  }
  const ReportInfo* report = FindReportInfo(request.report->name);
  return {name, argument.substr(equals + 1), report ? FindFilterInfo(*report, name) : nullptr};
}

FilterItem RangeItem(FilterItem item, const Bounds& bounds) {
  item.varValue = bounds.from;
  item.varValue2 = bounds.to;
  if (bounds.is_range && bounds.to.empty() && !bounds.from.empty()) {
    item.strSqlString = WordLowerBound(item.Name, bounds.from);
  } else {
    item.strSqlString = WordCondition(item.Name, item.varValue, item.varValue2);
  }
  return item;
}

}  // namespace

std::vector<FilterItem> DialogueFilters(const ClassInfo& report) {
  std::vector<FilterItem> items;
  const ReportInfo* info = FindReportInfo(report.name);
  if (!info) return items;
  for (const FilterInfo& filter : info->filters) {
    items.push_back({Text(filter.name), Text(filter.caption), {}, {}, std::nullopt});
  }
  return items;
}

void ApplyFilterArgument(Request& request, TextView argument) {
  const auto [name, value, filter] = SplitArgument(request, argument);
  if (!request.filters) request.filters.emplace();

  FilterItem item;
  if (!filter) {
    item.Name = name;
    Place(*request.filters, RangeItem(std::move(item), SplitBounds(value)));
    return;
  }
  item.Name = filter->name;
  item.strcaption = filter->caption;
  if (IsRange(filter->kind)) {
    const Bounds bounds = SplitBounds(value);
    CheckBound(*filter, bounds.from);
    CheckBound(*filter, bounds.to);
    Place(*request.filters, RangeItem(std::move(item), bounds));
    return;
  }
  item.varValue = value;
  if (filter->kind == FilterKind::List && filter->worded_by == WordedBy::Host) {
    item.strSqlString = WordList(filter->name, value);
  }
  Place(*request.filters, std::move(item));
}

std::vector<Finding> ApplyFilterArguments(Request& request, std::span<const Text> arguments) {
  std::vector<Finding> repetitions;
  std::map<Text, const Text*> given;  // the last argument for an item, by its folded name
  for (const Text& argument : arguments) {
    ApplyFilterArgument(request, argument);
    const Text name = SplitArgument(request, argument).ItemName();
    const Text*& last = given[FoldText(name)];
    if (last != nullptr) {
      repetitions.push_back(
          Found(u"LW004", name,
                {u"--filter '{1}' and --filter '{2}' are both for {3}; the last one counts.",
                 u"--filter '{1}' 与 --filter '{2}' 都是 {3} 的条件，以后者为准。"},
                {*last, argument, name}));
    }
    last = &argument;
  }
  return repetitions;
}

bool IsHostWording(const FilterItem& item) {
  if (!item.strSqlString) return true;
  const Text& sql = *item.strSqlString;
  if (sql == WordCondition(item.Name, item.varValue, item.varValue2)) return true;
  const Text value = ReadableText(item.varValue);
  if (!ReadableText(item.varValue2).empty()) return false;
  return sql == WordLowerBound(item.Name, value) || sql == WordList(item.Name, value);
}

}  // namespace ledgerwick
