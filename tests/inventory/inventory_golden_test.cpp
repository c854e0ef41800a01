// What each inventory report does, operation by operation, against the files in golden/.
#include <doctest/doctest.h>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "host/trace.h"
#include "tests/golden.h"
#include "tests/support/case_traces.h"

namespace ledgerwick {
namespace {

const std::filesystem::path kGolden = std::filesystem::path(LEDGERWICK_TESTS) / "inventory/golden";

}  // namespace

TEST_CASE("inventory reports do what their golden traces say") {
  CHECK(testing::CompareGoldens(kGolden, ".cases.json", ".cases.txt", testing::TracesOfCases) == 8);
}

TEST_CASE("an error at any step reaches the host and stops the report, but for the drops") {
  struct Case {
    TextView report;
    std::set<std::int64_t> ignored;  // the operations whose errors are passed over
    std::int64_t operations;
  };
  const Case cases[] = {
      {u"clsRepSFC", {1, 2, 3}, 10}, {u"clsRepHwhz", {1}, 3}, {u"clsRepLsz", {0, 1}, 3},
      {u"clsRepPcch", {1}, 4},       {u"clsRepXCL", {1}, 3},  {u"clsRepBzqyj", {1}, 4},
      {u"clsRepAQKCYJ", {1}, 4},
  };
  for (const Case& c : cases) {
    for (std::int64_t step = 0; step < c.operations; ++step) {
      CAPTURE(ToUtf8(c.report));
      CAPTURE(step);
      Request request;
      request.report = FindClass(c.report);
      request.login = LoginMembers{Value(u"2002-03-31"), {}};
      request.fail_at = PlannedFailure{step, kErrorSyntaxOrAccess, u"服务器拒绝"};
      const Trace trace = TraceReport(request);
      const bool ignored = c.ignored.contains(step);
      CHECK(std::holds_alternative<bool>(trace.result) == ignored);
      const std::int64_t done = ignored ? c.operations : step + 1;
      CHECK(static_cast<std::int64_t>(trace.operations.size()) == done);
      if (ignored) continue;
      CHECK(std::get<DatabaseError>(trace.result).description == u"服务器拒绝");
    }
  }
}

TEST_CASE("the receive/issue summary leaves the host's connection alone, the others replace it") {
  for (const TextView name :
       {u"clsRepSFC", u"clsRepHwhz", u"clsRepLsz", u"clsRepPcch", u"clsRepXCL", u"clsRepBzqyj"}) {
    CAPTURE(ToUtf8(name));
    Request request;
    request.report = FindClass(name);
    request.login = LoginMembers{Value(u"2002-03-31"), {}};
    Recorder recorder(request);
    const auto report = request.report->factory(recorder);
    Furnish(*report, request);
    report->mconn = recorder.HostConnection();
    CHECK(report->MoveDataDetail());
    CHECK((report->mconn == recorder.HostConnection()) == (name == u"clsRepSFC"));
  }
}

TEST_CASE("the safety-stock warning without a report manager fails with error 91 after the drop") {
  Request request;
  request.report = FindClass(u"clsRepAQKCYJ");
  Recorder recorder(request);
  const auto report = request.report->factory(recorder);
  std::int32_t number = 0;
  try {
    report->MoveDataDetail();
  } catch (const DatabaseError& error) {
    number = error.number;
  }
  CHECK(number == 91);
  REQUIRE(recorder.operations().size() == 2);
  CHECK(std::holds_alternative<ExecuteOperation>(recorder.operations()[1]));
}

TEST_CASE("a second run of the same object does the same again") {
  for (const TextView name : {u"clsInventroy", u"clsRepAQKCYJ", u"clsRepXCL"}) {
    Request request;
    request.report = FindClass(name);
    Recorder recorder(request);
    const auto report = request.report->factory(recorder);
    Furnish(*report, request);
    CHECK(report->MoveDataDetail());
    const std::size_t once = recorder.operations().size();
    CHECK(report->MoveDataDetail());
    REQUIRE(recorder.operations().size() == 2 * once);
    const auto sql = [&](std::size_t i) {
      return ToUtf8(std::get<ExecuteOperation>(recorder.operations()[i]).sql);
    };
    for (const std::size_t i : {1U, 2U}) CHECK(sql(i) == sql(once + i));
  }
}

TEST_CASE("the inventory snapshot has an empty subtitle, the safety-stock warning none") {
  Request request;
  request.report = FindClass(u"clsInventroy");
  Recorder recorder(request);
  CHECK(request.report->factory(recorder)->Call(Member::GetSubTitle, {}) == Value(Text()));
  const auto warning = FindClass(u"clsRepAQKCYJ")->factory(recorder);
  CHECK_THROWS_AS(warning->Call(Member::GetSubTitle, {}), DatabaseError);
  CHECK_THROWS_AS(warning->strSubTitle(), DatabaseError);
}

}  // namespace ledgerwick
