// The embedded database as the component uses it: commands, and a batch that is stopped.
#include <doctest/doctest.h>

#include <atomic>
#include <filesystem>
#include <random>

#include "frame/error.h"
#include "tsql/connection.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;

// A connection to a database of its own.
class Fixture {
 public:
  Fixture() {
    std::random_device random;
    directory_ = fs::temp_directory_path() / ("ledgerwick-connection-" + std::to_string(random()));
    fs::create_directory(directory_);
    DatabaseOptions create;
    create.create = true;
    Database::Open(directory_ / "test.db", create);
    options_.cancel = &cancel;
    options_.progress = [this] { cancel = cancel || ++progress_calls == 50; };
    connection = EmbeddedConnection::New(options_);
    connection->Open(u"embedded:" + FromUtf8((directory_ / "test.db").string()), {}, {}, -1);
  }
  ~Fixture() {
    connection.reset();
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
  }
  Fixture(const Fixture&) = delete;
  Fixture& operator=(const Fixture&) = delete;

  Text Scalar(const Text& sql) { return connection->OpenRecordset(sql, {})->Field(u"x").ToText(); }

  std::atomic<bool> cancel = false;
  std::atomic<int> progress_calls = 0;
  std::shared_ptr<EmbeddedConnection> connection;

 private:
  fs::path directory_;
  DatabaseOptions options_;
};

// The server's number of the error that `work` ends with; 0 without one.
template <typename Work>
std::int32_t NumberOf(Work work) {
  try {
    work();
    return 0;
  } catch (const DatabaseError& error) {
    return error.native != 0 ? error.native : error.number;
  }
}

TEST_CASE("one command runs a text and then a procedure with the parameters appended") {
  Fixture fixture;
  Connection& connection = *fixture.connection;
  connection.Execute(
      u"CREATE PROCEDURE Fill @chrtable varchar(12), @cond text, @more varchar(3) = 'def' AS "
      u"EXEC ('SELECT 1 AS one INTO ' + @chrtable) "
      u"INSERT INTO log VALUES (@chrtable, @cond, @more)",
      -1);
  const auto command = connection.NewCommand();
  command->SetCommandText(u"CREATE TABLE log (a varchar(50), b varchar(max), c varchar(3))");
  command->SetCommandType(kCommandText);
  command->Execute(-1);
  command->SetCommandText(u"Fill");
  command->SetCommandType(kCommandStoredProcedure);
  const Text condition = Text(9000, u'条') + u"'; DROP TABLE log --";
  // The names do not count, and what is too long for the procedure is cut off.
  command->AppendParameter(u"cond", kVarChar, 20, u"tempdb..w123xyz");
  command->AppendParameter(u"chrtable", kLongVarChar, 1, condition);
  command->Execute(-1);
  CHECK(fixture.Scalar(u"SELECT a + '|' + c AS x FROM log") == u"tempdb..w123|def");
  CHECK(fixture.Scalar(u"SELECT b AS x FROM log") == condition);
  CHECK(fixture.Scalar(u"SELECT COUNT(*) AS x FROM tempdb..w123") == u"1");

  // A text knows nothing of the parameters.
  command->SetCommandText(u"DROP TABLE tempdb..w123");
  command->SetCommandType(kCommandText);
  command->Execute(-1);
  command->SetCommandText(u"dbo.nosuch");
  command->SetCommandType(kCommandStoredProcedure);
  CHECK(NumberOf([&] { command->Execute(-1); }) == 2812);
  command->SetCommandText(u"Fill");
  command->AppendParameter(u"", kVarChar, 1, u"1");
  command->AppendParameter(u"", kVarChar, 1, u"2");
  CHECK(NumberOf([&] { command->Execute(-1); }) == 8144);
  CHECK(NumberOf([&] { command->AppendParameter(u"", 3, 4, u"1"); }) == 3001);
  connection.Close();
  CHECK(NumberOf([&] { command->Execute(-1); }) == 3704);
  CHECK(NumberOf([&] { connection.NewCommand(); }) == 3704);
}

TEST_CASE("a procedure's error reaches the caller with its own place") {
  Fixture fixture;
  fixture.connection->Execute(u"CREATE PROCEDURE P AS\nSELECT 1\nSELECT 1 / 0", -1);
  try {
    fixture.connection->Execute(u"\n\n\nEXEC P", -1);
    FAIL("no error");
  } catch (const DatabaseError& error) {
    CHECK(error.native == 8134);
    CHECK(error.procedure == u"P");
    CHECK(error.line == 3);
  }
}

TEST_CASE("a recordset is the first result, be it of a procedure") {
  Fixture fixture;
  fixture.connection->Execute(
      u"CREATE PROCEDURE P @n int AS SET NOCOUNT ON PRINT 'p' DECLARE @i int SET @i = 0 "
      u"SELECT @n AS x SELECT 'second' AS x",
      -1);
  CHECK(fixture.Scalar(u"EXEC P 7") == u"7");
}

TEST_CASE(
    "a loop that is cancelled stops, its transaction is taken back, the connection serves on") {
  for (const Text& loop :
       {Text(u"WHILE 1 = 1 SET @i = @i + 1"),
        Text(u"WHILE 1 = 1 BEGIN TRY SET @i = 1 / 0 END TRY BEGIN CATCH END CATCH"),
        Text(u"EXEC ('WHILE 1 = 1 PRINT ''x''')")}) {
    CAPTURE(ToUtf8(loop));
    Fixture fixture;
    fixture.connection->Execute(u"CREATE TABLE t (a int)", -1);
    CHECK_THROWS_AS(fixture.connection->Execute(
                        u"DECLARE @i int SET @i = 0 BEGIN TRAN INSERT INTO t VALUES (1) " + loop +
                            u" INSERT INTO t VALUES (2)",
                        -1),
                    DatabaseError);
    CHECK(fixture.progress_calls == 50);
    fixture.cancel = false;
    CHECK(fixture.Scalar(u"SELECT COUNT(*) + @@TRANCOUNT AS x FROM t") == u"0");
  }
}

}  // namespace
}  // namespace ledgerwick::tsql
