// What each inventory report takes on the embedded database, beside the best SQLite query that we
// could write by hand for the same result, on one file in one run. Both sides fill a table; the
// tables must agree.
//
//   bench_reports [VOUCHER_LINES…]     (200,000 unless told)
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "bench/stopwatch.h"
#include "frame/error.h"
#include "frame/report_provider.h"
#include "hand_written_files.h"
#include "host/reference_host.h"
#include "host/request.h"
#include "sample/sample.h"
#include "tsql/connection.h"
#include "tsql/storage/storage.h"

namespace {

using namespace ledgerwick;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

struct Case {
  const char* name;
  const char* request;  // JSON, without the connection
  const char* hand_written;
  // Quantities of the report's table and of the one by hand, in the same order, to be summed up.
  std::vector<std::pair<const char*, const char*>> sums;
};

const std::vector<Case>& Cases() {
  static const char* const kMonth =
      R"({"class": "clsRepSFC", "filters": [{"Name": "dDate", "varValue": "2002-03-01", "varValue2": "2002-03-31"}]})";
  static const std::vector<Case> cases = {
      {"clsInventroy",
       R"({"class": "clsInventroy"})",
       "inventory_snapshot.sql",
       {{"iSafeNum", "iSafeNum"}}},
      {"clsRepAQKCYJ",
       R"({"class": "clsRepAQKCYJ"})",
       "safety_stock_warning.sql",
       {{"DQKCL", "DQKCL"}, {"CL", "CL"}}},
      {"clsRepBzqyj",
       R"({"class": "clsRepBzqyj", "login": {"CurDate": "2003-03-31"}, "filters": [
           {"Name": "Warehouse.cWhCode", "varValue": "00", "varValue2": "99"},
           {"Name": "InvType", "varValue": "过期存货", "strSqlString": "x"}]})",
       "shelf_life_warning.sql",
       {{"结存数量", "quantity"}, {"结存件数", "pieces"}}},
      {"clsRepXCL",
       R"({"class": "clsRepXCL"})",
       "current_stock.sql",
       {{"iQuantity", "iQuantity"}, {"iNum", "iNum"}, {"fAvaNum", "fAvaNum"}}},
      {"clsRepHwhz",
       R"({"class": "clsRepHwhz"})",
       "location_summary.sql",
       {{"期初结存件数", "opening_pieces"},
        {"本期入库件数", "in_pieces"},
        {"期末结存数量", "closing"},
        {"期末结存件数", "closing_pieces"}}},
      {"clsRepPcch",
       R"({"class": "clsRepPcch"})",
       "batch_stock_summary.sql",
       {{"期初结存件数", "opening_pieces"},
        {"收入件数", "in_pieces"},
        {"期末结存数量", "closing"},
        {"期末结存件数", "closing_pieces"}}},
      {"clsRepLsz",
       R"({"class": "clsRepLsz"})",
       "in_out_journal.sql",
       {{"RKSL", "RKSL"}, {"CKJE", "CKJE"}, {"HSL", "HSL"}, {"length(SXRQ)", "length(SXRQ)"}}},
      {"clsRepSFC, a month",
       kMonth,
       "receive_issue_balance.sql",
       {{"iQCJCSL", "opening_q"},
        {"采购入库_入库数量", "q111"},
        {"期末结存件数", "closing_pieces"}}},
      {"  its result alone",
       kMonth,
       "receive_issue_balance_alone.sql",
       {{"iQCJCSL", "opening_q"},
        {"采购入库_入库数量", "q111"},
        {"期末结存件数", "closing_pieces"}}},
  };
  return cases;
}

// The surroundings of a report that talks to nobody.
class QuietSystem final : public System {
 public:
  std::shared_ptr<Connection> NewConnection() override { return tsql::EmbeddedConnection::New({}); }
  Text ComputerName() override { return u"PC"; }
  std::size_t AnsiLength(TextView text) override { return ledgerwick::AnsiLength(text); }
  void MessageBox(const Text&, const Text&, std::int32_t) override {}
  void Beep() override {}
};

void RunReport(const Case& report, const fs::path& database) {
  Request request = ParseRequest(report.request, report.name);
  request.connectionString = u"embedded:" + FromUtf8(database.string());
  QuietSystem system;
  const std::unique_ptr<ReportProvider> provider = request.report->factory(system);
  Furnish(*provider, request);
  provider->mconn = system.NewConnection();
  if (!provider->MoveDataDetail()) throw std::runtime_error("the report refused");
}

// In one transaction on a connection of its own, as the report's is.
void RunByHand(const Case& report, const fs::path& database) {
  tsql::Storage storage(database, {});
  for (const char* table : {"tempdb.by_hand", "main.by_hand_detail", "main.by_hand_result"}) {
    storage.Execute(std::string("DROP TABLE IF EXISTS ") + table);
  }
  storage.Execute("BEGIN");
  std::string_view script = hand_written_files::Find(report.hand_written);
  for (std::size_t end = script.find(";\n"); end != script.npos; end = script.find(";\n")) {
    storage.Execute(std::string(script.substr(0, end)));
    script.remove_prefix(end + 2);
  }
  storage.Execute("COMMIT");
}

// The number of rows and the sums of `columns`.
std::vector<double> Sums(tsql::Storage& storage, const std::string& table,
                         const std::vector<std::string>& columns) {
  std::string sql = "SELECT count(*)";
  for (const std::string& column : columns) {
    const bool call = column.find('(') != std::string::npos;
    sql += ", total(" + (call ? column : tsql::QuoteIdentifier(column)) + ")";
  }
  const tsql::SqliteStatement row = storage.Prepare(sql + " FROM " + table);
  storage.Step(row.get());
  std::vector<double> sums;
  for (int i = 0; i < sqlite3_column_count(row.get()); ++i) {
    sums.push_back(sqlite3_column_double(row.get(), i));
  }
  return sums;
}

// Compares the two tables; says on the error stream where they differ. Returns the rows, or -1.
std::int64_t Compare(const Case& report, const fs::path& database) {
  tsql::Storage storage(database, {});
  const Request request = ParseRequest(report.request, report.name);
  std::vector<std::string> ours;
  std::vector<std::string> by_hand;
  for (const auto& [column, other] : report.sums) {
    ours.emplace_back(column);
    by_hand.emplace_back(other);
  }
  const std::string table = "tempdb." + ToUtf8(request.report->result_table);
  const std::vector<double> a = Sums(storage, table, ours);
  const std::vector<double> b = Sums(storage, "tempdb.by_hand", by_hand);
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::abs(a[i] - b[i]) <= 1e-9 * std::max(1.0, std::abs(a[i]))) continue;
    std::fprintf(stderr, "%s: %s is %.17g, by hand %.17g\n", report.name,
                 i == 0 ? "the number of rows" : ours[i - 1].c_str(), a[i], b[i]);
    return -1;
  }
  return static_cast<std::int64_t>(a[0]);
}

// False when an answer is wrong.
bool BenchSize(std::int64_t lines, const fs::path& folder) {
  constexpr int kRounds = 5;
  const fs::path database = folder / "bench.db";
  SampleOptions options;
  options.voucher_lines = lines;
  options.force = true;
  CreateSample(database, options);
  std::printf("%lld voucher lines, the best of %d in turn\n", static_cast<long long>(lines),
              kRounds);
  bool agree = true;
  for (const Case& report : Cases()) {
    double ours = 1e9;
    double by_hand = 1e9;
    for (int i = 0; i < kRounds; ++i) {
      ours = std::min(ours, Seconds([&] { RunReport(report, database); }));
      by_hand = std::min(by_hand, Seconds([&] { RunByHand(report, database); }));
    }
    const std::int64_t rows = Compare(report, database);
    agree = agree && rows >= 0;
    std::printf("  %-20s %8lld rows %9.1f ms %9.1f ms by hand  ratio %.2f %9.3f us/line%s\n",
                report.name, static_cast<long long>(rows), ours * 1e3, by_hand * 1e3,
                ours / by_hand, ours * 1e6 / static_cast<double>(lines), rows < 0 ? "  WRONG" : "");
    std::fflush(stdout);
  }
  return agree;
}

}  // namespace

int main(int argc, char** argv) {
  const fs::path folder =
      fs::temp_directory_path() /
      ("ledgerwick-bench-" + std::to_string(Clock::now().time_since_epoch().count()));
  fs::create_directories(folder);
  bool agree = true;
  try {
    const std::vector<std::string> sizes(argv + 1, argv + argc);
    for (const std::string& size : sizes.empty() ? std::vector<std::string>{"200000"} : sizes) {
      agree = BenchSize(std::stoll(size), folder) && agree;
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_reports: %s\n", error.what());
    agree = false;
  }
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  return agree ? 0 : 1;
}
