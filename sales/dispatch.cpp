// newclsReportDaoOut, the dispatch report: goods sent out on delivery notes and on notes of
// entrusted settlement.
#include <memory>

#include "frame/report_provider.h"
#include "sales/conditions.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {
    .table = u"Sa_TmpOutDetail",
    .procedure = u"Sa_MoveSaleOut",
    .measure = Measure::AnsiBytes,
    .place = u"newclsReportDaoOut.MoveSaleDetail()",
};

constexpr TextView kAnd = u" and ";

struct Conditions {
  Text general;
  Text audit;
  DateRange dates;  // values, not conditions
};

// The condition on the kind of note; any other value means both kinds.
void AppendVoucherType(Text& condition, ReportFilter& item) {
  const Text value = item.varValue().ToText();
  if (EqualText(value, u"发货单")) {
    condition.append(item.Name()).append(u"='05'").append(kAnd);
  } else if (EqualText(value, u"委托结算")) {
    condition.append(item.Name()).append(u"='07'").append(kAnd);
  }
}

void SortItem(ReportFilter& item, Conditions& conditions) {
  const Text name = item.Name();
  const TextView key = Trim(name);
  if (EqualText(key, u"ddate")) {
    TakeDates(conditions.dates, item);
  } else if (EqualText(key, u"cVerifier")) {
    const auto test = WordNullTest(name, TrimmedText(item.varValue()), kAudited, kNullTestSpaced);
    if (test) conditions.audit = *test;
  } else if (EqualText(key, u"cVouchtype")) {
    AppendVoucherType(conditions.general, item);
  } else {
    AppendFragment(conditions.general, item, kAnd);
  }
}

TextParameters ParametersOf(const Text& table, const Conditions& conditions) {
  return {{u"chrtable", kVarChar, table},
          {u"chrWhere1", kLongVarChar, conditions.general},
          {u"chrChecked", kVarChar, conditions.audit},
          {u"chrStartDate", kVarChar, conditions.dates.start},
          {u"chrenddate", kVarChar, conditions.dates.end}};
}

// A new connection; errors reach the host and leave it open.
class newclsReportDaoOut final : public ReportProvider {
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

std::unique_ptr<ReportProvider> NewDispatch(System& system) {
  return std::make_unique<newclsReportDaoOut>(system);
}

}  // namespace ledgerwick
