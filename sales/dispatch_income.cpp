// newClsReportDaoOutIncome, the dispatch income: dispatched goods against their invoices.
#include <memory>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "sales/conditions.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {
    .table = u"Sa_TpSaleOutIncome",
    .procedure = u"Sa_MoveOutIncome",
    .measure = Measure::AnsiBytes,
    .place = u"newClsReportDaoOutIncome.MoveSaleDetail()",
};

// The items that the report knows, by their captions; the names do not matter.
constexpr TextView kAudit = u"审核";
constexpr TextView kVoucherType = u"单据类型";
constexpr TextView kDispatchDate = u"发货日期";
constexpr TextView kInvoiceDate = u"开票日期";

constexpr TextView kAnd = u" And ";

// The subtitle's phrases, which need no condition; the blanks part them.
constexpr CaptionedPhrase kPhrases[] = {
    {kDispatchDate, {u"发货日期从：", u"发货日期到："}, false},
    {kInvoiceDate, {u"   开票日期从：", u"   开票日期到："}, false},
};

// How the report words the items that it rewrites.
struct Wording {
  NullTest test;
  TextView delivery_note;
  TextView settlement_note;
};
constexpr Wording kSingle = {kNullTest, u"='05' ", u"='07' "};
constexpr Wording kDoubled = {kNullTestDoubled, u"=''05'' ", u"=''07'' "};

// A value that the report does not know leaves the host's wording.
void RewriteItem(ReportFilter& item, const Wording& wording) {
  const Text caption = item.strcaption();
  const TextView key = Trim(caption);
  if (EqualText(key, kAudit)) {
    const auto sql =
        WordNullTest(item.Name(), TrimmedText(item.varValue()), kAudited, wording.test);
    if (sql) item.set_strSqlString(*sql);
  } else if (EqualText(key, kVoucherType)) {
    const Text value = item.varValue().ToText();
    if (EqualText(value, u"发货单")) {
      item.set_strSqlString(item.Name().append(wording.delivery_note));
    } else if (EqualText(value, u"委托结算单")) {
      item.set_strSqlString(item.Name().append(wording.settlement_note));
    }
  }
}

// Long conditions stand within quotes later, hence the second wording; on the way into the
// parameter table its quotes are doubled once more: that is meant.
void RewriteItems(ReportFilterSet& set) {
  ForEachItem(set, [](ReportFilter& item) { RewriteItem(item, kSingle); });
  if (set.ConditionText().size() < kFirstDoubled) return;
  ForEachItem(set, [](ReportFilter& item) { RewriteItem(item, kDoubled); });
}

struct Conditions {
  Text general;
  Text dispatch_date;
  Text invoice_date;
  Text voucher_type;
};

void SortItem(ReportFilter& item, Conditions& conditions) {
  const Text caption = item.strcaption();
  const TextView key = Trim(caption);
  if (EqualText(key, kDispatchDate)) {
    conditions.dispatch_date = item.strSqlString();
  } else if (EqualText(key, kInvoiceDate)) {
    conditions.invoice_date = item.strSqlString();
  } else if (EqualText(key, kVoucherType)) {
    conditions.voucher_type = item.strSqlString();
  } else {
    AppendFragment(conditions.general, item, kAnd);
  }
}

Conditions CollectConditions(ReportProvider& report) {
  const std::shared_ptr<ReportFilterSet> set = FindFilterSet(report);
  if (!set) return {};
  RewriteItems(*set);
  return SortItems(*set, SortItem);
}

TextParameters ParametersOf(const Text& table, const Conditions& conditions) {
  return {{u"chrtable", kVarChar, table},
          {u"chrWhere1", kLongVarChar, conditions.general},
          {u"chrOutDate", kVarChar, conditions.dispatch_date},
          {u"chrSaleDate", kVarChar, conditions.invoice_date},
          {u"chrVouchType", kVarChar, conditions.voucher_type}};
}

// A new connection; every error ends in a message with its number, and False.
class newClsReportDaoOutIncome final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return ResultTable(kReport, system()); }

  Text strSubTitle() override { return CaptionedSubTitle(*this, kPhrases); }

  bool MoveDataDetail() override {
    return Trapped([&] { return Fill(); },
                   [&](const DatabaseError& error) { return EndWithNumber(error, system()); });
  }

 private:
  bool Fill() {
    return OpenNewIfFiltered(*this, system()) &&
           HandOff(
               *this, system(), kReport, [&] { return CollectConditions(*this); }, ParametersOf);
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewDispatchIncome(System& system) {
  return std::make_unique<newClsReportDaoOutIncome>(system);
}

}  // namespace ledgerwick
