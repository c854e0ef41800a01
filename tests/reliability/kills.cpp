#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "books.h"
#include "calls.h"
#include "harnesses.h"

namespace ledgerwick::reliability {
namespace {

namespace fs = std::filesystem;

constexpr int kPosters = 3;
constexpr std::int64_t kBooksCalls = 3000;     // of a process, before it is killed
constexpr std::int64_t kSampleCalls = 6000;    // a little more than making a sample takes
constexpr std::int64_t kLongestLife = 60'000;  // microseconds, where time ends it
constexpr int kRoundsOfBooks = 100;            // before new ones are begun

// Works on the books until it is killed: a connection is opened for a few transactions at a time,
// so that opening and closing are among what is cut short.
void KeepBooks(const fs::path& path, Shared& shared, int writer) {
  for (std::int64_t number = shared.done[writer];;) {
    const auto database = tsql::Database::Open(path);
    for (int i = 0; i < 5; ++i) Post(*database, shared, writer, ++number);
  }
}

void KeepReporting(const fs::path& path, Shared& shared) {
  while (true) {
    const auto database = tsql::Database::Open(path);
    Report(*database);
    ++shared.reports;
  }
}

// Replaces the sample by the other one, again and again.
void KeepReplacing(const fs::path& path, Shared& shared) {
  for (int i = 0;; ++i) MakeSample(path, i % 2, shared);
}

class KillSeries {
 public:
  explicit KillSeries(const Settings& settings)
      : random_(settings.seed), verdict_("kills", settings.seed), rounds_(settings.rounds) {
    MakeSample(sample_, 0, *shared_);
  }

  int Run() {
    for (std::int64_t round = 0; round < rounds_; ++round) {
      if (round % kRoundsOfBooks == 0) BeginBooks();
      verdict_.Round("round " + std::to_string(round), Round(round % 2 == 0));
    }
    return verdict_.End(std::to_string(kills_) + " kills, " + std::to_string(posted_) +
                        " transactions, " + std::to_string(reports_) + " reports, " +
                        std::to_string(replaced_) + " replacements");
  }

 private:
  void BeginBooks() {
    fs::remove_all(books_.parent_path());
    fs::create_directory(books_.parent_path());
    CreateBooks(books_);
    shared_.Clear();
  }

  // A process that dies at one of its calls or, where `at` is 0, is killed from outside.
  void Add(std::int64_t at, const std::function<void()>& work) {
    processes_.push_back(Start([&] {
      Watch(folder_.path());
      Arm({Call::Any, at, false, kKill});
      work();
    }));
  }

  // In one half of the rounds calls count, which is the same every time, in the other half time.
  std::string Round(bool by_calls) {
    const auto at = [&](std::int64_t most) { return by_calls ? Draw(random_, 1, most) : 0; };
    std::int64_t before = 0;
    for (const auto& done : shared_->done) before += done;
    const std::int64_t reports = shared_->reports;
    for (int writer = 0; writer < kPosters; ++writer) {
      // What was begun and not acknowledged may be in the books.
      const std::int64_t last = Examine(books_).posted[static_cast<std::size_t>(writer)];
      shared_->begun[writer] = last;
      shared_->done[writer] = last;
    }
    for (int writer = 0; writer < kPosters; ++writer) {
      Add(at(kBooksCalls), [&, writer] { KeepBooks(books_, *shared_, writer); });
    }
    Add(at(kBooksCalls), [&] { KeepReporting(books_, *shared_); });
    Add(at(kSampleCalls), [&] { KeepReplacing(sample_, *shared_); });
    for (const int process : processes_) {
      if (by_calls) continue;
      std::this_thread::sleep_for(
          std::chrono::microseconds(Draw(random_, 0, kLongestLife / std::ssize(processes_))));
      kill(process, SIGKILL);
    }
    std::string fault;
    for (const int process : processes_) {
      const std::string end = Wait(process, true);
      if (fault.empty()) fault = end;
      ++kills_;
    }
    processes_.clear();
    if (fault.empty() && shared_->told_count > 0) fault = shared_->told[0].text;
    if (fault.empty()) fault = Compare(Examine(books_), *shared_);
    if (fault.empty()) fault = UseAgain(books_, *shared_);
    if (fault.empty()) fault = CheckSample(sample_);
    if (fault.empty()) fault = ReplaceAgain(sample_);
    posted_ -= before;
    for (const auto& done : shared_->done) posted_ += done;
    reports_ += shared_->reports - reports;
    replaced_ += shared_->replaced.exchange(0);
    shared_->told_count = 0;
    return fault;
  }

  Random random_;
  Verdict verdict_;
  std::int64_t rounds_;
  Folder folder_;
  SharedMemory shared_;
  fs::path books_ = folder_ / "books" / "books.db";
  fs::path sample_ = folder_ / "sample.db";
  std::vector<int> processes_;
  std::int64_t kills_ = 0;
  std::int64_t posted_ = 0;
  std::int64_t reports_ = 0;
  std::int64_t replaced_ = 0;
};

}  // namespace

int Kills(const Settings& settings) { return KillSeries(settings).Run(); }

}  // namespace ledgerwick::reliability
