#include "tsql/storage/storage.h"

#include <algorithm>
#include <cfenv>
#include <string_view>
#include <thread>
#include <utility>

#include "tsql/base/allowance.h"
#include "tsql/base/errors.h"
#include "tsql/base/nesting.h"
#include "tsql/storage/storage_error.h"

namespace ledgerwick::tsql {
namespace {

// The files that a statement writes to. All statements that write name their schema before anything
// else ("INSERT INTO main."…), but for BEGIN IMMEDIATE, which takes both files.
struct Written {
  bool main = false;
  bool tempdb = false;
};

Written WrittenBy(std::string_view sql) noexcept {
  if (sql.starts_with("BEGIN IMMEDIATE")) return {true, true};
  if (sql.starts_with("BEGIN")) return {};
  if (sql.starts_with("PRAGMA")) return {};
  const std::string_view before = sql.substr(0, std::min(sql.find('.'), sql.size()));
  return {before.ends_with(" main"), before.ends_with(" tempdb")};
}

}  // namespace

void Storage::TakeTurns(sqlite3_stmt* statement) {
  const char* sql = sqlite3_sql(statement);
  if (sql == nullptr) return;
  const Written written = WrittenBy(sql);
  if (options_.read_only && written.main && !written.tempdb) {
    throw errors::ReadOnly(path_.string());
  }
  if (written.main && !main_turn_->held()) main_turn_->Acquire(options_);
  if (!written.tempdb || tempdb_turn_->held()) return;
  try {
    tempdb_turn_->Acquire(options_);
  } catch (...) {
    EndTurns();  // nobody is kept waiting by a transaction that does not begin
    throw;
  }
}

void Storage::EndTurns() noexcept {
  for (const auto& [turn, schema] : {std::pair(&main_turn_, "main"), {&tempdb_turn_, "tempdb"}}) {
    if ((*turn)->held() && sqlite3_txn_state(db(), schema) != SQLITE_TXN_WRITE) (*turn)->Release();
  }
}

// The turns order those who use the database; others, such as SQLite's own shell, may be in the way
// all the same.
int Storage::OnBusy(void* self, int count) {
  auto& storage = *static_cast<Storage*>(self);
  const auto now = std::chrono::steady_clock::now();
  if (count == 0) storage.wait_start_ = now;
  if (now - storage.wait_start_ >= storage.options_.lock_wait) return 0;
  if (OnProgress(self) != 0) return 0;
  constexpr auto kPause = std::chrono::milliseconds(5);
  std::this_thread::sleep_for(kPause);
  return 1;
}

// Exceptions must not pass through SQLite: the caller's waits until the statement has ended.
int Storage::OnProgress(void* self) noexcept {
  Storage& storage = *static_cast<Storage*>(self);
  const DatabaseOptions& options = storage.options_;
  try {
    if (options.progress) options.progress();
  } catch (...) {
    storage.callers_exception_ = std::current_exception();
    return 1;
  }
  return options.cancel != nullptr && options.cancel->load() ? 1 : 0;
}

void Storage::CheckCancelled() const {
  if (options_.cancel != nullptr && options_.cancel->load()) throw errors::Cancelled();
}

// SQLite goes down an expression by calling itself, about so many bytes for each level.
void Storage::LimitDepth() {
  constexpr std::size_t kBytesPerLevel = 1024;
  constexpr std::size_t kMost = 1000;
  const std::size_t levels = std::clamp<std::size_t>(StackLeft() / kBytesPerLevel, 50, kMost);
  sqlite3_limit(db(), SQLITE_LIMIT_EXPR_DEPTH, static_cast<int>(levels));
}

SqliteStatement Storage::Prepare(const std::string& sql) {
  LimitDepth();
  ChooseOptimizations(db(), sql.size());
  functions_.now.reset();
  const Allowance::Preparing preparing;
  sqlite3_stmt* statement = nullptr;
  const int result =
      sqlite3_prepare_v2(db(), sql.c_str(), static_cast<int>(sql.size() + 1), &statement, nullptr);
  if (result != SQLITE_OK) Fail(result);
  return SqliteStatement(statement);
}

bool Storage::Step(sqlite3_stmt* statement) {
  if (sqlite3_stmt_readonly(statement) == 0) TakeTurns(statement);
  // SQLite reckons floats on to infinity. The processor notes where that happens, which costs a
  // statement nothing; checking each operation would take a call.
  if (std::fetestexcept(FE_OVERFLOW) != 0) std::feclearexcept(FE_OVERFLOW);
  const int result = sqlite3_step(statement);
  if (result != SQLITE_ROW) EndTurns();
  if (functions_.order_failure) {
    std::rethrow_exception(std::exchange(functions_.order_failure, nullptr));
  }
  if (result != SQLITE_ROW && result != SQLITE_DONE) Fail(result);
  if (std::fetestexcept(FE_OVERFLOW) != 0) throw errors::Overflow(u"float");
  return result == SQLITE_ROW;
}

std::int64_t Storage::Execute(const std::string& sql) {
  const SqliteStatement statement = Prepare(sql);
  while (Step(statement.get())) {
  }
  return sqlite3_changes64(db());
}

void Storage::Fail(int result) {
  if (callers_exception_) throw CallersException{std::exchange(callers_exception_, nullptr)};
  if (functions_.error) {
    const SqlError error = *functions_.error;
    functions_.error.reset();
    throw SqlError(error);
  }
  const bool cancelled = options_.cancel != nullptr && options_.cancel->load();
  switch (result & 0xFF) {
    case SQLITE_INTERRUPT:
      throw errors::Cancelled();
    case SQLITE_NOMEM:
      // How a statement ends that is cancelled while it is prepared.
      if (cancelled) throw errors::Cancelled();
      throw errors::OutOfMemory();
    case SQLITE_TOOBIG:
      throw errors::TooComplex(sqlite3_errmsg(db()), {});
    case SQLITE_CONSTRAINT:
      throw ConstraintFailure();
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      if (cancelled) throw errors::Cancelled();
      throw errors::LockTimeout("Another process", "'" + path_.string() + "'", options_.lock_wait);
    default:
      break;
  }
  bool tempdb_damaged = false;
  const SqlError error = StorageError(db(), result, path_, tempdb_damaged);
  CheckCancelled();  // a look for damage that was cancelled has found nothing out
  if (tempdb_damaged) lock_->MarkTempdbDamaged();
  throw SqlError(error);
}

Transaction::Transaction(Storage& storage) : storage_(storage) {
  storage_.Execute("SAVEPOINT statement");
}

Transaction::~Transaction() {
  if (!open_) return;
  const Allowance::Pause pause;
  // A failure has often ended the transaction already; then there is nothing to take back.
  sqlite3_exec(storage_.db(), "ROLLBACK TO statement; RELEASE statement", nullptr, nullptr,
               nullptr);
  storage_.EndTurns();
}

void Transaction::Commit() {
  storage_.Execute("RELEASE statement");
  open_ = false;
}

}  // namespace ledgerwick::tsql
