// The program among others: signals, full disks, closed pipes, missing rights, and two at once.
#include <doctest/doctest.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <thread>

#include "cli/command_line.h"
#include "tests/cli/harness.h"
#include "tsql/database.h"

namespace ledgerwick {

using testing::Arguments;
using testing::Ended;
using testing::Program;

namespace {

namespace fs = std::filesystem;

// So many pairs that nothing over them ends while a test waits.
const std::string kPairs =
    "Inventory a, Inventory b, Inventory c, Inventory d, Inventory e, Inventory f";
const std::string kEndless = "SELECT a.cInvCode, b.cInvCode AS b INTO tempdb..half FROM " + kPairs;
const std::string kEndlessFilter = "(SELECT COUNT(*) FROM " + kPairs + ")=1";

Arguments On(const std::string& database, Arguments args) {
  args.insert(args.end(), {"--connection", "embedded:" + database});
  return args;
}

Ended Run(const Arguments& args, const std::function<void()>& prepare = {}) {
  return Program(args, prepare).Wait();
}

std::string Count(const std::string& database, const std::string& table) {
  const Ended ended =
      Run(On(database, {"query", "SELECT COUNT(*) AS n FROM " + table, "--format", "csv"}));
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
  const testing::TemporaryFolder folder;
  const std::string database = folder / "s.db";
  testing::CopySample(database);
  const Arguments endless[] = {
      On(database, {"query", kEndless}),
      On(database, {"query", "SELECT a.cInvCode FROM " + kPairs, "--output", folder / "out.csv"}),
      On(database,
         {"run", "clsRepAQKCYJ", "--output", folder / "out.csv", "--filter", kEndlessFilter}),
      {"sample", "create", folder / "out.csv.db", "--lines", "50000000"},
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
  CHECK(Count(database, "tempdb..half").find("Msg 208") != std::string::npos);
  CHECK(Count(database, "tempdb..tempAqkcyj").find("Msg 208") != std::string::npos);
  for (const std::string& name : testing::FilesIn(folder.path())) {
    CHECK_MESSAGE(name.find("out.csv") == std::string::npos, name);
  }
}

TEST_CASE("a process waits for another that fills the same table, and a signal ends the wait") {
  const testing::TemporaryFolder folder;
  const std::string database = folder / "s.db";
  testing::CopySample(database);
  Program filling(On(database, {"run", "clsRepAQKCYJ", "--filter", kEndlessFilter}));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  Program waiting(On(database, {"run", "clsRepAQKCYJ"}));
  const Ended other = Run(On(database, {"query", "SELECT COUNT(*) AS n FROM Inventory"}));
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
  CHECK(Run(On(database, {"run", "clsRepAQKCYJ"})).code == kDone);
}

TEST_CASE("a full disk is an error that leaves the database as it was") {
  const testing::TemporaryFolder folder;
  const std::string database = folder / "s.db";
  testing::CopySample(database);
  const std::string items = Count(database, "Inventory");
  CHECK(Run(On(database, {"run", "clsRepAQKCYJ"})).code == kDone);
  // Whichever write it is that finds no room, a drop that a report passes over included, the error
  // says so.
  const Arguments fill = On(database, {"query", kEndless});
  for (const rlim_t room : {20'000U, 50'000U, 70'000U, 100'000U, 200'000U, 400'000U, 2'000'000U}) {
    CAPTURE(room);
    for (const Arguments& args : {fill, On(database, {"run", "clsRepAQKCYJ"})}) {
      const Ended filling = Run(args, DiskOf(room));
      if (filling.code == kDone && args != fill) continue;
      CHECK(filling.code == kRefused);
      CHECK_MESSAGE((filling.err.find("Could not allocate space") != std::string::npos ||
                     filling.err.find("File too large") != std::string::npos),
                    filling.err);
    }
  }
  CHECK(Count(database, "tempdb..half").find("Msg 208") != std::string::npos);
  CHECK(Count(database, "Inventory") == items);
  // Nor does a table that could not be dropped count as somebody's table.
  CHECK(
      Run(On(database, {"query", "SELECT a.cInvCode INTO tempdb..w FROM Inventory a, Inventory b"}))
          .code == kDone);
  const Ended again = Run(On(database, {"query",
                                        "BEGIN TRY DROP TABLE tempdb..w END TRY BEGIN CATCH END "
                                        "CATCH SELECT 1 AS a INTO tempdb..w"}),
                          DiskOf(40'000));
  CHECK_MESSAGE(again.err.find("Msg 1105") != std::string::npos, again.err);

  const std::string sample = folder / "full.db";
  const Ended creating = Run({"sample", "create", sample, "--lines", "20000"}, DiskOf(100'000));
  CHECK(creating.code == kRefused);
  CHECK_FALSE(fs::exists(sample));

  const Arguments query = On(database, {"query", "SELECT a.cInvName FROM Inventory a, Inventory b",
                                        "--output", folder / "out.csv"});
  const Ended writing = Run(query, DiskOf(20'000));
  CHECK(writing.code == kRefused);
  CHECK_FALSE(fs::exists(folder / "out.csv"));
  for (const std::string& name : testing::FilesIn(folder.path())) {
    CHECK_MESSAGE(name.starts_with("s"), name);
  }
}

TEST_CASE("an output that cannot be written is told") {
  const testing::TemporaryFolder folder;
  const std::string database = folder / "s.db";
  testing::CopySample(database);
  const auto closed_pipe = [] {
    int ends[2];
    if (pipe(ends) != 0) _exit(126);
    close(ends[0]);
    dup2(ends[1], STDOUT_FILENO);
  };
  const auto full_device = [] { dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO); };
  const Arguments commands[] = {On(database, {"query", "SELECT 1 AS a"}),
                                On(database, {"run", "clsInventroy", "--format", "json"}),
                                {"list"},
                                {"describe", "clsRepAQKCYJ"},
                                {"trace", "clsInventroy"}};
  for (const Arguments& command : commands) {
    CAPTURE(command.front());
    const Ended piped = Run(command, closed_pipe);
    CHECK(piped.code == kRefused);
    CHECK_MESSAGE(piped.err.find("Broken pipe") != std::string::npos, piped.err);
    const Ended full = Run(command, full_device);
    CHECK(full.code == kRefused);
    CHECK_MESSAGE(full.err.find("No space left") != std::string::npos, full.err);
  }
}

TEST_CASE("missing rights are told with the file's name") {
  const testing::TemporaryFolder folder;
  const std::string secret = folder / "secret.db";
  testing::CopySample(secret);
  fs::permissions(secret, fs::perms::none);
  fs::create_directory(folder / "closed");
  testing::CopySample(folder / "closed/s.db");
  fs::permissions(folder / "closed/s.db", fs::perms(0644));
  fs::permissions(folder / "closed", fs::perms(0555));
  struct Case {
    Arguments args;
    std::string named;
    int code;
  };
  const Case cases[] = {
      {On(secret, {"query", "SELECT 1"}), secret, kRefused},
      {On(secret, {"run", "clsInventroy"}), secret, kRefused},
      {{"run", "--request", secret}, secret, kWrongUsage},
      {{"sample", "create", folder / "closed/new.db"}, "closed", kRefused},
      {On(folder / "closed/s.db", {"run", "clsInventroy"}), "closed", kRefused},
  };
  for (const Case& c : cases) {
    const Ended ended = Run(c.args, testing::DropRights);
    CHECK(ended.code == c.code);
    CHECK_MESSAGE(ended.err.find(c.named) != std::string::npos, ended.err);
  }
  CHECK(testing::FilesIn(folder / "closed") == std::vector<std::string>{"s.db"});
  fs::permissions(folder / "closed", fs::perms(0755));
}

TEST_CASE("another process that closes a database does not take the log from this one") {
  const testing::TemporaryFolder folder;
  const std::string database = folder / "s.db";
  testing::CopySample(database);
  const Arguments insert =
      On(database, {"query", "CREATE TABLE t (a int) INSERT INTO t VALUES (1)"});
  const Arguments more = On(database, {"query", "INSERT INTO t SELECT a + 1 FROM t"});
  const auto user = tsql::Database::Open(database);
  CHECK(testing::CallMain(insert).code == kDone);  // opens and closes it in this process
  REQUIRE(fs::exists(database + "-wal"));
  CHECK(Run(more).code == kDone);
  CHECK(fs::exists(database + "-wal"));
  CHECK(testing::CallMain(more).code == kDone);
  CHECK(Run(more).code == kDone);
  CHECK(Count(database, "t") == "n\r\n8\r\n");
}

TEST_CASE("two processes fill and read one database and each gets its own rows") {
  const testing::TemporaryFolder folder;
  const std::string database = folder / "s.db";
  testing::CopySample(database);
  const auto run = [&](const char* type) {
    return On(database, {"run", "clsRepAQKCYJ", "--format", "csv", "--filter", type});
  };
  const Arguments commands[] = {run("def_queryType=高于安全库存量存货"),
                                run("def_queryType=不高于安全库存量存货")};
  const std::string alone[] = {Run(commands[0]).out, Run(commands[1]).out};
  CHECK(alone[0] != alone[1]);
  for (int round = 0; round < 8; ++round) {
    std::vector<std::unique_ptr<Program>> programs;
    for (int i = 0; i < 4; ++i) programs.push_back(std::make_unique<Program>(commands[i % 2]));
    for (std::size_t i = 0; i < programs.size(); ++i) {
      const Ended ended = programs[i]->Wait();
      CHECK_MESSAGE(ended.code == kDone, ended.err);
      CHECK(ended.out == alone[i % 2]);
    }
  }
}

}  // namespace ledgerwick
