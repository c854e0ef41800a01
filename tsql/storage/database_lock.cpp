#include "tsql/storage/database_lock.h"

#include <unistd.h>

#include <fstream>
#include <string_view>
#include <thread>
#include <vector>

#include "tsql/base/errors.h"
#include "tsql/storage/database_files.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr off_t kInUse = off_t{1} << 40;  // the byte that every user of the database has locked
constexpr off_t kState = 0;               // the entry about tempdb
constexpr std::string_view kHead = "ledgerwick lock\ntempdb ";
constexpr std::string_view kDamaged = "damaged";

// What sets this start of the machine apart from all others; empty where the system does not tell.
std::string ThisStart() {
  std::ifstream file("/proc/sys/kernel/random/boot_id");
  std::string id;
  file >> id;
  return id;
}

std::string State(std::string_view tempdb, const std::string& start) {
  return std::string(kHead).append(tempdb) + "\nstart " + start;
}

std::string StartIn(const std::string& state) {
  constexpr std::string_view kStart = "\nstart ";
  const std::size_t at = state.find(kStart);
  return at == std::string::npos ? std::string() : state.substr(at + kStart.size());
}

}  // namespace

DatabaseLock::DatabaseLock(const fs::path& database, const DatabaseOptions& options)
    : database_(database) {
  if (!Wait(options, true)) throw errors::HeldAlone(database.string(), options.lock_wait);
}

// Waits for the lock, for that of a user where `share` allows it. Returns false when the time is
// over.
bool DatabaseLock::Wait(const DatabaseOptions& options, bool share) {
  constexpr auto kPause = std::chrono::milliseconds(2);
  for (const auto start = Clock::now();;) {
    if (!file_) file_ = std::make_unique<LockFile>(database_);
    alone_ = file_->TryLock(kInUse, true);
    if (alone_ || (share && file_->TryLock(kInUse, false))) {
      if (file_->IsCurrent()) return true;
      file_.reset();  // it was removed before it was locked: the new one counts
      continue;
    }
    if (options.cancel != nullptr && options.cancel->load()) throw errors::Cancelled();
    if (Clock::now() - start >= options.lock_wait) return false;
    std::this_thread::sleep_for(kPause);
  }
}

std::optional<DatabaseLock> DatabaseLock::OfExisting(const fs::path& database,
                                                     const DatabaseOptions& options) {
  if (access(LockPath(database).c_str(), F_OK) != 0) return std::nullopt;
  return DatabaseLock(database, options);
}

bool DatabaseLock::WaitAlone(const DatabaseOptions& options) {
  if (alone_) return true;
  // Two who wait so must not be in each other's way.
  file_->Unlock(kInUse);
  return Wait(options, false);
}

void DatabaseLock::Share() {
  if (alone_) file_->TryLock(kInUse, false);
  alone_ = false;
}

void DatabaseLock::RemoveFile() noexcept { unlink(file_->path().c_str()); }

bool DatabaseLock::tempdb_damaged() const {
  return file_->Read(kState).starts_with(std::string(kHead).append(kDamaged));
}

void DatabaseLock::MarkTempdbDamaged() {
  file_->Write(kState, State(kDamaged, StartIn(file_->Read(kState))));
}

bool DatabaseLock::tempdb_of_this_start() const {
  return StartIn(file_->Read(kState)) == ThisStart();
}

void DatabaseLock::MarkTempdbMade() { file_->Write(kState, State("sound", ThisStart())); }

fs::path DatabaseWithFile(const fs::path& path) {
  std::string file = path.string();
  for (const std::string_view suffix : {"-wal", "-shm", "-journal", ".lock"}) {
    if (file.size() <= suffix.size() || !file.ends_with(suffix)) continue;
    file.resize(file.size() - suffix.size());
    break;
  }
  // The database first: its lock keeps its files in their place while SQLite looks.
  constexpr std::string_view kTempdb = ".tempdb";
  std::vector<fs::path> candidates;
  if (file.ends_with(kTempdb))
    candidates.emplace_back(file.substr(0, file.size() - kTempdb.size()));
  candidates.emplace_back(file);
  for (const fs::path& candidate : candidates) {
    const std::optional<DatabaseLock> lock = DatabaseLock::OfExisting(candidate, {});
    const FileContent content = ContentOf(candidate);
    if (content == FileContent::Ours || content == FileContent::OtherSqlite) return candidate;
  }
  return {};
}

}  // namespace ledgerwick::tsql
