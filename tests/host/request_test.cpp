// Requests: what is wrong is told with its place.
#include "host/request.h"

#include <doctest/doctest.h>

#include "frame/error.h"
#include "host/json_document.h"
#include "host/reference_host.h"
#include "host/trace.h"

namespace ledgerwick {
namespace {

std::string ErrorOf(const std::string& json) {
  try {
    ParseRequest(json, "r.json");
    return "accepted";
  } catch (const FileError& error) {
    return error.what();
  }
}

Request WithFilters(const std::string& filters) {
  return ParseRequest(R"({"class": "clsRepAQKCYJ", "filters": )" + filters + '}', "r.json");
}

}  // namespace

TEST_CASE("a bad request is refused with line and column") {
  const std::string deep(100'000, '[');
  const std::pair<std::string, std::string> cases[] = {
      {"", "1:1: syntax error while parsing value - unexpected end of input"},
      {"[]", "1:1: the request must be an object"},
      {"{}", "1:1: \"class\" is missing"},
      {R"({"class": 5})", "1:11: \"class\" must be a string"},
      {R"({"class": "clsRepAQKCY"})",
       "1:11: unknown class \"clsRepAQKCY\"; did you mean \"clsRepAQKCYJ\"?"},
      {R"({"class": "纯属虚构"})", "1:11: unknown class \"纯属虚构\""},
      {"{\"class\": \"clsRepXCL\",\n  \"filter\": []}",
       "2:3: unknown key \"filter\"; did you mean \"filters\"?"},
      {"{\"class\": \"clsRepXCL\",\n \"ReportTitle\": \"a\",\n  \"filters\" : \n\t7}",
       "4:2: \"filters\" must be a list or null"},
      {"{\"class\": \"clsRepXCL\",\n \"ReportTitle\": \"表\", \"machine\": {}}",
       "2:33: \"machine\" must be a string"},
      {R"({"class": "clsRepXCL", "class": "clsRepXCL"})",
       "1:24: \"class\" stands twice in this object"},
      {R"({"class": "clsRepXCL", "filters": [{}]})", "1:36: \"Name\" is missing"},
      {R"({"class": "clsRepXCL", "filters": ["a"]})", "1:36: a filter must be an object"},
      {R"({"class": "clsRepXCL", "login": {"CurDate": [1]}})",
       "1:45: \"CurDate\" must be a string, a number, true, false or null"},
      {R"({"class": "Ledgerwick.clsRepXCL", "login": {"CurDate": "2002-02-31"}})",
       "1:56: \"CurDate\" is no date: the calendar has no 2002-02-31"},
      {R"({"class": "clsRepXCL", "filters": [{"Name": "a", "strSqlString": null}]})",
       "1:66: \"strSqlString\" must be a string"},
      {R"({"class": "clsRepXCL", "filters": [-1.5e3, 2]})", "1:36: a filter must be an object"},
      {R"({"class": "clsRepXCL", "login": {"curDate": 1}})",
       "1:34: unknown key \"curDate\"; did you mean \"CurDate\"?"},
      {R"({"class": "clsRepXCL", "fail_at": {"index": -1}})",
       "1:45: \"index\" must be a whole number from 0"},
      {R"({"class": "clsRepXCL", "fail_at": {"index": 0, "number": 3000000000}})",
       "1:58: \"number\" must be a whole number of 32 bits"},
      {R"({"class": "clsRepXCL", "fail_at": {}})", "1:35: \"index\" is missing"},
      {R"({"class": "clsRepXCL", "recordsets": [{"match": "x", "rows": [{"a": 1, "a": 2}]}]})",
       "1:72: \"a\" stands twice in this object"},
      {R"({"class": "clsRepXCL", "recordsets": null})", "1:38: \"recordsets\" must be a list"},
      {R"({"class" "clsRepXCL"})", "1:10: syntax error while parsing object separator"},
      {R"({"class": "clsRepXCL",})", "1:23: syntax error while parsing object key"},
      {"{\"class\": \"clsRepXCL\"} true", "1:24: syntax error while parsing value"},
      {"{\"class\": \"cls", "1:15: syntax error while parsing value - invalid string"},
      {R"({"class": "\ud800x"})", "1:18: syntax error while parsing value - invalid string"},
      {R"({"class": 1e999})", "number overflow"},
      {"{\"class\": \"\xE8\xA1\"}", "1:12: invalid UTF-8 at byte 11"},
      {"{\n\"报\": \"\xFF\"}", "2:7: invalid UTF-8 at byte 10"},
      {deep, "1:65: nested too deeply"},
  };
  for (const auto& [json, message] : cases) {
    CAPTURE(json.substr(0, 100));
    const std::string error = ErrorOf(json);
    CHECK_MESSAGE(error.find(message) != std::string::npos, error);
    CHECK(error.starts_with("r.json:"));
  }
}

TEST_CASE("values keep their kinds") {
  const Request request = WithFilters(
      R"([{"Name": "a", "varValue": "表\u0000é\ud83d\ude00", "varValue2": 3},
          {"Name": "b", "varValue": -2.5, "varValue2": true}, {"Name": "c", "varValue": null},
          {"Name": "d", "varValue": 9223372036854775808}])");
  const std::vector<FilterItem>& items = *request.filters;
  REQUIRE(items.size() == 4);
  CHECK(items[0].varValue == Value(Text(u"表\0é😀", 5)));
  CHECK(items[0].varValue2 == Value(std::int64_t{3}));
  CHECK(items[1].varValue == Value(-2.5));
  CHECK(items[1].varValue2 == Value(true));
  CHECK(items[2].varValue.IsNull());
  CHECK(items[2].varValue2.IsEmpty());
  CHECK(items[3].varValue == Value(9223372036854775808.0));
}

TEST_CASE("lists and objects are values that go through a report as they are") {
  Request request = WithFilters(R"([{"Name": "dDate", "varValue": [1, "二", {"b": null}]},
                                    {"Name": "x", "varValue": {"a": true}}])");
  request.report = FindClass(u"clsRepAQKCYJ");
  const std::string json = ToJson(TraceReport(request));
  CHECK(json.find(R"("result": true)") != std::string::npos);
  for (const char* kept : {"\"varValue\": [\n        1,\n        \"二\",", "\"a\": true"}) {
    CHECK_MESSAGE(json.find(kept) != std::string::npos, json);
  }
}

TEST_CASE("a request without filters has an empty set, with null it has none") {
  CHECK(ParseRequest("\xEF\xBB\xBF{\"class\": \"CLSREPXCL\"}", "r").filters->empty());
  CHECK_FALSE(WithFilters("null").filters);
}

TEST_CASE("the host words conditions from names and values") {
  struct Case {
    const char* filters;
    const char16_t* conditions;  // of all items that are set
    const char16_t* group_0;     // of the items of group 0
  };
  const Case cases[] = {
      {R"([{"Name": "a", "varValue": "v"}])", u"a = 'v'", u"a = 'v'"},
      {R"([{"Name": "a", "varValue": "f", "varValue2": "t"}])", u"a >= 'f' And a <= 't'",
       u"a >= 'f' And a <= 't'"},
      {R"([{"Name": "a", "varValue2": "t"}])", u"a <= 't'", u"a <= 't'"},
      {R"([{"Name": "a", "varValue": "O'Neil "}])", u"a = 'O''Neil '", u"a = 'O''Neil '"},
      {R"([{"Name": "a", "varValue": "''", "varValue2": "'"}])", u"a >= '''''' And a <= ''''",
       u"a >= '''''' And a <= ''''"},
      {R"([{"Name": "a", "varValue": [1, {"b": null}]}, {"Name": "b", "varValue": "v"}])",
       u"b = 'v'", u"b = 'v'"},
      {R"([{"Name": "a", "varValue": {}, "strSqlString": "x"}])", u"x", u"x"},
      {R"([{"Name": "a", "varValue": 1.5}, {"Name": "b", "varValue": 7}])",
       u"a = '1.5' And b = '7'", u"a = '1.5' And b = '7'"},
      {R"([{"Name": "a", "varValue": ""}, {"Name": "b", "varValue": null}])", u"", u""},
      {R"([{"Name": "a", "varValue": "v", "strSqlString": ""}])", u"", u""},
      {R"([{"Name": "a", "varValue": "v", "strSqlString": " x "},
           {"Name": "b", "varValue": "v", "strSqlString": "  "},
           {"Name": "c", "varValue": "w"}])",
       u" x  And c = 'w'", u" x  And c = 'w'"},
      {R"([{"Name": "a", "strSqlString": "x"}])", u"", u"x"},
  };
  for (const Case& c : cases) {
    CAPTURE(c.filters);
    ReferenceFilterSet set(*WithFilters(c.filters).filters);
    CHECK(ToUtf8(set.ConditionText()) == ToUtf8(c.conditions));
    CHECK(ToUtf8(set.GroupConditionText(0)) == ToUtf8(c.group_0));
    CHECK(set.GroupConditionText(1).empty());
    set.Item(1)->set_LngGrouptoken(1);
    CHECK(set.GroupConditionText(1) ==
          (Trim(set.Item(1)->strSqlString()).empty() ? Text() : set.Item(1)->strSqlString()));
  }
}

TEST_CASE("the host's objects answer like the host's") {
  ReferenceFilterSet set(*WithFilters(R"([{"Name": " A ", "varValue": 1, "varValue2": 2},
                                          {"Name": "a", "varValue": 3}])")
                              .filters);
  CHECK(set.ValueByName(u"a", 1) == Value(1));
  CHECK(set.ValueByName(u"a ", 2) == Value(2));
  CHECK(set.ValueByName(u"b", 1).IsEmpty());
  CHECK_THROWS_AS(set.Item(0), DatabaseError);
  CHECK_THROWS_AS(set.Item(3), DatabaseError);

  ReferenceManager manager(u"标题", std::make_shared<ReferenceFilterSet>(set));
  Text title = u"标题";
  CHECK(manager.ReportFilterByName(title) != nullptr);
  Text other = u"别的";
  CHECK(manager.ReportFilterByName(other) == nullptr);

  ReferenceLogin login({Value(u"2002-03-31"), std::nullopt});
  CHECK(login.CurDate() == Value(u"2002-03-31"));
  std::int32_t number = 0;
  try {
    login.cAcc_Id();
  } catch (const DatabaseError& error) {
    number = error.number;
  }
  CHECK(number == 438);
}

}  // namespace ledgerwick
