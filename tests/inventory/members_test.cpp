// The members that the current stock and the receive/issue summary have beyond the contract.
#include <doctest/doctest.h>

#include <memory>
#include <vector>

#include "frame/error.h"
#include "frame/report_provider.h"
#include "host/recorder.h"
#include "inventory/summary_filters.h"

namespace ledgerwick {
namespace {

Value CallOf(TextView class_name, Member member, const std::vector<Argument>& arguments,
             std::vector<CannedRecordset> recordsets = {}) {
  Request request;
  request.report = FindClass(class_name);
  request.recordsets = std::move(recordsets);
  Recorder recorder(request);
  std::vector<Argument> given = arguments;
  for (Argument& argument : given) {
    // An empty value stands for the host's connection.
    const Value* value = std::get_if<Value>(&argument);
    if (value && value->IsEmpty()) argument = recorder.HostConnection();
  }
  return request.report->factory(recorder)->Call(member, given);
}

Value Text16(const char16_t* text) { return Value(text); }

std::int32_t ErrorOf(TextView class_name, Member member, const std::vector<Argument>& arguments) {
  try {
    CallOf(class_name, member, arguments);
  } catch (const DatabaseError& error) {
    return error.number;
  }
  return 0;
}

}  // namespace

TEST_CASE("members on texts") {
  struct Case {
    TextView report;
    Member member;
    std::vector<const char16_t*> arguments;
    Value result;
  };
  const Case cases[] = {
      {u"clsRepSFC", Member::IsBlank, {u""}, true},
      {u"clsRepSFC", Member::IsBlank, {u" "}, false},
      {u"clsRepSFC", Member::SumString, {u"129"}, std::int32_t{12}},
      {u"clsRepSFC", Member::SumString, {u"1a2 -.９"}, std::int32_t{3}},
      {u"clsRepSFC", Member::SumString, {u""}, std::int32_t{0}},
      {u"clsRepXCL", Member::GetClassLength, {u"223"}, std::int32_t{7}},
      {u"clsRepXCL", Member::GetClassLength, {u"2"}, std::int32_t{2}},
      {u"clsRepXCL", Member::GetClassLength, {u""}, std::int32_t{0}},
      {u"clsRepXCL", Member::GetDigConditionString, {u"q", u"", u""}, u""},
      {u"clsRepXCL", Member::GetDigConditionString, {u"q", u"5", u""}, u"q>=5"},
      {u"clsRepXCL", Member::GetDigConditionString, {u"q", u"", u"5"}, u"q<=5"},
      {u"clsRepXCL", Member::GetDigConditionString, {u"q", u"5", u"5"}, u"q=5"},
      {u"clsRepXCL", Member::GetDigConditionString, {u"q", u"a", u"A"}, u"q=a"},
      {u"clsRepXCL", Member::GetDigConditionString, {u"q", u"5", u"6"}, u"q>=5 AND q<=6"},
      {u"clsRepXCL", Member::GetDigConditionString, {u"q", u"9", u"10"}, u"q>=10 AND q<=9"},
      {u"clsRepXCL", Member::ExistsFuzzyChar, {u"A?"}, true},
      {u"clsRepXCL", Member::ExistsFuzzyChar, {u"*A"}, true},
      {u"clsRepXCL", Member::ExistsFuzzyChar, {u"A_%"}, false},
      {u"clsRepXCL", Member::RepForFuzzy, {u"A?B*"}, u"A_B%"},
      {u"clsRepXCL", Member::RepForFuzzy, {u"_%[?]"}, u"_%[_]"},
      {u"clsRepXCL", Member::RepForFuzzy, {u""}, u""},
      {u"clsRepXCL", Member::RepCharWithChar, {u"aXAb", u"a", u"--"}, u"--X--b"},
      {u"clsRepXCL", Member::RepCharWithChar, {u"abab", u"ab", u"x"}, u"abab"},
      {u"clsRepXCL", Member::RepCharWithChar, {u"aa", u"a", u""}, u""},
  };
  for (const Case& c : cases) {
    std::vector<Argument> arguments;
    for (const char16_t* text : c.arguments) arguments.emplace_back(Text16(text));
    const Value result = CallOf(c.report, c.member, arguments);
    CAPTURE(ToUtf8(Describe(c.member).name));
    CAPTURE(ToUtf8(result.ToText()));
    CHECK(result == c.result);
  }
}

TEST_CASE("members that ask the database for a parameter") {
  const auto rows = [](std::vector<CannedRow> found) {
    return std::vector<CannedRecordset>{{u"AccInformation", std::move(found)}};
  };
  const CannedRow value = {{u"cValue", u"223"}, {u"cDefault", u"9"}};
  const CannedRow fallback = {{u"cValue", Null{}}, {u"cDefault", u"9"}};
  const CannedRow neither = {{u"cValue", Null{}}, {u"cDefault", Null{}}};
  struct Case {
    std::vector<CannedRow> found;
    const char16_t* result;
  };
  const Case cases[] = {
      {{value}, u"223"}, {{fallback}, u"9"}, {{neither}, u""}, {{value, value}, u""}, {{}, u""}};
  for (const Case& c : cases) {
    CHECK(CallOf(u"clsRepXCL", Member::GetGoodClass, {Value()}, rows(c.found)) == Value(c.result));
    CHECK(CallOf(u"clsRepXCL", Member::GetInformation, {Value(u"AA"), Value(u"cPosLevel"), Value()},
                 rows(c.found)) == Value(c.result));
  }
  // A parameter without the columns, and no connection at all: the error stays inside.
  CHECK(CallOf(u"clsRepXCL", Member::GetGoodClass, {Value()}, rows({{{u"x", u"1"}}})) ==
        Value(u""));
  CHECK(CallOf(u"clsRepXCL", Member::GetGoodClass, {std::shared_ptr<Connection>()}) == Value(u""));
}

TEST_CASE("members that a class lacks, and wrong arguments") {
  CHECK(ErrorOf(u"clsRepXCL", Member::IsBlank, {Value(u"")}) == 438);
  CHECK(ErrorOf(u"clsRepSFC", Member::RepForFuzzy, {Value(u"")}) == 438);
  CHECK(ErrorOf(u"clsRepHwhz", Member::SumString, {Value(u"")}) == 438);
  CHECK(ErrorOf(u"clsRepSFC", Member::SumString, {}) == 450);
  CHECK(ErrorOf(u"clsRepXCL", Member::GetGoodClass, {Value(u"x")}) == 13);
}

TEST_CASE("the date range between texts") {
  struct Case {
    const char16_t* from;
    const char16_t* to;
    const char16_t* condition;
    const char16_t* start;
  };
  const Case cases[] = {
      {u"", u"", u" dDATE >='2001-11-01' ", u"2001-11-01"},
      {u"", u"2002/3/1", u" dDATE  <= '2002-03-01' AND  dDATE >='2001-11-01' ", u"2001-11-01"},
      {u"2002-3-1", u"", u" dDATE  >= '2002-03-01' ", u"2002-03-01"},
      {u"2002-3-1", u"2002-2-1", u" dDATE  >= '2002-03-01' AND  dDATE  <= '2002-02-01'",
       u"2002-03-01"},
  };
  for (const Case& c : cases) {
    const Period period = BuildDateRangeText(c.from, c.to);
    CHECK(ToUtf8(period.condition) == ToUtf8(c.condition));
    CHECK(ToUtf8(period.start) == ToUtf8(c.start));
  }
}

}  // namespace ledgerwick
