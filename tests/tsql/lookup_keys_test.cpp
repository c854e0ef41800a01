// A line finds what describes it by a key; the storage makes no index of the lines for that.
#include <string>

#include "tests/tsql/scratch_database.h"
#include "tsql/compile/compile.h"
#include "tsql/storage/catalogue.h"
#include "tsql/storage/storage.h"

namespace ledgerwick::tsql {
namespace {

// How the storage goes about `sql`.
std::string PlanOf(Storage& storage, TextView sql) {
  Catalogue catalogue(storage, u"keys");
  std::string plan;
  const auto query =
      storage.Prepare("EXPLAIN QUERY PLAN " + CompileQueries(sql, catalogue).front());
  while (storage.Step(query.get())) {
    plan += reinterpret_cast<const char*>(sqlite3_column_text(query.get(), 3));
    plan += '\n';
  }
  return plan;
}

TEST_CASE("lookups go by keys, the lines' own indexes stay in use") {
  const testing::ScratchDatabase scratch;
  for (const TextView batch : {
           u"CREATE TABLE Dep (code varchar(5) PRIMARY KEY, name varchar(20))"
           u" CREATE TABLE Cus (code varchar(5) PRIMARY KEY, name varchar(20))"
           u" CREATE TABLE Item (code varchar(5) PRIMARY KEY, name varchar(20))"
           u" CREATE TABLE Head (id int PRIMARY KEY, dep varchar(5), cus varchar(5))"
           u" CREATE TABLE Line (id int PRIMARY KEY, head int, item varchar(5), q float)"
           u" CREATE INDEX IX_Line_head ON Line (head)",
           u"CREATE VIEW Lines AS SELECT dep, cus, item, q, Dep.name AS dep_name FROM Head"
           u" JOIN Line ON Head.id = Line.head JOIN Dep ON dep = Dep.code",
           u"DECLARE @i int = 0 WHILE @i < 700 BEGIN SET @i += 1"
           u" IF @i <= 9 INSERT INTO Dep VALUES (@i, 'd')"
           u" IF @i <= 24 INSERT INTO Cus VALUES (@i, 'c')"
           u" IF @i <= 88 INSERT INTO Item VALUES (@i, 'i')"
           u" INSERT INTO Head VALUES (@i, @i % 9 + 1, @i % 24 + 1)"
           u" INSERT INTO Line VALUES (@i, @i, @i % 88 + 1, @i) END",
       }) {
    scratch.Run(Text(batch));
  }
  Database::Open(scratch.path())->Compact();
  Storage storage(scratch.path(), {});
  // As if there were many lines.
  storage.Execute("UPDATE sqlite_stat1 SET stat = '124328' WHERE tbl = 'Head'");
  storage.Execute("UPDATE sqlite_stat1 SET stat = '401144 4' WHERE tbl = 'Line'");
  storage.Execute("ANALYZE sqlite_schema");
  const struct {
    const char* name;
    const char16_t* sql;
    const char* wanted;
  } cases[] = {
      {"tables",
       u"SELECT q, Dep.name, Cus.name, Item.name FROM Head JOIN Line ON Head.id = Line.head"
       u" JOIN Cus ON cus = Cus.code JOIN Dep ON Dep.code = dep JOIN Item ON item = Item.code",
       "SCAN s1"},
      {"a view",
       u"SELECT q, dep_name, Cus.name, Item.name FROM Lines JOIN Cus ON cus = Cus.code"
       u" JOIN Item ON item = Item.code",
       "SCAN s2"},
      {"an index of the lines", u"SELECT q FROM Line JOIN Head ON head = Head.id WHERE cus = '1'",
       "INDEX Line.IX_Line_head"},
  };
  for (const auto& c : cases) {
    CAPTURE(std::string(c.name));
    const std::string plan = PlanOf(storage, c.sql);
    CAPTURE(plan);
    CHECK(plan.find("AUTOMATIC") == std::string::npos);
    CHECK(plan.find(c.wanted) != std::string::npos);
  }
}

}  // namespace
}  // namespace ledgerwick::tsql
