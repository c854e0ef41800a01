// newClsReportDaoConsignment, the consignment report: goods dispatched on consignment, with their
// invoices and payments.
#include <memory>

#include "frame/report_provider.h"
#include "sales/conditions.h"
#include "sales/factories.h"
#include "sales/hand_off.h"
#include "sales/sub_titles.h"

namespace ledgerwick {
namespace {

constexpr SalesReport kReport = {
    .table = u"Sa_TpConsignment",
    .procedure = u"Sa_MoveConsignment",
    .measure = Measure::AnsiBytes,
    .place = u"\r\n错误位于模块：newClsReportDaoConsignment.MoveSaleDetail()",
};

// The items that the report knows, by their captions; the names do not matter.
constexpr TextView kDispatchDate = u"发货日期";
constexpr TextView kInvoiceDate = u"开票日期";
constexpr TextView kPaymentDate = u"收款日期";
constexpr TextView kWarehouse = u"仓库";

constexpr TextView kAnd = u" AND ";

// The subtitle's phrases in their order.
struct Phrase {
  TextView caption;
  PhraseStart words;
};
constexpr Phrase kPhrases[] = {
    {kDispatchDate, {u" 发货日期从：", u" 发货日期到："}},
    {kInvoiceDate, {u" 开票日期从：", u" 开票日期到："}},
    {kPaymentDate, {u" 收款日期从：", u" 收款日期到："}},
};

struct Conditions {
  Text general;
  Text warehouse;
  Text dispatch_date;
  Text invoice_date;
  Text payment_date;
};

// `source` with each `pattern` replaced; what has been put in is not looked at again.
Text ReplaceEach(TextView source, TextView pattern, TextView replacement) {
  Text result;
  std::size_t from = 0;
  for (std::size_t at = FindText(source, pattern); at != TextView::npos;
       at = FindText(source, pattern, from)) {
    result.append(source.substr(from, at - from)).append(replacement);
    from = at + pattern.size();
  }
  return result.append(source.substr(from));
}

// The item's fragment with the quotes that the host has doubled made single again.
void TakeWithSingleQuotes(Text& condition, ReportFilter& item) {
  if (HasFragment(item)) condition = ReplaceEach(item.strSqlString(), u"''", u"'");
}

void SortItem(ReportFilter& item, Conditions& conditions) {
  const Text caption = item.strcaption();
  const TextView key = Trim(caption);
  if (EqualText(key, kDispatchDate)) {
    TakeWithSingleQuotes(conditions.dispatch_date, item);
  } else if (EqualText(key, kInvoiceDate)) {
    TakeWithSingleQuotes(conditions.invoice_date, item);
  } else if (EqualText(key, kPaymentDate)) {
    TakeWithSingleQuotes(conditions.payment_date, item);
  } else if (EqualText(key, kWarehouse)) {
    TakeWithSingleQuotes(conditions.warehouse, item);
  } else {
    AppendFragment(conditions.general, item, kAnd);
  }
}

Conditions SortItems(ReportProvider& report) {
  Conditions conditions;
  ForEachItemOf(report, [&](ReportFilter& item) { SortItem(item, conditions); });
  CutLastJoiner(conditions.general);
  return conditions;
}

// A phrase needs a condition of the host's and a date.
Text WordPhrase(ReportFilterSet& set, const Phrase& phrase) {
  const auto item = FirstItem(
      set, [&](ReportFilter& i) { return EqualText(Trim(i.strcaption()), phrase.caption); });
  if (!item || !HasFragment(*item)) return {};
  const Value start = item->varValue();
  const Value end = item->varValue2();
  if (start.ToText().empty() && end.ToText().empty()) return {};
  return DatePhrase(phrase.words, start, end);
}

// A new connection; errors reach the host and leave it open.
class newClsReportDaoConsignment final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return InTempdb(TableOnThisMachine(kReport, system())); }

  Text strSubTitle() override {
    const std::shared_ptr<ReportFilterSet> set = FindFilterSet(*this);
    Text sub_title;
    if (!set) return sub_title;
    for (const Phrase& phrase : kPhrases) sub_title += WordPhrase(*set, phrase);
    return sub_title;
  }

  bool MoveDataDetail() override {
    if (!FindFilterSet(*this)) return false;
    OpenNew(*this, system());
    const std::unique_ptr<Command> command = Held(mconn)->NewCommand();
    Conditions conditions = SortItems(*this);
    if (!HandOverCondition(conditions.general, *command, kReport, system())) return false;
    strSubTitle();  // an item that cannot be read ends the run here
    CallProcedure(*command, kReport.procedure,
                  {{u"chrtable", kVarChar, TableOnThisMachine(kReport, system())},
                   {u"chrWhere1", kLongVarChar, conditions.general},
                   {u"chrWhere2", kLongVarChar, conditions.warehouse},
                   {u"chrConDate", kLongVarChar, conditions.dispatch_date},
                   {u"chrSaleDate", kLongVarChar, conditions.invoice_date},
                   {u"chrPayDate", kLongVarChar, conditions.payment_date}},
                  system());
    Held(mconn)->Close();
    return true;
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewConsignment(System& system) {
  return std::make_unique<newClsReportDaoConsignment>(system);
}

}  // namespace ledgerwick
