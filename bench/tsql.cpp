// What the embedded database's front end costs, and what its queries cost beside the same queries
// written for SQLite by hand, on one file in one run.
//
//   bench_tsql [VOUCHER_LINES]     (200,000 unless told)
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "bench/stopwatch.h"
#include "component/class_table.h"
#include "frame/error.h"
#include "host/recorder.h"
#include "host/trace.h"
#include "sample/sample.h"
#include "tsql/compile/compile.h"
#include "tsql/storage/storage.h"

namespace {

using namespace ledgerwick;

// Every statement of every report that can run, in the form that it has without filters.
std::vector<std::pair<std::string, Text>> ReportStatements() {
  std::vector<std::pair<std::string, Text>> statements;
  for (const ClassInfo& info : Classes()) {
    if (info.factory == nullptr) continue;
    Request request;
    request.report = &info;
    const Trace trace = TraceReport(request);
    for (const Operation& operation : trace.operations) {
      const auto* execute = std::get_if<ExecuteOperation>(&operation);
      if (execute != nullptr && !execute->ignore_errors) {
        statements.emplace_back(ToUtf8(info.name), execute->sql);
      }
    }
  }
  return statements;
}

// False for a statement without a query, and for one on a work table that its report makes first.
bool Compiles(const Text& sql, tsql::Catalogue& catalogue) {
  try {
    return !tsql::CompileQueries(sql, catalogue).empty();
  } catch (const tsql::SqlError&) {
    return false;
  }
}

void BenchFrontEnd(tsql::Catalogue& catalogue) {
  constexpr int kRounds = 200;
  std::printf("front end: text to SQLite's SQL, median of %d\n", kRounds);
  for (const auto& [report, sql] : ReportStatements()) {
    if (!Compiles(sql, catalogue)) continue;
    std::vector<double> times;
    for (int i = 0; i < kRounds; ++i) {
      times.push_back(Seconds([&] { tsql::CompileQueries(sql, catalogue); }));
    }
    std::printf("  %-28s %6zu characters  %7.1f us\n", report.c_str(), sql.size(),
                Median(times) * 1e6);
  }
}

struct Pair {
  const char* name;
  const char16_t* tsql;
  const char* sqlite;
};

// The right-hand queries say what their left-hand ones mean in the way that SQLite likes best.
constexpr Pair kPairs[] = {
    {"safety stock (3 tables)",
     u"SELECT W.cWhName, I.[cInvCode] AS cInvCode, max(I.cInvName) AS CHMC, max(I.iSafeNum) AS "
     u"AQKCL, Sum(STPQ.iQuantity) AS DQKCL FROM CurrentStock AS STPQ RIGHT JOIN (Inventory AS I "
     u"LEFT JOIN ComputationUnit AS CU ON I.cComUnitCode = CU.cComUnitCode) ON STPQ.cInvCode = "
     u"I.cInvCode INNER JOIN WareHouse AS W ON STPQ.cWhCode = W.cWhCode WHERE I.iSafeNum > 0 GROUP "
     u"BY I.[cInvCode], W.cWhName",
     "SELECT W.cWhName, I.cInvCode, max(I.cInvName), max(I.iSafeNum), sum(S.iQuantity) FROM "
     "CurrentStock S JOIN Inventory I ON S.cInvCode = I.cInvCode JOIN Warehouse W ON S.cWhCode = "
     "W.cWhCode LEFT JOIN ComputationUnit U ON I.cComUnitCode = U.cComUnitCode WHERE I.iSafeNum > "
     "0 GROUP BY I.cInvCode, W.cWhName"},
    {"movement by item (3 tables)",
     u"SELECT Rs.cInvCode AS a, I.cInvName AS b, SUM(CASE WHEN R.bRdFlag<>0 THEN Rs.iQuantity ELSE "
     u"0 END) AS c, SUM(CASE WHEN R.bRdFlag=0 THEN Rs.iQuantity ELSE 0 END) AS d FROM RdRecord R "
     u"INNER JOIN RdRecords Rs ON R.ID = Rs.ID INNER JOIN Inventory I ON Rs.cInvCode = I.cInvCode "
     u"WHERE R.dDate >= '2002-01-01' GROUP BY Rs.cInvCode, I.cInvName",
     "SELECT Rs.cInvCode, I.cInvName, sum(CASE WHEN R.bRdFlag<>0 THEN Rs.iQuantity ELSE 0.0 END), "
     "sum(CASE WHEN R.bRdFlag=0 THEN Rs.iQuantity ELSE 0.0 END) FROM RdRecord R JOIN RdRecords Rs "
     "ON R.ID = Rs.ID JOIN Inventory I ON Rs.cInvCode = I.cInvCode WHERE R.dDate >= 3218832000000 "
     "GROUP BY Rs.cInvCode, I.cInvName"},
    {"divided quantities (3 tables)",
     u"SELECT Rs.cInvCode AS a, SUM(Rs.iQuantity / U.iChangRate) AS b FROM RdRecords Rs INNER JOIN "
     u"Inventory I ON Rs.cInvCode = I.cInvCode INNER JOIN ComputationUnit U ON I.cComUnitCode = "
     u"U.cComUnitCode GROUP BY Rs.cInvCode",
     "SELECT Rs.cInvCode, sum(Rs.iQuantity / U.iChangRate) FROM RdRecords Rs JOIN Inventory I ON "
     "Rs.cInvCode = I.cInvCode JOIN ComputationUnit U ON I.cComUnitCode = U.cComUnitCode GROUP BY "
     "Rs.cInvCode"},
};

// Runs a query through and returns how many rows it gave.
std::int64_t Drain(tsql::Storage& storage, const std::string& sql) {
  const tsql::SqliteStatement statement = storage.Prepare(sql);
  std::int64_t rows = 0;
  while (storage.Step(statement.get())) ++rows;
  return rows;
}

// What exact sums cost beside those of floats.
void BenchSums(tsql::Storage& storage, tsql::Catalogue& catalogue) {
  constexpr int kRounds = 15;
  struct Column {
    const char* type;
    const char16_t* query;
    double seconds = 1e9;
  };
  Column columns[] = {{"float", u"SELECT SUM(f) FROM sums"},
                      {"money", u"SELECT SUM(m) FROM sums"},
                      {"decimal(18,4)", u"SELECT SUM(d) FROM sums"},
                      {"decimal(28,4)", u"SELECT SUM(l) FROM sums"}};
  storage.Execute(
      "CREATE TABLE main.sums (f \"float\", m \"money\", d \"decimal(18,4)\", l "
      "\"decimal(28,4)\")");
  storage.Execute(
      "INSERT INTO main.sums WITH n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n LIMIT 1000000) "
      "SELECT i / 7.0, i * 10000 / 7, i * 10000 / 7, t_to_dec(i * 10000 / 7, 4, 28, 4, '') FROM n");
  std::printf("SUM over 1,000,000 rows, in turn, the best of %d each\n", kRounds);
  for (int i = 0; i < kRounds; ++i) {
    for (Column& column : columns) {
      const std::string sql = tsql::CompileQueries(column.query, catalogue).front();
      column.seconds = std::min(column.seconds, Seconds([&] { Drain(storage, sql); }));
    }
  }
  for (const Column& column : columns) {
    std::printf("  %-30s %9.2f ms  ratio %.2f\n", column.type, column.seconds * 1e3,
                column.seconds / columns[0].seconds);
  }
}

// What the order of text costs beside that of the code points, which is the order of the bytes.
void BenchOrder(tsql::Storage& storage) {
  constexpr int kRounds = 5;
  struct Sort {
    const char* name;
    std::string query;
    double seconds = 1e9;
  };
  Sort sorts[] = {{"Chinese names by code point", "SELECT n FROM names ORDER BY n COLLATE BINARY"},
                  {"Chinese names", "SELECT n FROM names ORDER BY n"},
                  {"codes by code point", "SELECT c FROM names ORDER BY c COLLATE BINARY"},
                  {"codes", "SELECT c FROM names ORDER BY c"}};
  storage.Execute(
      "CREATE TABLE main.names (n \"nvarchar(8)\" COLLATE CHINESE_PRC_CI_AS, c \"varchar(12)\" "
      "COLLATE CHINESE_PRC_CI_AS)");
  storage.Execute(
      "INSERT INTO main.names WITH n(i, r) AS (VALUES (1, 1) UNION ALL SELECT i + 1, "
      "(r * 1103515245 + 12345) & 0x7fffffff FROM n LIMIT 1000000) SELECT char(0x4E00 + (r >> 8) % "
      "100, 0x5000 + (r >> 10) % 6000, 0x5000 + (r >> 12) % 6000), format('A-%06d', r >> 10) FROM "
      "n");
  std::printf("ORDER BY of 1,000,000 texts, in turn, the best of %d each\n", kRounds);
  for (int i = 0; i < kRounds; ++i) {
    for (Sort& sort : sorts) {
      sort.seconds = std::min(sort.seconds, Seconds([&] { Drain(storage, sort.query); }));
    }
  }
  for (std::size_t i = 0; i < std::size(sorts); ++i) {
    std::printf("  %-30s %9.2f ms  ratio %.2f\n", sorts[i].name, sorts[i].seconds * 1e3,
                sorts[i].seconds / sorts[i / 2 * 2].seconds);
  }
}

bool BenchPairs(tsql::Storage& storage, tsql::Catalogue& catalogue) {
  constexpr int kRounds = 9;
  bool agree = true;
  std::printf("T-SQL against hand-written SQLite, in turn, the best of %d each\n", kRounds);
  for (const Pair& pair : kPairs) {
    double ours = 1e9;
    double theirs = 1e9;
    std::int64_t tsql_rows = 0;
    std::int64_t sqlite_rows = 0;
    for (int i = 0; i < kRounds; ++i) {
      ours = std::min(ours, Seconds([&] {
                        const auto queries = tsql::CompileQueries(pair.tsql, catalogue);
                        tsql_rows = Drain(storage, queries.front());
                      }));
      theirs = std::min(theirs, Seconds([&] { sqlite_rows = Drain(storage, pair.sqlite); }));
    }
    agree = agree && tsql_rows == sqlite_rows;
    std::printf("  %-30s %6lld rows %9.2f ms  ratio %.2f%s\n", pair.name,
                static_cast<long long>(tsql_rows), ours * 1e3, ours / theirs,
                tsql_rows == sqlite_rows ? "" : "  ROWS DIFFER");
  }
  return agree;
}

}  // namespace

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / "ledgerwick-bench";
  fs::create_directories(folder);
  try {
    SampleOptions options;
    options.voucher_lines = argc > 1 ? std::stoll(argv[1]) : 200'000;
    options.force = true;
    CreateSample(folder / "bench.db", options);
    tsql::Storage storage(folder / "bench.db", {});
    tsql::Catalogue catalogue(storage, u"bench");
    std::printf("sample of %lld voucher lines\n", static_cast<long long>(options.voucher_lines));
    BenchFrontEnd(catalogue);
    BenchSums(storage, catalogue);
    BenchOrder(storage);
    const bool agree = BenchPairs(storage, catalogue);
    fs::remove_all(folder);
    return agree ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_tsql: %s\n", error.what());
    return 1;
  }
}
