// newclsReportDAOSRM, the SRM detail.
#include <memory>

#include "frame/report_provider.h"
#include "sales/conditions.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {
    .table = u"Sa_TmpSRMDetail",
    .procedure = u"Sa_MoveSRMDetail",
    .measure = Measure::AnsiBytes,
    // Spelt unlike the class: that is how users know it.
    .place = u"newclsReportDaoSRM.MoveSaleDetail()",
};

constexpr TextView kDepartment = u"caccdep";
constexpr TextView kAnd = u" and ";

struct Conditions {
  Text general;
  DateRange dates;  // values, not conditions
  Text review;
  Text department;
  Text warehouse;  // the value, not a condition
};

// The bare comparison of the department's fragment: the procedure puts it behind a column of its
// own.
void TakeDepartment(Text& condition, ReportFilter& item) {
  if (!HasFragment(item)) return;
  condition = item.strSqlString();
  const std::size_t at = FindText(condition, kDepartment);
  if (at != Text::npos) condition.erase(0, at + kDepartment.size());
}

void SortItem(ReportFilter& item, Conditions& conditions) {
  const Text name = item.Name();
  const TextView key = Trim(name);
  if (EqualText(key, u"ddate")) {
    TakeDates(conditions.dates, item);
  } else if (EqualText(key, kDepartment)) {
    TakeDepartment(conditions.department, item);
  } else if (EqualText(key, u"cChecker")) {
    const auto test = WordNullTest(name, item.varValue().ToText(), kReviewed, kNullTestSpaced);
    if (test) conditions.review = *test;
  } else if (EqualText(key, u"cwhcode")) {
    if (HasFragment(item)) conditions.warehouse = TrimmedText(item.varValue());
  } else {
    AppendFragment(conditions.general, item, kAnd);
  }
}

TextParameters ParametersOf(const Text& table, const Conditions& conditions) {
  return {{u"chrtablename", kVarChar, table},
          {u"chrWhere", kLongVarChar, conditions.general},
          {u"chrStartDate", kVarChar, conditions.dates.start},
          {u"chrenddate", kVarChar, conditions.dates.end},
          {u"chrchecker", kVarChar, conditions.review},
          {u"chrdep", kVarChar, conditions.department},
          {u"chrWareHouse", kVarChar, conditions.warehouse}};
}

// A new connection; errors reach the host and leave it open.
class newclsReportDAOSRM final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return ResultTable(kReport, system()); }

  Text strSubTitle() override { return StartEndSubTitle(*this); }

  bool MoveDataDetail() override {
    return OpenNewIfFiltered(*this, system()) &&
           HandOff(*this, system(), kReport, SortItem, ParametersOf);
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewSrm(System& system) {
  return std::make_unique<newclsReportDAOSRM>(system);
}

}  // namespace ledgerwick
