// Every report on a server, beside the same report on the embedded database: what comes through
// ODBC and the wire is the same, errors included.
#include <doctest/doctest.h>

#include <fstream>
#include <set>

#include "cli/connections.h"
#include "frame/null_sink.h"
#include "host/runner.h"
#include "tests/drivers/served_database.h"
#include "tests/support/test_database.h"

namespace ledgerwick::testing {
namespace {

std::vector<Request> AllRequests() {
  std::vector<Request> requests;
  std::ifstream lines(std::string(LEDGERWICK_TESTS) + "/com/requests.jsonl");
  for (std::string line; std::getline(lines, line);) {
    requests.push_back(ParseRequest(line, "requests.jsonl"));
    requests.back().machine = u"PC";
  }
  Request profit;
  profit.report = FindClass(u"newClsReportDaoSaleProfit");
  profit.machine = u"PC";
  requests.push_back(profit);
  return requests;
}

// What a run gives, a line for each cell.
class Cells final : public NullSink {
 public:
  explicit Cells(std::string& text) : text_(text) {}
  void Columns(std::span<const ResultColumn> columns) override {
    for (const ResultColumn& c : columns) {
      text_ += ToUtf8(c.name) + " " + std::to_string(static_cast<int>(c.kind)) + "\n";
    }
  }
  void Row(std::span<const Value> values) override {
    for (const Value& value : values) {
      text_ += value.IsNull() ? "NULL\n" : ToUtf8(value.ToText()) + "|\n";
    }
    ++rows;
  }

  int rows = 0;

 private:
  std::string& text_;
};

// Notes what is told, and has the database fail in place of the statement of the number `fail_at`.
class Listener final : public RunListener {
 public:
  Listener(std::string& text, ReportDatabase& database, int fail_at)
      : text_(text), database_(database), fail_at_(fail_at) {}
  void Statement(const Text&) override {
    NullSink sink;
    if (statements++ == fail_at_) database_.Reader().Run(u"SELECT 1 / 0 AS x", sink);
  }
  void Failed(const DatabaseError& error) override { Tell("failed", error); }
  void Filled(const Text& title, const std::optional<Text>& sub_title) override {
    text_ += ToUtf8(title + u"\n" + sub_title.value_or(u"-") + u"\n");
  }
  void MessageBox(const Text& text, const Text& title) override {
    text_ += "box " + ToUtf8(title + u": " + text) + "\n";
  }
  void Beep() override { text_ += "beep\n"; }

  void Tell(const char* what, const DatabaseError& error) {
    text_ += std::string(what) + " " + std::to_string(error.number) + " " +
             std::to_string(error.native) + " " + ToUtf8(error.description) + "\n";
  }

  int statements = 0;

 private:
  std::string& text_;
  ReportDatabase& database_;
  int fail_at_;
};

// How a run went.
struct Run {
  std::string story;  // all that the user and the host get to see
  int rows = 0;
  int statements = 0;
};

Run RunOn(ReportDatabase& database, const Text& connection, Request request, int fail_at) {
  Run run;
  request.connectionString = connection;
  Listener listener(run.story, database, fail_at);
  Cells cells(run.story);
  try {
    const bool done = ledgerwick::RunReport(request, database, listener, cells);
    run.story += done ? "done\n" : "gave up\n";
  } catch (const DatabaseError& error) {
    listener.Tell("error", error);
  }
  run.rows = cells.rows;
  run.statements = listener.statements;
  return run;
}

TEST_CASE(
    "each report gives through a server, cell by cell, what it gives embedded, and fails so") {
  const TestDatabase plain(300, 1);
  const TestDatabase for_server(300, 1);
  const ServedDatabase served(for_server.path());
  const Text path = u"embedded:" + FromUtf8(plain.path().string());
  const auto embedded = OpenReportDatabase(path, {});
  const auto server = OpenReportDatabase(served.ConnectionString(), {});
  std::set<Text> classes;
  int all_rows = 0;
  for (const Request& request : AllRequests()) {
    CAPTURE(ToUtf8(request.report->name));
    classes.emplace(request.report->name);
    int statements = 1;
    for (int fail_at = -1; fail_at < statements; ++fail_at) {
      CAPTURE(fail_at);
      const Run here = RunOn(*embedded, path, request, fail_at);
      const Run there = RunOn(*server, served.ConnectionString(), request, fail_at);
      CHECK(there.story == here.story);
      CHECK(there.statements == here.statements);
      if (fail_at >= 0) continue;
      statements = here.statements;
      all_rows += here.rows;
    }
  }
  CHECK(classes.size() == ClassNames().size());
  CHECK(all_rows > 300);
}

}  // namespace
}  // namespace ledgerwick::testing
