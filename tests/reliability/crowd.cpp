#include <chrono>

#include "books.h"
#include "cli/connections.h"
#include "frame/class_table.h"
#include "harnesses.h"
#include "host/filter_argument.h"
#include "host/request.h"
#include "host/runner.h"
#include "sample/sample.h"

namespace ledgerwick::reliability {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t kLines = 400;

// Adds up a column of the report's rows.
class Sum final : public ResultSink, public RunListener {
 public:
  explicit Sum(TextView column) : column_(column) {}

  void Columns(std::span<const ResultColumn> columns) override {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i].name == column_) index_ = i;
    }
  }
  void Row(std::span<const Value> values) override {
    ++rows_;
    if (!values[index_].IsNull()) sum_ += ToNumber(values[index_]);
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

  void Statement(const Text&) override {}
  void Failed(const DatabaseError& error) override { error_ = error.what(); }
  void Filled(const Text&, const std::optional<Text>&) override {}
  void MessageBox(const Text&, const Text&) override {}
  void Beep() override {}

  std::string Text() const { return std::to_string(rows_) + " rows of " + std::to_string(sum_); }
  const std::string& error() const { return error_; }

 private:
  TextView column_;
  std::size_t index_ = 0;
  std::int64_t rows_ = 0;
  double sum_ = 0;
  std::string error_;
};

// A report whose sum over all rows stays as it is while stock moves between two receipts.
struct Watched {
  TextView name;
  TextView column;
};
constexpr Watched kSummary{u"clsRepSFC", u"总计_入库数量"};
constexpr Watched kJournal{u"clsRepLsz", u"RKSL"};

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
  if (!RunReport(request, *database, sum, sum)) {
    throw std::runtime_error("a report gave up: " + sum.error());
  }
  return sum.Text();
}

// Moves stock from one receipt to another, in one transaction.
void MoveStock(tsql::Database& database, const std::string& from, const std::string& to) {
  Answer(database,
         "BEGIN TRAN UPDATE RdRecords SET iQuantity = iQuantity - 1 WHERE AutoID = " + from +
             " UPDATE RdRecords SET iQuantity = iQuantity + 1 WHERE AutoID = " + to + " COMMIT");
}

// The books and a sample in one database, another sample beside it, and what processes do there
// until the time is over.
class Company {
 public:
  Company() {
    SampleOptions options;
    options.voucher_lines = kLines;
    CreateSample(path_, options);
    CreateBooks(path_);
    MakeSample(sample_, 0, *shared_);
    shared_->replaced = 0;
    const auto database = tsql::Database::Open(path_);
    const std::string receipts =
        " FROM RdRecords s INNER JOIN RdRecord r ON s.ID = r.ID WHERE r.bRdFlag = 1 AND r.dDate >= "
        "'2001-11-01' AND "
        "r.cVouchType = "
        "'01' AND s.iQuantity > 10";
    first_ = Answer(*database, "SELECT MIN(s.AutoID)" + receipts);
    last_ = Answer(*database, "SELECT MAX(s.AutoID)" + receipts);
  }

  // What the reports give whatever happens. Throws when moving stock changes it.
  void Expect() {
    summary_ = RunWatched(path_, kSummary);
    journal_ = RunWatched(path_, kJournal);
    MoveStock(*tsql::Database::Open(path_), first_, last_);
    CheckReport(kSummary, summary_);
    CheckReport(kJournal, journal_);
  }

  void Work(int process, Clock::time_point end) {
    std::int64_t posted = 0;
    for (int i = 0; Clock::now() < end; ++i) {
      if (!Try(*shared_, "crowd", [&] { Step(process, i, posted); })) return;
    }
  }

  Shared& shared() { return *shared_; }
  std::string Check() {
    if (shared_->told_count > 0) return std::string(shared_->told[0].text);
    std::string fault = Compare(Examine(path_), *shared_);
    if (fault.empty()) fault = UseAgain(path_, *shared_);
    if (fault.empty()) fault = CheckSample(sample_);
    return fault.empty() ? ReplaceAgain(sample_) : fault;
  }

 private:
  void CheckReport(const Watched& watched, const std::string& expected) {
    const std::string seen = RunWatched(path_, watched);
    ++shared_->reports;
    if (seen != expected) {
      throw std::runtime_error(ToUtf8(watched.name) + " mixes states: " + seen + " instead of " +
                               expected);
    }
  }

  // Every other process writes; the others report, replace the sample or open it.
  void Step(int process, int turn, std::int64_t& posted) {
    if (process % 2 == 0) {
      const auto database = tsql::Database::Open(path_);
      for (int i = 0; i < 5; ++i) Post(*database, *shared_, process, ++posted);
      const bool forth = turn % 2 == 0;
      MoveStock(*database, forth ? first_ : last_, forth ? last_ : first_);
      return;
    }
    switch ((process / 2 + turn) % 5) {
      case 0:
      case 1:
        return CheckReport(kSummary, summary_);
      case 2:
        return CheckReport(kJournal, journal_);
      case 3:
        Report(*tsql::Database::Open(path_));
        ++shared_->reports;
        return;
      default:
        if (process == 1) return MakeSample(sample_, turn % 2, *shared_);
        const auto database = tsql::Database::Open(sample_);
        const std::string lines = Answer(*database, "SELECT COUNT(*) FROM RdRecords");
        if (lines != "3" && lines != "4")
          throw std::runtime_error("a sample of " + lines + " lines");
    }
  }

  Folder folder_;
  fs::path path_ = folder_ / "company.db";
  fs::path sample_ = folder_ / "sample.db";
  SharedMemory shared_;
  std::string first_;
  std::string last_;
  std::string summary_;
  std::string journal_;
};

}  // namespace

int Crowd(const Settings& settings) {
  const bool one = settings.processes != 0;
  const int least = one ? settings.processes : 2;
  const int most = one ? settings.processes : 9;
  const auto time = std::chrono::milliseconds(settings.seconds * 1000 / (most - least + 1));
  Verdict verdict("crowd", settings.seed);
  std::int64_t posted = 0;
  std::int64_t reports = 0;
  std::int64_t replaced = 0;
  for (int count = least; count <= most; ++count) {
    Company company;
    company.Expect();
    std::vector<int> processes;
    const auto end = Clock::now() + time;
    for (int i = 0; i < count; ++i) {
      processes.push_back(Start([&, i] { company.Work(i, end); }));
    }
    std::string fault;
    for (const int process : processes) {
      const std::string ended = Wait(process);
      if (fault.empty()) fault = ended;
    }
    for (const auto& done : company.shared().done) posted += done;
    reports += company.shared().reports;
    replaced += company.shared().replaced;
    if (fault.empty()) fault = company.Check();
    verdict.Round(std::to_string(count) + " processes", fault);
  }
  return verdict.End(std::to_string(posted) + " transactions, " + std::to_string(reports) +
                     " reports, " + std::to_string(replaced) + " replacements");
}

}  // namespace ledgerwick::reliability
