// What each inventory report does, operation by operation, against the files in golden/.
#include <doctest/doctest.h>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "host/trace.h"
#include "tests/golden.h"

namespace ledgerwick {
namespace {

const std::filesystem::path kGolden = std::filesystem::path(LEDGERWICK_TESTS) / "inventory/golden";

std::string TraceOf(const std::string& request, const std::string& name) {
  return ToJson(TraceReport(ParseRequest(request, name)));
}

}  // namespace

TEST_CASE("inventory reports do what their golden traces say") {
  CHECK(testing::CompareGoldens(kGolden, ".request.json", ".trace.json", TraceOf) == 24);
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
  for (const TextView name : {u"clsInventroy", u"clsRepAQKCYJ"}) {
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
