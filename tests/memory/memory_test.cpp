// What must not end the process: memory that runs out, a batch that is cancelled while it is
// prepared, callbacks that throw, and whatever a foreign hand has written into a file.
#include <sqlite3.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "tests/tsql/scratch_database.h"
#include "tests/tsql/sql_error.h"
#include "tsql/base/allowance.h"
#include "tsql/compile/compile.h"
#include "tsql/storage/storage.h"

namespace {

// How many allocations still succeed on this thread, and whether all behind the one that fails do,
// too. Negative: none fails.
thread_local std::int64_t allocations_left = -1;
thread_local bool fails_for_good = false;
thread_local bool has_failed = false;

void* Allocate(std::size_t size) {
  if (allocations_left == 0) {
    if (!fails_for_good) allocations_left = -1;
    has_failed = true;
    throw std::bad_alloc();
  }
  if (allocations_left > 0) --allocations_left;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kNoMemory = 701;

// A database of its own.
struct Fixture {
  void Reopen(const DatabaseOptions& options) {
    database.reset();
    database = Database::Open(path, options);
  }

  // The server's number of the batch's error, 0 without one.
  std::int32_t Run(TextView batch) { return testing::EndingOf(*database, batch).number; }

  // Writes into the file as anybody can.
  void Write(const char* sql) const {
    sqlite3* db = nullptr;
    REQUIRE(sqlite3_open(path.c_str(), &db) == SQLITE_OK);
    CHECK_MESSAGE(sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK,
                  sqlite3_errmsg(db));
    sqlite3_close(db);
  }

  testing::ScratchDatabase scratch;
  fs::path path = scratch.path();
  std::unique_ptr<Database> database = Database::Open(path);
};

// A batch, and the error that it ends with when there is memory.
struct Batch {
  TextView sql;
  std::int32_t error;
};

constexpr Batch kBatches[] = {
    {u"SELECT d.a, SUM(d.q), MAX(i.name) FROM d JOIN i ON i.a = d.a WHERE i.name LIKE '%名%' "
     u"GROUP BY d.a HAVING COUNT(*) > 1 ORDER BY 2 DESC",
     0},
    {u"IF OBJECT_ID('#x') IS NOT NULL DROP TABLE #x SELECT UPPER(name) AS n, CAST(a AS "
     u"decimal(18,4)) / 3 AS q, CAST('2002-03-01' AS datetime) "
     u"+ a AS d INTO #x "
     u"FROM v DROP TABLE #x",
     0},
    {u"BEGIN TRAN INSERT INTO d SELECT a, 1 FROM i UPDATE d SET q = q + 1 FROM d JOIN i ON i.a = "
     u"d.a DELETE FROM d WHERE a > 1000000 ROLLBACK",
     0},
    {u"IF OBJECT_ID('made') IS NOT NULL DROP PROCEDURE made EXEC ('CREATE PROCEDURE made @p "
     u"varchar(10) = ''x'', @o int OUTPUT AS CREATE TABLE #t (x int) SET @o = LEN(@p) EXEC "
     u"(''SELECT 1 WHERE 1 IN (SELECT x FROM #t)'')') DECLARE @o int EXEC made 'abc', @o OUTPUT "
     u"EXEC made @o = @o OUTPUT SELECT @o",
     0},
    {u"BEGIN TRY SELECT 1 / 0 END TRY BEGIN CATCH PRINT ERROR_MESSAGE() RAISERROR ('重 %s %5d', "
     u"16, "
     u"1, 'x', 3) END CATCH",
     50000},
    {u"SELECT nosuch FROM d", 207},
};

void Prepare(Fixture& fixture) {
  CHECK(fixture.Run(u"CREATE TABLE d (a int, q float) CREATE TABLE i (a int PRIMARY KEY, name "
                    u"nvarchar(30)) INSERT INTO i VALUES (1, N'名一'), (2, N'名二') INSERT INTO d "
                    u"VALUES (1, 1.5), (1, 2), (2, 3)") == 0);
  CHECK(fixture.Run(u"CREATE VIEW v AS SELECT a, name FROM i") == 0);
}

// After whatever went wrong: the rows are those that were there, and nothing is left open.
void CheckUnharmed(Fixture& fixture) {
  CHECK(fixture.Run(u"IF (SELECT COUNT(*) FROM d) + @@TRANCOUNT <> 3 RAISERROR ('harm', 16, 1)") ==
        0);
}

// Runs the batch with the allocation `n` failing. Returns its error.
std::int32_t RunFailing(Fixture& fixture, TextView sql, std::int64_t n, bool for_good) {
  NullSink sink;
  std::int32_t number = 0;
  fails_for_good = for_good;
  has_failed = false;
  allocations_left = n;
  try {
    fixture.database->Run(sql, sink);
  } catch (const DatabaseError& error) {
    number = error.native;
  }
  allocations_left = -1;
  return number;
}

TEST_CASE("an allocation that fails is error 701 or none, whichever it is") {
  for (const bool for_good : {false, true}) {
    Fixture fixture;
    Prepare(fixture);
    for (const Batch& batch : kBatches) {
      CAPTURE(ToUtf8(batch.sql));
      CAPTURE(for_good);
      std::int64_t n = 0;
      do {
        const std::int32_t number = RunFailing(fixture, batch.sql, n, for_good);
        CAPTURE(n);
        CHECK((number == batch.error || number == kNoMemory));
        CheckUnharmed(fixture);
      } while (++n, has_failed);
      CHECK(n > 10);
    }
  }
}

TEST_CASE("a batch with too little memory for SQLite and its own tree fails with 701") {
  Fixture fixture;
  Prepare(fixture);
  int refused = 0;
  for (std::int64_t limit = 1'000; limit < 400'000; limit += limit / 8) {
    CAPTURE(limit);
    DatabaseOptions options;
    options.memory_limit = limit;
    fixture.Reopen(options);
    for (const Batch& batch : kBatches) {
      CAPTURE(ToUtf8(batch.sql));
      const std::int32_t number = fixture.Run(batch.sql);
      CHECK((number == batch.error || number == kNoMemory));
      refused += number == kNoMemory ? 1 : 0;
    }
    fixture.Reopen({});
    CheckUnharmed(fixture);
  }
  CHECK(refused > 20);
}

TEST_CASE("views that double meet the limit of memory") {
  Fixture fixture;
  Prepare(fixture);
  DatabaseOptions options;
  options.memory_limit = std::int64_t{16} << 20;
  fixture.Reopen(options);
  Text view = u"v";
  std::int32_t number = 0;
  for (int i = 0; number == 0 && i < 25; ++i) {
    const Text before = view;
    view += u"v";
    number = fixture.Run(u"CREATE VIEW " + view + u" AS SELECT x.a FROM " + before + u" x JOIN " +
                         before + u" y ON x.a = y.a");
  }
  CHECK(number == kNoMemory);
  CHECK(fixture.Run(u"SELECT 5 ^ 1") == 0);
}

TEST_CASE("what is being read, bound or prepared stops when it is cancelled") {
  Fixture fixture;
  Prepare(fixture);
  fixture.database.reset();
  std::atomic<bool> cancel = false;
  DatabaseOptions options;
  options.cancel = &cancel;
  Storage storage(fixture.path, options);
  Catalogue catalogue(storage, u"test");
  std::string sql = "SELECT 1 WHERE 1 IN (1";
  for (int i = 0; i < 1000; ++i) sql += ", " + std::to_string(i) + " + 1";
  sql += ")";
  const std::string cancelled = "0: Operation cancelled by user.";
  const Allowance allowance(&cancel, 0);
  for (const bool is_cancelled : {false, true}) {
    cancel = is_cancelled;
    const std::string expected = is_cancelled ? cancelled : "";
    CHECK(ErrorOf([&] { storage.Prepare(sql); }) == expected);
    CHECK(ErrorOf([&] { CompileQueries(FromUtf8(sql), catalogue); }) == expected);
  }
}

TEST_CASE("what a sink or a callback throws leaves as it is, and the transaction is taken back") {
  struct Own {};
  class Thrower final : public NullSink {
    void Row(std::span<const Value>) override { throw Own(); }
  };
  Fixture fixture;
  Prepare(fixture);
  Thrower sink;
  CHECK_THROWS_AS(fixture.database->Run(u"BEGIN TRAN DELETE FROM d SELECT 1", sink), Own);
  CheckUnharmed(fixture);
  DatabaseOptions options;
  bool throws = false;
  options.progress = [&] {
    if (throws) throw Own();
  };
  fixture.Reopen(options);
  throws = true;
  NullSink quiet;
  for (const TextView batch :
       {TextView(u"BEGIN TRAN DELETE FROM d WHILE 1 = 1 PRINT 'x'"),
        TextView(u"BEGIN TRAN DELETE FROM d SELECT COUNT(*) FROM sysobjects a, sysobjects b, "
                 u"sysobjects c, sysobjects d, sysobjects e, sysobjects f, sysobjects g, "
                 u"sysobjects h, sysobjects i, sysobjects j")}) {
    throws = true;
    CHECK_THROWS_AS(fixture.database->Run(batch, quiet), Own);
    throws = false;
    CheckUnharmed(fixture);
  }
}

TEST_CASE("whatever stands in a file gives a value or an error") {
  Fixture fixture;
  fixture.Write(
      "CREATE TABLE odd (d datetime, s smalldatetime, i int, b bit, m money, n \"decimal(18,4)\", "
      "t "
      "\"varchar(10)\", u \"nvarchar(2000000000)\", w \"decimal(255,255)\", x \"no type(1,2)\", y "
      "\"varchar(2147483647)\", z);"
      "INSERT INTO odd VALUES (9223372036854775807, -9223372036854775807 - 1, 1e300, 'x', 1e300, "
      "'text', X'FF00C0', X'80', 1, 2, 3, 4);"
      "INSERT INTO odd VALUES ('date', 1e999, X'00', -1, 'm', X'', CAST(X'E9878DE9' AS TEXT), "
      "CAST(X'EDA080F4908080' AS TEXT), NULL, NULL, NULL, NULL);"
      "INSERT INTO ledgerwick_modules VALUES ('v1', 'V', ''), ('v2', 'V', 'SELECT 1'), ('v3', 'V', "
      "'CREATE VIEW v3 AS SELECT * FROM v3'), ('p1', 'P', ''), ('p2', 'P', 'SELECT 1'), ('p3', "
      "'P', "
      "'CREATE PROCEDURE p3 AS EXEC p3'), (CAST(X'FF' AS TEXT), CAST(X'FE' AS TEXT), X'FD'), "
      "('v4', "
      "'V', X'80');");
  for (const TextView batch :
       {TextView(u"SELECT * FROM odd"),
        TextView(u"SELECT d, s FROM odd ORDER BY d"),
        TextView(u"SELECT DATEPART(year, d), DATEPART(week, s), YEAR(s) FROM odd"),
        TextView(u"SELECT DATEADD(day, 2147483647, d) FROM odd"),
        TextView(u"SELECT DATEADD(month, -2147483647, s) FROM odd"),
        TextView(u"SELECT DATEDIFF(millisecond, s, d), DATEDIFF(year, d, s) FROM odd"),
        TextView(u"SELECT CONVERT(varchar(30), d, 121), CONVERT(varchar(30), s) FROM odd"),
        TextView(u"SELECT CAST(d AS smalldatetime) FROM odd"),
        TextView(u"SELECT CAST(d AS float), d + s, d - s FROM odd"),
        TextView(u"SELECT CAST(i AS smallint), ABS(i), CAST(b AS int) + 1, m * m, n / m FROM odd"),
        TextView(u"SELECT t + u, UPPER(t), LEN(u), t + y, CAST(y AS char(10)) FROM odd"),
        TextView(u"SELECT w + w, x + 1, z, w * 2.5, CAST(x AS varchar(10)) FROM odd"),
        TextView(u"SELECT a.t FROM odd a JOIN odd b ON a.t = b.u WHERE a.t LIKE N'%重%'"),
        TextView(u"SELECT t, SUM(n), MIN(d), AVG(m) FROM odd GROUP BY t"),
        TextView(u"SELECT * INTO #o FROM odd DROP TABLE #o"),
        TextView(u"SELECT * FROM v1"),
        TextView(u"SELECT * FROM v2"),
        TextView(u"SELECT * FROM v3"),
        TextView(u"SELECT * FROM v4"),
        TextView(u"EXEC p1"),
        TextView(u"EXEC p2"),
        TextView(u"EXEC p3"),
        TextView(u"SELECT * FROM sysobjects"),
        TextView(u"RAISERROR ('%重', 16, 1)")}) {
    CAPTURE(ToUtf8(batch));
    CHECK(fixture.Run(batch) != 8624);
  }
  CHECK(fixture.Run(u"SELECT * FROM v1") == 208);
  CHECK(fixture.Run(u"EXEC p2") == 2812);
  CHECK(fixture.Run(u"EXEC p3") == 217);
}

}  // namespace
}  // namespace ledgerwick::tsql
