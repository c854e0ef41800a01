#include <unistd.h>

#include <csignal>

#include "books.h"
#include "calls.h"

namespace ledgerwick::reliability {
namespace {

namespace fs = std::filesystem;

constexpr int kPosters = 3;
constexpr std::int64_t kBooksCalls = 3000;     // of a process, before it is killed
constexpr std::int64_t kSampleCalls = 6000;    // a little more than making a sample takes
constexpr std::int64_t kLongestLife = 12'000;  // microseconds, where time ends it
constexpr int kRoundsOfBooks = 100;            // before new ones are begun

// Works on the books until it is killed: a connection is opened for a few transactions at a time,
// so that opening and closing are among what is cut short.
void KeepBooks(const fs::path& path, Shared& shared, int writer) {
  for (std::int64_t number = shared.done[writer];;) {
    const auto database = tsql::Database::Open(path);
    for (int i = 0; i < 5; ++i) Post(*database, shared, writer, ++number);
  }
}

}  // namespace

void Kills(Verdict& verdict, std::uint64_t seed, std::int64_t rounds) {
  Random random(seed);
  const Folder folder;
  const Folder of_sample;
  const fs::path books = folder.path / "books.db";
  const fs::path sample = of_sample.path / "sample.db";
  std::shared_ptr<Shared> shared = NewShared();
  MakeSample(sample, 0, *shared);
  for (std::int64_t round = 0; round < rounds; ++round) {
    if (round % kRoundsOfBooks == 0) {
      folder.Clear();
      CreateBooks(books);
    }
    shared = NewShared();
    // In one half of the rounds calls count, which is the same every time, in the other half time.
    const bool by_calls = round % 2 == 0;
    std::vector<int> processes;
    const auto add = [&](const Folder& watched, std::int64_t most,
                         const std::function<void()>& work) {
      const std::int64_t at = by_calls ? Draw(random, 1, most) : 0;
      processes.push_back(Start([&] {
        Watch(watched.path);
        Arm({Call::Any, at, false, kKill});
        while (true) work();
      }));
    };
    verdict.Round("round " + std::to_string(round), [&] {
      const std::vector<std::int64_t> posted = Examine(books);
      for (int writer = 0; writer < kPosters; ++writer) {
        shared->begun[writer] = posted[static_cast<std::size_t>(writer)];
        shared->done[writer] = posted[static_cast<std::size_t>(writer)];
      }
      shared->begun[kWriters - 1] = posted.back();
      for (int writer = 0; writer < kPosters; ++writer) {
        add(folder, kBooksCalls, [&, writer] { KeepBooks(books, *shared, writer); });
      }
      add(folder, kBooksCalls, [&] { Report(*tsql::Database::Open(books), *shared); });
      add(of_sample, kSampleCalls,
          [&, which = 0]() mutable { MakeSample(sample, which ^= 1, *shared); });
      for (const int process : processes) {
        if (by_calls) continue;
        usleep(static_cast<useconds_t>(Draw(random, 0, kLongestLife)));
        kill(process, SIGKILL);
      }
      Wait(processes, true);
      Require(shared->told_count == 0, shared->told[0].text);
      CheckBooks(books, *shared);
      CheckSample(sample);
    });
    verdict.counted += shared->successes;
  }
}

}  // namespace ledgerwick::reliability
