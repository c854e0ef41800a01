// The program among others: signals, full disks, closed pipes, missing rights, and two at once.
#include <doctest/doctest.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "cli/command_line.h"
#include "tests/cli/harness.h"
#include "tsql/database.h"

namespace ledgerwick {

using testing::Arguments;
using testing::Ended;
using testing::Program;
using testing::Sample;

namespace {

namespace fs = std::filesystem;

// So many pairs that nothing over them ends while a test waits.
const std::string kPairs =
    "Inventory a, Inventory b, Inventory c, Inventory d, Inventory e, Inventory f";
const std::string kEndless = "SELECT a.cInvCode, b.cInvCode AS b INTO tempdb..half FROM " + kPairs;
const std::string kEndlessFilter = "(SELECT COUNT(*) FROM " + kPairs + ")=1";

Ended Run(const Arguments& args, const std::function<void()>& prepare = {}) {
  return Program(args, prepare).Wait();
}

std::string Count(const Sample& sample, const std::string& table) {
  const Ended ended =
      Run(sample.On({"query", "SELECT COUNT(*) AS n FROM " + table, "--format", "csv"}));
  return ended.code == kDone ? ended.out : ended.err;
}

// Files of this process's children may grow to `bytes`, as on a disk that is full then.
std::function<void()> DiskOf(rlim_t bytes) {
  return [bytes] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
}

}  // namespace

TEST_CASE("a signal stops a long statement and leaves no half table") {
  const Sample sample;
  const Arguments endless[] = {
      sample.On({"query", kEndless}),
      sample.On(
          {"query", "SELECT a.cInvCode FROM " + kPairs, "--output", sample.folder / "out.csv"}),
      sample.On({"run", "clsRepAQKCYJ", "--output", sample.folder / "out.csv", "--filter",
                 kEndlessFilter}),
      {"sample", "create", sample.folder / "out.csv.db", "--lines", "50000000"},
  };
  for (const int signal : {SIGINT, SIGTERM}) {
    for (const Arguments& args : endless) {
      Program program(args);
      std::this_thread::sleep_for(std::chrono::milliseconds(400));
      const auto sent = std::chrono::steady_clock::now();
      program.Signal(signal);
      const Ended ended = program.Wait();
      CHECK_MESSAGE(ended.code == kRefused, ended.err);
      CHECK(ended.err.find("ledgerwick: interrupted\n") != std::string::npos);
      CHECK(std::chrono::steady_clock::now() - sent < std::chrono::seconds(5));
    }
  }
  CHECK(Count(sample, "tempdb..half").find("Msg 208") != std::string::npos);
  CHECK(Count(sample, "tempdb..tempAqkcyj").find("Msg 208") != std::string::npos);
  for (const std::string& name : testing::FilesIn(sample.folder.path())) {
    CHECK_MESSAGE(name.find("out.csv") == std::string::npos, name);
  }
}

TEST_CASE("a process waits for another that fills the same table, and a signal ends the wait") {
  const Sample sample;
  Program filling(sample.On({"run", "clsRepAQKCYJ", "--filter", kEndlessFilter}));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  Program waiting(sample.On({"run", "clsRepAQKCYJ"}));
  const Ended other = Run(sample.On({"query", "SELECT COUNT(*) AS n FROM Inventory"}));
  CHECK_MESSAGE(other.code == kDone, other.err);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  waiting.Signal(SIGINT);
  const Ended ended = waiting.Wait();
  CHECK(ended.code == kRefused);
  CHECK_MESSAGE(ended.err ==
                    "ledgerwick: note: waiting for another process that uses tempdb..tempAqkcyj\n"
                    "ledgerwick: interrupted\n",
                ended.err);
  filling.Signal(SIGKILL);
  filling.Wait();
  // Whoever holds the table and dies does not keep it from others.
  CHECK(Run(sample.On({"run", "clsRepAQKCYJ"})).code == kDone);
}

TEST_CASE("a full disk is an error that leaves the database as it was") {
  const Sample sample;
  const std::string items = Count(sample, "Inventory");
  CHECK(Run(sample.On({"run", "clsRepAQKCYJ"})).code == kDone);
  // Whichever write it is that finds no room, a drop that a report passes over included, the error
  // says so.
  const Arguments fill = sample.On({"query", kEndless});
  for (const rlim_t room : {20'000U, 50'000U, 70'000U, 100'000U, 200'000U, 400'000U, 2'000'000U}) {
    CAPTURE(room);
    for (const Arguments& args : {fill, sample.On({"run", "clsRepAQKCYJ"})}) {
      const Ended filling = Run(args, DiskOf(room));
      if (filling.code == kDone && args != fill) continue;
      CHECK(filling.code == kRefused);
      CHECK_MESSAGE((filling.err.find("Could not allocate space") != std::string::npos ||
                     filling.err.find("File too large") != std::string::npos),
                    filling.err);
    }
  }
  CHECK(Count(sample, "tempdb..half").find("Msg 208") != std::string::npos);
  CHECK(Count(sample, "Inventory") == items);
  // Nor does a table that could not be dropped count as somebody's table.
  CHECK(Run(sample.On({"query", "SELECT a.cInvCode INTO tempdb..w FROM Inventory a, Inventory b"}))
            .code == kDone);
  const Ended again = Run(sample.On({"query",
                                     "BEGIN TRY DROP TABLE tempdb..w END TRY BEGIN CATCH END "
                                     "CATCH SELECT 1 AS a INTO tempdb..w"}),
                          DiskOf(40'000));
  CHECK_MESSAGE(again.err.find("Msg 1105") != std::string::npos, again.err);

  const std::string full = sample.folder / "full.db";
  CHECK(Run({"sample", "create", full, "--lines", "20000"}, DiskOf(100'000)).code == kRefused);
  CHECK_FALSE(fs::exists(full));

  const Arguments query = sample.On({"query", "SELECT a.cInvName FROM Inventory a, Inventory b",
                                     "--output", sample.folder / "out.csv"});
  const Ended writing = Run(query, DiskOf(20'000));
  CHECK(writing.code == kRefused);
  CHECK_FALSE(fs::exists(sample.folder / "out.csv"));
  for (const std::string& name : testing::FilesIn(sample.folder.path())) {
    CHECK_MESSAGE(name.starts_with("s"), name);
  }
}

TEST_CASE("an output that cannot be written is told, unless its reader had enough") {
  const Sample sample;
  const auto closed_pipe = [] {
    int ends[2];
    if (pipe(ends) != 0) _exit(126);
    close(ends[0]);
    dup2(ends[1], STDOUT_FILENO);
  };
  const auto full_device = [] { dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO); };
  const Arguments commands[] = {sample.On({"query", "SELECT 1 AS a"}),
                                sample.On({"run", "clsInventroy", "--format", "json"}),
                                {"list"},
                                {"describe", "clsRepAQKCYJ"},
                                {"trace", "clsInventroy"}};
  for (const Arguments& command : commands) {
    CAPTURE(command.front());
    const Ended piped = Run(command, closed_pipe);
    CHECK(piped.code == kReaderGone);
    CHECK_MESSAGE(piped.err.find("ledgerwick:") == std::string::npos, piped.err);
    const Ended full = Run(command, full_device);
    CHECK(full.code == kRefused);
    CHECK_MESSAGE(full.err.find("No space left") != std::string::npos, full.err);
  }
}

TEST_CASE("missing rights are told with the file's name") {
  const Sample secret;
  fs::permissions(secret.path, fs::perms::none);
  const Sample closed;
  const std::string folder = closed.folder.path();
  fs::permissions(closed.path, fs::perms(0644));
  fs::permissions(folder, fs::perms(0555));
  struct Case {
    Arguments args;
    std::string named;
    int code;
  };
  const Case cases[] = {
      {secret.On({"query", "SELECT 1"}), secret.path, kRefused},
      {secret.On({"run", "clsInventroy"}), secret.path, kRefused},
      {{"run", "--request", secret.path}, secret.path, kWrongUsage},
      {{"sample", "create", folder + "/new.db"}, folder, kRefused},
      {closed.On({"run", "clsInventroy"}), folder, kRefused},
  };
  for (const Case& c : cases) {
    const Ended ended = Run(c.args, testing::DropRights);
    CHECK(ended.code == c.code);
    CHECK_MESSAGE(ended.err.find(c.named) != std::string::npos, ended.err);
  }
  // What cannot be written can be read, and nothing comes beside it.
  const Arguments count = closed.On({"query", "SELECT COUNT(*) AS n FROM Inventory"});
  CHECK(Run(count, testing::DropRights).code == kDone);
  const Ended read = Run(closed.On({"run", "clsRepAQKCYJ", "--read-only"}), testing::DropRights);
  CHECK_MESSAGE(read.code == kDone, read.err);
  const Ended written =
      Run(closed.On({"query", "UPDATE Inventory SET cInvName = 'x'"}), testing::DropRights);
  CHECK_MESSAGE(written.err.find("Msg 3906") != std::string::npos, written.err);
  CHECK(testing::FilesIn(folder) == std::set<std::string>{"s.db"});
  fs::permissions(folder, fs::perms(0755));
}

TEST_CASE("another process that closes a database does not take the log from this one") {
  const Sample sample;
  const Arguments insert = sample.On({"query", "CREATE TABLE t (a int) INSERT INTO t VALUES (1)"});
  const Arguments more = sample.On({"query", "INSERT INTO t SELECT a + 1 FROM t"});
  const auto user = tsql::Database::Open(sample.path);
  CHECK(testing::CallMain(insert).code == kDone);  // opens and closes it in this process
  REQUIRE(fs::exists(sample.path + "-wal"));
  CHECK(Run(more).code == kDone);
  CHECK(fs::exists(sample.path + "-wal"));
  CHECK(testing::CallMain(more).code == kDone);
  CHECK(Run(more).code == kDone);
  CHECK(Count(sample, "t") == "n\r\n8\r\n");
}

}  // namespace ledgerwick
