// The recorder, the canned recordsets and the runner, with a report made for the purpose.
#include "host/recorder.h"

#include <doctest/doctest.h>

#include <functional>
#include <nlohmann/json.hpp>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "frame/report_provider.h"
#include "host/canned_recordset.h"
#include "host/runner.h"
#include "host/trace.h"
#include "host/watched_connection.h"

namespace ledgerwick {
namespace {

// A report that does what a test says.
class ScriptedReport final : public ReportProvider {
 public:
  static inline std::function<bool(ScriptedReport&)> script;

  using ReportProvider::ReportProvider;
  using ReportProvider::system;
  Text TempTablename() override { return u"tempdb..t"; }
  bool MoveDataDetail() override { return script(*this); }
  Text strSubTitle() override { return u"日期：" + system().ComputerName(); }

  static std::unique_ptr<ReportProvider> New(System& system) {
    return std::make_unique<ScriptedReport>(system);
  }
};

constexpr Member kWithSubTitle[] = {Member::strSubTitle};
constexpr ClassInfo kScripted = {u"clsScripted",      u"", u"", u"t", false, kWithSubTitle,
                                 &ScriptedReport::New};
constexpr ClassInfo kMissing = {u"clsMissing", u"", u"", u"t", false, {}, nullptr};

Request ScriptedRequest() {
  Request request;
  request.report = &kScripted;
  request.machine = u"PC-01";
  request.connectionString = u"cs";
  return request;
}

std::int32_t NumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const DatabaseError& error) {
    return error.number;
  }
  return 0;
}

}  // namespace

TEST_CASE("the trace shows every operation in its fixed form") {
  ScriptedReport::script = [](ScriptedReport& report) {
    report.mconn->Open(u"host", u"", u"", kOptionUnspecified);
    const auto own = report.system().NewConnection();
    own->Open(u"own", u"", u"", kOptionUnspecified);
    OpenNew(report, report.system());
    const auto command = own->NewCommand();
    command->SetCommandText(u"delete t");
    command->SetCommandType(kCommandText);
    command->Execute(kOptionUnspecified);
    command->SetCommandText(u"Sa_Proc");
    command->SetCommandType(kCommandStoredProcedure);
    command->SetCommandTimeout(0);
    command->AppendParameter(u"chrtable", kVarChar, 3, u"表\"");
    command->Execute(kOptionUnspecified);
    own->OpenRecordset(u"select 1", {});
    report.system().Beep();
    report.system().MessageBox(u"超过\n上限", u"", kInformation);
    report.mconn->Close();
    return false;
  };
  const auto trace = nlohmann::ordered_json::parse(ToJson(TraceReport(ScriptedRequest())));
  std::vector<std::string> shown;
  for (const auto& [key, value] : trace.items()) {
    if (key == "ops") {
      for (const auto& operation : value) shown.push_back(operation.dump());
    } else {
      shown.push_back(key + ": " + value.dump());
    }
  }
  CHECK(
      shown ==
      std::vector<std::string>{
          R"(TempTablename: "tempdb..t")",
          R"(result: false)",
          R"(strSubTitle: "日期：PC-01")",
          R"({"op":"open","connection":"host","connectionString":"host"})",
          R"({"op":"open","connection":"own","connectionString":"own"})",
          R"({"op":"open","connection":"new","connectionString":"cs"})",
          R"({"op":"execute","sql":"delete t","ignoreErrors":false})",
          R"({"op":"command","procedure":"Sa_Proc","parameters":[{"name":"chrtable","type":200,"size":3,"value":"表\""}]})",
          R"({"op":"recordset","sql":"select 1"})",
          R"({"op":"beep"})",
          R"({"op":"message","text":"超过\n上限","title":"","style":64})",
          R"({"op":"close"})",
          R"(filtersAfter: [])",
      });
}

TEST_CASE("the trace tells what departs from the arguments that every report gives") {
  ScriptedReport::script = [](ScriptedReport& report) {
    report.mconn->Open(u"cs", u"sa", u"secret", 16);
    report.mconn->Execute(u"s1", 17);
    report.mconn->ExecuteIgnoringErrors(u"s2", 18);
    const auto command = report.mconn->NewCommand();
    command->SetCommandText(u"p");
    command->SetCommandType(kCommandStoredProcedure);
    command->Execute(19);
    return true;
  };
  const std::string json = ToJson(TraceReport(ScriptedRequest()));
  for (const char* told : {R"("user": "sa")", R"("password": "***")", R"("options": 16)",
                           R"("options": 17)", R"("options": 18)", R"("options": 19)"}) {
    CHECK_MESSAGE(json.find(told) != std::string::npos, told);
  }
}

TEST_CASE("the planned failure counts open, execute, recordset, command and close") {
  ScriptedReport::script = [](ScriptedReport& report) {
    OpenNew(report, report.system());
    report.system().Beep();  // cannot fail, does not count
    report.mconn->ExecuteIgnoringErrors(u"drop", kOptionUnspecified);
    report.mconn->Execute(u"make", kOptionUnspecified);
    report.mconn->OpenRecordset(u"read", {});
    report.mconn->NewCommand()->Execute(kOptionUnspecified);
    report.mconn->Close();
    return true;
  };
  const std::size_t operations[] = {1, 7, 4, 5, 6, 7, 7};
  for (std::int64_t index = 0; index < 7; ++index) {
    CAPTURE(index);
    Request request = ScriptedRequest();
    request.fail_at = PlannedFailure{index, -5, u"因为"};
    const Trace trace = TraceReport(request);
    CHECK(trace.operations.size() == operations[index]);
    const bool passes = index == 1 || index == 6;  // the ignored drop, and beyond the end
    const auto* error = std::get_if<DatabaseError>(&trace.result);
    REQUIRE((error == nullptr) == passes);
    if (error) CHECK(error->number == -5);
    if (error) CHECK(error->description == u"因为");
  }
}

TEST_CASE("the first canned recordset whose part stands in the statement answers it") {
  ScriptedReport::script = [](ScriptedReport& report) {
    const auto rows = [&](const char16_t* sql) {
      const auto recordset = report.mconn->OpenRecordset(sql, {});
      return recordset->AtEnd() ? Text(u"none") : recordset->Field(u"V").ToText();
    };
    CHECK(rows(u"SELECT a FROM Two") == u"2");
    CHECK(rows(u"select x from ONE") == u"1");
    CHECK(rows(u"select") == u"none");
    return true;
  };
  Request request = ScriptedRequest();
  request.recordsets = {{u"from one", {{{u"v", 1}}}}, {u"from", {{{u"v", 2}}}}};
  CHECK(std::get<bool>(TraceReport(request).result));
}

TEST_CASE("a canned recordset has the columns of all its rows, and any where there are none") {
  MemoryRecordset rows({{{u"code", u"01"}, {u"n", 1}}, {{u"code", u"a"}, {u"CODE", u"b"}}});
  rows.MoveNext();
  CHECK(rows.Field(u"n").IsNull());
  CHECK(rows.Field(u"CODE") == Value(u"a"));
  MemoryRecordset none({});
  none.SetFilter(u"nosuch = 1");
  CHECK(NumberOf([&] { none.Field(u"nosuch"); }) == 3021);
}

TEST_CASE("a class that this version lacks is an error of its own") {
  Request request = ScriptedRequest();
  request.report = &kMissing;
  CHECK_THROWS_AS(TraceReport(request), ReportMissing);
}

namespace {

// A database that notes what is asked of it.
class FakeDatabase final : public ReportDatabase, public BatchRunner {
 public:
  struct FakeHold : TableHold {
    explicit FakeHold(std::vector<std::string>& events) : events_(events) {}
    ~FakeHold() override { events_.emplace_back("release"); }
    std::vector<std::string>& events_;
  };

  explicit FakeDatabase(Request& request) : recorder_(request) {}

  std::shared_ptr<Connection> NewConnection() override { return recorder_.NewConnection(); }
  std::unique_ptr<TableHold> Hold(TextView table) override {
    events.push_back("hold " + ToUtf8(table));
    return std::make_unique<FakeHold>(events);
  }
  BatchRunner& Reader() override { return *this; }
  void Run(TextView batch, ResultSink&) override { events.push_back("read " + ToUtf8(batch)); }

  std::vector<std::string> events;

 private:
  Recorder recorder_;
};

struct EventListener final : RunListener {
  explicit EventListener(std::vector<std::string>& e) : events(e) {}
  void Statement(const Text& sql) override { events.push_back("sql " + ToUtf8(sql)); }
  void Failed(const DatabaseError& error) override { events.push_back(ToUtf8(error.description)); }
  void Filled(const Text&, const std::optional<Text>& sub_title) override {
    events.push_back("filled " + ToUtf8(sub_title.value_or(u"-")));
  }
  void MessageBox(const Text& text, const Text&) override { events.push_back(ToUtf8(text)); }
  void Beep() override { events.emplace_back("beep"); }
  std::vector<std::string>& events;
};

}  // namespace

TEST_CASE("the runner holds the table from before the filling until it is read") {
  using Events = std::vector<std::string>;
  const auto run = [](bool built) {
    ScriptedReport::script = [built](ScriptedReport& report) {
      OpenNew(report, report.system());
      report.mconn->ExecuteIgnoringErrors(u"drop", kOptionUnspecified);
      const auto command = report.mconn->NewCommand();
      command->SetCommandText(u"Sa_Proc");
      command->SetCommandType(kCommandStoredProcedure);
      command->AppendParameter(u"@a", kVarChar, 1, u"O'N");
      command->AppendParameter(u"b", kVarChar, 1, u"");
      command->Execute(kOptionUnspecified);
      report.system().Beep();
      if (!built) CHECK_THROWS_AS(report.mconn->Close(), DatabaseError);
      return built;
    };
    Request request = ScriptedRequest();
    if (!built) request.fail_at = PlannedFailure{3, -5, u"kept"};
    FakeDatabase database(request);
    EventListener listener(database.events);
    NullSink sink;
    CHECK(RunReport(request, database, listener, sink) == built);
    return database.events;
  };
  const Events filling = {"hold tempdb..t", "sql drop", "sql EXEC Sa_Proc @a = 'O''N', @b = ''",
                          "beep"};
  Events wanted = filling;
  wanted.insert(wanted.end(), {"filled 日期：PC-01", "sql SELECT * FROM tempdb..t",
                               "read SELECT * FROM tempdb..t", "release"});
  CHECK(run(true) == wanted);
  wanted = filling;
  wanted.insert(wanted.end(), {"kept", "release"});
  CHECK(run(false) == wanted);
}

}  // namespace ledgerwick
