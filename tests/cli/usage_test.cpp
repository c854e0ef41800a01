// What the command says to wrong and right arguments, without a database.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "cli/command_line.h"
#include "cli/console.h"
#include "cli/sql_script.h"
#include "component/class_table.h"
#include "host/json_document.h"
#include "tests/cli/harness.h"

namespace ledgerwick {

using testing::Arguments;
using testing::CallMain;
using testing::Ended;
using Json = nlohmann::json;

namespace {

const char* const kRequest = R"({"class": "clsRepAQKCYJ", "ReportTitle": "表", "filters": [
  {"Name": "I.cInvCode", "varValue": "1"}]})";

}  // namespace

TEST_CASE("wrong usage is exit code 2 with a message that helps") {
  unsetenv("LEDGERWICK_CONNECTION");
  unsetenv("LEDGERWICK_PASSWORD");
  const testing::TemporaryFolder folder;
  testing::Write(folder / "bad.json", "{\"class\": \"clsRepAQKCYJ\",\n \"filters\": 5}");
  testing::Write(folder / "bytes.json", "{\"class\": \"\xFF\"}");
  testing::Write(folder / "bytes.sql", "SELECT 1\nGO\nSELECT '\xC3'\n");
  testing::Write(folder / "good.json", kRequest);
  struct Case {
    Arguments args;
    std::string message;
  };
  const Case cases[] = {
      {{}, "A subcommand is required"},
      {{"lst"}, "unknown command 'lst'; did you mean 'list'?"},
      {{"describe"}, "CLASS is required"},
      {{"describe", "clsRepAQKCY"},
       "unknown class \"clsRepAQKCY\"; did you mean \"clsRepAQKCYJ\"?"},
      {{"describe", "clsRepXCL", "--connection", "embedded:x"}, "the example of --format markdown"},
      {{"run", "clsRepAQ"}, "did you mean \"clsRepAQKCYJ\"?"},
      {{"trace", "something"}, "unknown class \"something\""},
      {{"run"}, "which report?"},
      {{"run", "clsRepAQKCYJ", "--request", folder / "good.json"}, "not both"},
      {{"run", "clsRepAQKCYJ"}, "LEDGERWICK_CONNECTION"},
      {{"run", "--request", folder / "none.json"}, "none.json: No such file or directory"},
      {{"trace", folder.path().string() + "/"}, "Is a directory"},
      {{"trace", folder / "bad.json"}, "bad.json:2:13: \"filters\" must be a list or null"},
      {{"trace", folder / "bytes.json"}, "bytes.json:1:12: invalid UTF-8 at byte 11"},
      {{"run", "clsRepAQKCYJ", "--connection", "company.db"}, "'company.db' names no database"},
      {{"run", "clsRepAQKCYJ", "--connection", "UID=u"}, "names no server"},
      {{"run", "clsRepAQKCYJ", "--connection", "DSN=x", "-S", "y"}, "not both"},
      {{"query", "SELECT 1", "-U", "u"}, "give -S too"},
      {{"query", "SELECT 1", "-d", "d"}, "give -S too"},
      {{"query", "SELECT 1", "-S", "s;x", "-U", "u"}, "no password for u on s;x: set LEDGERWICK_"},
      {{"query", "SELECT 1", "--connection", "mssql://u@s/d", "--password-file", "/none"},
       "'/none' holds no password"},
      {{"sample", "create"}, "where?"},
      {{"sample", "create", "x.db", "-S", "s"}, "not both"},
      {{"sample", "create", "-S", "s", "--force"}, "--force replaces files alone"},
      {{"run", "clsRepAQKCYJ", "--connection", "embedded:"}, "lacks the database's path"},
      {{"run", "clsRepAQKCYJ", "--format", "xml"}, "the formats are table line csv tsv json"},
      {{"query", "SELECT 1", "--format", "json", "--bom"}, "--bom is for csv, not for json"},
      {{"query", "SELECT 1", "--format", "csv", "--separator", "x"}, "parts no values"},
      {{"run", "Ledgerwick.clsRepAQ"}, "did you mean \"clsRepAQKCYJ\"?"},
      {{"run", "clsRepAQKCYJ", "--filter", "novalue"}, "is not NAME=VALUE"},
      {{"run", "clsRepAQKCYJ", "--filter", "安全库存量=x"}, "'x' is no number"},
      {{"run", "clsRepAQKCYJ", "--login-date", "2002-02-30"}, "is no date"},
      {{"run", "clsRepAQKCYJ", "--limit", "-1"}, "--limit"},
      {{"run", "clsRepAQKCYJ", "--limit", "many"}, "--limit"},
      {{"run", "clsRepAQKCYJ", "--bogus"}, "--bogus"},
      {{"run", "clsRepAQKCYJ", "--title", "\xE8\xA1"}, "argument 4: invalid UTF-8 at byte 0"},
      {{"query", "--connection", "embedded:x", "SELECT 1", "--file", "f"}, "not both"},
      {{"query", "--connection", "embedded:x", "--file", folder / "none.sql"}, "No such file"},
      {{"query", "--connection", "embedded:x", "--file", folder / "bytes.sql"},
       "bytes.sql:3:9: invalid UTF-8 at byte 20"},
      {{"query", "SELECT 1"}, "LEDGERWICK_CONNECTION"},
      {{"sample", "create", folder / "x.db", "--lines", "0"}, "--lines"},
      {{"list", "--color", "blue"}, "--color"},
  };
  for (const Case& c : cases) {
    std::string shown;
    for (const std::string& arg : c.args) shown += arg + ' ';
    CAPTURE(shown);
    const Ended ended = CallMain(c.args);
    CHECK(ended.code == kWrongUsage);
    CHECK(ended.out.empty());
    CHECK_MESSAGE(ended.err.find(c.message) != std::string::npos, ended.err);
    CHECK(ended.err.starts_with("ledgerwick: "));
  }
}

TEST_CASE("every command has help with examples") {
  const Arguments commands[] = {{},        {"list"},   {"describe"},
                                {"run"},   {"check"},  {"trace"},
                                {"query"}, {"sample"}, {"sample", "create"}};
  for (Arguments args : commands) {
    args.emplace_back("--help");
    const Ended ended = CallMain(args);
    CHECK(ended.code == kDone);
    CHECK(ended.err.empty());
    CHECK_MESSAGE(ended.out.find("Examples:\n  ledgerwick ") != std::string::npos, args.front());
  }
}

TEST_CASE("list and describe read the class table") {
  const Ended list = CallMain({"list", "--format", "json"});
  CHECK(list.code == kDone);
  const auto rows = Json::parse(list.out);
  REQUIRE(rows.size() == 18);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const ClassInfo& info = Classes()[i];
    CHECK(rows[i]["ProgID"] == "Ledgerwick." + ToUtf8(info.name));
    CHECK(rows[i]["subtitle"] == (info.Has(Member::strSubTitle) ? "yes" : "no"));
    const Ended described = CallMain({"describe", ToUtf8(info.name)});
    CHECK(described.code == kDone);
    CHECK(described.out.find(ToUtf8(info.result_table)) != std::string::npos);
  }
  const std::string warning = CallMain({"describe", "CLSREPAQKCYJ"}).out;
  for (const char* part : {"def_queryType", "不高于安全库存量存货", "cInvDefine16", "产地"}) {
    CHECK_MESSAGE(warning.find(part) != std::string::npos, part);
  }
}

TEST_CASE("describe gives one report in three formats, and its notes in each") {
  const Json json = Json::parse(CallMain({"describe", "clsRepBzqyj", "--format", "json"}).out);
  CHECK(json["title"] == "保质期预警");
  CHECK(json["needs"] == "the login date (--login-date, CurDate of \"login\")");
  CHECK(json["filters"][0]["values"][1] == "过期存货");
  CHECK(json["notes"][0]["code"] == "LW701");
  const std::string page = CallMain({"describe", "clsRepXCL", "--format", "markdown"}).out;
  CHECK(page.starts_with("# 现存量 (`clsRepXCL`)\n"));
  CHECK(page.find("\n| LW602 | warning | iNum | ") != std::string::npos);
  CHECK(CallMain({"describe", "clsRepXCL"}).out.find("\nLW602 warning (iNum): ") !=
        std::string::npos);
  CHECK(CallMain({"describe", "clsRepXCL", "--format", "csv"}).code == kWrongUsage);
}

TEST_CASE("check tells what is found, and --strict refuses") {
  struct Case {
    Arguments args;
    int code;
    std::string code_found;
  };
  const Case cases[] = {
      {{"check", "clsRepAQKCYJ"}, kDone, "LW011"},
      {{"check", "clsRepHwhz", "--filter", "日期=2002-03-01..2002-03-31"}, kDone, "LW301"},
      {{"check", "clsRepHwhz", "--filter", "日期=2002-03-01", "--strict"}, kRefused, "LW301"},
      {{"check", "clsRepBzqyj"}, kRefused, "LW008"},
      {{"check", "clsRepXCL", "--filter", "批号=1", "--filter", "批号=2"}, kDone, "LW004"},
      {{"check", "--codes"}, kDone, "LW805"},
  };
  for (Case c : cases) {
    CAPTURE(c.code_found);
    c.args.insert(c.args.end(), {"--format", "json"});
    const Ended ended = CallMain(c.args);
    CHECK(ended.code == c.code);
    const Json found = Json::parse(ended.out);
    CHECK(std::any_of(found.begin(), found.end(),
                      [&](const Json& f) { return f["code"] == c.code_found; }));
  }
  for (const char* command : {"trace", "run"}) {
    Arguments args = {command,    "clsRepHwhz",   "--filter",           "日期=2002-03-01",
                      "--strict", "--connection", "embedded:nowhere.db"};
    const Ended refused = CallMain(args);
    CHECK(refused.code == kRefused);
    CHECK(refused.out.empty());
    CHECK(refused.err.starts_with("ledgerwick: warning LW301 (dDate): The date filter changes "));
    CHECK(refused.err.find("as --strict was given") != std::string::npos);
  }
}

TEST_CASE("trace takes a class, a file or standard input, and the options change the request") {
  const testing::TemporaryFolder folder;
  testing::Write(folder / "request.json", kRequest);
  const Ended from_file = CallMain({"trace", folder / "request.json"});
  CHECK(from_file.code == kDone);
  CHECK(from_file.err.starts_with("ledgerwick: warning LW101: "));
  CHECK(from_file.out == CallMain({"trace", "-"}, kRequest).out);
  CHECK(CallMain({"trace", "ledgerwick.CLSREPSFC"}).out == CallMain({"trace", "clsRepSFC"}).out);
  const Ended failing =
      CallMain({"trace", "-"}, R"({"class": "clsRepXCL", "fail_at": {"index": 0, "number": -5}})");
  CHECK(failing.code == kRefused);
  CHECK(Json::parse(failing.out)["result"]["error"]["number"] == -5);
  const Ended changed =
      CallMain({"trace", folder / "request.json", "--connection", "cs", "--filter", "I.cInvCode=2",
                "--filter", "new=3", "--filter", "存货编妈=4"});
  const auto json = Json::parse(changed.out);
  CHECK(json["ops"][0]["connectionString"] == "cs");
  CHECK(json["filtersAfter"][0]["varValue"] == "2");
  CHECK(json["filtersAfter"][1]["Name"] == "new");
  CHECK(changed.err.find("warning LW001 (new): clsRepAQKCYJ has no filter 'new'. ") !=
        std::string::npos);
  CHECK(changed.err.find("'存货编妈'; did you mean '存货编码'?") != std::string::npos);
  // A class's dialogue is there as a whole, so no filter of the user's is the last one examined.
  const Ended of_class = CallMain({"trace", "clsRepAQKCYJ", "--filter", "现存数量=1", "--filter",
                                   "new=3", "--login-date", "2002-03-31"});
  const std::string sql = Json::parse(of_class.out)["ops"][2]["sql"];
  CHECK(sql.find(" AND STPQ.iQuantity = '1' And new = '3' GROUP") != std::string::npos);
}

TEST_CASE("a script is parted by lines that are GO") {
  struct Case {
    const char* script;
    std::vector<std::pair<std::string, int>> batches;
  };
  const Case cases[] = {
      {"", {}},
      {"GO\n\n  \ngo", {}},
      {"a", {{"a", 1}}},
      {"a\nGO", {{"a\n", 1}}},
      {"a\n Go \r\nb\nc\nGOTO x\n-- GO\nGO\n\nd",
       {{"a\n", 1}, {"b\nc\nGOTO x\n-- GO\n", 3}, {"\nd", 8}}},
      {"a\nGO;\n", {{"a\nGO;\n", 1}}},
  };
  for (const Case& c : cases) {
    CAPTURE(c.script);
    std::vector<std::pair<std::string, int>> got;
    for (const ScriptBatch& batch : SplitScript(c.script)) {
      got.emplace_back(ToUtf8(batch.sql), batch.first_line);
    }
    CHECK(got == c.batches);
  }
}

TEST_CASE("a script is read in its encoding, or refused whole with the place of what is no text") {
  const testing::Sample sample;
  struct Case {
    std::string_view bytes;
    const char* encoding;
    int code;
    const char* told;  // on the output, or a part of the error
  };
  using namespace std::string_view_literals;
  const std::string_view kGbk = "SELECT '\xD5\xFB\x80' AS \xCC\xFA";
  const std::string_view kLow = "\xFF\xFES\0E\0L\0E\0C\0T\0 \0'\0t\x65=\xD8\0\xDE'\0 \0a\0"sv;
  const std::string_view kHigh = "\xFE\xFF\0S\0E\0L\0E\0C\0T\0 \0'\x65t\0'\0 \0a"sv;
  const Case cases[] = {
      {"\xEF\xBB\xBFSELECT '整' a", "", kDone, "a\r\n整\r\n"},
      {"SELECT '整' a", "utf-8", kDone, "a\r\n整\r\n"},
      {kGbk, "gbk", kDone, "铁\r\n整€\r\n"},
      {kLow, "", kDone, "a\r\n整😀\r\n"},
      {kLow.substr(2), "utf-16", kDone, "a\r\n整😀\r\n"},
      {kHigh, "", kDone, "a\r\n整\r\n"},
      {kHigh, "gbk", kWrongUsage, "byte-order mark of utf-16; it is not --encoding gbk"},
      {kGbk, "", kWrongUsage, ":1:9: invalid UTF-8 at byte 8; a script in code page 936"},
      {"DROP TABLE Vendor\nGO\n'\xD5\xFB' \xFF\xFF", "gbk", kWrongUsage,
       ":3:5: no character of code page 936 at byte 26"},
      {kLow.substr(0, kLow.size() - 9), "", kWrongUsage, ":1:10: no UTF-16: half a character"},
      {kLow.substr(0, kLow.size() - 1), "", kWrongUsage, "half a character at the end"},
      {kLow.substr(2, 12), "", kWrongUsage, ":1:2: a NUL byte; a script in UTF-16"},
  };
  for (const Case& c : cases) {
    CAPTURE(std::string(c.bytes));
    testing::Write(sample.folder / "s.sql", std::string(c.bytes));
    Arguments args = {"query", "--file", sample.folder / "s.sql", "--format", "csv"};
    Arguments piped = {"query", "--format", "csv"};
    if (*c.encoding != 0) {
      args.insert(args.end(), {"--encoding", c.encoding});
      piped.insert(piped.end(), {"--encoding", c.encoding});
    }
    for (const testing::Ended& ended :
         {sample.Call(args), sample.Call(piped, std::string(c.bytes))}) {
      CHECK_MESSAGE(ended.code == c.code, ended.err);
      if (c.code == kDone) CHECK(ended.out == c.told);
      if (c.code != kDone) CHECK_MESSAGE(ended.err.find(c.told) != std::string::npos, ended.err);
    }
  }
  CHECK(sample.Call({"query", "SELECT COUNT(*) FROM Vendor"}).code == kDone);
}

TEST_CASE("a database error shows the server's number, the line and a caret by display width") {
  const auto printed = [](int line, int column, const Text& sql, ColourChoice colour) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    Console console = MakeConsole(in, out, err, colour);
    DatabaseError error(kErrorSyntaxOrAccess, u"s", u"Invalid\x1b name.");
    error.native = 207;
    error.line = line;
    error.column = column;
    PrintDatabaseError(console, error, {sql, "f.sql", 10});
    return err.str();
  };
  const std::string head = "ledgerwick: f.sql: Msg 207, line 11: Invalid\\x1B name.\n";
  CHECK(printed(2, 5, u"x\n存😀\t b\nc", ColourChoice::Never) == head + "  存😀\\t b\n         ^\n");
  CHECK(printed(2, 0, u"x\ny", ColourChoice::Never) == head);
  CHECK(printed(2, 3, u"only one line", ColourChoice::Never) == head);
  CHECK(printed(0, 0, u"x", ColourChoice::Never) ==
        "ledgerwick: f.sql: Msg 207: Invalid\\x1B name.\n");
  DatabaseError inside(kErrorArithmetic, u"s", u"Zero.");
  inside.native = 8134;
  inside.line = 2;
  inside.column = 1;
  for (const auto& [procedure, in_text, place] :
       {std::tuple{u"Sa_X", false, "procedure Sa_X, line 2"},
        std::tuple{u"", true, "line 2 of the executed text"}}) {
    std::istringstream in;
    std::ostringstream err;
    Console console = MakeConsole(in, err, err, ColourChoice::Never);
    inside.procedure = procedure;
    inside.in_text = in_text;
    PrintDatabaseError(console, inside, {u"x\ny", "f.sql", 10});
    CHECK(err.str() == "ledgerwick: f.sql: Msg 8134, " + std::string(place) + ": Zero.\n");
  }
  const std::string long_line =
      printed(1, 101, Text(100, u'a') + u"!" + Text(100, u'b'), ColourChoice::Never);
  CHECK(long_line.find("  …" + std::string(60, 'a') + '!' + std::string(39, 'b') + "…\n  " +
                       std::string(61, ' ') + "^\n") != std::string::npos);
  CHECK(printed(2, 1, u"x\ny", ColourChoice::Always).find("\033[1;31mledgerwick:\033[0m") == 0);
}

}  // namespace ledgerwick
