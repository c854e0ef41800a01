#include "host/filter_argument.h"

#include <algorithm>
#include <map>

#include "frame/error.h"
#include "host/filters.h"
#include "host/reference_host.h"
#include "host/suggest.h"

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

bool IsNumber(const Text& text) {
  try {
    ToNumber(text);
    return true;
  } catch (const DatabaseError&) {
    return false;
  }
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

std::optional<std::string> RemarkOnOption(const FilterInfo& filter, const Text& value) {
  const auto known = [&](TextView v) { return EqualText(v, Trim(value)); };
  if (filter.values.empty() || value.empty() ||
      std::any_of(filter.values.begin(), filter.values.end(), known)) {
    return std::nullopt;
  }
  std::string remark = ToUtf8(filter.name) + " does not know '" + ToUtf8(value) + "'; it knows";
  for (const TextView v : filter.values) remark += " '" + ToUtf8(v) + "'";
  return remark;
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

std::string RemarkOnUnknown(const ClassInfo& report, TextView name) {
  const std::string remark = ToUtf8(report.name) + " has no filter '" + ToUtf8(name) + "'";
  std::vector<std::string> known;
  if (const ReportInfo* info = FindReportInfo(report.name)) {
    for (const FilterInfo& filter : info->filters) {
      known.push_back(ToUtf8(filter.name));
      known.push_back(ToUtf8(filter.caption));
    }
  }
  const std::string nearest = Nearest(ToUtf8(name), known);
  return remark + (nearest.empty() ? "" : "; did you mean '" + nearest + "'?") +
         (nearest.empty() ? "; it" : " It") + " is passed on as it stands";
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

std::optional<std::string> ApplyFilterArgument(Request& request, TextView argument) {
  const auto [name, value, filter] = SplitArgument(request, argument);
  if (!request.filters) request.filters.emplace();

  FilterItem item;
  if (!filter) {
    item.Name = name;
    Place(*request.filters, RangeItem(std::move(item), SplitBounds(value)));
    return RemarkOnUnknown(*request.report, name);
  }
  item.Name = filter->name;
  item.strcaption = filter->caption;
  if (IsRange(filter->kind)) {
    const Bounds bounds = SplitBounds(value);
    CheckBound(*filter, bounds.from);
    CheckBound(*filter, bounds.to);
    Place(*request.filters, RangeItem(std::move(item), bounds));
    return std::nullopt;
  }
  item.varValue = value;
  if (filter->kind == FilterKind::List && filter->worded_by == WordedBy::Host) {
    item.strSqlString = WordList(filter->name, value);
  }
  Place(*request.filters, std::move(item));
  return RemarkOnOption(*filter, Text(value));
}

std::vector<std::string> ApplyFilterArguments(Request& request, std::span<const Text> arguments) {
  std::vector<std::string> remarks;
  std::map<Text, const Text*> given;  // the last argument for an item, by its folded name
  for (const Text& argument : arguments) {
    if (auto remark = ApplyFilterArgument(request, argument)) remarks.push_back(*std::move(remark));
    const Text name = SplitArgument(request, argument).ItemName();
    const Text*& last = given[FoldText(name)];
    if (last != nullptr) {
      remarks.push_back("--filter '" + ToUtf8(*last) + "' and --filter '" + ToUtf8(argument) +
                        "' are both for " + ToUtf8(name) + "; the last one counts");
    }
    last = &argument;
  }
  return remarks;
}

}  // namespace ledgerwick
