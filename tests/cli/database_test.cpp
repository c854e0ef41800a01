// run, query and sample create on embedded databases.
#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include "cli/command_line.h"
#include "tests/cli/harness.h"

namespace ledgerwick {

using testing::Arguments;
using testing::CallMain;
using testing::Ended;
using testing::Sample;
using Json = nlohmann::json;

namespace {

Json Rows(const testing::Sample& sample, Arguments args) {
  args.insert(args.end(), {"--format", "json"});
  const Ended ended = sample.Call(args);
  REQUIRE_MESSAGE(ended.code == kDone, ended.err);
  return Json::parse(ended.out);
}

std::string Repeated(const std::string& text, int times) {
  std::string repeated;
  while (times-- > 0) repeated += text;
  return repeated;
}

}  // namespace

TEST_CASE("query runs statements from the argument, a file and standard input") {
  const Sample sample;
  testing::Write(sample.folder / "s.sql",
                 "CREATE TABLE t (a int, b varchar(20))\nGO\n"
                 "INSERT INTO t VALUES (1, '铁钉')\nINSERT INTO t VALUES (2, NULL)\ngo\n"
                 "SELECT * FROM t\nGO\nSELECT COUNT(*) AS n FROM t");
  const Ended script = sample.Call({"query", "--file", sample.folder / "s.sql", "--format", "csv"});
  CHECK_MESSAGE(script.code == kDone, script.err);
  CHECK(script.out == "a,b\r\n1,铁钉\r\n2,\r\n\r\nn\r\n2\r\n");
  CHECK(script.err == "(1 row affected)\n(1 row affected)\n(2 rows)\n(1 row)\n");
  const Ended table = sample.Call({"query"}, "SELECT b, a FROM t");
  CHECK(table.out == "b     a\n----  -\n铁钉  1\nNULL  2\n");
  const Ended limited = sample.Call({"query", "SELECT a FROM t", "--limit", "1"});
  CHECK(limited.out == "a\n-\n1\n");
  CHECK(limited.err == "(1 of 2 rows)\n");
}

TEST_CASE("explain tells a statement's meaning, plan and SQL, and runs it on demand alone") {
  const Sample sample;
  const char* change = "UPDATE Inventory SET cInvName = cInvCode WHERE iSafeNum > '1'";
  const struct {
    Arguments args;
    std::vector<const char*> parts;
  } cases[] = {
      {{"SELECT cInvCode, iSafeNum + '1' AS n FROM Inventory RIGHT JOIN WareHouse ON cInvCode = "
        "cWhCode AND 1 = 1 WHERE iSafeNum > 0"},
       {"  n float := (s1.iSafeNum + 1)", "from s2 WareHouse", "  left join s1 Inventory",
        "made an inner one", "  SELECT s1.", "  SCAN s"}},
      {{"SELECT " + Repeated("ABS(", 40) + "1" + Repeated(")", 40)},
       {"t_part(?11, ", "Its parts", "  SELECT "}},
      {{change}, {"update s1", "where (s1.iSafeNum > 1)", "  as written", "UPDATE main."}},
      {{"--analyze",
        "DECLARE @n int = 0 WHILE @n < 3 BEGIN SET @n += 1 SELECT * FROM WareHouse "
        "WHERE @n < 3 END"},
       {"where (@n < 3)", ", runs 3\n", "running "}},
  };
  for (const auto& [args, parts] : cases) {
    Arguments all{"explain"};
    all.insert(all.end(), args.begin(), args.end());
    const Ended ended = sample.Call(all);
    CHECK_MESSAGE(ended.code == kDone, ended.err);
    for (const char* part : parts) {
      CHECK_MESSAGE(ended.out.find(part) != std::string::npos, part, ended.out);
    }
  }
  CHECK(sample.Call({"explain", "SELECT nosuch FROM Inventory"}).err.find("207") !=
        std::string::npos);
  const auto changed = [&] {
    return Rows(sample, {"query", "SELECT COUNT(*) AS n FROM Inventory WHERE cInvName = cInvCode"});
  };
  CHECK(changed()[0]["n"] == 0);
  const Ended run = sample.Call({"explain", "--analyze", change});
  CHECK(changed()[0]["n"] > 0);
  CHECK(run.out.find("rows " + changed()[0]["n"].dump() + ", runs 1") != std::string::npos);
}

TEST_CASE("query makes an empty database where it is told to, and leaves one that is there alone") {
  const testing::TemporaryFolder folder;
  const std::string connection = "embedded:" + (folder / "new.db");
  CHECK(CallMain({"query", "--connection", connection, "SELECT 1 AS a"}).code == kRefused);
  for (const auto& [sql, out] : {std::pair("CREATE TABLE t (a int) INSERT INTO t VALUES (1)", ""),
                                 std::pair("SELECT a FROM t", "a\n-\n1\n")}) {
    const Ended ended = CallMain({"query", "--connection", connection, "--create", sql});
    CHECK_MESSAGE(ended.code == kDone, ended.err);
    CHECK(ended.out == out);
  }
  const Ended written = CallMain({"query", "--connection", connection, "--read-only",
                                  "BEGIN TRAN SELECT a INTO #u FROM t INSERT INTO #u VALUES (2) "
                                  "SELECT SUM(a) AS s FROM #u COMMIT INSERT INTO t VALUES (2)"});
  CHECK(written.out == "s\n-\n3\n");
  CHECK_MESSAGE(written.err.find("Msg 3906") != std::string::npos, written.err);
}

TEST_CASE("a statement's memory has a limit") {
  const Sample sample;
  for (const auto& [limit, code] :
       {std::pair("8KB", kRefused), std::pair("0", kDone), std::pair("-1", kWrongUsage)}) {
    CAPTURE(limit);
    const Ended ended = sample.Call({"query", "SELECT 1 AS x", "--memory-limit", limit});
    CHECK(ended.code == code);
    CHECK((ended.err.find("701") != std::string::npos) == (code == kRefused));
  }
}

TEST_CASE("a statement's error is exit code 1 with its line and a caret") {
  const Sample sample;
  testing::Write(sample.folder / "s.sql",
                 "SELECT 1 AS x\nGO\n\nSELECT cInvCode,\n  nosuch FROM Inventory");
  testing::Write(sample.folder / "no_set.json",
                 R"({"class": "newclsReportDaoOut", "filters": null})");
  struct Case {
    Arguments args;
    std::string message;
  };
  const Case cases[] = {
      {{"query", "SELECT ,"},
       "Msg 102, line 1: Incorrect syntax near ','.\n  SELECT ,\n         ^\n"},
      {{"query", "SELECT 1/0 AS x"}, "Msg 8134"},
      {{"query", "SELECT * FROM 没有"},
       "Invalid object name '没有'.\n  SELECT * FROM 没有\n                ^\n"},
      {{"query", "--file", sample.folder / "s.sql"},
       "s.sql: Msg 207, line 5: Invalid column name 'nosuch'.\n    nosuch FROM Inventory\n    ^\n"},
      {{"run", "clsRepAQKCYJ", "--filter", "I.nosuch=1"}, "Msg 207, line 1: "},
      {{"run", "newClsReportDaoSaleProfit"}, "newClsReportDaoSaleProfit) is not implemented: "},
      {{"run", "--request", sample.folder / "no_set.json"},
       "newclsReportDaoOut gave up without a reason; the request gives it no filter set\n"},
  };
  for (const Case& c : cases) {
    const Ended ended = sample.Call(c.args);
    CHECK(ended.code == kRefused);
    CHECK_MESSAGE(ended.err.find(c.message) != std::string::npos, ended.err);
  }
}

TEST_CASE("a database that cannot be opened is exit code 1 and is named") {
  const testing::TemporaryFolder folder;
  testing::Write(folder / "text.db", std::string(5000, 'x'));
  const std::string paths[] = {folder / "none.db", folder / "no/dir.db", folder / "text.db",
                               folder.path().string()};
  for (const std::string& path : paths) {
    for (const Arguments& command :
         {Arguments{"query", "SELECT 1"}, Arguments{"run", "clsInventroy"}}) {
      Arguments args = command;
      args.insert(args.end(), {"--connection", "embedded:" + path});
      const Ended ended = CallMain(args);
      CHECK(ended.code == kRefused);
      CHECK(ended.out.empty());
      CHECK_MESSAGE(ended.err.find(path) != std::string::npos, ended.err);
    }
  }
  CHECK(testing::FilesIn(folder.path()) == std::set<std::string>{"text.db"});
}

TEST_CASE("run gives the rows that its filters leave in the report's table") {
  const Sample sample;
  const Json all = Rows(sample, {"run", "clsRepAQKCYJ"});
  const std::string code = all[0]["cInvCode"];
  const Json some = Rows(sample, {"run", "clsRepAQKCYJ", "--filter",
                                  "存货编码=" + code + ".." + code, "--filter", "查询类型=全部"});
  CHECK(Rows(sample, {"query", "SELECT * FROM tempdb..tempAqkcyj"}) == some);
  CHECK(some.size() > 0);
  CHECK(some.size() < all.size());
  for (const Json& row : some) CHECK(row["cInvCode"] == code);
}

TEST_CASE("run tells title and statements on the error stream and leaves the data alone") {
  const Sample sample;
  const Ended plain = sample.Call({"run", "clsRepAQKCYJ", "--format", "csv"});
  const Ended shown =
      sample.Call({"run", "clsRepAQKCYJ", "--format", "csv", "--show-sql", "--title", "标\x1b题"});
  CHECK(plain.err.starts_with("安全库存预警\n("));
  CHECK(shown.out == plain.out);
  CHECK(shown.err.starts_with("drop table tempdb..tempAqkcyj\nSELECT W.cWhName"));
  CHECK(shown.err.find("\n标\\x1B题\nSELECT * FROM tempdb..tempAqkcyj\n(") != std::string::npos);
}

TEST_CASE("an output file appears whole or not at all") {
  const Sample sample;
  const std::string file = sample.folder / "out.csv";
  const Arguments run = {"run", "clsRepAQKCYJ", "--format", "csv"};
  Arguments to_file = run;
  to_file.insert(to_file.end(), {"--output", file});
  const Ended ended = sample.Call(to_file);
  CHECK(ended.code == kDone);
  CHECK(ended.out.empty());
  CHECK(testing::Read(file) == sample.Call(run).out);

  testing::Write(file, "before");
  to_file.insert(to_file.end(), {"--filter", "I.nosuch=1"});
  CHECK(sample.Call(to_file).code == kRefused);
  CHECK(testing::Read(file) == "before");
  std::filesystem::create_symlink("out.csv", sample.folder / "link.csv");
  CHECK(sample
            .Call({"query", "SELECT 1 AS a", "--format", "csv", "--output",
                   sample.folder / "link.csv"})
            .code == kDone);
  CHECK(std::filesystem::is_symlink(sample.folder / "link.csv"));
  CHECK(testing::Read(file) == "a\r\n1\r\n");
  for (const std::string& name : testing::FilesIn(sample.folder.path())) {
    CHECK_MESSAGE(name.find(".part") == std::string::npos, name);
  }
  for (const std::string& bad : {sample.folder / "no/out", sample.folder.path().string()}) {
    CHECK(sample.Call({"query", "SELECT 1 AS a", "--output", bad}).code == kRefused);
  }
}

TEST_CASE("no result replaces a file of a database, its own or another") {
  const Sample sample;
  testing::CopySample(sample.folder / "other.db");
  REQUIRE(sample.Call({"run", "clsInventroy"}).code == kDone);
  const std::string before = testing::Read(sample.path);
  for (const char* name : {"s.db", "s.db-wal", "s.db-shm", "s.db.tempdb", "s.db.tempdb-wal",
                           "s.db.tempdb.lock", "other.db"}) {
    CAPTURE(std::string(name));
    const Ended ended = sample.Call({"run", "clsInventroy", "--output", sample.folder / name});
    CHECK(ended.code == kRefused);
    CHECK_MESSAGE(ended.err.find("a file of the database") != std::string::npos, ended.err);
  }
  CHECK((testing::Read(sample.path) == before));
  CHECK(sample.Call({"run", "clsInventroy"}).code == kDone);
}

TEST_CASE(
    "sample create keeps an existing file unless it is told to replace it, and escapes names") {
  const testing::TemporaryFolder folder;
  Arguments create = {"sample", "create", folder / "a\x1b[31m.db", "--lines", "10"};
  const Ended made = CallMain(create);
  CHECK(made.code == kDone);
  CHECK(made.err.find("a\\x1B[31m.db; use it with") != std::string::npos);
  CHECK(made.err.find('\x1b') == std::string::npos);
  CHECK(CallMain(create).code == kRefused);
  create.emplace_back("--force");
  const Ended forced = CallMain(create);
  CHECK_MESSAGE(forced.code == kDone, forced.err);
}

}  // namespace ledgerwick
