// What every harness works on and checks: books in which money goes from account to account, so
// that what is lost, doubled or mixed shows; and processes that keep them.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "calls.h"
#include "tsql/database.h"

namespace ledgerwick::reliability {

inline constexpr int kWriters = 10;

// A failure that has happened, in memory that processes share.
struct Told {
  char what[24];  // the step
  std::int32_t number;
  char text[400];
};

// What the processes of a round tell the one that started them. All zero at first.
struct Shared {
  std::atomic<std::int64_t> begun[kWriters];  // the last transaction that was begun, by writer
  std::atomic<std::int64_t> done[kWriters];   // the last one that was acknowledged
  std::atomic<std::int64_t> reports;
  std::atomic<std::int64_t> replaced;
  std::atomic<std::int64_t> counts[kCalls];  // of the process's calls
  std::atomic<bool> failed;                  // one of them was made to fail
  std::atomic<int> told_count;
  Told told[32];

  // Keeps a failure; the first 32 of them.
  void Tell(const char* what, std::int32_t number, const char* text);
};

// Shared memory that lives as long as the object.
class SharedMemory {
 public:
  SharedMemory();
  ~SharedMemory();
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;
  Shared* operator->() const noexcept { return shared_; }
  Shared& operator*() const noexcept { return *shared_; }
  void Clear();

 private:
  Shared* shared_;
};

// Runs `work` in a process of its own and returns its number. The caller has no database open. The
// process ends by itself after ten minutes.
int Start(const std::function<void()>& work);

// Waits for its end: "" for a good one, else how it ended; a kill counts as good if
// `may_be_killed`.
std::string Wait(int process, bool may_be_killed = false);

// Runs `step` and tells its error, if there is one. Returns whether there was none.
bool Try(Shared& shared, const char* what, const std::function<void()>& step);

// A database with ten accounts of a thousand each, an empty journal, and the tables of a report.
// With `path` there already, the books are added to that database.
void CreateBooks(const std::filesystem::path& path);

// Moves money as `writer`'s transaction `number` does, in one transaction, and tells of its begin
// and of its end.
void Post(tsql::Database& database, Shared& shared, int writer, std::int64_t number);

// Fills a table of tempdb with all accounts, as reports do, and reads it. Throws std::runtime_error
// when it holds anything but one state of them.
void Report(tsql::Database& database);

// The first value of the first row that `sql` gives, as text.
std::string Answer(tsql::Database& database, const std::string& sql);

// What is in the books.
struct State {
  std::vector<std::int64_t> posted;  // the transactions, by writer
  std::string fault;                 // empty when the books are sound
};

// Looks through the books with a connection that knows nothing of the rest: integrity, the accounts
// against the journal, the journal without gaps; and into tempdb for results of mixed states.
State Examine(const std::filesystem::path& path);

// The journal against what was told: no acknowledged transaction may be missing, none may be there
// that was not begun. "" when all is well.
std::string Compare(const State& state, const Shared& shared);

// What is beside the database at `path`, which nobody uses, besides its tempdb and its lock file;
// it is removed. "" for nothing.
std::string Leftovers(const std::filesystem::path& path);

// Works as the next user does, after whatever happened: a transaction and a report. "" when both
// succeed and nothing is left of earlier users.
std::string UseAgain(const std::filesystem::path& path, Shared& shared);

// Makes the sample database `which`, 0 or 1, in place of what is at `path`, if anything. Tells of a
// failure, and counts in `replaced`.
void MakeSample(const std::filesystem::path& path, int which, Shared& shared);

// "" if the database at `path` is one of the two samples as a whole.
std::string CheckSample(const std::filesystem::path& path);

// Replaces it once more, as the next user does, and looks for what earlier ones left beside it. ""
// when it succeeds and nothing is left.
std::string ReplaceAgain(const std::filesystem::path& path);

// Counts rounds and failures, and prints each with the way to see it again.
class Verdict {
 public:
  // `name` is the harness; `seed` stands in failures.
  Verdict(std::string name, std::uint64_t seed) : name_(std::move(name)), seed_(seed) {}
  void Round(const std::string& what, const std::string& fault);
  // Prints the counts and returns the exit code. `more` is what else was counted.
  int End(const std::string& more) const;

 private:
  std::string name_;
  std::uint64_t seed_;
  std::int64_t rounds_ = 0;
  std::int64_t faults_ = 0;
};

// A folder that goes away with everything in it.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& path() const noexcept { return path_; }
  // Removes all files and copies those of `other` here.
  void Become(const Folder& other) const;

 private:
  std::filesystem::path path_;
};

using Random = std::mt19937_64;

// From `least` to `most`, the same on every machine.
inline std::int64_t Draw(Random& random, std::int64_t least, std::int64_t most) {
  return least + static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(most - least + 1));
}

}  // namespace ledgerwick::reliability
