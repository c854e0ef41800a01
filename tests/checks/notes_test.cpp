// Every note and every finding held to the truth: the rows that the reports give on a sample.
#include <doctest/doctest.h>

#include <algorithm>
#include <regex>
#include <set>

#include "host/checks.h"
#include "host/filters.h"
#include "host/trace.h"
#include "tests/golden.h"
#include "tests/support/test_database.h"

namespace ledgerwick {
namespace {

using testing::ResultRow;

// Filters as "NAME=VALUE", "NAME=FROM..TO", with "~CONDITION" for one that is not the host's
// wording. "!" before a name leaves its caption out.
using Filters = std::vector<const char16_t*>;

FilterItem Item(const ReportInfo& report, TextView text) {
  const bool has_caption = !text.starts_with(u'!');
  if (!has_caption) text.remove_prefix(1);
  FilterItem item;
  const std::size_t equals = text.find(u'=');
  item.Name = text.substr(0, equals);
  TextView value = text.substr(equals + 1);
  if (const std::size_t at = value.find(u'~'); at != TextView::npos) {
    item.strSqlString = Text(value.substr(at + 1));
    value = value.substr(0, at);
  }
  const std::size_t dots = value.find(u"..");
  item.varValue = value.substr(0, dots);
  if (dots != TextView::npos) item.varValue2 = value.substr(dots + 2);
  const FilterInfo* info = FindFilterInfo(report, item.Name);
  if (has_caption && info) item.strcaption = info->caption;
  return item;
}

std::vector<FilterItem> Items(const char* report, const Filters& filters) {
  std::vector<FilterItem> items;
  for (const char16_t* filter : filters) {
    items.push_back(Item(*FindReportInfo(FromUtf8(report)), filter));
  }
  return items;
}

Request RequestFor(const char* report, std::optional<std::vector<FilterItem>> items) {
  Request request;
  request.report = FindClass(FromUtf8(report));
  request.machine = u"PC";
  request.filters = std::move(items);
  request.login = LoginMembers{Value(u"2002-03-31"), Value(u"001")};
  return request;
}

bool HasChinese(TextView text) {
  return std::any_of(text.begin(), text.end(),
                     [](char16_t c) { return c >= 0x4E00 && c <= 0x9FFF; });
}

bool Finds(const std::vector<Finding>& findings, TextView code) {
  for (const Finding& finding : findings) {
    CHECK_MESSAGE((HasChinese(finding.what_zh) && HasChinese(finding.remedy_zh)),
                  ToUtf8(finding.what_zh));
  }
  return std::any_of(findings.begin(), findings.end(),
                     [&](const Finding& finding) { return finding.code == code; });
}

bool Finds(const char* report, const Filters& filters, TextView code) {
  return Finds(CheckRequest(RequestFor(report, Items(report, filters))), code);
}

// What must be true of a report's rows where the note applies.
enum class Truth {
  Same,     // they are those of `other`
  Differ,   // they are not those of `other`
  Empty,    // there are none, and some with `other`
  Refused,  // there are none and mostly an error, and with `other` there are some
  Probe,    // the query `shown` finds no row of the filled table
  Sql,      // the statement contains `shown`
};
using enum Truth;

struct Case {
  const char16_t* code;
  const char* report;
  Filters filters;
  Truth truth;
  Filters other;  // to which the note does not apply, unless it always does
  const char* shown = "";
};

const Filters kAnywhere = {u"Warehouse.cWhCode=0~Warehouse.cWhCode >= '0'"};

const Case kCases[] = {
    {u"LW001", "clsRepPcch", {u"nosuch=1"}, Same, {}},
    {u"LW001", "clsRepLsz", {u"R.cWhCod=1"}, Refused, {}},
    {u"LW002", "clsRepXCL", {u"存货编码=1"}, Same, {}},
    {u"LW003",
     "newClsReportDaoConsignment",
     {u"!dInvoiceDate=2002-01-01..2002-03-31"},
     Refused,
     {}},
    {u"LW004", "clsRepSFC", {u"cRdCode=1", u"cRdCode=2"}, Same, {u"cRdCode=2"}},
    {u"LW005", "newclsReportDaoOut", {u"cVouchType=别的"}, Same, {}},
    {u"LW005", "clsRepBzqyj", {u"InvType= 过期存货"}, Same, {}},
    {u"LW006", "clsRepLsz", {u"R.dDate=2002-02-31"}, Refused, {}},
    {u"LW007", "clsRepXCL", {u"iNum=x"}, Refused, {}},
    {u"LW010", "clsRepXCL", {u"I.cInvCode=9..0"}, Empty, {u"I.cInvCode=0..9"}},
    {u"LW020", "clsRepXCL", {u"I.cInvCode=1~I.cInvCode >= '0' And"}, Refused, {}},
    {u"LW021", "clsRepXCL", {u"I.cInvCode=1~(I.cInvCode >= '0'"}, Refused, {}},
    {u"LW022", "clsRepHwhz", {u"Warehouse.cWhCode=0'1"}, Refused, {}},
    {u"LW022", "newClsReportDaoConsignment", {u"cCusCode=C", u"cWhCode=0'1"}, Refused, {}},
    {u"LW101", "clsRepAQKCYJ", {u"W.cWhCode=01"}, Same, {}},
    {u"LW201", "clsRepSFC", {}, Same, {u"dDate=2001-11-01"}},
    {u"LW202",
     "clsRepSFC",
     {u"dDate=..2002-03-31"},
     Probe,
     {u"dDate=2002-01-01..2002-03-31"},
     "SELECT 1 FROM tempdb..temSFC WHERE iQCJCSL <> 0 OR iQCJCJS <> 0"},
    {u"LW203", "clsRepSFC", {u"RdRecord.cWhCode=01,02"}, Empty, {u"RdRecord.cWhCode=01"}},
    {u"LW204",
     "clsRepSFC",
     {u"dVeriDate=2002-03-01..2002-03-31"},
     Sql,
     {},
     " dVDate >= '2002-03-01'"},
    {u"LW205",
     "clsRepSFC",
     {u"dDate=2002-01-01..2002-01-31", u"dVeriDate=2002-03-01..2002-03-31"},
     Same,
     {u"dVeriDate=2002-03-01..2002-03-31"}},
    {u"LW206", "clsRepSFC", {u"iAssUnitGrade=2"}, Differ, {}},
    {u"LW207",
     "clsRepSFC",
     {},
     Probe,
     {},
     "SELECT 1 FROM tempdb..temSFC HAVING SUM(iQCJCSL) <> (SELECT SUM(CASE WHEN bRdFlag <> 0 "
     "THEN iQuantity ELSE -iQuantity END) FROM RdRecords INNER JOIN RdRecord "
     "ON RdRecords.ID = RdRecord.ID WHERE cVouchType <> '33' AND dDate < '2001-11-01')"},
    {u"LW207",
     "clsRepSFC",
     {u"dDate=2001-01-01"},
     Probe,
     {},
     "SELECT 1 FROM tempdb..temSFC HAVING SUM(总计_入库数量) <> (SELECT SUM(iQuantity) "
     "FROM RdRecords INNER JOIN RdRecord ON RdRecords.ID = RdRecord.ID "
     "WHERE cVouchType NOT IN ('33', '34') AND bRdFlag <> 0)"},
    {u"LW208",
     "clsRepSFC",
     {u"ExtAcc=是"},
     Probe,
     {},
     "SELECT 1 FROM tempdb..temSFC WHERE 存货编码 IN (SELECT cAccPCode FROM Accessaries) "
     "HAVING SUM(iQCJCSL) = 0 OR SUM(总计_入库数量) <> 0 OR SUM(总计_出库数量) <> 0"},
    {u"LW209", "clsRepSFC", {u"cRdCode=1"}, Sql, {}, "RdRecord.cRdCode Like '1%'"},
    {u"LW301", "clsRepHwhz", {u"dDate=2002-03-01..2002-03-31"}, Same, {}},
    {u"LW302", "clsRepHwhz", {u"Warehouse.cWhCode=01,02"}, Empty, {}},
    {u"LW303",
     "clsRepHwhz",
     {},
     Probe,
     {},
     "SELECT 1 FROM tempdb..temHwhz HAVING SUM(本期入库数量) <> (SELECT SUM(iQuantity) "
     "FROM InvPosition P INNER JOIN Position L ON P.cPosCode = L.cPosCode AND L.bPosEnd = 1 "
     "WHERE bRdFlag <> 0 AND dDate >= '2001-10-01')"},
    {u"LW304",
     "clsRepHwhz",
     {},
     Probe,
     {},
     "SELECT 1 FROM tempdb..temHwhz T INNER JOIN Inventory I ON T.存货编码 = I.cInvCode "
     "WHERE iGroupType = 2 HAVING SUM(期初结存件数) <> (SELECT SUM(CASE WHEN bRdFlag <> 0 AND "
     "dDate < '2001-10-01' THEN iNum ELSE -iNum END) FROM InvPosition P INNER JOIN Inventory J "
     "ON P.cInvCode = J.cInvCode AND J.iGroupType = 2)"},
    {u"LW305", "clsRepHwhz", {u"iAssUnitGrade=1"}, Refused, {}},
    {u"LW401", "clsRepLsz", {u"R.cWhCode=01,02"}, Empty, {u"R.cWhCode=01"}},
    {u"LW402", "clsRepLsz", {u"iAssUnitGrade=1"}, Same, {}},
    {u"LW403", "clsRepLsz", {u"VeriType=什么"}, Refused, {}},
    {u"LW404", "clsRepLsz", {u"R.cRdCode=1"}, Sql, {}, "R.cRdCode  Like '1%'"},
    {u"LW406",
     "clsRepLsz",
     {},
     Probe,
     {},
     "SELECT 1 FROM tempdb..TemLsz WHERE SFBZ = '入库' AND ISNULL(CKSL, 1) <> 0 "
     "OR SFBZ = '出库' AND ISNULL(RKDJ, 1) <> 0"},
    {u"LW501",
     "clsRepPcch",
     {u"dDate=2002-01-01..2002-01-31"},
     Probe,
     {},
     "SELECT 1 FROM tempdb..temPcch HAVING SUM(期初结存数量) <> (SELECT SUM(CASE WHEN "
     "dDate < '2002-01-01' AND bRdFlag <> 0 THEN iQuantity ELSE -iQuantity END) FROM RdRecords "
     "INNER JOIN RdRecord ON RdRecords.ID = RdRecord.ID INNER JOIN Inventory ON "
     "RdRecords.cInvCode = Inventory.cInvCode WHERE cVouchType NOT IN ('33', '34') "
     "AND bInvBatch = 1)"},
    {u"LW502",
     "clsRepPcch",
     {},
     Probe,
     {u"dDate=2002-01-01..2002-01-31"},
     "SELECT 1 FROM tempdb..temPcch WHERE 期初结存数量 <> -(收入数量 + 发出数量)"},
    {u"LW503",
     "clsRepPcch",
     {u"dDate=..2002-03-31"},
     Probe,
     {u"dDate=2002-01-01..2002-03-31"},
     "SELECT 1 FROM tempdb..temPcch WHERE 收入数量 <> 0 OR 发出数量 <> 0"},
    {u"LW504",
     "clsRepPcch",
     {u"dVeriDate=2002-03-01..2002-03-31"},
     Sql,
     {},
     " dVDate >= '2002-03-01'"},
    {u"LW505",
     "clsRepPcch",
     {u"dDate=2002-01-01", u"dVeriDate=2002-03-01"},
     Same,
     {u"dVeriDate=2002-03-01"}},
    {u"LW601", "clsRepXCL", {u"CS.cBatch=%"}, Same, {u"CS.cBatch=*"}},
    {u"LW602", "clsRepXCL", {u"iNum=9..100"}, Empty, {u"iNum=0..9"}},
    {u"LW603", "clsRepXCL", {u"def_iInvCGrade=x"}, Same, {}},
    {u"LW604", "clsRepXCL", {u"def_iInvCGrade=1"}, Differ, {}},
    {u"LW701",
     "clsRepBzqyj",
     {u"InvType=所有保质期存货"},
     Refused,
     {u"InvType=所有保质期存货", kAnywhere[0]}},
    {u"LW702",
     "clsRepBzqyj",
     {kAnywhere[0], u"PassDays=9..100"},
     Empty,
     {kAnywhere[0], u"PassDays=-900..900"}},
    {u"LW703", "clsRepBzqyj", {kAnywhere[0], u"CloserDays=9..1000"}, Empty, kAnywhere},
    {u"LW704", "clsRepBzqyj", {u"iAssUnitGrade=1"}, Same, {}},
    {u"LW801", "newclsReportDataSaleTotal", {u"cDepCode=1~V.cDepCode >= '0'"}, Refused, {}},
    {u"LW802", "newclsReportDataSaleTotal", {u"cWhCode=02..03"}, Same, {u"cWhCode=02"}},
    {u"LW803", "newclsReportDAOSRM", {u"cWhCode=02..03"}, Same, {u"cWhCode=02"}},
    {u"LW804", "newClsReportDaoSaleCost", {u"nosuch=1"}, Refused, {}},
    {u"LW805", "newClsReportDaoSaleProfit", {}, Sql, {}, ""},
};

// Those that stand whatever the request says.
bool AppliesAlways(const Case& c) {
  const std::set<Text> always = {u"LW207", u"LW303", u"LW304", u"LW406",
                                 u"LW501", u"LW804", u"LW805"};
  return always.contains(c.code);
}

// The report's rows, or nothing where it raises an error.
std::optional<std::vector<ResultRow>> RowsOf(testing::TestDatabase& data, const char* report,
                                             const Filters& filters) {
  try {
    return data.Report(report, Items(report, filters), u"PC");
  } catch (const DatabaseError&) {
    return std::nullopt;
  }
}

std::string StatementsOf(const char* report, const Filters& filters) {
  return ToJson(TraceReport(RequestFor(report, Items(report, filters))));
}

bool IsTrue(testing::TestDatabase& data, const Case& c) {
  if (c.truth == Sql) {
    return StatementsOf(c.report, c.filters).find(c.shown) != std::string::npos;
  }
  const auto others = RowsOf(data, c.report, c.other);
  const auto rows = RowsOf(data, c.report, c.filters);
  switch (c.truth) {
    case Same:
      return rows && rows == others && !rows->empty();
    case Differ:
      return rows && others && rows != others;
    case Empty:
      return rows && rows->empty() && others && !others->empty();
    case Refused:
      return (!rows || rows->empty()) && others && !others->empty();
    default:
      return rows && !rows->empty() && data.Rows(c.shown).empty();
  }
}

// Codes that the tables above do not hold, since their cases need more than filters.
std::set<Text> OtherCodes() {
  return {u"LW008", u"LW009", u"LW011", u"LW012", u"LW023", u"LW024", u"LW025",
          u"LW026", u"LW027", u"LW028", u"LW030", u"LW031", u"LW032", u"LW405"};
}

testing::TestDatabase& Sample() {
  static testing::TestDatabase data(600, 1);
  return data;
}

}  // namespace

TEST_CASE("every note says what happens, and to which requests") {
  testing::TestDatabase& data = Sample();
  // Movements of a type above the leaves, and none of the day's own.
  data.Run("UPDATE RdRecord SET cRdCode = '1' WHERE ID = (SELECT MIN(ID) FROM RdRecord)");
  std::set<Text> codes = OtherCodes();
  for (const Case& c : kCases) {
    const std::string code = ToUtf8(c.code);
    CAPTURE(code);
    CAPTURE(c.report);
    codes.insert(c.code);
    CHECK(Finds(c.report, c.filters, c.code));
    CHECK(Finds(c.report, c.other, c.code) == AppliesAlways(c));
    CHECK(IsTrue(data, c));
  }
  for (const auto& [reports, note] : EveryNote()) {
    CHECK_MESSAGE(codes.erase(Text(note->code)) == 1, ToUtf8(note->code));
  }
  CHECK(codes.empty());
}

// What reads alike in every language: words with a digit, an underscore or a capital inside.
std::set<std::string> NamesAndNumbers(TextView text) {
  const std::string utf8 = ToUtf8(text);
  const std::regex word("[A-Za-z0-9_]+");
  const std::regex name(".*[0-9_].*|.+[A-Z].*");
  std::set<std::string> names;
  for (std::sregex_iterator at(utf8.begin(), utf8.end(), word); at != std::sregex_iterator();
       ++at) {
    if (std::regex_match(at->str(), name)) names.insert(at->str());
  }
  return names;
}

TEST_CASE("the Chinese of every note names what the English names") {
  for (const auto& [reports, note] : EveryNote()) {
    const ChineseNote& chinese = ChineseOf(*note);
    for (const auto& [en, zh] :
         {std::pair(note->does, chinese.does), std::pair(note->remedy, chinese.remedy)}) {
      CAPTURE(ToUtf8(note->code));
      CHECK_MESSAGE(HasChinese(zh), ToUtf8(zh));
      std::set<std::string> missing = NamesAndNumbers(en);
      for (const std::string& name : NamesAndNumbers(zh)) missing.erase(name);
      CHECK_MESSAGE(missing.empty(), (missing.empty() ? "" : *missing.begin()));
    }
  }
}

TEST_CASE("the document of the codes is golden") {
  const std::filesystem::path path = std::filesystem::path(LEDGERWICK_SOURCE) / "docs/checks.md";
  std::string table = "| Code | Level | Reports | Filter | What happens | What to do |\n";
  table += "| --- | --- | --- | --- | --- | --- |\n";
  const auto cell = [](TextView text) {
    std::string escaped;
    for (const char c : ToUtf8(text)) (c == '*' || c == '_' ? escaped += '\\' : escaped) += c;
    return "| " + escaped + ' ';
  };
  for (const auto& [reports, note] : EveryNote()) {
    table += cell(note->code) + cell(SeverityName(note->severity)) + cell(reports) +
             cell(note->filter) + cell(note->does) + cell(note->remedy) + "|\n";
  }
  const std::string document = testing::ReadFile(path);
  const std::string wanted = document.substr(0, document.find("| Code |")) + table;
  if (std::getenv("LEDGERWICK_UPDATE_GOLDENS") != nullptr) testing::WriteFile(path, wanted);
  CHECK_MESSAGE(document == wanted, testing::FirstDifference(wanted, document));
}

TEST_CASE("inputs that a report needs") {
  Request shelf_life = RequestFor("clsRepBzqyj", Items("clsRepBzqyj", {}));
  CHECK_FALSE(Finds(CheckRequest(shelf_life), u"LW008"));
  shelf_life.login->CurDate = Value(u"2002-02-31");
  CHECK(Finds(CheckRequest(shelf_life), u"LW006"));
  shelf_life.login.reset();
  CHECK(Finds(CheckRequest(shelf_life), u"LW008"));
  CHECK(TraceReport(shelf_life).result.index() == 1);  // an error
  for (const ReportInfo& report : ReportInfos()) {
    const std::string name = ToUtf8(report.class_name);
    CAPTURE(name);
    const Request request = RequestFor(name.c_str(), std::nullopt);
    const auto result = TraceReport(request).result;
    const bool* done = std::get_if<bool>(&result);
    const bool is_implemented = name != "newClsReportDaoSaleProfit";
    CHECK(Finds(CheckRequest(request), u"LW009") == ((!done || !*done) && is_implemented));
  }
  CHECK(Finds(CheckRequest(RequestFor("clsRepLsz", std::nullopt)), u"LW405"));
  CHECK_FALSE(Finds("clsRepLsz", {}, u"LW405"));
}

TEST_CASE("an unknown name is answered with the nearest one") {
  const auto findings =
      CheckRequest(RequestFor("clsRepHwhz", Items("clsRepHwhz", {u"Warehouse.cWhCod=01"})));
  REQUIRE(Finds(findings, u"LW001"));
  CHECK(ToUtf8(findings[0].what) ==
        "clsRepHwhz has no filter 'Warehouse.cWhCod'; did you mean 'Warehouse.cWhCode'? It changes "
        "nothing.");
  CHECK(
      findings[0].what_zh ==
      u"clsRepHwhz 没有过滤条件“Warehouse.cWhCod”；是否应为“Warehouse.cWhCode”？该条件不起作用。");
}

TEST_CASE("conditions near their limits, and pairs of quotes on the way into the table") {
  struct Sized {
    const char* report;
    std::size_t length;  // of the whole condition
    const char16_t* fill;
    std::set<Text> codes;
  };
  const std::set<Text> about_size = {u"LW021", u"LW023", u"LW024", u"LW025", u"LW026", u"LW027"};
  const Sized cases[] = {
      {"newclsReportDaoOut", 150, u"x", {}},
      {"newclsReportDaoOut", 199, u"x", {u"LW024"}},
      {"newclsReportDaoOut", 200, u"x", {u"LW023"}},
      {"newclsReportDaoOut", 600, u"x", {u"LW023", u"LW024"}},
      {"newclsReportDaoOut", 601, u"x", {u"LW025"}},
      {"newclsReportDaoOut", 190, u"货", {u"LW023"}},  // in bytes it is longer
      {"newclsReportDataSaleTotal", 190, u"货", {u"LW024"}},
      {"newclsReportDaoOut", 300, u"＇", {u"LW023", u"LW027"}},
  };
  for (const Sized& c : cases) {
    CAPTURE(c.report);
    CAPTURE(c.length);
    FilterItem item = Items(c.report, {u"cCusCode=1"})[0];
    Text condition = u"cCusCode <> '";
    while (condition.size() + 1 < c.length) condition += c.fill;
    item.strSqlString = condition + u"'";
    std::set<Text> got;
    for (const Finding& finding : CheckRequest(RequestFor(c.report, {{item}}))) {
      if (about_size.contains(finding.code)) got.insert(finding.code);
    }
    CHECK(got == c.codes);
  }
  // The gap: long enough for the table, too short for the wording with doubled pairs.
  const Text pair = u"isnull(cCusCode,'')<> '' And cCusCode <> '" + Text(180, u'x') + u"'";
  for (const bool is_long : {false, true}) {
    FilterItem item = Items("newclsReportDaoOut", {u"cCusCode=1"})[0];
    item.strSqlString = is_long ? pair : pair.substr(0, 24);
    CHECK(Finds(CheckRequest(RequestFor("newclsReportDaoOut", {{item}})), u"LW026") == is_long);
    CHECK(Sample().Report("newclsReportDaoOut", {}).empty() == false);
    if (is_long) CHECK_THROWS_AS(Sample().Report("newclsReportDaoOut", {item}), DatabaseError);
  }
}

TEST_CASE("result tables that others share, and errors before the statement") {
  Request dispatch = RequestFor("newclsReportDaoOut", Items("newclsReportDaoOut", {}));
  CHECK_FALSE(Finds(CheckRequest(dispatch), u"LW012"));
  dispatch.machine = u"ACCOUNTS-01";
  CHECK(Finds(CheckRequest(dispatch), u"LW012"));
  CHECK(Finds("newclsReportDataSaleTotal", {}, u"LW011"));
  CHECK_FALSE(Finds("newclsReportDaoOut", {}, u"LW011"));
  const Request list = ParseRequest(
      R"({"class": "clsRepAQKCYJ", "filters": [{"Name": "def_queryType", "varValue": [1]}]})", "r");
  CHECK(Finds(CheckRequest(list), u"LW028"));
}

TEST_CASE("a database tells values and columns that it does not have") {
  const auto reader = tsql::Database::Open(Sample().path());
  struct OnDatabase {
    const char* report;
    Filters filters;
    std::vector<Text> codes;
  };
  const OnDatabase cases[] = {
      {"clsRepLsz", {u"R.cWhCode=01"}, {}},
      {"clsRepLsz", {u"R.cWhCode=01,77"}, {u"LW030"}},
      {"clsRepXCL", {u"I.cInvCode=zz1..zz2", u"WH.cWhCode=01"}, {u"LW030"}},
      {"clsRepLsz", {u"R.cRdCode=1"}, {}},
      {"clsRepLsz", {u"R.cRdCode=77"}, {u"LW030"}},
      {"clsRepAQKCYJ", {u"W.cWhKode=01", u"def_queryType="}, {u"LW032", u"LW031"}},
      {"clsRepAQKCYJ", {u"R.cWhCode=01", u"def_queryType="}, {u"LW031"}},
      {"newclsReportDaoOut", {u"cCusKode=C"}, {u"LW032"}},
      {"clsRepHwhz", {}, {}},
      {"clsRepSFC", {u"dDate=2002-01-01"}, {}},
      {"clsRepBzqyj", {}, {}},
      {"clsRepPcch", {}, {}},
  };
  for (const OnDatabase& c : cases) {
    CAPTURE(c.report);
    std::vector<Text> got;
    std::string told;
    for (const Finding& finding :
         CheckOnDatabase(RequestFor(c.report, Items(c.report, c.filters)), *reader)) {
      got.push_back(finding.code);
      CHECK(HasChinese(finding.what_zh));
      told += ToUtf8(finding.what) + '\n';
    }
    CHECK_MESSAGE(got == c.codes, told);
  }
}

}  // namespace ledgerwick
