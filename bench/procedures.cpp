// What calling a stored procedure costs on the embedded database, beside running its statement
// directly, on one file in one run: the whole of two sales reports' procedures, and the call alone;
// then what a turn of a loop costs, in a procedure and around one.
//
//   bench_procedures [VOUCHER_LINES]     (20,000 unless told)
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/stopwatch.h"
#include "frame/error.h"
#include "sample/sample.h"
#include "tsql/connection.h"

namespace {

using namespace ledgerwick;
namespace fs = std::filesystem;

constexpr int kRounds = 31;

struct Parameter {
  TextView name;
  TextView value;
};

struct Pair {
  const char* name;
  Text procedure;
  std::vector<Parameter> parameters;
  Text direct;  // what the procedure comes to
};

std::vector<Pair> Pairs() {
  const Text drop =
      u"IF EXISTS (SELECT * FROM tempdb..sysobjects WHERE name = 'bench')"
      u" DROP TABLE tempdb..bench ";
  return {
      {"one assignment",
       u"Bench_Empty",
       {{u"a", u"some text"}},
       u"DECLARE @a nvarchar(100) SET @a = 'some text'"},
      {"entrusted sales, a month",
       u"Sa_MoveTrustDetail",
       {{u"chrtable", u"bench"},
        {u"chrWhere", u" "},
        {u"chrStartDate", u"2002-03-01"},
        {u"chrEndDate", u"2002-03-31"}},
       drop + u"SELECT dDate AS 结算日期, cDLCode AS 结算单号, cCusAbbName AS 客户名称,"
              u" cWhCode AS 仓库编码, Inventory.cInvCode AS 存货编码, cInvName AS 存货名称,"
              u" cInvStd AS 规格型号, iQuantity AS 结算数量, iUnitPrice AS 单价,"
              u" iMoney AS 结算金额 INTO tempdb..bench FROM SaleNoteView"
              u" INNER JOIN Inventory ON SaleNoteView.cInvCode = Inventory.cInvCode"
              u" WHERE cVouchType = '07' AND dDate >= '2002-03-01' AND dDate <= '2002-03-31'"},
      {"sales summary",
       u"Sa_MoveSaleDetail",
       {{u"chrtable", u"bench"},
        {u"chrWhere1", u" "},
        {u"chrsaledate", u""},
        {u"chrkeepdate", u""},
        {u"chrdep", u""},
        {u"chrchecker", u""},
        {u"chrwarehouse", u""}},
       drop + u"SELECT cDepCode AS 部门编码, cDepName AS 部门名称, cCusCode AS 客户编码,"
              u" cCusAbbName AS 客户名称, Inventory.cInvCode AS 存货编码, cInvName AS 存货名称,"
              u" cInvStd AS 规格型号, SUM(iQuantity) AS 数量, SUM(iNum) AS 件数,"
              u" SUM(iMoney) AS 金额, SUM(iTax) AS 税额, SUM(iMoney + iTax) AS 价税合计"
              u" INTO tempdb..bench FROM SaleInvoiceView"
              u" INNER JOIN Inventory ON SaleInvoiceView.cInvCode = Inventory.cInvCode"
              u" GROUP BY cDepCode, cDepName, cCusCode, cCusAbbName, Inventory.cInvCode,"
              u" cInvName, cInvStd"},
  };
}

void Call(Connection& connection, const Pair& pair) {
  const auto command = connection.NewCommand();
  for (const Parameter& parameter : pair.parameters) {
    command->AppendParameter(Text(parameter.name), kLongVarChar,
                             static_cast<std::int32_t>(parameter.value.size()),
                             Text(parameter.value));
  }
  command->SetCommandText(pair.procedure);
  command->SetCommandType(kCommandStoredProcedure);
  command->Execute(kOptionUnspecified);
}

// The rows of the result, or none where a pair makes no table.
Text CountRows(Connection& connection) {
  const auto rows = connection.OpenRecordset(
      u"SELECT COUNT(*) AS n FROM tempdb..sysobjects WHERE name = 'bench'", {});
  if (rows->Field(u"n").ToText() == u"0") return u"0";
  return connection.OpenRecordset(u"SELECT COUNT(*) AS n FROM tempdb..bench", {})
      ->Field(u"n")
      .ToText();
}

void Bench(Connection& connection, const Pair& pair) {
  std::vector<double> called;
  std::vector<double> direct;
  Text rows_called;
  Text rows_direct;
  for (int i = 0; i < kRounds; ++i) {
    called.push_back(Seconds([&] { Call(connection, pair); }));
    rows_called = CountRows(connection);
    direct.push_back(Seconds([&] { connection.Execute(pair.direct, kOptionUnspecified); }));
    rows_direct = CountRows(connection);
  }
  std::printf("  %-26s %6s rows  called %10.1f us  direct %10.1f us  ratio %.2f%s\n", pair.name,
              ToUtf8(rows_called).c_str(), Median(called) * 1e6, Median(direct) * 1e6,
              Median(called) / Median(direct),
              rows_called == rows_direct ? "" : "  DIFFERENT ROWS");
}

constexpr int kTurns = 500;

// Loops of kTurns turns.
struct Loop {
  const char* name;
  const char16_t* batch;
};

constexpr Loop kLoops[] = {
    {"counting", u"EXEC Bench_Count"},
    {"a sum for each line", u"EXEC Bench_Sum"},
    {"a change for each line", u"EXEC Bench_Change"},
    {"calls of a procedure",
     u"DECLARE @i int = 0, @n int WHILE @i < 500"
     u" BEGIN SET @i += 1 EXEC Bench_Called @i, @n OUTPUT END"},
};

constexpr const char16_t* kLoopProcedures[] = {
    u"CREATE TABLE bench_lines (id int PRIMARY KEY, item varchar(20), q float, m money)",
    u"CREATE PROCEDURE Bench_Count AS DECLARE @i int = 0, @odd int = 0"
    u" WHILE @i < 500 BEGIN SET @i += 1 IF @i % 2 = 1 SET @odd = @odd + 1 END",
    u"CREATE PROCEDURE Bench_Sum AS DECLARE @i int = 0, @q float, @name varchar(60)"
    u" WHILE @i < 500 BEGIN SET @i += 1"
    u" SELECT @q = SUM(iQuantity), @name = MAX(cInvName) FROM RdRecords"
    u" INNER JOIN Inventory ON RdRecords.cInvCode = Inventory.cInvCode WHERE RdRecords.AutoID = @i"
    u" END",
    u"CREATE PROCEDURE Bench_Change AS DECLARE @i int = 0 DELETE FROM bench_lines BEGIN TRAN"
    u" WHILE @i < 500 BEGIN SET @i += 1"
    u" INSERT INTO bench_lines (id, item, q, m) VALUES (@i, 'item', @i / 4.0, @i)"
    u" UPDATE bench_lines SET q = q + 1, m = m * 2 WHERE id = @i END COMMIT",
    u"CREATE PROCEDURE Bench_Called @i int, @n int OUTPUT AS"
    u" IF EXISTS (SELECT * FROM Inventory WHERE cInvCode = 'none') SET @n = 0 ELSE SET @n = @i + 1",
};

void BenchLoops(Connection& connection) {
  constexpr int kBest = 5;
  std::printf("loops of %d turns, the best of %d\n", kTurns, kBest);
  for (const char16_t* batch : kLoopProcedures) connection.Execute(batch, kOptionUnspecified);
  for (const Loop& loop : kLoops) {
    double best = 1e9;
    for (int i = 0; i < kBest; ++i) {
      best = std::min(best, Seconds([&] { connection.Execute(loop.batch, kOptionUnspecified); }));
    }
    std::printf("  %-26s %10.2f us a turn\n", loop.name, best * 1e6 / kTurns);
  }
}

void Run(std::int64_t lines) {
  const fs::path path = fs::temp_directory_path() / "ledgerwick-bench-procedures.db";
  SampleOptions options;
  options.voucher_lines = lines;
  options.force = true;
  CreateSample(path, options);
  {
    const auto connection = tsql::EmbeddedConnection::New({});
    connection->Open(Text(tsql::kEmbeddedPrefix) + FromUtf8(path.string()), u"", u"",
                     kOptionUnspecified);
    connection->Execute(
        u"CREATE PROCEDURE Bench_Empty @a nvarchar(100) AS DECLARE @b nvarchar(100) SET @b = @a",
        kOptionUnspecified);
    std::printf("sample of %lld voucher lines; median of %d, in turn\n",
                static_cast<long long>(lines), kRounds);
    for (const Pair& pair : Pairs()) Bench(*connection, pair);
    BenchLoops(*connection);
    connection->Close();
  }
  for (const char* end : {"", ".tempdb", ".tempdb.lock"}) fs::remove(path.string() + end);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Run(argc > 1 ? std::stoll(argv[1]) : 20'000);
  } catch (const DatabaseError& error) {
    std::fprintf(stderr, "bench_procedures: %s\n", ToUtf8(error.description).c_str());
    return 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_procedures: %s\n", error.what());
    return 1;
  }
  return 0;
}
