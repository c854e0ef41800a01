// Several connections of one database: whose locks hold, and who waits for whom.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "tests/tsql/scratch_database.h"
#include "tsql/base/errors.h"
#include "tsql/storage/database_lock.h"
#include "tsql/storage/fair_lock.h"

namespace ledgerwick::tsql {
namespace {

using testing::ErrorOf;
using testing::ScratchDatabase;

// This process's locks on the files that SQLite keeps locks on, as the system lists them.
std::set<std::string> EngineLocks(const ScratchDatabase& database) {
  std::set<std::string> locks;
  std::ifstream list("/proc/locks");
  for (std::string line; std::getline(list, line);) {
    std::istringstream words(line);
    std::string number, kind, advice, type, pid, place, first, last;
    words >> number >> kind >> advice >> type >> pid >> place >> first >> last;
    if (kind != "POSIX" || pid != std::to_string(getpid())) continue;
    for (const char* suffix : {"", "-shm", ".tempdb", ".tempdb-shm"}) {
      struct stat file {};
      if (stat(database.path(suffix).c_str(), &file) != 0) continue;
      if (!place.ends_with(":" + std::to_string(file.st_ino))) continue;
      locks.insert(suffix + (" " + type) + " " + first + "-" + last);
    }
  }
  return locks;
}

TEST_CASE("whatever is done beside an open connection leaves it its locks") {
  const ScratchDatabase database;
  database.Run(u"CREATE TABLE t (a int) SELECT 1 AS a INTO tempdb..w");
  const auto held = database.Connect();
  ScratchDatabase::ScalarOn(*held, u"SELECT COUNT(*) AS x FROM t, tempdb..w");
  const std::set<std::string> before = EngineLocks(database);
  REQUIRE(before.size() >= 4);
  const struct {
    const char* name;
    std::function<void()> work;
  } kCases[] = {
      {"another connection", [&] { database.Scalar(u"SELECT COUNT(*) AS x FROM t"); }},
      {"another thread's",
       [&] { std::thread([&] { database.Run(u"INSERT INTO t VALUES (1)"); }).join(); }},
      {"a lease", [&] { Database::Open(database.path())->Lease(u"tempdb..w", {}); }},
      {"a database that must be new",
       [&] {
         DatabaseOptions create;
         create.create = true;
         ErrorOf([&] { Database::Open(database.path(), create); });
       }},
      {"a question whose file it is",
       [&] {
         for (const char* suffix : {"", "-wal", "-shm", ".tempdb", ".tempdb-shm", ".tempdb.lock"}) {
           CHECK(DatabaseWithFile(database.path(suffix)) == database.path());
         }
       }},
  };
  for (const auto& c : kCases) {
    CAPTURE(std::string(c.name));
    c.work();
    CHECK(EngineLocks(database) == before);
  }
}

TEST_CASE("threads with connections of their own lose nothing") {
  const ScratchDatabase database;
  database.Run(u"CREATE TABLE t (a int)");
  std::atomic<int> failed = 0;
  const auto write = [&] {
    for (int i = 0; i < 40; ++i) {
      failed += ErrorOf([&] {
                  database.Run(u"BEGIN TRAN INSERT INTO t SELECT COUNT(*) FROM t COMMIT");
                }).empty()
                    ? 0
                    : 1;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) threads.emplace_back(write);
  for (std::thread& thread : threads) thread.join();
  CHECK(failed == 0);
  // Each saw all those before it.
  CHECK(database.Scalar(u"SELECT COUNT(DISTINCT a) + MAX(a) AS x FROM t") == "239");
}

// A connection of a thread of its own that writes as soon as it may.
class Writer {
 public:
  Writer(const ScratchDatabase& database, const Text& sql) {
    DatabaseOptions options;
    options.progress = [this] { waits_ = true; };
    thread_ = std::thread(
        [this, &database, options, sql] { database.Connect(options)->Execute(sql, -1); });
    while (!waits_) std::this_thread::yield();
  }
  ~Writer() { thread_.join(); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

 private:
  std::atomic<bool> waits_ = false;
  std::thread thread_;
};

TEST_CASE("writers have their turns in the order in which they came, and are told who is writing") {
  const ScratchDatabase database;
  database.Run(u"CREATE TABLE t (a varchar(9))");
  const auto first = database.Connect();
  first->Execute(u"BEGIN TRAN INSERT INTO t VALUES ('first')", -1);
  {
    const Writer second(database, u"INSERT INTO t VALUES ('second')");
    const Writer third(database, u"BEGIN TRAN INSERT INTO t VALUES ('third') COMMIT");
    const auto impatient = database.Connect(testing::Hasty());
    const std::string busy =
        ErrorOf([&] { impatient->Execute(u"INSERT INTO t VALUES ('x')", -1); });
    CHECK_MESSAGE(busy.starts_with("1222: "), busy);
    CHECK_MESSAGE(
        busy.find("Process " + std::to_string(getpid()) + " (test_tsql)") != std::string::npos,
        busy);
    // The first comes back at once and finds two before it.
    first->Execute(u"INSERT INTO t VALUES ('again') COMMIT INSERT INTO t VALUES ('last')", -1);
  }
  const auto rows = first->OpenRecordset(u"SELECT a FROM t", {});
  for (const char* name : {"first", "again", "second", "third", "last"}) {
    CHECK(ToUtf8(rows->Field(u"a").ToText()) == name);
    rows->MoveNext();
  }
  // A writer of tempdb alone keeps nobody from the books.
  const auto lease = Database::Open(database.path())->Lease(u"w", {});
  CHECK(ErrorOf([&] {
          database.Run(u"INSERT INTO t VALUES ('y') SELECT 1 AS a INTO tempdb..w");
        }).empty());
  const std::string held =
      ErrorOf([&] { Database::Open(database.path(), testing::Hasty())->Lease(u"W", {}); });
  CHECK_MESSAGE(held.find("Process ") != std::string::npos, held);
}

TEST_CASE("a wait lasts as long as writers change") {
  const ScratchDatabase database;
  LockFile file(database.path());
  FairLock held(file, LockSubject::Main(), {});
  REQUIRE(held.TryAcquire());
  constexpr int kWriters = 20;
  int looks = 0;
  DatabaseOptions options;
  options.lock_wait = std::chrono::milliseconds(25);
  options.progress = [&] {
    if (++looks <= kWriters)
      file.Write(LockSubject::Main().entry(), "pid 7 (seven) since " + std::to_string(looks));
  };
  LockFile others(database.path());
  FairLock waiting(others, LockSubject::Main(), "'x.db'");
  try {
    waiting.Acquire(options);
    FAIL("no error");
  } catch (const SqlError& error) {
    CHECK(looks > kWriters);
    CHECK(error.message.find("Process 7 (seven) has been writing to 'x.db'") != std::string::npos);
  }
}

}  // namespace
}  // namespace ledgerwick::tsql
