// diff and batch: two results, and many requests.
#include <doctest/doctest.h>

#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "cli/batch_journal.h"
#include "cli/command_line.h"
#include "tests/cli/harness.h"

namespace ledgerwick {

using testing::Arguments;
using testing::CallMain;
using testing::Ended;
using testing::Program;
using testing::Sample;
using Json = nlohmann::json;

TEST_CASE("diff finds what differs between two files, whatever their formats") {
  const testing::TemporaryFolder folder;
  struct Case {
    const char* first_name;
    const char* first;
    const char* second_name;
    const char* second;
    Arguments options;
    int code;
    const char* out;  // as tsv, without its header
  };
  const char* const kStock = "code,price,note\r\n01,1.50,\"a\nb\"\r\n02,2.00,\"\"\r\n03,3.00,\r\n";
  const Case cases[] = {
      {"a.csv", kStock, "b.csv", kStock, {}, kDone, ""},
      {"a.csv",
       kStock,
       "b.json",
       R"([{"code":"03","price":3,"note":null},{"code":"02","price":2,"note":""},)"
       R"({"code":"01","price":1.5,"note":"a\nb"}])",
       {},
       kDone,
       ""},
      {"a.csv",
       kStock,
       "b.tsv",
       "note\tcode\tprice\na\\nb\t01\t1.50\n\\N\t02\t2.50\n\t04\t4\n",
       {},
       kDifferent,
       "changed\t02\tprice\t2.00\t2.50\nchanged\t02\tnote\t\t\\N\n"
       "only in first\t03\t\\N\t\\N\t\\N\nonly in second\t04\t\\N\t\\N\t\\N\n"},
      // A decimal keeps its digits on both sides.
      {"a.jsonl",
       "{\"a\":12345678901234567890.123}\n",
       "b.jsonl",
       "{\"a\":12345678901234567890.124}\n",
       {},
       kDifferent,
       "only in first\t12345678901234567890.123\t\\N\t\\N\t\\N\n"
       "only in second\t12345678901234567890.124\t\\N\t\\N\t\\N\n"},
      // Rows that nothing tells apart count as often as they occur.
      {"a.csv",
       "x;y\n1.5;a\n1.5;a\n",
       "b.csv",
       "x;y\n1.5;a\n",
       {},
       kDifferent,
       "only in first\t1.5\ta\t\\N\t\\N\t\\N\n"},
      {"a.csv", "x,y\n1,a\n2,b\n", "b.csv", "x,y\n2,b\n1,a\n", {}, kDone, ""},
      {"a.csv",
       "x,y\n1,a\n2,b\n",
       "b.csv",
       "x,y\n2,b\n1,b\n",
       {"--ordered"},
       kDifferent,
       "changed\t1\tx\t1\t2\nchanged\t1\ty\ta\tb\nchanged\t2\tx\t2\t1\n"},
      {"a.csv",
       "x,y\n1,a\n2,b\n",
       "b.csv",
       "x,y\n3,a\n2,b\n",
       {"--key", "y"},
       kDifferent,
       "changed\ta\tx\t1\t3\n"},
      {"a.csv",
       "x,y\nk,a\n",
       "b.csv",
       "x,z\nk,a\n",
       {},
       kDifferent,
       "column only in first\t\\N\ty\t\\N\t\\N\ncolumn only in second\t\\N\tz\t\\N\t\\N\n"},
      {"a.csv", "x,y\n1,a\n1,b\n", "b.csv", "x,y\n", {"--key", "x"}, kTrouble, ""},
      {"a.csv", "x,y\n1,a\n\n2\n", "b.csv", "x,y\n", {}, kTrouble, ""},
      {"a.csv", "x,y\n1\n", "b.csv", "x,y\n", {}, kTrouble, ""},
      {"a.json", "[[]]", "b.csv", "x,y\n", {}, kTrouble, ""},
      {"a.json", "[{\"a\": [1]}]", "b.csv", "x,y\n", {}, kTrouble, ""},
      {"a.xlsx", "", "b.csv", "x,y\n", {}, kTrouble, ""},
  };
  for (const Case& c : cases) {
    CAPTURE(c.first);
    CAPTURE(c.second);
    testing::Write(folder / c.first_name, c.first);
    testing::Write(folder / c.second_name, c.second);
    Arguments args = {"diff", folder / c.first_name, folder / c.second_name, "--format", "tsv"};
    args.insert(args.end(), c.options.begin(), c.options.end());
    const Ended ended = CallMain(args);
    CHECK_MESSAGE(ended.code == c.code, ended.err);
    CHECK(ended.out.substr(std::min(ended.out.size(), ended.out.find('\n') + 1)) == c.out);
  }
}

TEST_CASE("diff finds the key on all rows, however late they need another column") {
  const testing::TemporaryFolder folder;
  constexpr int kRows = 5000;
  constexpr int kCodes = 4000;
  std::string first = "price,code,side,day\n";
  std::string second = first;
  for (int i = 0; i < kRows; ++i) {
    const std::string key = std::to_string(i % kCodes) + (i < kCodes ? "a,x" : "a,y");
    first += std::to_string(i) + ".50," + key + ",2002-03-01\n";
    const int other = kRows - 1 - i;
    const std::string other_key = std::to_string(other % kCodes) + (other < kCodes ? "a,x" : "a,y");
    second += std::to_string(other == 4321 ? 0 : other) + ".50," + other_key + ",2002-03-01\n";
  }
  testing::Write(folder / "a.csv", first);
  testing::Write(folder / "b.csv", second);
  const Ended ended = CallMain({"diff", folder / "a.csv", folder / "b.csv", "--format", "tsv"});
  CHECK(ended.code == kDifferent);
  CHECK(ended.out ==
        "difference\tcode\tside\tcolumn\tfirst\tsecond\nchanged\t321a\ty\tprice\t4321.50\t0.50\n");
  CHECK(ended.err ==
        "5000 and 5000 rows, told apart by code, side: 0 only in the first, 0 only in "
        "the second, 1 changed cell\n");
}

TEST_CASE("diff runs one request on two databases") {
  const Sample sample;
  testing::CopySample(sample.folder / "other.db");
  const std::string other = "embedded:" + (sample.folder / "other.db");
  const Arguments diff = {"diff", "clsRepAQKCYJ", "--with", other, "--format", "tsv"};
  CHECK(sample.Call(diff).code == kDone);
  REQUIRE(CallMain({"query", "--connection", other,
                    "UPDATE Inventory SET cInvName = 'x' WHERE cInvCode IN (SELECT MIN(cInvCode) "
                    "FROM Inventory WHERE iSafeNum > 0)"})
              .code == kDone);
  const Ended ended = sample.Call(diff);
  CHECK(ended.code == kDifferent);
  CHECK_MESSAGE(ended.out.find("\tCHMC\t") != std::string::npos, ended.out);
  CHECK(sample.Call({"diff", "clsRepAQKCYJ", "--with", "embedded:/none"}).code == kTrouble);
  Arguments warned = {"diff", "clsRepHwhz", "--filter", "日期=2002-03-01..", "--with", other};
  const Ended told = sample.Call(warned);
  CHECK(told.code == kDifferent);
  CHECK_MESSAGE(told.err.find("ledgerwick: warning LW301 (dDate): ") != std::string::npos,
                told.err);
  warned.emplace_back("--strict");
  CHECK(sample.Call(warned).code == kTrouble);
  CHECK(sample.Call({"diff", "newClsReportDaoSaleProfit", "--with", other}).code == kTrouble);
}

TEST_CASE("a batch that is killed and continued loses nothing and does nothing twice") {
  const Sample sample;
  constexpr std::size_t kRequests = 200;
  std::string requests;
  for (std::size_t i = 1; i <= kRequests; ++i) {
    requests += i % 10 == 0 ? "{\"class\": \"newClsReportDaoSaleProfit\"}\n"
                            : "{\"class\": \"clsInventroy\"}\n";
  }
  testing::Write(sample.folder / "many.jsonl", requests);
  const std::string results = sample.folder / "out";
  Arguments args =
      sample.On({"batch", sample.folder / "many.jsonl", "--output", results, "--jobs", "2"});
  {
    Program killed(args);
    for (int i = 0; i < 500 && testing::Read(results + "/batch.jsonl").size() < 4000; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    killed.Signal(SIGKILL);
    killed.Wait();
  }
  const std::string before = testing::Read(results + "/batch.jsonl");
  REQUIRE(before.size() > 4000);
  testing::Write(results + "/batch.jsonl", before + "{\"request\": \"many-0");
  testing::Write(results + "/many-0199.csv.1-0.part", "half");
  CHECK(CallMain(args).code == kWrongUsage);
  args.emplace_back("--continue");
  const Ended ended = Program(args).Wait();
  CHECK(ended.code == kRefused);
  CHECK_MESSAGE(ended.err.ends_with("200 requests, 20 failed\n"), ended.err);

  const Json summary = Json::parse(testing::Read(results + "/summary.json"));
  REQUIRE(summary.size() == kRequests);
  const std::string table =
      sample.Call({"query", "SELECT * FROM Inventory", "--format", "csv"}).out;
  for (std::size_t i = 0; i < kRequests; ++i) {
    CAPTURE(i);
    if (i % 10 == 9) {
      CHECK(summary[i]["result"] == "failed");
      CHECK(std::string(summary[i]["error"]).find("not implemented") != std::string::npos);
    } else {
      CHECK(testing::Read(results + "/" + std::string(summary[i]["file"])) == table);
    }
  }
  CHECK(testing::FilesIn(results).size() == kRequests - 20 + 2);
  std::map<std::string, int> done;
  std::istringstream journal(testing::Read(results + "/batch.jsonl"));
  for (std::string line; std::getline(journal, line);) {
    const auto entry = ParseBatchEntry(line);
    if (entry && entry->done) CHECK(++done[entry->name] == 1);
  }
  CHECK(done.size() == kRequests - 20);
}

TEST_CASE("a batch tells what each request is warned of, and --strict refuses it") {
  const Sample sample;
  testing::Write(
      sample.folder / "one.jsonl",
      R"({"class": "clsRepHwhz", "filters": [{"Name": "dDate", "varValue": "2002-03-01"}]})");
  for (const bool strict : {false, true}) {
    Arguments args = {"batch", sample.folder / "one.jsonl", "--output",
                      sample.folder / (strict ? "strict" : "plain")};
    if (strict) args.emplace_back("--strict");
    const Ended ended = sample.Call(args);
    CHECK(ended.code == (strict ? kRefused : kDone));
    CHECK_MESSAGE(ended.err.find("ledgerwick: warning LW301 (dDate): ") != std::string::npos,
                  ended.err);
    CHECK((ended.out.find("as --strict was given") != std::string::npos) == strict);
  }
}

}  // namespace ledgerwick
