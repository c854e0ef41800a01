// schema: what a database in a file and one on a server say of themselves.
#include <doctest/doctest.h>

#include "cli/command_line.h"
#include "tests/cli/harness.h"
#include "tests/drivers/served_database.h"

namespace ledgerwick::testing {

constexpr const char* kProcedure = "CREATE PROCEDURE Sa_Move AS\r\n\tPRINT N'钉\x1B'";

TEST_CASE("schema tells the same of a database in a file and on a server") {
  const TemporaryFolder folder;
  const std::string here = "embedded:" + (folder / "s.db");
  Write(folder / "make.sql",
        "CREATE TABLE Moved (r char(3), a int NOT NULL DEFAULT 7, b decimal(9,2), c nvarchar(max),"
        " d varbinary(9), e datetime2(3), f time(1), g timestamp, h money, 数量 float,"
        " CONSTRAINT x PRIMARY KEY (r, a))\nGO\n"
        "CREATE INDEX ix ON Moved (b, c) CREATE UNIQUE INDEX ux ON Moved (a)\nGO\n"
        "CREATE TABLE SaXMove (a int)\nGO\n"
        "CREATE VIEW Seen AS SELECT r, a + 1 AS [a 1] FROM Moved\nGO\n" +
            std::string(kProcedure) +
            "\nGO\nUSE tempdb CREATE TABLE result (a int NOT NULL PRIMARY KEY)");
  REQUIRE(
      CallMain({"query", "--create", "--connection", here, "--file", folder / "make.sql"}).code ==
      kDone);
  const ServedDatabase served(folder / "s.db");
  struct Case {
    Arguments args;
    int code;
    const char* out;  // as tsv, but for the text itself
    const char* err;  // a part
  };
  const std::string text = std::string(kProcedure) + "\n";
  const Case cases[] = {
      {{},
       kDone,
       "name\tkind\tcolumns\tprimary key\nMoved\ttable\t10\tr, a\nSa_Move\tprocedure\t\t\n"
       "SaXMove\ttable\t1\t\nSeen\tview\t2\t\n",
       ""},
      {{"moved"},
       kDone,
       "column\ttype\tnull\tdefault\nr\tchar(3)\tno\t\na\tint\tno\t(7)\nb\tdecimal(9,2)\tyes\t\n"
       "c\tnvarchar(max)\tyes\t\nd\tvarbinary(9)\tyes\t\ne\tdatetime2(3)\tyes\t\n"
       "f\ttime(1)\tyes\t\ng\ttimestamp\tyes\t\nh\tmoney\tyes\t\n数量\tfloat\tyes\t\n\n"
       "key or index\tkind\tcolumns\treferences\nx\tprimary key\tr, a\t\n"
       "ux\tunique index\ta\t\nix\tindex\tb, c\t\n",
       "table Moved\n"},
      {{"[dbo].Seen"},
       kDone,
       "column\ttype\tnull\tdefault\nr\tchar(3)\tno\t\na 1\tint\tyes\t\n\ntext\n"
       "CREATE VIEW Seen AS SELECT r, a + 1 AS [a 1] FROM Moved\n",
       "view Seen\n"},
      // An object of that very name comes before what it is like.
      {{"Sa_Move", "--format", "table"}, kDone, text.c_str(), "procedure Sa_Move\n"},
      {{"Sa_Mov%"},
       kDone,
       "name\tkind\tcolumns\tprimary key\nSa_Move\tprocedure\t\t\nSaXMove\ttable\t1\t\n",
       ""},
      {{"tempdb.."}, kDone, "name\tkind\tcolumns\tprimary key\nresult\ttable\t1\ta\n", ""},
      {{"tempdb..result"},
       kDone,
       "column\ttype\tnull\tdefault\na\tint\tno\t\n\nkey or index\tkind\tcolumns\treferences\n"
       "PK__result__5E3DE97595863575\tprimary key\ta\t\n",
       "table result\n"},
      {{"Movd"}, kRefused, "", "called 'Movd'; did you mean 'Moved'?\n"},
      {{"guest.Moved"}, kRefused, "", "called 'Moved'\n"},
      {{"z%"}, kRefused, "", "has a name like 'z%'\n"},
      {{"nowhere..Moved"}, kRefused, "", "Msg 911: Database 'nowhere' does not exist"},
  };
  for (const std::string& connection : {here, ToUtf8(served.ConnectionString())}) {
    for (const Case& c : cases) {
      Arguments args = {"schema", "--connection", connection, "--format", "tsv"};
      if (c.args.size() > 1) args.resize(3);
      args.insert(args.end(), c.args.begin(), c.args.end());
      CAPTURE(connection);
      CAPTURE(c.args.empty() ? "" : c.args.front());
      const Ended ended = CallMain(args);
      CHECK_MESSAGE(ended.code == c.code, ended.err);
      CHECK(ended.out == c.out);
      CHECK_MESSAGE(ended.err.find(c.err) != std::string::npos, ended.err);
    }
  }
}

}  // namespace ledgerwick::testing
