#include "books.h"

#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <new>
#include <stdexcept>

#include "frame/error.h"
#include "sample/sample.h"
#include "tsql/storage/register_functions.h"
#include "tsql/storage/sqlite.h"

namespace ledgerwick::reliability {
namespace {

namespace fs = std::filesystem;

constexpr int kAccounts = 10;
constexpr int kOpening = 1000;
constexpr unsigned kLongestProcess = 600;  // seconds
constexpr int kBadEnd = 3;
constexpr std::int64_t kLines[] = {3, 4};  // of the two samples

// Keeps the first value that a batch gives.
class FirstValue final : public ResultSink {
 public:
  void Columns(std::span<const ResultColumn>) override {}
  void Row(std::span<const Value> values) override {
    if (value.empty() && !values[0].IsNull()) value = ToUtf8(values[0].ToText());
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

  std::string value;
};

// Every row's first column, read through a connection of SQLite's own that recovers what others
// left.
std::vector<std::string> Rows(const fs::path& path, const std::string& sql) {
  tsql::FunctionState functions;
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  const tsql::SqliteHandle db(opened);
  Require(result == SQLITE_OK, sqlite3_errmsg(opened));
  tsql::RegisterFunctions(opened, functions);
  sqlite3_busy_timeout(opened, 60'000);
  std::vector<std::string> rows;
  const auto keep = [](void* to, int, char** values, char**) {
    static_cast<std::vector<std::string>*>(to)->emplace_back(values[0]);
    return 0;
  };
  const bool done = sqlite3_exec(opened, sql.c_str(), keep, &rows, nullptr) == SQLITE_OK;
  Require(done, sqlite3_errmsg(opened));
  return rows;
}

// The SQLite query that finds what is wrong with the books, a text for each fault.
const std::string kWrong =
    "SELECT 'account ' || id || ' does not agree with the journal' FROM Accounts a WHERE balance "
    "<> " +
    std::to_string(kOpening) +
    " + (SELECT total(amount) FROM Journal WHERE target = a.id)"
    " - (SELECT total(amount) FROM Journal WHERE source = a.id) "
    "UNION ALL SELECT 'accounts are missing' WHERE (SELECT count(*) FROM Accounts) <> " +
    std::to_string(kAccounts) +
    " UNION ALL SELECT 'the journal of ' || writer || ' has gaps' FROM Journal GROUP BY writer "
    "HAVING count(*) <> max(number) OR min(number) <> 1";

void CheckIntegrity(const fs::path& path) {
  const std::string answer = Rows(path, "PRAGMA integrity_check").at(0);
  Require(answer == "ok", path.filename().string() + ": " + answer);
}

// The report's table must hold one state of the accounts, every row whole.
void CheckResult(tsql::Database& database) {
  const std::string sum = Answer(database,
                                 "SELECT SUM(balance) FROM tempdb..Result WHERE filler = "
                                 "REPLICATE(CHAR(65 + balance % 26), 3000)");
  const std::string count = Answer(database, "SELECT COUNT(*) FROM tempdb..Result");
  Require(sum == std::to_string(kAccounts * kOpening) && count == std::to_string(kAccounts),
          "a result mixes states: " + count + " rows of " + sum);
}

// Besides its tempdb and its lock file nothing may be beside the database at `path`, which nobody
// uses.
void CheckLeftovers(const fs::path& path) {
  const std::string own = path.filename().string();
  std::string left;
  for (const auto& entry : fs::directory_iterator(path.parent_path())) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with(own) && name != own && name != own + ".tempdb" &&
        name != own + ".tempdb.lock") {
      left += name + " was left; ";
      fs::remove(entry);
    }
  }
  Require(left.empty(), left);
}

// What is in the database must be one of the two samples.
void CheckWhole(const fs::path& path) {
  CheckIntegrity(path);
  const auto database = tsql::Database::Open(path);
  const std::string lines = Answer(*database, "SELECT COUNT(*) FROM RdRecords");
  // The last thing that is made.
  Answer(*database, "EXEC Sa_MoveTrustDetail 'Sample', ' ', '2002-03-01', '2002-03-31'");
  Require(lines == std::to_string(kLines[0]) || lines == std::to_string(kLines[1]),
          "the sample is neither old nor new: " + lines + " lines");
}

}  // namespace

bool Shared::Try(const char* step, const std::function<void()>& run) {
  // Without allocations: there may be no memory.
  const auto tell = [&](std::int32_t number, const char* text) {
    Told& kept = told[std::min(told_count++, std::size(told) - 1)];
    std::strncpy(kept.step, step, sizeof kept.step - 1);
    kept.number = number;
    std::strncpy(kept.text, text, sizeof kept.text - 1);
    return false;
  };
  try {
    run();
    return true;
  } catch (const DatabaseError& error) {
    return tell(error.native, error.what());
  } catch (const std::bad_alloc&) {
    return tell(701, "out of memory");
  } catch (const std::exception& error) {
    return tell(0, error.what());
  }
}

std::shared_ptr<Shared> NewShared() {
  void* memory =
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return {new (memory) Shared{}, [](Shared* shared) { munmap(shared, sizeof *shared); }};
}

int Start(const std::function<void()>& work) {
  std::cout.flush();
  const int process = fork();
  Require(process >= 0, "cannot start a process");
  if (process > 0) return process;
  alarm(kLongestProcess);
  int code = 0;
  try {
    work();
  } catch (...) {
    code = kBadEnd;
  }
  Disarm();
  _exit(code);
}

void Wait(const std::vector<int>& processes, bool may_be_killed) {
  std::string fault;
  for (const int process : processes) {
    int status = 0;
    waitpid(process, &status, 0);
    if (WIFSIGNALED(status) && !(may_be_killed && WTERMSIG(status) == SIGKILL)) {
      fault = std::string("a process died: ") + strsignal(WTERMSIG(status));
    } else if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
      fault = "a process ended with " + std::to_string(WEXITSTATUS(status));
    }
  }
  Require(fault.empty(), fault);
}

void Require(bool sound, const std::string& fault) {
  if (!sound) throw std::runtime_error(fault);
}

void CreateBooks(const fs::path& path) {
  tsql::DatabaseOptions options;
  options.create = !fs::exists(path);
  const auto database = tsql::Database::Open(path, options);
  Answer(*database,
         "CREATE TABLE Accounts (id int NOT NULL PRIMARY KEY, balance int NOT NULL) "
         "CREATE TABLE Journal (writer int NOT NULL, number int NOT NULL, source int NOT NULL, "
         "target int NOT NULL, amount int NOT NULL, memo varchar(400) NULL, "
         "PRIMARY KEY (writer, number)) "
         "CREATE INDEX JournalByAmount ON Journal (amount, source)");
  for (int id = 0; id < kAccounts; ++id) {
    Answer(*database, "INSERT INTO Accounts VALUES (" + std::to_string(id) + ", " +
                          std::to_string(kOpening) + ")");
  }
}

void Post(tsql::Database& database, Shared& shared, int writer, std::int64_t number) {
  Random random(static_cast<std::uint64_t>(writer * 1'000'003 + number));
  const std::string source = std::to_string(Draw(random, 0, kAccounts - 1));
  const std::string target = std::to_string(Draw(random, 0, kAccounts - 1));
  const std::string amount = std::to_string(Draw(random, 1, 90));
  const std::string length = std::to_string(Draw(random, 0, 400));
  shared.begun[writer] = number;
  Answer(database, "BEGIN TRAN UPDATE Accounts SET balance = balance - " + amount +
                       " WHERE id = " + source + " UPDATE Accounts SET balance = balance + " +
                       amount + " WHERE id = " + target + " INSERT INTO Journal VALUES (" +
                       std::to_string(writer) + ", " + std::to_string(number) + ", " + source +
                       ", " + target + ", " + amount + ", REPLICATE('x', " + length + ")) COMMIT");
  shared.done[writer] = number;
  ++shared.successes;
}

void Report(tsql::Database& database, Shared& shared) {
  const auto lease = database.Lease(u"Result", {});
  Answer(database, "DROP TABLE IF EXISTS tempdb..Result");
  Answer(database,
         "SELECT id, balance, REPLICATE(CHAR(65 + balance % 26), 3000) AS filler INTO "
         "tempdb..Result FROM Accounts");
  CheckResult(database);
  ++shared.successes;
}

std::string Answer(tsql::Database& database, const std::string& sql) {
  FirstValue first;
  database.Run(FromUtf8(sql), first);
  return first.value;
}

std::vector<std::int64_t> Examine(const fs::path& path) {
  CheckIntegrity(path);
  for (const std::string& fault : Rows(path, kWrong)) Require(false, fault);
  std::vector<std::int64_t> posted(kWriters);
  for (const std::string& writer : Rows(path, "SELECT writer FROM Journal")) {
    ++posted[std::stoul(writer)];
  }
  return posted;
}

void CheckBooks(const fs::path& path, Shared& shared) {
  const std::vector<std::int64_t> posted = Examine(path);
  for (std::size_t i = 0; i < kWriters; ++i) {
    Require(posted[i] >= shared.done[i] && posted[i] <= shared.begun[i],
            "lost, or from nowhere: of writer " + std::to_string(i) + " " +
                std::to_string(posted[i]) + " transactions, " + std::to_string(shared.done[i]) +
                " acknowledged, " + std::to_string(shared.begun[i]) + " begun");
  }
  auto database = tsql::Database::Open(path);
  // What an earlier user's report left is whole or not there at all.
  if (!Answer(*database, "SELECT OBJECT_ID('tempdb..Result')").empty()) CheckResult(*database);
  Post(*database, shared, kWriters - 1, posted.back() + 1);
  Report(*database, shared);
  database.reset();
  CheckLeftovers(path);
}

void MakeSample(const fs::path& path, int which, Shared& shared) {
  SampleOptions options;
  options.voucher_lines = kLines[which];
  options.seed = static_cast<std::uint64_t>(which + 1);
  options.force = true;
  if (shared.Try("replace", [&] { CreateSample(path, options); })) ++shared.successes;
}

void CheckSample(const fs::path& path) {
  CheckWhole(path);
  const auto shared = NewShared();
  MakeSample(path, 0, *shared);
  Require(shared->told_count == 0, std::string("cannot be replaced: ") + shared->told[0].text);
  CheckLeftovers(path);
  CheckWhole(path);
}

void Verdict::Round(const std::string& what, const std::function<void()>& round) {
  ++rounds_;
  try {
    round();
  } catch (const std::exception& error) {
    ++wrong_;
    std::cout << command_ << ": " << what << ": " << error.what() << '\n';
  }
}

int Verdict::End(const std::string& unit) const {
  std::cout << command_ << ": " << rounds_ << " rounds, " << counted << " " << unit << ", "
            << wrong_ << " wrong\n";
  return wrong_ == 0 ? 0 : 1;
}

Folder::Folder() {
  // In memory where it can be: nothing here relies on the disk itself.
  const fs::path parent = fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
  std::string name = (parent / "ledgerwick-reliability-XXXXXX").string();
  Require(mkdtemp(name.data()) != nullptr, "cannot make a folder");
  path = fs::canonical(name);
}

Folder::~Folder() {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

void Folder::Clear() const {
  for (const auto& entry : fs::directory_iterator(path)) fs::remove_all(entry);
}

}  // namespace ledgerwick::reliability
