// What every harness works on and checks: books in which money goes from account to account, so
// that what is lost, doubled or mixed shows; and processes that keep them. Checks throw
// std::runtime_error with what is wrong.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "calls.h"
#include "tsql/database.h"

namespace ledgerwick::reliability {

inline constexpr int kWriters = 10;

// A failure that has happened, in memory that processes share.
struct Told {
  char step[24];
  std::int32_t number;
  char text[400];
};

// What the processes of a round tell the one that started them.
struct Shared {
  std::atomic<std::int64_t> begun[kWriters];  // the last transaction that was begun, by writer
  std::atomic<std::int64_t> done[kWriters];   // the last one that was acknowledged
  std::atomic<std::int64_t> successes;        // transactions, reports, replacements
  std::atomic<std::int64_t> counts[kCalls];   // of the process's calls
  std::atomic<std::size_t> told_count;
  Told told[32];

  // Runs `step` and tells its error, if there is one. Returns whether there was none.
  bool Try(const char* step, const std::function<void()>& run);
};

// In memory that processes share, all zero.
std::shared_ptr<Shared> NewShared();

// Runs `work` in a process of its own and returns its number. The caller has no database open. The
// process ends by itself after ten minutes.
int Start(const std::function<void()>& work);

// Waits for the end of all, and throws when one ended badly; a kill counts as good if
// `may_be_killed`.
void Wait(const std::vector<int>& processes, bool may_be_killed = false);

// Throws `fault` unless `sound`.
void Require(bool sound, const std::string& fault);

// A database with ten accounts of a thousand each and an empty journal. With `path` there already,
// the books are added to that database.
void CreateBooks(const std::filesystem::path& path);

// Moves money as `writer`'s transaction `number` does, in one transaction, and tells of its begin
// and of its end.
void Post(tsql::Database& database, Shared& shared, int writer, std::int64_t number);

// Fills a table of tempdb with all accounts, as reports do, and reads it. Throws when it holds
// anything but one state of them.
void Report(tsql::Database& database, Shared& shared);

// The first value of the first row that `sql` gives, as text.
std::string Answer(tsql::Database& database, const std::string& sql);

// Looks through the books with a connection that knows nothing of the rest: integrity, the accounts
// against the journal, the journal without gaps. Returns the transactions, by writer.
std::vector<std::int64_t> Examine(const std::filesystem::path& path);

// Examines the books, and holds the journal against what was told: no acknowledged transaction may
// be missing, none may be there that was not begun. Then works as the next user does: a transaction
// and a report have to succeed, and nothing may be left of earlier users.
void CheckBooks(const std::filesystem::path& path, Shared& shared);

// Makes the sample database `which`, 0 or 1, in place of what is at `path`, if anything; tells of a
// failure.
void MakeSample(const std::filesystem::path& path, int which, Shared& shared);

// The database at `path` must be one of the two samples as a whole. Then replaces it once more, as
// the next user does; nothing may be left of earlier ones.
void CheckSample(const std::filesystem::path& path);

// Counts rounds and those that were wrong.
class Verdict {
 public:
  // `command` stands in failures: the harness and its seed.
  explicit Verdict(std::string command) : command_(std::move(command)) {}

  // Runs a round; what it throws is printed with `what`, the way to see it again.
  void Round(const std::string& what, const std::function<void()>& round);

  // Prints the counts and returns the exit code. `unit` tells what `counted` is.
  int End(const std::string& unit) const;

  std::int64_t counted = 0;

 private:
  std::string command_;
  std::int64_t rounds_ = 0;
  std::int64_t wrong_ = 0;
};

// A folder that goes away with everything in it.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  void Clear() const;

  std::filesystem::path path;
};

using Random = std::mt19937_64;

// From `least` to `most`, the same on every machine.
inline std::int64_t Draw(Random& random, std::int64_t least, std::int64_t most) {
  return least + static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(most - least + 1));
}

// --- The harnesses

// Every call and every allocation that a user's work consists of fails in turn, once and for good;
// at most `amount` of each kind, 0 for all.
void Faults(Verdict& verdict, std::uint64_t seed, std::int64_t amount);

// Processes that work on the books and replace a sample database are killed, in `rounds` rounds.
void Kills(Verdict& verdict, std::uint64_t seed, std::int64_t rounds);

// The power fails at random moments of written-down work; what was not synchronised is lost,
// reordered or torn.
void PowerFailures(Verdict& verdict, std::uint64_t seed, std::int64_t rounds);

// Processes work on one database at once. The time is shared out among the numbers of processes.
void Crowd(Verdict& verdict, std::uint64_t seed, std::int64_t seconds);

}  // namespace ledgerwick::reliability
