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
    .place = u"\r\n错误位于模块：newClsReportDaoOutIncome.MoveSaleDetail()",
};

// The items that the report knows, by their captions; the names do not matter.
constexpr TextView kAudit = u"审核";
constexpr TextView kVoucherType = u"单据类型";
constexpr TextView kDispatchDate = u"发货日期";
constexpr TextView kInvoiceDate = u"开票日期";

constexpr TextView kAnd = u" And ";

// The subtitle's phrases; the blanks part them.
constexpr PhraseStart kDispatchWords = {u"发货日期从：", u"发货日期到："};
constexpr PhraseStart kInvoiceWords = {u"   开票日期从：", u"   开票日期到："};

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

Conditions SortItems(ReportProvider& report) {
  Conditions conditions;
  const std::shared_ptr<ReportFilterSet> set = FindFilterSet(report);
  if (!set) return conditions;
  RewriteItems(*set);
  ForEachItem(*set, [&](ReportFilter& item) { SortItem(item, conditions); });
  CutLastJoiner(conditions.general);
  return conditions;
}

// A phrase needs a date and no condition.
Text WordPhrase(ReportFilterSet& set, TextView caption, const PhraseStart& words) {
  const auto item =
      FirstItem(set, [&](ReportFilter& i) { return EqualText(Trim(i.strcaption()), caption); });
  if (!item) return {};
  const Value start = item->varValue();
  const Value end = item->varValue2();
  if (start.ToText().empty() && end.ToText().empty()) return {};
  return DatePhrase(words, start, end);
}

// A new connection; every error ends in a message with its number, and False.
class newClsReportDaoOutIncome final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return InTempdb(TableOnThisMachine(kReport, system())); }

  Text strSubTitle() override {
    const std::shared_ptr<ReportFilterSet> set = FindFilterSet(*this);
    if (!set) return {};
    return WordPhrase(*set, kDispatchDate, kDispatchWords) +
           WordPhrase(*set, kInvoiceDate, kInvoiceWords);
  }

  bool MoveDataDetail() override {
    return Trapped([&] { return HandOff(); },
                   [&](const DatabaseError& error) {
                     ShowNumberedConflict(error, system());
                     return false;
                   });
  }

 private:
  bool HandOff() {
    if (!FindFilterSet(*this)) return false;
    OpenNew(*this, system());
    const std::unique_ptr<Command> command = Held(mconn)->NewCommand();
    Conditions conditions = SortItems(*this);
    if (!HandOverCondition(conditions.general, *command, kReport, system())) return false;
    CallProcedure(*command, kReport.procedure,
                  {{u"chrtable", kVarChar, TableOnThisMachine(kReport, system())},
                   {u"chrWhere1", kLongVarChar, conditions.general},
                   {u"chrOutDate", kVarChar, conditions.dispatch_date},
                   {u"chrSaleDate", kVarChar, conditions.invoice_date},
                   {u"chrVouchType", kVarChar, conditions.voucher_type}},
                  system());
    Held(mconn)->Close();
    return true;
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewDispatchIncome(System& system) {
  return std::make_unique<newClsReportDaoOutIncome>(system);
}

}  // namespace ledgerwick
