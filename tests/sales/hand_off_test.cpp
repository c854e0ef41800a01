// What the sales reports do alike and where they part, class by class: the size of a condition, the
// call, the connection, and what becomes of an error.
#include <doctest/doctest.h>

#include <functional>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "host/trace.h"

namespace ledgerwick {
namespace {

// How a class reacts to an error.
enum class Reaction { Raised, RaisedAgain, Silent, Conflict, NumberedConflict };
using enum Reaction;

struct Contract {
  TextView name;
  TextView table;
  TextView procedure;
  TextView place;  // the class as its messages spell it
  bool counts_bytes;
  bool opens_hosts;
  Reaction reaction;
  TextView sub_title;  // from 2002-3-1 until noon of 2002-03-31
};
constexpr TextView kDates = u"日期从：2002-03-01 到 2002-03-31";
constexpr TextView kAsTyped = u"开始日期：2002-3-1  结束日期：2002-03-31 12:00:00";
constexpr Contract kContracts[] = {
    {u"newclsReportDataSaleTotal", u"Sa_TempSaleDetail", u"Sa_MoveSaleDetail",
     u"newclsReportDataSaleTotal", false, false, Raised, kDates},
    {u"newclsReportDataSaleDetail", u"Sa_TempSaleDetailCost_PC01A", u"Sa_MoveSaleDetailCost",
     u"newclsReportDataSaleDetail", true, false, RaisedAgain, kDates},
    {u"newClsReportDaoSaleInCome", u"Sa_TpSaleInCome_PC01A", u"Sa_MoveSaleInCome",
     u"newclsReportDaoSaleIncome", true, true, Silent, kDates},
    {u"newClsReportDaoSaleCost", u"Sa_TempSaleCostDetail_PC01A", u"Sa_MoveSaleCostDetail",
     u"newClsReportDaoSaleCost", true, true, Conflict, kDates},
    {u"newClsReportDaoConsignment", u"Sa_TpConsignment_PC01A", u"Sa_MoveConsignment",
     u"newClsReportDaoConsignment", true, false, Raised, u" 发货日期从：2002-03-01 到 2002-03-31"},
    {u"newclsReportDaoOut", u"Sa_TmpOutDetail_PC01A", u"Sa_MoveSaleOut", u"newclsReportDaoOut",
     true, false, Raised, kAsTyped},
    {u"newClsReportDaoOutIncome", u"Sa_TpSaleOutIncome_PC01A", u"Sa_MoveOutIncome",
     u"newClsReportDaoOutIncome", true, false, NumberedConflict,
     u"发货日期从：2002-03-01 到 2002-03-31"},
    {u"newclsReportDAOSRM", u"Sa_TmpSRMDetail_PC01A", u"Sa_MoveSRMDetail", u"newclsReportDaoSRM",
     true, false, Raised, kAsTyped},
    {u"newclsReportDaotrust", u"Sa_TmpTrustDetail_PC01A", u"Sa_MoveTrustDetail",
     u"newclsReportDaotrust", true, false, NumberedConflict, kAsTyped},
};

// A use of the class whose general condition is `condition`.
Request RequestFor(const Contract& c, const Text& condition) {
  Request request;
  request.report = FindClass(c.name);
  request.machine = u"PC-01 A";
  request.connectionString = u"cs";
  request.login = LoginMembers{{}, Value(u"001")};
  request.filters = {{FilterItem{u"x", u"x", u"1", {}, condition}}};
  return request;
}

Text PlaceLine(const Contract& c) {
  return u"\r\n错误位于模块：" + Text(c.place) + u".MoveSaleDetail()";
}

struct OperationText {
  Text operator()(const OpenOperation& o) const {
    return (o.origin == ConnectionOrigin::Host ? u"open host's " : u"open new ") +
           o.connection_string;
  }
  Text operator()(const ExecuteOperation& o) const { return o.sql; }
  Text operator()(const RecordsetOperation& o) const { return o.sql; }
  Text operator()(const CommandOperation& o) const { return u"call " + o.procedure; }
  Text operator()(const BeepOperation&) const { return u"beep"; }
  Text operator()(const MessageOperation& o) const {
    return u"box " + o.text + o.title + (o.style == 64 ? u"" : u"!");
  }
  Text operator()(const CloseOperation&) const { return u"close"; }
};

std::vector<Text> TextsOf(const std::vector<Operation>& operations) {
  std::vector<Text> texts;
  for (const Operation& o : operations) texts.push_back(std::visit(OperationText{}, o));
  return texts;
}

std::string Shown(const std::vector<Text>& texts) {
  std::string shown;
  for (const Text& text : texts) shown += ToUtf8(text) + "\n";
  return shown;
}

const CommandParameter& GeneralOf(const Trace& trace) {
  return std::get<CommandOperation>(trace.operations.at(trace.operations.size() - 2))
      .parameters.at(1);
}

constexpr const char16_t* kBatch =
    u"if exists( select * from tempdb..sysobjects where name='newReportParameter')  begin  Delete "
    u"from tempdb..newReportParameter  end    else begin  Create table tempdb..newReportParameter "
    u"(name varchar(1000) null ) end ";
Text InsertOf(const Text& escaped) {
  return u"Insert into  tempdb..newReportParameter (name) values('" + escaped + u"')";
}

// The operations of a run that hands `condition`, which needs no escaping, over through the table.
std::vector<Text> LongCourse(const Contract& c, const Text& condition) {
  return {c.opens_hosts ? u"open host's cs" : u"open new cs", kBatch, InsertOf(condition),
          u"call " + Text(c.procedure), u"close"};
}

}  // namespace

TEST_CASE("the size of a condition decides how it is handed over") {
  struct Size {
    std::size_t ascii;
    std::size_t chinese;
  };
  const Size sizes[] = {{199, 0}, {200, 0},   {600, 0},   {601, 0},   {0, 99},
                        {0, 100}, {0, 199},   {0, 200},   {0, 300},   {0, 301},
                        {0, 600}, {0, 601},   {1, 99},    {2, 99},    {100, 50},
                        {0, 0},   {400, 100}, {401, 100}, {399, 201}, {400, 201}};
  for (const Contract& c : kContracts) {
    for (const Size& size : sizes) {
      const Text condition = Text(size.ascii, u'a') + Text(size.chinese, u'中');
      const std::size_t measured = size.ascii + size.chinese * (c.counts_bytes ? 2 : 1);
      CAPTURE(ToUtf8(c.name));
      CAPTURE(size.ascii);
      CAPTURE(size.chinese);
      const Trace trace = TraceReport(RequestFor(c, condition));
      CHECK(std::get<Text>(trace.table_name) == u"tempdb.." + Text(c.table));
      std::vector<Text> wanted = LongCourse(c, condition);
      CHECK(std::get<bool>(trace.result) == (measured <= 600));
      if (measured < 200) wanted.erase(wanted.begin() + 1, wanted.begin() + 3);
      if (measured > 600) {
        wanted.resize(1);
        wanted.insert(wanted.end(),
                      {u"beep", u"box 查询条件超过上限，系统不能处理..." + PlaceLine(c)});
      }
      const std::vector<Text> got = TextsOf(trace.operations);
      CHECK_MESSAGE(got == wanted, Shown(got));
      if (measured > 600 || got != wanted) continue;
      const CommandParameter& general = GeneralOf(trace);
      CHECK(general.value ==
            (measured < 200 ? condition + u" " : Text(u"newReport_ParameterFromTempTable")));
      const std::size_t bytes = measured < 200 ? size.ascii + size.chinese * 2 + 1 : 32;
      CHECK(static_cast<std::size_t>(general.size) == bytes);
    }
  }
}

TEST_CASE("quotes are doubled on the way into the table, but for pairs far from the end") {
  const Text filling(200, u'a');
  const std::pair<Text, Text> cases[] = {
      {u"b='1' and " + filling, u"b=''1'' and " + filling},
      {u"b=''1'' and " + filling, u"b=''1'' and " + filling},
      {filling + u"b='1'", filling + u"b=''1''"},
      {filling + u"b=''1", filling + u"b=''''1"},
      {filling + u"b=''12", filling + u"b=''12"},
      {filling + u"b=''", filling + u"b=''''"},
  };
  for (const Contract& c : kContracts) {
    for (const auto& [condition, escaped] : cases) {
      CAPTURE(ToUtf8(c.name));
      const std::vector<Text> got = TextsOf(TraceReport(RequestFor(c, condition)).operations);
      REQUIRE(got.size() == 5);
      CHECK(ToUtf8(got[2]) == ToUtf8(InsertOf(escaped)));
    }
    const Trace brief = TraceReport(RequestFor(c, u"b='1' or c=''"));
    CHECK(GeneralOf(brief).value == u"b='1' or c='' ");
  }
}

namespace {

// Checks what is left of `trace` when an error ended the run after `before`.
void CheckReaction(const Contract& c, const Trace& trace, std::vector<Text> wanted,
                   const DatabaseError& error) {
  const bool raises = c.reaction == Raised || c.reaction == RaisedAgain;
  if (raises) {
    const auto* raised = std::get_if<DatabaseError>(&trace.result);
    REQUIRE(raised != nullptr);
    const bool again = c.reaction == RaisedAgain;
    CHECK(raised->number == (again ? 1000 : error.number));
    CHECK(raised->source == (again ? u"" : error.source));
    CHECK(raised->description == error.description + (again ? PlaceLine(c) : u""));
    CHECK(raised->help_file == (again ? u"64" : u""));
  } else {
    CHECK(std::get<bool>(trace.result) == false);
  }
  const std::string number = std::to_string(error.number);
  const Text conflict = u"网络冲突，稍侯请重新刷新...";
  if (c.reaction == Conflict) wanted.insert(wanted.end(), {u"beep", u"box " + conflict});
  if (c.reaction == NumberedConflict) {
    wanted.push_back(u"box " + Text(number.begin(), number.end()) + conflict);
  }
  const std::vector<Text> got = TextsOf(trace.operations);
  CHECK_MESSAGE(got == wanted, Shown(got));
}

// Performs the report of `request` on an object that `prepare` has changed.
Trace TraceOfChanged(const Request& request, const std::function<void(ReportProvider&)>& prepare) {
  Recorder recorder(request);
  const auto report = request.report->factory(recorder);
  Furnish(*report, request);
  report->mconn = recorder.HostConnection();
  prepare(*report);
  Trace trace;
  try {
    trace.result = recorder.Perform(*report);
  } catch (const DatabaseError& error) {
    trace.result = error;
  }
  trace.operations = recorder.operations();
  return trace;
}

}  // namespace

TEST_CASE("what the host leaves out is an error of the call like any other") {
  const Text condition(200, u'a');
  const DatabaseError not_set = ObjectNotSet();
  for (const Contract& c : kContracts) {
    CAPTURE(ToUtf8(c.name));
    const Request request = RequestFor(c, condition);
    // The manager is asked before a new connection opens, and after the host's.
    const std::vector<Text> opened = {u"open host's cs"};
    CheckReaction(c, TraceOfChanged(request, [](auto& r) { r.ObjReportManager.reset(); }),
                  c.opens_hosts ? opened : std::vector<Text>(), not_set);
    const Trace without = TraceOfChanged(request, [](auto& r) { r.mconn.reset(); });
    if (c.opens_hosts) {
      CheckReaction(c, without, {}, not_set);
    } else {
      CHECK(std::get<bool>(without.result));
    }
  }
  const Contract& income = kContracts[2];
  std::vector<Text> until_login = LongCourse(income, condition);
  until_login.resize(3);
  Request request = RequestFor(income, condition);
  request.login = LoginMembers{};
  CheckReaction(income, TraceReport(request), until_login, MemberNotFound());
  request.login.reset();
  CheckReaction(income, TraceReport(request), until_login, not_set);
}

TEST_CASE("without a filter set nothing is done, but for the host's connection and the income") {
  for (const Contract& c : kContracts) {
    CAPTURE(ToUtf8(c.name));
    Request request = RequestFor(c, {});
    request.filters.reset();
    const Trace trace = TraceReport(request);
    const bool goes_on = c.reaction == Silent;
    CHECK(std::get<bool>(trace.result) == goes_on);
    CHECK(trace.operations.size() == (goes_on ? 3U : c.opens_hosts ? 1U : 0U));
    CHECK(std::get<Text>(*trace.sub_title) == Text());
    if (goes_on) CHECK(GeneralOf(trace).value == u" ");
  }
}

TEST_CASE("a second run starts afresh, also after a refusal, and subtitles need no run") {
  for (const Contract& c : kContracts) {
    CAPTURE(ToUtf8(c.name));
    Request request = RequestFor(c, Text(601, u'a'));
    const Value noon(Date{37346.5});
    for (const TextView caption : {u"日期", u"发货日期"}) {
      request.filters->push_back({u"dDate", Text(caption), u"2002-3-1", noon, u"d=1"});
    }
    Recorder recorder(request);
    const auto report = request.report->factory(recorder);
    CHECK(report->ReportTitle.empty());
    CHECK(report->mconn == nullptr);
    const auto set = Furnish(*report, request);
    report->mconn = recorder.HostConnection();
    CHECK(ToUtf8(report->strSubTitle()) == ToUtf8(c.sub_title));
    CHECK_FALSE(recorder.Perform(*report));
    CHECK(report->strSubTitle() == c.sub_title);
    const std::size_t refused = recorder.operations().size();
    set->Item(1)->set_strSqlString(Text(200, u'a'));
    CHECK(recorder.Perform(*report));
    CHECK(recorder.Perform(*report));
    std::vector<Text> first = TextsOf(recorder.operations());
    first.erase(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(refused));
    REQUIRE(first.size() == 10);
    const std::vector<Text> second(first.begin() + 5, first.end());
    first.resize(5);
    CHECK(first == second);
    CHECK(first[3] == u"call " + Text(c.procedure));
    CHECK(report->strSubTitle() == c.sub_title);
    CHECK((report->mconn == recorder.HostConnection()) == c.opens_hosts);
  }
}

TEST_CASE("the sales profit has a name and a subtitle, and says that it is not implemented") {
  Request request;
  request.report = FindClass(u"newClsReportDaoSaleProfit");
  request.machine = u"PC-01 A";
  request.filters = {{FilterItem{u"dDate", {}, u"2002/03/01 10:00", {}, u"d"}}};
  const Trace trace = TraceReport(request);
  CHECK(std::get<Text>(trace.table_name) == u"tempdb..Sa_TpSaleProfit_PC01A");
  CHECK(std::get<Text>(*trace.sub_title) == u"日期从：2002-03-01开始");
  CHECK(trace.operations.empty());
  const auto& error = std::get<DatabaseError>(trace.result);
  CHECK(error.number == kErrorNotImplemented);
  CHECK(error.description.find(u"newClsReportDaoSaleProfit) is not implemented") != Text::npos);
}

}  // namespace ledgerwick
