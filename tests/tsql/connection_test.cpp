// The embedded database as the component uses it: commands, and a batch that is stopped.
#include <atomic>

#include "tests/tsql/scratch_database.h"

namespace ledgerwick::tsql {
namespace {

using testing::ErrorOf;
using testing::ScratchDatabase;

TEST_CASE("one command runs a text and then a procedure with the parameters appended") {
  const ScratchDatabase scratch;
  const auto connection = scratch.Connect();
  connection->Execute(
      u"CREATE PROCEDURE Fill @chrtable varchar(12), @cond text, @more varchar(3) = 'def' AS "
      u"EXEC ('SELECT 1 AS one INTO ' + @chrtable) "
      u"INSERT INTO log VALUES (@chrtable, @cond, @more)",
      -1);
  const auto command = connection->NewCommand();
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
  CHECK(scratch.Scalar(u"SELECT a + '|' + c AS x FROM log") == "tempdb..w123|def");
  CHECK(scratch.Scalar(u"SELECT b AS x FROM log") == ToUtf8(condition));
  CHECK(scratch.Scalar(u"SELECT COUNT(*) AS x FROM tempdb..w123") == "1");

  // A text knows nothing of the parameters.
  command->SetCommandText(u"DROP TABLE tempdb..w123");
  command->SetCommandType(kCommandText);
  command->Execute(-1);
  command->SetCommandText(u"dbo.nosuch");
  command->SetCommandType(kCommandStoredProcedure);
  CHECK(ErrorOf([&] { command->Execute(-1); }).starts_with("2812: "));
  command->SetCommandText(u"Fill");
  command->AppendParameter(u"", kVarChar, 1, u"1");
  command->AppendParameter(u"", kVarChar, 1, u"2");
  CHECK(ErrorOf([&] { command->Execute(-1); }).starts_with("8144: "));
  CHECK(ErrorOf([&] { command->AppendParameter(u"", 3, 4, u"1"); }).starts_with("3001: "));
  connection->Close();
  CHECK(ErrorOf([&] { command->Execute(-1); }).starts_with("3704: "));
  CHECK(ErrorOf([&] { connection->NewCommand(); }).starts_with("3704: "));
}

TEST_CASE("a recordset is the first result, be it of a procedure") {
  const ScratchDatabase scratch;
  scratch.Run(u"CREATE PROCEDURE P @n int AS PRINT 'p' SELECT @n AS x SELECT 'second' AS x");
  CHECK(scratch.Scalar(u"EXEC P 7") == "7");
}

TEST_CASE(
    "a loop that is cancelled stops, its transaction is taken back, the connection serves on") {
  for (const Text& loop :
       {Text(u"WHILE 1 = 1 SET @i = @i + 1"),
        Text(u"WHILE 1 = 1 BEGIN TRY SET @i = 1 / 0 END TRY BEGIN CATCH END CATCH"),
        Text(u"EXEC ('WHILE 1 = 1 PRINT ''x''')")}) {
    CAPTURE(ToUtf8(loop));
    const ScratchDatabase scratch;
    std::atomic<bool> cancel = false;
    int calls = 0;
    DatabaseOptions options;
    options.cancel = &cancel;
    options.progress = [&] { cancel = cancel || ++calls == 50; };
    const auto connection = scratch.Connect(options);
    connection->Execute(u"CREATE TABLE t (a int)", -1);
    CHECK_THROWS_AS(
        connection->Execute(u"DECLARE @i int SET @i = 0 BEGIN TRAN INSERT INTO t VALUES (1) " +
                                loop + u" INSERT INTO t VALUES (2)",
                            -1),
        DatabaseError);
    CHECK(calls == 50);
    cancel = false;
    CHECK(ScratchDatabase::ScalarOn(*connection, u"SELECT COUNT(*) + @@TRANCOUNT AS x FROM t") ==
          "0");
  }
}

}  // namespace
}  // namespace ledgerwick::tsql
