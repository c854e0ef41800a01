// The suite for each driver that runs here; the double of ADO has it under Wine.
#include <doctest/doctest.h>

#include "frame/error.h"
#include "frame/row_set.h"
#include "host/recorder.h"
#include "odbc/connection.h"
#include "tests/drivers/served_database.h"
#include "tests/drivers/suite.h"
#include "tests/support/test_database.h"
#include "tsql/connection.h"

namespace ledgerwick::testing {
namespace {

using odbc::OdbcConnection;

TEST_CASE("the embedded database is a driver") {
  const TestDatabase database;
  CheckDriver({[] { return tsql::EmbeddedConnection::New({}); },
               u"embedded:" + FromUtf8(database.path().string()),
               {}});
}

TEST_CASE("a server through ODBC is a driver") {
  const TestDatabase database;
  const ServedDatabase served(database.path());
  CheckDriver({[] { return OdbcConnection::New({}); }, served.ConnectionString(), {}});
}

TEST_CASE("the recorder is a driver") {
  Request request;
  request.report = FindClass(u"clsInventroy");
  CannedRecordset& canned = request.recordsets.emplace_back();
  canned.match = kSuiteQuery;
  for (const SuiteRow& row : kSuiteRows) {
    canned.rows.push_back(
        {{u"code", row.code}, {u"n", row.n}, {u"f", row.f}, {u"d", row.d}, {u"b", row.b}});
  }
  Recorder recorder(request);
  CheckDriver({[&] { return recorder.NewConnection(); },
               u"anything",
               {Ability::Statements, Ability::Dates, Ability::States}});
}

// Everything that a batch gives, a line for each.
class Story final : public ResultSink {
 public:
  void Columns(std::span<const ResultColumn> columns) override {
    for (const ResultColumn& column : columns) {
      text += ToUtf8(column.name) + " " + ToUtf8(column.type) + (column.nullable ? "? " : " ");
    }
    text += '\n';
  }
  void Row(std::span<const Value> values) override {
    for (const Value& value : values) {
      text += (value.IsNull() ? "NULL" : ToUtf8(value.ToText())) + "|";
    }
    text += '\n';
  }
  void EndRows(std::int64_t count) override { text += std::to_string(count) + " rows\n"; }
  void RowsAffected(std::int64_t count) override { text += std::to_string(count) + " changed\n"; }
  void Message(const Text& message) override { text += "says " + ToUtf8(message) + '\n'; }
  void Error(const DatabaseError& error) override { text += "further " + Told(error); }

  static std::string Told(const DatabaseError& error) {
    return "error " + std::to_string(error.native) + " severity " + std::to_string(error.severity) +
           " line " + std::to_string(error.line) + ": " + ToUtf8(error.description) + '\n';
  }

  std::string text;
};

std::string StoryOf(BatchRunner& runner, const Text& batch) {
  Story story;
  try {
    runner.Run(batch, story);
  } catch (const DatabaseError& error) {
    story.text += Story::Told(error);
  }
  return story.text;
}

TEST_CASE("results, counts, messages and errors of a batch come in order, whole and exact") {
  const TestDatabase database;
  const ServedDatabase served(database.path());
  const auto server = OdbcConnection::New({});
  server->Open(served.ConnectionString(), {}, {}, kOptionUnspecified);
  const auto embedded = tsql::Database::Open(database.path());
  StoryOf(*embedded,
          u"CREATE TABLE v (a tinyint, b smallint, c int NOT NULL, d bigint, e bit, f real, "
          u"g float, h decimal(38,10), i numeric(5,0), j money, k smallmoney, l datetime, "
          u"m smalldatetime, n char(5), o varchar(20), p nchar(5), q nvarchar(20)) "
          u"CREATE TABLE w (c int, t varchar(max), u nvarchar(max))");
  const Text batches[] = {
      u"INSERT INTO v VALUES (255, -32768, -2147483648, -9223372036854775808, 1, 1.5e-10, "
      u"1.7976931348623157e308, -1234567890123456789012345678.0123456789, 99999, "
      u"-922337203685477.5808, -214748.3648, '1753-01-01', '1900-01-01', 'ab', 'o''x', N'中文', "
      u"N'𠀀😀') INSERT INTO v (c) VALUES (0) "
      u"INSERT INTO v VALUES (0, 32767, 2147483647, 9223372036854775807, 0, -3.4e38, "
      u"-2.2250738585072014e-308, 0.0000000001, -99999, 0.0001, 0.0001, "
      u"'9999-12-31 23:59:59.997', '2079-06-06 23:59', ' ', '', '', '')",
      u"SELECT * FROM v ORDER BY c",
      u"INSERT INTO w VALUES (1, REPLICATE(CAST('长' AS varchar(max)), 4000), "
      u"REPLICATE(CAST(N'𠀀' AS nvarchar(max)), 2000)) INSERT INTO w VALUES (2, '', NULL) "
      u"SELECT c, t + t + t + t + t + t + t + t + t AS t, u + u + u + u AS u FROM w ORDER BY c",
      u"SELECT CAST(0x00FF AS binary(3)) AS a, CAST(0xAB AS varbinary(9)) AS b, "
      u"CAST(0x AS varbinary(max)) AS c, CAST('0001-01-01' AS date) AS d, "
      u"CAST('23:59:59.1234567' AS time(7)) AS e, CAST('9999-12-31 23:59:59.9' AS datetime2(1)) AS "
      u"f, CAST('6F9619FF-8B86-D011-B42D-00C04FC964FF' AS uniqueidentifier) AS g, "
      u"CAST('0987-01-01 00:00:00' AS datetime2(0)) AS k, CAST(NULL AS date) AS h, CAST(NULL AS "
      u"uniqueidentifier) AS i, CAST('10:11' AS time(0)) AS "
      u"j",
      u"SELECT c, h FROM v WHERE 1 = 0",
      u"PRINT 'a'\nSELECT 1/0 AS x\nSELECT 2 AS y\nRAISERROR('boo', 16, 3)\nPRINT 'b'\n"
      u"UPDATE v SET a = a WHERE c = 0\nSELECT 5 AS z\nRAISERROR('低', 9, 1)",
      u"SELECT c FROM nosuch",
      u"-- a comment\nCREATE PROCEDURE p AS PRINT 'in p' SELECT 1 AS one RETURN 3",
      u"p",
      u"DECLARE @i int EXEC @i = p SELECT @i AS given",
      u"UPDATE v SET a = 1",
      u"SELECT @@ROWCOUNT AS n",
      u"DELETE FROM v DELETE FROM w DROP PROCEDURE p",
  };
  for (const Text& batch : batches) {
    CAPTURE(ToUtf8(batch));
    const std::string through_server = StoryOf(*server, batch);
    // The embedded database does the same once more, or finds it done.
    if (batch.starts_with(u"INSERT") || batch.starts_with(u"DELETE")) continue;
    if (batch.find(u"CREATE PROCEDURE") != Text::npos) continue;
    CHECK(through_server == StoryOf(*embedded, batch));
  }
}

TEST_CASE("rows come in blocks, all of them, and a sink that stops reading harms nothing") {
  const TestDatabase database;
  const ServedDatabase served(database.path());
  const auto server = OdbcConnection::New({});
  server->Open(served.ConnectionString(), {}, {}, kOptionUnspecified);
  server->Execute(
      u"CREATE TABLE t (a int, b varchar(10)) INSERT INTO t VALUES (0, 'x') "
      u"DECLARE @i int SET @i = 0 WHILE @i < 11 BEGIN "
      u"INSERT INTO t SELECT a + POWER(2, @i), b FROM t SET @i = @i + 1 END",
      kOptionUnspecified);
  for (const char16_t* rows : {u"0", u"1", u"1023", u"1024", u"1025", u"2048"}) {
    const std::string story =
        StoryOf(*server, u"SELECT a FROM t WHERE a < " + Text(rows) + u" ORDER BY a PRINT 'end'");
    CAPTURE(ToUtf8(rows));
    CHECK(story.find("\n" + ToUtf8(rows) + " rows\nsays end\n") != std::string::npos);
  }
  struct Stop {};
  class Impatient final : public NullSink {
   public:
    bool WantsRow() override { throw Stop(); }
  } impatient;
  CHECK_THROWS_AS(server->Run(u"SELECT a FROM t SELECT b FROM t", impatient), Stop);
  CHECK(StoryOf(*server, u"SELECT 7 AS a") == "a int \n7|\n1 rows\n");
}

TEST_CASE("a statement that runs for ever ends by its limit or the user's wish") {
  const TestDatabase database;
  const ServedDatabase served(database.path());
  std::atomic<bool> cancel = false;
  int calls = 0;
  odbc::ConnectionOptions options;
  options.cancel = &cancel;
  options.progress = [&] { cancel = cancel || ++calls == 5; };
  const auto server = OdbcConnection::New(options);
  server->Open(served.ConnectionString(), {}, {}, kOptionUnspecified);
  const Text loop =
      u"CREATE TABLE tempdb..half (a int) DECLARE @i int SET @i = 0 "
      u"WHILE 1 = 1 SET @i = @i + 1";
  NullSink sink;
  std::string told;
  Trapped([&] { server->Run(loop, sink); }, [&](const DatabaseError& e) { told = e.what(); });
  CHECK(told == "The statement was cancelled.");
  CHECK(calls == 5);
  cancel = false;
  calls = -1000;
  const auto command = server->NewCommand();
  command->SetCommandText(u"DECLARE @i int SET @i = 0 WHILE 1 = 1 SET @i = @i + 1");
  command->SetCommandTimeout(1);
  Trapped([&] { command->Execute(-1); }, [&](const DatabaseError& e) { told = e.what(); });
  CHECK(told == "The statement took longer than its 1 seconds and was cancelled on the server.");
  CHECK(StoryOf(*server, u"SELECT 7 AS a").ends_with("7|\n1 rows\n"));
}

TEST_CASE("each way of not getting a connection, or of losing it, has its own remedy") {
  const TestDatabase database;
  auto served = std::make_unique<ServedDatabase>(database.path());
  const Text good = served->ConnectionString();
  const auto host = [&](const char16_t* part) {
    Text text = good;
    return text.replace(text.find(u"127"), text.find(u';', text.find(u"127")) - text.find(u"127"),
                        part);
  };
  const std::pair<Text, const char*> cases[] = {
      {good + u";Password=wrong", "Check the user's name and password"},
      {good + u";Initial Catalog=nosuch", "Check the database's name"},
      {host(u"nohost.invalid"), "No computer of the name nohost.invalid is known"},
      {host(u"127.0.0.1,1"), "No SQL Server answers at 127.0.0.1,1"},
      {u"Driver=/nosuch.so;" + good, "apt-get install tdsodbc"},
      {u"DSN=nosuch;" + good, "correct Driver= or DSN="},
  };
  for (const auto& [text, remedy] : cases) {
    CAPTURE(remedy);
    std::string told;
    const auto connection = OdbcConnection::New({});
    Trapped([&] { connection->Open(text, {}, {}, kOptionUnspecified); },
            [&](const DatabaseError& error) { told = error.what(); });
    CHECK_MESSAGE(told.find(remedy) != std::string::npos, told);
    CHECK(told.find("geheim") == std::string::npos);
    // A report that passes the failure over is told it again by its next step.
    Trapped([&] { connection->Execute(u"SELECT 1 AS a", kOptionUnspecified); },
            [&](const DatabaseError& error) { CHECK(error.what() == told); });
  }
  const auto connection = OdbcConnection::New({});
  connection->Open(good, {}, {}, kOptionUnspecified);
  served.reset();
  for (int i = 0; i < 2; ++i) {
    const std::string story = StoryOf(*connection, u"SELECT 1 AS a");
    CHECK_MESSAGE(story.find("broke while a statement ran") != std::string::npos, story);
  }
}

}  // namespace
}  // namespace ledgerwick::testing
