#include <chrono>

#include "books.h"
#include "cli/connections.h"
#include "component/class_table.h"
#include "host/filter_argument.h"
#include "host/request.h"
#include "host/runner.h"
#include "sample/sample.h"

namespace ledgerwick::reliability {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t kLines = 400;

// A report, and a column whose sum over all rows stays as it is while stock moves between two
// receipts.
struct Watched {
  TextView name;
  TextView column;
  std::string expected;
};

// Adds up the column.
class Sum final : public ResultSink, public RunListener {
 public:
  explicit Sum(TextView column) : column_(column) {}

  void Columns(std::span<const ResultColumn> columns) override {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i].name == column_) index_ = i;
    }
  }
  void Row(std::span<const Value> values) override {
    ++rows;
    if (!values[index_].IsNull()) sum += ToNumber(values[index_]);
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

  void Statement(const Text&) override {}
  void Failed(const DatabaseError& failure) override { error = failure.what(); }
  void Filled(const Text&, const std::optional<Text>&) override {}
  void MessageBox(const Text&, const Text&) override {}
  void Beep() override {}

  std::int64_t rows = 0;
  double sum = 0;
  std::string error;

 private:
  TextView column_;
  std::size_t index_ = 0;
};

// What the report gives now, with connections of its own. Throws when it gives up.
std::string RunWatched(const fs::path& path, const Watched& watched) {
  Request request;
  request.report = FindClass(watched.name);
  request.filters = DialogueFilters(*request.report);
  request.connectionString = u"embedded:" + FromUtf8(path.string());
  request.login.emplace();
  request.login->CurDate = Value(Text(u"2002-12-31"));
  const auto database = OpenReportDatabase(request.connectionString, {});
  Sum sum(watched.column);
  Require(RunReport(request, *database, sum, sum), "a report gave up: " + sum.error);
  return std::to_string(sum.rows) + " rows of " + std::to_string(sum.sum);
}

// The books and a sample in one database, another sample beside it, and what processes do there.
class Company {
 public:
  Company() {
    SampleOptions options;
    options.voucher_lines = kLines;
    CreateSample(path_, options);
    CreateBooks(path_);
    MakeSample(sample_, 0, *shared);
    const auto database = tsql::Database::Open(path_);
    const std::string receipts =
        " FROM RdRecords s INNER JOIN RdRecord r ON s.ID = r.ID WHERE r.bRdFlag = 1 AND "
        "r.dDate >= '2001-11-01' AND r.cVouchType = '01' AND s.iQuantity > 10";
    first_ = Answer(*database, "SELECT MIN(s.AutoID)" + receipts);
    last_ = Answer(*database, "SELECT MAX(s.AutoID)" + receipts);
    for (Watched& watched : watched_) watched.expected = RunWatched(path_, watched);
    MoveStock(*database, first_, last_);
    for (const Watched& watched : watched_) CheckReport(watched);
  }

  // Every other process writes; the others report, replace the sample or open it.
  void Step(int process, int turn) {
    if (process % 2 == 0) {
      const auto database = tsql::Database::Open(path_);
      for (int i = 1; i <= 5; ++i) Post(*database, *shared, process, turn * 5 + i);
      const bool forth = turn % 2 == 0;
      return MoveStock(*database, forth ? first_ : last_, forth ? last_ : first_);
    }
    const int what = (process / 2 + turn) % 5;
    if (what < 3) return CheckReport(watched_[what / 2]);
    if (what == 3) return Report(*tsql::Database::Open(path_), *shared);
    if (process == 1) return MakeSample(sample_, turn % 2, *shared);
    const std::string lines =
        Answer(*tsql::Database::Open(sample_), "SELECT COUNT(*) FROM RdRecords");
    Require(lines == "3" || lines == "4", "a sample of " + lines + " lines");
  }

  void Check() {
    Require(shared->told_count == 0, shared->told[0].text);
    CheckBooks(path_, *shared);
    CheckSample(sample_);
  }

  std::shared_ptr<Shared> shared = NewShared();

 private:
  // Moves stock from one receipt to another, in one transaction.
  static void MoveStock(tsql::Database& database, const std::string& from, const std::string& to) {
    Answer(database,
           "BEGIN TRAN UPDATE RdRecords SET iQuantity = iQuantity - 1 WHERE AutoID = " + from +
               " UPDATE RdRecords SET iQuantity = iQuantity + 1 WHERE AutoID = " + to + " COMMIT");
  }

  void CheckReport(const Watched& watched) {
    const std::string seen = RunWatched(path_, watched);
    Require(seen == watched.expected,
            ToUtf8(watched.name) + " mixes states: " + seen + " instead of " + watched.expected);
    ++shared->successes;
  }

  Folder folder_;
  fs::path path_ = folder_.path / "company.db";
  fs::path sample_ = folder_.path / "sample.db";
  std::string first_;
  std::string last_;
  Watched watched_[2] = {{u"clsRepSFC", u"总计_入库数量", {}}, {u"clsRepLsz", u"RKSL", {}}};
};

}  // namespace

void Crowd(Verdict& verdict, std::uint64_t, std::int64_t seconds) {
  constexpr int kLeast = 2;
  constexpr int kMost = 9;
  for (int count = kLeast; count <= kMost; ++count) {
    verdict.Round(std::to_string(count) + " processes", [&] {
      Company company;
      std::vector<int> processes;
      const auto end =
          Clock::now() + std::chrono::milliseconds(seconds * 1000 / (kMost - kLeast + 1));
      for (int i = 0; i < count; ++i) {
        processes.push_back(Start([&, i] {
          for (int turn = 0; Clock::now() < end; ++turn) {
            if (!company.shared->Try("crowd", [&] { company.Step(i, turn); })) return;
          }
        }));
      }
      Wait(processes);
      verdict.counted += company.shared->successes;
      company.Check();
    });
  }
}

}  // namespace ledgerwick::reliability
