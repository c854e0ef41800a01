// The figures of each sales report on generated books, against a calculation that uses no SQL.
#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <thread>

#include "frame/error.h"
#include "tests/sales/books.h"

namespace ledgerwick {
namespace {

using namespace testing;

const Keep kAll = [](const ResultRow&) { return true; };

FilterItem Captioned(const char16_t* caption, const char16_t* name, const char16_t* value,
                     const char16_t* upper = u"") {
  FilterItem item = Filter(name, value, upper);
  item.strcaption = caption;
  return item;
}

// A condition as long as asked for that says no more than `core`.
FilterItem Long(const char16_t* core, std::size_t length) {
  FilterItem item = Filter(u"host's own", u"x");
  item.strSqlString = core;
  while (item.strSqlString->size() + 12 < length) *item.strSqlString += u" AND 'a' = 'a'";
  return item;
}

// One way to ask a report, and what it leaves of the lines.
struct Case {
  std::string name;
  std::vector<FilterItem> filters;
  Keep keep = kAll;
  std::size_t least = 1;  // rows that there must be, so that an empty result proves nothing
};

const FilterItem kMarch = Filter(u"dDate", u"2002-03-01", u"2002-03-31");
const Keep kInMarch = Within("dDate", "2002-03-01", "2002-03-31");
const FilterItem kCustomer = Filter(u"cCusCode", u"C0005");
const Keep kIsCustomer = Is("cCusCode", "C0005");
const FilterItem kLongCustomer = Long(u"cCusCode = 'C0005'", 400);

// The filters that the summary and the detail share.
std::vector<Case> InvoiceCases() {
  return {
      {"all", {}, kAll, 100},
      {"date", {kMarch}, kInMarch},
      {"booked",
       {Filter(u"dKeepDate", u"2002-03-01", u"2002-03-31")},
       Within("dKeepDate", "2002-03-01", "2002-03-31")},
      {"department", {Filter(u"cDepCode", u"0301")}, Is("cDepCode", "0301")},
      {"warehouse", {Filter(u"cWhCode", u"03")}, Is("cWhCode", "03")},
      {"reviewed", {Filter(u"cChecker", u"复核")}, Not(Is("cChecker", ""))},
      {"not reviewed", {Filter(u"cChecker", u"未复核")}, Is("cChecker", "")},
      {"services", {Filter(u"Inventory.bService", u"劳务")}, Is("bService", "1")},
      {"goods", {Filter(u"Inventory.bService", u"非劳务")}, Is("bService", "0")},
      {"customer", {kCustomer}, kIsCustomer},
      {"customer, long", {kLongCustomer}, kIsCustomer},
      {"several",
       {kMarch, Filter(u"cWhCode", u"03"), Filter(u"cChecker", u"复核"),
        Filter(u"Inventory.bService", u"非劳务"), Long(u"cSTCode IN ('01', '02')", 300)},
       And(And(kInMarch, Is("cWhCode", "03")),
           And(Not(Is("cChecker", "")),
               Not(And(Not(Is("cSTCode", "01")), Not(Is("cSTCode", "02"))))))},
  };
}

using Make = std::function<Table(const Case&)>;

// The tables that `make` makes of the cases.
void CheckCases(TestDatabase& data, const std::string& class_name, const std::vector<Case>& cases,
                const Make& make) {
  for (const Case& c : cases) {
    CAPTURE(class_name);
    CAPTURE(c.name);
    CheckRows(make(c), data.Report(class_name, c.filters), c.least);
  }
}

void CheckInvoices(TestDatabase& data, const Books& books) {
  CheckCases(data, "newclsReportDataSaleTotal", InvoiceCases(), [&](const Case& c) {
    return Group(books.invoices, c.keep,
                 "部门编码=cDepCode 部门名称=cDepName 客户编码=cCusCode 客户名称=cCusAbbName "
                 "存货编码=cInvCode 存货名称=cInvName 规格型号=cInvStd ; "
                 "数量=iQuantity 件数=iNum 金额=iMoney 税额=iTax 价税合计=with_tax");
  });
  CheckCases(data, "newclsReportDataSaleDetail", InvoiceCases(), [&](const Case& c) {
    return List(books.invoices, c.keep,
                "开票日期=dDate 发票号=cInvoiceCode 部门名称=cDepName 客户名称=cCusAbbName "
                "仓库编码=cWhCode 存货编码=cInvCode 存货名称=cInvName 规格型号=cInvStd ; "
                "数量=iQuantity 单价=iUnitPrice 金额=iMoney 税额=iTax 成本=iCost 毛利=margin");
  });
}

// The review and service filters by their captions.
void CheckIncome(TestDatabase& data, const Books& books) {
  std::map<std::string, double> paid;
  for (const ResultRow& payment : books.payments) {
    paid[payment.at("InvoiceLineID")] += NumberAt(payment, "iMoney");
  }
  const auto paid_for = [&](const ResultRow& line) {
    const auto found = paid.find(line.at("AutoID"));
    return found == paid.end() ? 0 : found->second;
  };
  const std::vector<Case> cases = {
      {"all", {}, kAll, 100},
      {"date", {kMarch}, kInMarch},
      {"reviewed", {Captioned(u"复核", u"cChecker", u"复核")}, Not(Is("cChecker", ""))},
      {"not reviewed", {Captioned(u"复核", u"cChecker", u"未复核")}, Is("cChecker", "")},
      {"services", {Captioned(u"劳务", u"Inventory.bService", u"劳务")}, Is("bService", "1")},
      {"customer", {kCustomer}, kIsCustomer},
      {"reviewed, long",
       {Captioned(u"复核", u"cChecker", u"复核"), kLongCustomer},
       And(kIsCustomer, Not(Is("cChecker", "")))},
      {"not reviewed, long",
       {Captioned(u"复核", u"cChecker", u"未复核"), kMarch, Long(u"cDepCode <> '0303'", 350)},
       And(And(kInMarch, Is("cChecker", "")), Not(Is("cDepCode", "0303")))},
  };
  CheckCases(data, "newClsReportDaoSaleInCome", cases, [&](const Case& c) {
    Table table =
        Group(books.invoices, c.keep,
              "客户编码=cCusCode 客户名称=cCusAbbName 存货编码=cInvCode 存货名称=cInvName ; "
              "数量=iQuantity 收入=iMoney 税额=iTax",
              {{"已收款", paid_for}, {"未收款", [&](const ResultRow& row) {
                                        return NumberAt(row, "with_tax") - paid_for(row);
                                      }}});
    for (ResultRow& row : table.rows) row["账套号"] = "001";
    return table;
  });
}

void CheckCost(TestDatabase& data, const Books& books) {
  const std::vector<Case> cases = {
      {"all", {}, kAll, 50},
      {"date", {kMarch}, kInMarch},
      {"customer", {kCustomer}, kIsCustomer},
      {"customer, long", {kLongCustomer}, kIsCustomer},
  };
  CheckCases(data, "newClsReportDaoSaleCost", cases, [&](const Case& c) {
    Table table = Group(books.invoices, c.keep,
                        "存货分类编码=cInvCCode 存货编码=cInvCode 存货名称=cInvName ; "
                        "数量=iQuantity 收入=iMoney 成本=iCost 毛利=margin");
    for (ResultRow& row : table.rows) {
      row["毛利率"] =
          Shown(std::round(std::stod(row["毛利"]) / std::stod(row["收入"]) * 10000) / 100);
    }
    table.figures.push_back({"毛利率", {}});
    return table;
  });
}

// What has become of a dispatched line: `keep` chooses the invoices that count, `keep_payment` the
// payments.
struct Outcome {
  double quantity = 0;
  double money = 0;
  double with_tax = 0;
  double paid = 0;
};

// By note line, or by the consigned line that the note line settles.
std::map<std::string, Outcome> Outcomes(const Books& books, bool of_source, const Keep& keep,
                                        const Keep& keep_payment) {
  std::map<std::string, Outcome> outcomes;
  std::map<std::string, std::string> note_line_of;
  for (const ResultRow& line : books.invoices) {
    std::string key = At(line, "NoteLineID");
    if (!key.empty() && of_source) {
      const auto note = std::ranges::find(books.notes, key,
                                          [](const ResultRow& row) { return row.at("AutoID"); });
      key = At(*note, "SourceID");
    }
    if (key.empty()) continue;
    note_line_of[line.at("AutoID")] = key;
    if (!keep(line)) continue;
    outcomes[key].quantity += NumberAt(line, "iQuantity");
    outcomes[key].money += NumberAt(line, "iMoney");
    outcomes[key].with_tax += NumberAt(line, "with_tax");
  }
  for (const ResultRow& payment : books.payments) {
    const auto key = note_line_of.find(payment.at("InvoiceLineID"));
    if (key == note_line_of.end() || !keep_payment(payment)) continue;
    outcomes[key->second].paid += NumberAt(payment, "iMoney");
  }
  return outcomes;
}

// A case that also chooses among the invoices and payments of the notes.
struct Dated : Case {
  Keep invoice = kAll;
  Keep payment = kAll;
};

// `figures` makes figures of a line's outcome.
void CheckDated(
    TestDatabase& data, const std::string& class_name, const std::vector<Dated>& cases,
    const Books& books, bool of_source, const Keep& notes, const std::string& columns,
    const std::vector<std::pair<const char*, double (*)(const ResultRow&, const Outcome&)>>&
        figures) {
  for (const Dated& c : cases) {
    CAPTURE(class_name);
    CAPTURE(c.name);
    const auto outcomes = Outcomes(books, of_source, c.invoice, c.payment);
    std::vector<Figure> more;
    for (const auto& [name, of] : figures) {
      more.push_back({name, [&outcomes, of = of](const ResultRow& row) {
                        const auto found = outcomes.find(row.at("AutoID"));
                        return of(row, found == outcomes.end() ? Outcome{} : found->second);
                      }});
    }
    const Table wanted = List(books.notes, And(notes, c.keep), columns, more);
    CheckRows(wanted, data.Report(class_name, c.filters), c.least);
    CHECK(data.message() == "");
  }
}

void CheckConsignment(TestDatabase& data, const Books& books) {
  const FilterItem dispatched = Captioned(u"发货日期", u"dDate", u"2002-03-01", u"2002-06-30");
  const FilterItem invoiced = Captioned(u"开票日期", u"dInvoiceDate", u"2002-01-01", u"2002-04-30");
  const FilterItem paid = Captioned(u"收款日期", u"dPayDate", u"2002-01-01", u"2002-05-31");
  const Keep was_dispatched = Within("dDate", "2002-03-01", "2002-06-30");
  const Keep was_invoiced = Within("dDate", "2002-01-01", "2002-04-30");
  const Keep was_paid = Within("dPayDate", "2002-01-01", "2002-05-31");
  const std::vector<Dated> cases = {
      {{"all", {}, kAll, 50}},
      {{"dispatched", {dispatched}, was_dispatched}},
      {{"dates", {dispatched, invoiced, paid}, was_dispatched}, was_invoiced, was_paid},
      {{"warehouse", {Captioned(u"仓库", u"cWhCode", u"03")}, Is("cWhCode", "03")}},
      {{"customer", {kCustomer}, kIsCustomer}},
      {{"customer, long", {invoiced, kLongCustomer}, kIsCustomer}, was_invoiced},
  };
  CheckDated(data, "newClsReportDaoConsignment", cases, books, true, Is("cVouchType", "06"),
             "发货日期=dDate 发货单号=cDLCode 客户名称=cCusAbbName 仓库编码=cWhCode "
             "存货编码=cInvCode 存货名称=cInvName ; 发货数量=iQuantity 发货金额=iMoney",
             {{"开票数量", [](const ResultRow&, const Outcome& o) { return o.quantity; }},
              {"开票金额", [](const ResultRow&, const Outcome& o) { return o.with_tax; }},
              {"收款金额", [](const ResultRow&, const Outcome& o) { return o.paid; }},
              {"未结数量", [](const ResultRow& row, const Outcome& o) {
                 return NumberAt(row, "iQuantity") - o.quantity;
               }}});
}

const Keep kSold = Not(Is("cVouchType", "06"));

void CheckDispatch(TestDatabase& data, const Books& books) {
  const std::vector<Case> cases = {
      {"all", {}, kAll, 100},
      {"date", {kMarch}, kInMarch},
      {"until", {Filter(u"ddate", u"", u"2001-03-31")}, Within("dDate", "", "2001-03-31")},
      {"audited", {Filter(u"cVerifier", u"审核")}, Not(Is("cVerifier", ""))},
      {"not audited", {Filter(u"cVerifier", u"未审核")}, Is("cVerifier", "")},
      {"deliveries", {Filter(u"cVouchType", u"发货单")}, Is("cVouchType", "05")},
      {"settlements", {Filter(u"cVouchType", u"委托结算")}, Is("cVouchType", "07")},
      {"another type", {Filter(u"cVouchType", u"委托结算单")}, kAll, 100},
      {"customer", {kCustomer}, kIsCustomer},
      {"customer, long", {kLongCustomer}, kIsCustomer},
  };
  CheckCases(data, "newclsReportDaoOut", cases, [&](const Case& c) {
    return List(books.notes, And(kSold, c.keep),
                "日期=dDate 单据类型=cVouchName 单据号=cDLCode 客户名称=cCusAbbName "
                "仓库编码=cWhCode 存货编码=cInvCode 存货名称=cInvName 规格型号=cInvStd "
                "审核人=cVerifier ; 数量=iQuantity 件数=iNum 单价=iUnitPrice 金额=iMoney");
  });
}

void CheckDispatchIncome(TestDatabase& data, const Books& books) {
  const FilterItem dispatched = Captioned(u"发货日期", u"dDate", u"2002-03-01", u"2002-03-31");
  const FilterItem invoiced = Captioned(u"开票日期", u"dInvoiceDate", u"2002-01-01", u"2002-03-20");
  const FilterItem audited = Captioned(u"审核", u"cVerifier", u"审核");
  const FilterItem not_audited = Captioned(u"审核", u"cVerifier", u"未审核");
  const FilterItem settlements = Captioned(u"单据类型", u"cVouchType", u"委托结算单");
  const Keep was_invoiced = Within("dDate", "2002-01-01", "2002-03-20");
  const std::vector<Dated> cases = {
      {{"all", {}, kAll, 100}},
      {{"dates", {dispatched, invoiced}, kInMarch}, was_invoiced},
      {{"audited", {audited}, Not(Is("cVerifier", ""))}},
      {{"not audited", {not_audited}, Is("cVerifier", "")}},
      {{"settlements", {settlements}, Is("cVouchType", "07")}},
      {{"customer", {kCustomer}, kIsCustomer}},
      // The conditions that the report words come with doubled quotes beside long ones.
      {{"audited settlements, long",
        {audited, settlements, Long(u"cDepCode <> '0303'", 400)},
        And(And(Not(Is("cVerifier", "")), Is("cVouchType", "07")), Not(Is("cDepCode", "0303")))}},
      {{"not audited, long",
        {not_audited, kLongCustomer},
        And(Is("cVerifier", ""), kIsCustomer),
        0}},
      // Long with the dates, short without them: doubled quotes reach the procedure as they are.
      {{"not audited, long by its dates",
        {not_audited, dispatched, invoiced, settlements, Long(u"cDepCode <> '0303'", 80)},
        And(And(Is("cVerifier", ""), Is("cVouchType", "07")),
            And(kInMarch, Not(Is("cDepCode", "0303")))),
        0},
       was_invoiced},
  };
  CheckDated(
      data, "newClsReportDaoOutIncome", cases, books, false, kSold,
      "发货日期=dDate 单据类型=cVouchName 单据号=cDLCode 客户名称=cCusAbbName "
      "存货编码=cInvCode 存货名称=cInvName ; 发货数量=iQuantity 发货金额=iMoney",
      {{"开票数量", [](const ResultRow&, const Outcome& o) { return o.quantity; }},
       {"开票金额", [](const ResultRow&, const Outcome& o) { return o.money; }},
       {"未开票数量", [](const ResultRow& row,
                         const Outcome& o) { return NumberAt(row, "iQuantity") - o.quantity; }},
       {"未开票金额",
        [](const ResultRow& row, const Outcome& o) { return NumberAt(row, "iMoney") - o.money; }}});
}

void CheckReturns(TestDatabase& data, const Books& books) {
  const std::vector<Case> cases = {
      {"all", {}, kAll, 100},
      {"date", {kMarch}, kInMarch},
      {"from", {Filter(u"dDate", u"2002-12-01")}, Within("dDate", "2002-12-01", "9999-12-31")},
      {"reviewed", {Filter(u"cChecker", u"复核")}, Not(Is("cChecker", ""))},
      {"not reviewed", {Filter(u"cChecker", u"未复核")}, Is("cChecker", "")},
      {"account", {Filter(u"cAccDep", u"03")}, Is("cAccDep", "03")},
      {"warehouse", {Filter(u"cWhCode", u"08")}, Is("cWhCode", "08")},
      {"customer, long", {kLongCustomer}, kIsCustomer},
  };
  CheckCases(data, "newclsReportDAOSRM", cases, [&](const Case& c) {
    return List(books.invoices, c.keep,
                "日期=dDate 发票号=cInvoiceCode 核算部门=cAccDep 客户名称=cCusAbbName "
                "存货编码=cInvCode 存货名称=cInvName ; 净额=iMoney 毛利=margin",
                {{"销售数量",
                  [](const ResultRow& row) { return std::max(0.0, NumberAt(row, "iQuantity")); }},
                 {"退货数量", [](const ResultRow& row) {
                    return std::max(0.0, -NumberAt(row, "iQuantity"));
                  }}});
  });
}

void CheckEntrusted(TestDatabase& data, const Books& books) {
  const std::vector<Case> cases = {
      {"all", {}, kAll, 50},
      {"dates",
       {Filter(u"DDATE ", u"2002-03-01", u"2002-06-30")},
       Within("dDate", "2002-03-01", "2002-06-30")},
      {"warehouse", {Filter(u"cWhCode", u"03")}, Is("cWhCode", "03")},
      {"customer, long", {kLongCustomer}, kIsCustomer},
  };
  CheckCases(data, "newclsReportDaotrust", cases, [&](const Case& c) {
    return List(books.notes, And(Is("cVouchType", "07"), c.keep),
                "结算日期=dDate 结算单号=cDLCode 客户名称=cCusAbbName 仓库编码=cWhCode "
                "存货编码=cInvCode 存货名称=cInvName 规格型号=cInvStd ; "
                "结算数量=iQuantity 单价=iUnitPrice 结算金额=iMoney");
  });
}

}  // namespace

TEST_CASE("figures of the sales reports") {
  for (const unsigned seed : {1U, 2U}) {
    CAPTURE(seed);
    TestDatabase data(4000, seed);
    const Books books(data);
    CheckInvoices(data, books);
    CheckIncome(data, books);
    CheckCost(data, books);
    CheckConsignment(data, books);
    CheckDispatch(data, books);
    CheckDispatchIncome(data, books);
    CheckReturns(data, books);
    CheckEntrusted(data, books);
  }
}

// The parameter table is everybody's: a client may get the rows of the other's condition. What it
// gets is always one or the other, or an error.
TEST_CASE("two clients with long conditions get rows or an error") {
  TestDatabase data(1500, 1);
  const std::array<FilterItem, 2> conditions = {Long(u"cCusCode < 'C0010'", 300),
                                                Long(u"cCusCode >= 'C0010'", 300)};
  const std::array<Rows, 2> alone = {data.Report("newclsReportDAOSRM", {conditions[0]}),
                                     data.Report("newclsReportDAOSRM", {conditions[1]})};
  REQUIRE(alone[0] != alone[1]);
  std::array<int, 2> surprises{};
  std::array<int, 2> answers{};
  const auto client = [&](std::size_t me) {
    for (int i = 0; i < 10; ++i) {
      try {
        const Rows rows =
            data.Report("newclsReportDAOSRM", {conditions[me]}, me == 0 ? u"PC1" : u"PC2");
        ++answers[me];
        if (rows != alone[0] && rows != alone[1]) ++surprises[me];
      } catch (const DatabaseError&) {
        ++answers[me];
      }
    }
  };
  std::thread first(client, 0);
  std::thread second(client, 1);
  first.join();
  second.join();
  CHECK(answers == std::array<int, 2>{10, 10});
  CHECK(surprises == std::array<int, 2>{0, 0});
}

}  // namespace ledgerwick
