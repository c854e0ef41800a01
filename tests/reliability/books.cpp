#include "books.h"

#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <iostream>
#include <new>
#include <stdexcept>

#include "calls.h"
#include "frame/error.h"
#include "sample/sample.h"
#include "tsql/functions.h"
#include "tsql/sqlite.h"

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

// A read-write connection of SQLite's own, which recovers what others left.
class Plain {
 public:
  explicit Plain(const fs::path& path) {
    sqlite3* db = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    db_.reset(db);
    if (result != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(db));
    tsql::RegisterFunctions(db, functions_);
    sqlite3_busy_timeout(db, 60'000);
  }

  // Every row's first column.
  std::vector<std::string> Rows(const std::string& sql) {
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(db_.get(), sql.c_str(), -1, &raw, nullptr) != SQLITE_OK) Fail();
    const tsql::SqliteStatement statement(raw);
    std::vector<std::string> rows;
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(raw)) == SQLITE_ROW) rows.emplace_back(tsql::ColumnText(raw, 0));
    if (result != SQLITE_DONE) Fail();
    return rows;
  }

 private:
  void Fail() { throw std::runtime_error(sqlite3_errmsg(db_.get())); }

  tsql::FunctionState functions_;
  tsql::SqliteHandle db_;
};

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

std::string FaultsOf(const std::vector<std::string>& rows) {
  std::string faults;
  for (const std::string& row : rows) faults.append(faults.empty() ? "" : "; ").append(row);
  return faults;
}

std::string IntegrityOf(Plain& plain) {
  const std::string answer = FaultsOf(plain.Rows("PRAGMA integrity_check"));
  return answer == "ok" ? "" : answer;
}

// "" if the report's table holds one state of the accounts, every row whole.
std::string FaultOfResult(tsql::Database& database) {
  const std::string sum = Answer(database,
                                 "SELECT SUM(balance) FROM tempdb..Result WHERE filler = "
                                 "REPLICATE(CHAR(65 + balance % 26), 3000)");
  const std::string count = Answer(database, "SELECT COUNT(*) FROM tempdb..Result");
  const bool whole =
      sum == std::to_string(kAccounts * kOpening) && count == std::to_string(kAccounts);
  return whole ? "" : "a result mixes states: " + count + " rows of " + sum;
}

void Run(tsql::Database& database, const std::string& sql) {
  FirstValue ignored;
  database.Run(FromUtf8(sql), ignored);
}

}  // namespace

void Shared::Tell(const char* what, std::int32_t number, const char* text) {
  const int at = told_count.fetch_add(1);
  if (at >= static_cast<int>(std::size(told))) return;
  std::strncpy(told[at].what, what, sizeof told[at].what - 1);
  told[at].number = number;
  std::strncpy(told[at].text, text, sizeof told[at].text - 1);
}

SharedMemory::SharedMemory()
    : shared_(new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                        -1, 0)) Shared{}) {}
SharedMemory::~SharedMemory() { munmap(shared_, sizeof(Shared)); }
void SharedMemory::Clear() { new (shared_) Shared{}; }

int Start(const std::function<void()>& work) {
  std::cout.flush();
  const int process = fork();
  if (process < 0) throw std::runtime_error("cannot start a process");
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

std::string Wait(int process, bool may_be_killed) {
  int status = 0;
  waitpid(process, &status, 0);
  if (WIFEXITED(status)) {
    const int code = WEXITSTATUS(status);
    return code == 0 ? "" : "a process ended with " + std::to_string(code);
  }
  if (may_be_killed && WTERMSIG(status) == SIGKILL) return {};
  return std::string("a process died: ") + strsignal(WTERMSIG(status));
}

bool Try(Shared& shared, const char* what, const std::function<void()>& step) {
  try {
    step();
    return true;
  } catch (const DatabaseError& error) {
    shared.Tell(what, error.native, error.what());
  } catch (const std::bad_alloc&) {
    shared.Tell(what, 701, "out of memory");
  } catch (const std::exception& error) {
    shared.Tell(what, 0, error.what());
  }
  return false;
}

void CreateBooks(const fs::path& path) {
  tsql::DatabaseOptions options;
  options.create = !fs::exists(path);
  const auto database = tsql::Database::Open(path, options);
  Run(*database,
      "CREATE TABLE Accounts (id int NOT NULL PRIMARY KEY, balance int NOT NULL) "
      "CREATE TABLE Journal (writer int NOT NULL, number int NOT NULL, source int NOT NULL, target "
      "int "
      "NOT NULL, amount int NOT NULL, memo varchar(400) NULL, PRIMARY KEY (writer, number)) "
      "CREATE INDEX JournalByAmount ON Journal (amount, source)");
  for (int id = 0; id < kAccounts; ++id) {
    Run(*database, "INSERT INTO Accounts VALUES (" + std::to_string(id) + ", " +
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
  Run(database, "BEGIN TRAN UPDATE Accounts SET balance = balance - " + amount +
                    " WHERE id = " + source + " UPDATE Accounts SET balance = balance + " + amount +
                    " WHERE id = " + target + " INSERT INTO Journal VALUES (" +
                    std::to_string(writer) + ", " + std::to_string(number) + ", " + source + ", " +
                    target + ", " + amount + ", REPLICATE('x', " + length + ")) COMMIT");
  shared.done[writer] = number;
}

void Report(tsql::Database& database) {
  const auto lease = database.Lease(u"Result", {});
  Run(database, "DROP TABLE IF EXISTS tempdb..Result");
  Run(database,
      "SELECT id, balance, REPLICATE(CHAR(65 + balance % 26), 3000) AS filler INTO tempdb..Result "
      "FROM Accounts");
  const std::string fault = FaultOfResult(database);
  if (!fault.empty()) throw std::runtime_error(fault);
}

std::string Answer(tsql::Database& database, const std::string& sql) {
  FirstValue first;
  database.Run(FromUtf8(sql), first);
  return first.value;
}

State Examine(const fs::path& path) {
  State state;
  state.posted.assign(kWriters, 0);
  try {
    Plain plain(path);
    state.fault = IntegrityOf(plain);
    if (state.fault.empty()) state.fault = FaultsOf(plain.Rows(kWrong));
    for (std::size_t i = 0; i < kWriters; ++i) {
      const auto rows =
          plain.Rows("SELECT count(*) FROM Journal WHERE writer = " + std::to_string(i));
      state.posted[i] = std::stoll(rows.at(0));
    }
  } catch (const std::exception& error) {
    state.fault = error.what();
  }
  return state;
}

std::string Compare(const State& state, const Shared& shared) {
  if (!state.fault.empty()) return state.fault;
  for (std::size_t i = 0; i < kWriters; ++i) {
    const std::string which = " of writer " + std::to_string(i) + ": " +
                              std::to_string(state.posted[i]) + " in the journal, " +
                              std::to_string(shared.done[i]) + " acknowledged, " +
                              std::to_string(shared.begun[i]) + " begun";
    if (state.posted[i] < shared.done[i]) return "lost a transaction" + which;
    if (state.posted[i] > shared.begun[i]) return "a transaction from nowhere" + which;
  }
  return {};
}

std::string Leftovers(const fs::path& path) {
  std::string left;
  for (const auto& entry : fs::directory_iterator(path.parent_path())) {
    const std::string name = entry.path().filename().string();
    const std::string own = path.filename().string();
    if (!name.starts_with(own) || name == own || name == own + ".tempdb" ||
        name == own + ".tempdb.lock") {
      continue;
    }
    left += name + " was left; ";
    fs::remove(entry);
  }
  return left;
}

std::string UseAgain(const fs::path& path, Shared& shared) {
  try {
    auto database = tsql::Database::Open(path);
    // What an earlier user's report left is whole or not there at all.
    if (!Answer(*database, "SELECT OBJECT_ID('tempdb..Result')").empty()) {
      const std::string fault = FaultOfResult(*database);
      if (!fault.empty()) return fault;
    }
    const std::string writer = std::to_string(kWriters - 1);
    const std::string last =
        Answer(*database, "SELECT COUNT(*) FROM Journal WHERE writer = " + writer);
    Post(*database, shared, kWriters - 1, std::stoll(last) + 1);
    Report(*database);
    database.reset();
    return Leftovers(path);
  } catch (const std::exception& error) {
    return std::string("the next user cannot work: ") + error.what();
  }
}

void MakeSample(const fs::path& path, int which, Shared& shared) {
  SampleOptions options;
  options.voucher_lines = kLines[which];
  options.seed = static_cast<std::uint64_t>(which + 1);
  options.force = true;
  Try(shared, "replace", [&] {
    CreateSample(path, options);
    ++shared.replaced;
  });
}

std::string CheckSample(const fs::path& path) {
  try {
    const std::string fault = IntegrityOf(*std::make_unique<Plain>(path));
    if (!fault.empty()) return "the sample: " + fault;
    const auto database = tsql::Database::Open(path);
    const auto ask = [&](const char* sql) { return Answer(*database, sql); };
    const std::string lines = ask("SELECT COUNT(*) FROM RdRecords");
    // The last thing that is made.
    ask("EXEC Sa_MoveTrustDetail 'Sample', ' ', '2002-03-01', '2002-03-31'");
    const bool is_one = lines == std::to_string(kLines[0]) || lines == std::to_string(kLines[1]);
    return is_one ? "" : "the sample is neither old nor new: " + lines + " lines";
  } catch (const std::exception& error) {
    return std::string("the sample: ") + error.what();
  }
}

std::string ReplaceAgain(const fs::path& path) {
  SharedMemory shared;
  MakeSample(path, 0, *shared);
  if (shared->replaced == 0) return std::string("cannot be replaced: ") + shared->told[0].text;
  const std::string left = Leftovers(path);
  if (!left.empty()) return left;
  return CheckSample(path);
}

void Verdict::Round(const std::string& what, const std::string& fault) {
  ++rounds_;
  if (fault.empty()) return;
  ++faults_;
  std::cout << name_ << " --seed " << seed_ << ": " << what << ": " << fault << '\n';
}

int Verdict::End(const std::string& more) const {
  std::cout << name_ << ", seed " << seed_ << ": " << rounds_ << " rounds, " << more << ", "
            << faults_ << " wrong\n";
  return faults_ == 0 ? 0 : 1;
}

Folder::Folder() {
  // In memory where it can be: nothing here relies on the disk itself.
  const fs::path parent = fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
  std::string name = (parent / "ledgerwick-reliability-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a folder");
  path_ = fs::canonical(name);
}

Folder::~Folder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

void Folder::Become(const Folder& other) const {
  for (const auto& entry : fs::directory_iterator(path_)) fs::remove_all(entry);
  fs::copy(other.path_, path_);
}

}  // namespace ledgerwick::reliability
