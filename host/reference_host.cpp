#include "host/reference_host.h"

#include "frame/error.h"
#include "frame/report_provider.h"

namespace ledgerwick {
namespace {

constexpr TextView kAnd = u" And ";

bool HoldsAnything(const Value& value) { return value.Opaque() || !value.ToText().empty(); }

bool CanBeWorded(const Value& value) { return !value.Opaque() && HoldsAnything(value); }

Text Comparison(TextView name, TextView op, const Value& value) {
  return Text(name).append(op) + Quoted(value.ToText());
}

// The conditions of the filters that `takes` lets through, as they stand, joined.
template <typename Predicate>
Text JoinConditions(const std::vector<std::shared_ptr<ReferenceFilter>>& filters, Predicate takes) {
  Text joined;
  for (const auto& filter : filters) {
    const Text sql = filter->strSqlString();
    if (!takes(*filter) || Trim(sql).empty()) continue;
    if (!joined.empty()) joined += kAnd;
    joined += sql;
  }
  return joined;
}

}  // namespace

Text WordCondition(TextView name, const Value& value, const Value& upper) {
  if (CanBeWorded(value) && CanBeWorded(upper)) {
    return Comparison(name, u" >= ", value).append(kAnd) + Comparison(name, u" <= ", upper);
  }
  if (CanBeWorded(value)) return Comparison(name, u" = ", value);
  if (CanBeWorded(upper)) return Comparison(name, u" <= ", upper);
  return {};
}

Text Quoted(TextView value) {
  Text quoted = u"'";
  for (const char16_t c : value) quoted.append(c == u'\'' ? 2 : 1, c);
  return quoted + u'\'';
}

ReferenceFilter::ReferenceFilter(const FilterItem& item)
    : name_(item.Name),
      caption_(item.strcaption),
      value_(item.varValue),
      upper_(item.varValue2),
      sql_(item.strSqlString ? *item.strSqlString
                             : WordCondition(item.Name, item.varValue, item.varValue2)) {}

bool ReferenceFilter::IsSet() const { return HoldsAnything(value_) || HoldsAnything(upper_); }

ReferenceFilterSet::ReferenceFilterSet(const std::vector<FilterItem>& items) {
  for (const FilterItem& item : items) filters_.push_back(std::make_shared<ReferenceFilter>(item));
}

std::shared_ptr<ReportFilter> ReferenceFilterSet::Item(std::int32_t index) {
  if (index < 1 || index > Count()) throw DatabaseError(9, u"Host", u"Subscript out of range");
  return filters_[static_cast<std::size_t>(index - 1)];
}

Text ReferenceFilterSet::ConditionText() {
  return JoinConditions(filters_, [](const ReferenceFilter& f) { return f.IsSet(); });
}

Text ReferenceFilterSet::GroupConditionText(std::int32_t group) {
  return JoinConditions(filters_, [&](ReferenceFilter& f) { return f.LngGrouptoken() == group; });
}

Value ReferenceFilterSet::ValueByName(const Text& name, std::int32_t which) {
  for (const auto& filter : filters_) {
    if (!EqualText(Trim(filter->Name()), Trim(name))) continue;
    return which == 2 ? filter->varValue2() : filter->varValue();
  }
  return {};
}

std::shared_ptr<ReportFilterSet> ReferenceManager::ReportFilterByName(Text& title) {
  return EqualText(title, title_) ? set_ : nullptr;
}

Value ReferenceLogin::CurDate() {
  if (!members_.CurDate) throw MemberNotFound();
  return *members_.CurDate;
}

Value ReferenceLogin::cAcc_Id() {
  if (!members_.cAcc_Id) throw MemberNotFound();
  return *members_.cAcc_Id;
}

std::shared_ptr<ReferenceFilterSet> Furnish(ReportProvider& report, const Request& request) {
  std::shared_ptr<ReferenceFilterSet> set;
  if (request.filters) set = std::make_shared<ReferenceFilterSet>(*request.filters);
  report.ObjReportManager = std::make_shared<ReferenceManager>(request.ReportTitle, set);
  report.ReportTitle = request.ReportTitle;
  report.mConnectionString = request.connectionString;
  if (request.login) report.objLogin = std::make_shared<ReferenceLogin>(*request.login);
  return set;
}

}  // namespace ledgerwick
