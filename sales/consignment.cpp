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
    .place = u"newClsReportDaoConsignment.MoveSaleDetail()",
    .reads_sub_title = true,
};

// The items that the report knows, by their captions; the names do not matter.
constexpr TextView kDispatchDate = u"发货日期";
constexpr TextView kInvoiceDate = u"开票日期";
constexpr TextView kPaymentDate = u"收款日期";
constexpr TextView kWarehouse = u"仓库";

constexpr TextView kAnd = u" AND ";

// The subtitle's phrases; each needs a condition of the host's.
constexpr CaptionedPhrase kPhrases[] = {
    {kDispatchDate, {u" 发货日期从：", u" 发货日期到："}, true},
    {kInvoiceDate, {u" 开票日期从：", u" 开票日期到："}, true},
    {kPaymentDate, {u" 收款日期从：", u" 收款日期到："}, true},
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

TextParameters ParametersOf(const Text& table, const Conditions& conditions) {
  return {{u"chrtable", kVarChar, table},
          {u"chrWhere1", kLongVarChar, conditions.general},
          {u"chrWhere2", kLongVarChar, conditions.warehouse},
          {u"chrConDate", kLongVarChar, conditions.dispatch_date},
          {u"chrSaleDate", kLongVarChar, conditions.invoice_date},
          {u"chrPayDate", kLongVarChar, conditions.payment_date}};
}

// A new connection; errors reach the host and leave it open.
class newClsReportDaoConsignment final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return ResultTable(kReport, system()); }

  Text strSubTitle() override { return CaptionedSubTitle(*this, kPhrases); }

  bool MoveDataDetail() override {
    return OpenNewIfFiltered(*this, system()) &&
           HandOff(*this, system(), kReport, SortItem, ParametersOf);
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewConsignment(System& system) {
  return std::make_unique<newClsReportDaoConsignment>(system);
}

}  // namespace ledgerwick
