// How the files of a database are opened: in what order, under which locks, and what is refused.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <thread>

#include "tsql/base/errors.h"
#include "tsql/storage/catalogue.h"
#include "tsql/storage/database_files.h"
#include "tsql/storage/storage.h"
#include "tsql/storage/storage_error.h"
#include "tsql/storage/text_order.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kInstructionsPerCheck = 20'000;
constexpr const char* kTempdb = "tempdb";

// An open failure: the cause and what helps.
[[noreturn]] void Refuse(const fs::path& path, const std::string& why) {
  throw ToDatabaseError(errors::CannotOpen("open", path.string(), why));
}

bool HasNul(const fs::path& path) { return path.native().find('\0') != std::string::npos; }

// The file itself where `path` is a link to it: what lies beside the file must not depend on the
// name by which it is opened.
fs::path WithoutLinks(const fs::path& path) {
  std::error_code failure;
  if (HasNul(path)) return path;  // refused later
  fs::path real = fs::weakly_canonical(path, failure);
  return failure ? path : real;
}

fs::path FolderOf(const fs::path& path) {
  return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

// The name of `path` under which SQLite only reads the file. A flag that says so would hold for
// tempdb, too.
std::string ToBeRead(const fs::path& path) {
  std::string name = "file:";
  for (const char c : path.string()) {
    if (c == '%') {
      name += "%25";
    } else if (c == '?') {
      name += "%3f";
    } else if (c == '#') {
      name += "%23";
    } else {
      name += c;
    }
  }
  return name + "?mode=ro";
}

std::string AttachTempdb(const fs::path& database) {
  return "ATTACH " + QuoteLiteral(TempdbPath(database).string()) + " AS tempdb";
}

}  // namespace

Storage::Storage(const fs::path& path, const DatabaseOptions& options)
    : path_(WithoutLinks(path)),
      options_(options),
      beside_(OnlyReadsFile() ? WithoutLinks(options.read_only_with) / path_.filename() : path_) {
  options_.read_only |= OnlyReadsFile();
  CheckFiles();
  // Several who find something to mend at once let go of it, so that one of them has it alone.
  const auto patience =
      std::min<std::chrono::milliseconds>(std::chrono::seconds(2), options_.lock_wait);
  constexpr auto kPause = std::chrono::milliseconds(20);
  const auto start = Clock::now();
  try {
    while (const std::optional<SqlError> obstacle = OpenFiles()) {
      CloseFiles();
      if (Clock::now() - start >= patience) throw SqlError(*obstacle);
      std::this_thread::sleep_for(kPause);
    }
    lock_->Share();
  } catch (const SqlError& error) {
    CloseFiles();
    Refuse(path_, error.message);
  }
}

Storage::~Storage() {
  if (sqlite3_get_autocommit(db()) == 0) return;  // nor does it wait for a transaction of its own
  sqlite3_busy_handler(db(), nullptr, nullptr);   // or for readers
  if (!HasMuchFreeSpace(db())) return;
  try {
    if (!tempdb_turn_->TryAcquire()) return;
    ShrinkTempdb(db());
    tempdb_turn_->Release();
  } catch (...) {
    // Without a turn, or the memory to take one, the next to close gives the space back.
  }
}

void Storage::CloseFiles() noexcept {
  db_.reset();
  main_turn_.reset();
  tempdb_turn_.reset();
  lock_.reset();
}

void Storage::Note(const std::string& text) const {
  if (options_.note) options_.note(TryFromUtf8(text).value_or(Text()));
}

// Before anything is opened: what cannot be a database must not be waited for.
void Storage::CheckFiles() const {
  if (HasNul(path_)) Refuse(path_.c_str(), "its name contains a NUL character.");
  std::error_code ignored;
  const bool exists = fs::exists(path_, ignored);
  if (options_.create && exists) Refuse(path_, "the file exists already.");
  if (!options_.create && !exists) {
    Refuse(path_,
           "there is no such file. `ledgerwick sample create PATH` makes a sample database.");
  }
  const std::string obstacle = ObstacleAt(path_, true);
  if (!obstacle.empty()) Refuse(path_, "it is " + obstacle + ", not a database file.");
  for (const int right : {R_OK, W_OK}) {
    if (!exists || access(path_.c_str(), right) == 0) continue;
    if (right == W_OK && OnlyReadsFile()) continue;
    Refuse(path_, std::string(std::strerror(errno)) + ". Ask its owner for permission to " +
                      (right == R_OK ? "read it." : "write it, or open it with --read-only."));
  }
  if (exists) CheckContent();
  if (OnlyReadsFile()) return;
  const fs::path directory = FolderOf(path_);
  if (!fs::is_directory(directory, ignored)) {
    Refuse(path_, "there is no directory '" + directory.string() + "'.");
  }
  if (access(directory.c_str(), W_OK) != 0) {
    Refuse(path_, "the directory '" + directory.string() + "' cannot be written (" +
                      std::strerror(errno) +
                      "), and the database keeps its tempdb there. Open it with --read-only, or "
                      "copy it into a directory of your own.");
  }
  const fs::path tempdb = TempdbPath(path_);
  const std::string beside = ObstacleAt(tempdb, false);
  if (!beside.empty()) {
    Refuse(path_, "its tempdb '" + tempdb.string() + "' is " + beside + ", not a file.");
  }
}

// A file that nobody has used as a database yet gets nothing beside it unless it is one.
void Storage::CheckContent() const {
  if (access(LockPath(path_).c_str(), F_OK) == 0) return;
  switch (ContentOf(path_)) {
    case FileContent::Other:
      Refuse(path_, "the file is not a database. Check the path.");
    case FileContent::OtherSqlite:
      Refuse(path_, "the file is an SQLite database, but not one of Ledgerwick's.");
    case FileContent::None:
    case FileContent::Empty:
    case FileContent::Ours:
    case FileContent::Unknown:
      return;
  }
}

std::optional<SqlError> Storage::OpenFiles() {
  ConfigureSqlite();
  lock_.emplace(beside_, options_);
  main_turn_.emplace(lock_->file(), LockSubject::Main(), "'" + path_.string() + "'");
  tempdb_turn_.emplace(lock_->file(), LockSubject::Tempdb(),
                       "'" + TempdbPath(beside_).string() + "'");
  OpenMain();
  if (std::optional<SqlError> obstacle = SettleTextOrder()) return obstacle;
  if (std::optional<SqlError> obstacle = OpenTempdb()) return obstacle;
  // A log that was once large does not stay so.
  for (const char* sql :
       {"PRAGMA main.synchronous = NORMAL",
        // What is in tempdb is made afresh by the next run.
        "PRAGMA tempdb.synchronous = OFF", "PRAGMA main.cache_size = -65536",
        "PRAGMA tempdb.cache_size = -32768", "PRAGMA main.journal_size_limit = 33554432",
        "PRAGMA tempdb.journal_size_limit = 33554432", "PRAGMA temp_store = FILE"}) {
    Execute(sql);
  }
  return std::nullopt;
}

void Storage::OpenMain() {
  if (options_.create) {
    const int reason = CreateLike(path_, options_.rights_of);
    if (reason != 0) Refuse(path_, std::string(std::strerror(reason)) + ".");
  }
  if (OnlyReadsFile()) {
    OpenMainToRead();
  } else {
    OpenFile(path_.string(), SQLITE_OPEN_READWRITE);
  }
  sqlite3* db = db_.get();
  sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
  sqlite3_busy_handler(db, &Storage::OnBusy, this);
  sqlite3_progress_handler(db, kInstructionsPerCheck, &Storage::OnProgress, this);
  RegisterFunctions(db, functions_);
  SetUpMain();
}

// Opens `name` in the place of what is open.
void Storage::OpenFile(const std::string& name, int flags) {
  db_.reset();
  sqlite3* db = nullptr;
  // No links: path_ has none, and none may come between.
  flags |= SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
  const int result = sqlite3_open_v2(name.c_str(), &db, flags, nullptr);
  db_.reset(db);
  if (result != SQLITE_OK) Refuse(path_, FailureText(db) + ".");
  sqlite3_extended_result_codes(db, 1);
}

// Readers of a file that others write share an index of its log, which they make beside it. Where
// that cannot be made, and there is no log to be read, nobody else writes either.
void Storage::OpenMainToRead() {
  OpenFile(ToBeRead(path_), SQLITE_OPEN_READWRITE | SQLITE_OPEN_URI);
  if (CanRead()) return;
  std::error_code ignored;
  const fs::path log = path_.string() + "-wal";
  if (fs::exists(log, ignored) && fs::file_size(log, ignored) > 0) {
    Refuse(path_, "its last changes are in '" + log.string() +
                      "', which cannot be read without the right to write there.");
  }
  OpenFile(ToBeRead(path_) + "&immutable=1", SQLITE_OPEN_READWRITE | SQLITE_OPEN_URI);
}

bool Storage::CanRead() {
  sqlite3_stmt* prepared = nullptr;
  int result = sqlite3_prepare_v2(db(), "PRAGMA main.schema_version", -1, &prepared, nullptr);
  const SqliteStatement version(prepared);
  if (result == SQLITE_OK) result = sqlite3_step(prepared);
  const int kind = result & 0xFF;
  return kind != SQLITE_CANTOPEN && kind != SQLITE_READONLY;
}

// Makes a new file a database of ours, and refuses one that is not.
void Storage::SetUpMain() {
  sqlite3_stmt* prepared = nullptr;
  int result = sqlite3_prepare_v2(db(), "PRAGMA main.application_id", -1, &prepared, nullptr);
  SqliteStatement id(prepared);
  if (result == SQLITE_OK) result = sqlite3_step(prepared);
  if (result == SQLITE_NOTADB && !IsFailedRead(db(), result))
    Refuse(path_, "the file is not a database. Check the path.");
  if (result != SQLITE_ROW) Fail(result);
  const bool ours = sqlite3_column_int(prepared, 0) == kApplicationId;
  id.reset();
  if (ours) return CheckFormat();
  SqliteStatement pages = Prepare("PRAGMA main.page_count");
  const bool empty = Step(pages.get()) && sqlite3_column_int(pages.get(), 0) == 0;
  pages.reset();
  if (!empty) Refuse(path_, "the file is an SQLite database, but not one of Ledgerwick's.");
  if (OnlyReadsFile()) Refuse(path_, "the file is empty, and is not made a database to be read.");
  SetUp("main", 4096);
}

void Storage::CheckFormat() {
  const SqliteStatement version = Prepare("PRAGMA main.user_version");
  const int format = Step(version.get()) ? sqlite3_column_int(version.get(), 0) : 0;
  if (format >= kOldestFormatOpened && format <= kConstraintsFormat) return;
  if (format > kConstraintsFormat) Refuse(path_, kNewerFormat);
  Refuse(path_, "the file has the format of an older version. `ledgerwick upgrade " +
                    path_.string() + "` brings it to today's.");
}

// Rebuilds the indexes on text where they are in another order than this process has. Whoever uses
// the database beside it would still go by the other one.
std::optional<SqlError> Storage::SettleTextOrder() {
  const std::string order = CollationVersion();
  int result = SQLITE_OK;
  const std::string noted = NotedTextOrder(db(), "main", result);
  if (result != SQLITE_OK) Fail(result);
  if (noted == order) return std::nullopt;
  if (OnlyReadsFile()) {
    Refuse(
        path_,
        "its indexes have text in the order of another version, and are rebuilt when it is opened "
        "to be written. Open it once without --read-only.");
  }
  if (!lock_->alone()) return errors::OtherTextOrder(path_.string());
  LoadCollation();
  Transaction transaction(*this);
  for (const std::string& sql : NoteTextOrder("main", order)) Execute(sql);
  Execute(std::string("REINDEX ") + kCollation);
  const SqliteStatement version = Prepare("PRAGMA main.user_version");
  const int format = Step(version.get()) ? sqlite3_column_int(version.get(), 0) : 0;
  Execute("PRAGMA main.user_version = " + std::to_string(std::max(format, kFormatVersion)));
  transaction.Commit();
  Note("the indexes on text have been rebuilt: they were in the order of " +
       (noted.empty() ? "an older version" : noted) + ", and are now in that of " + order);
  return std::nullopt;
}

// Makes an empty file a database of ours.
void Storage::SetUp(const char* schema, int page_size) {
  const std::string prefix = std::string("PRAGMA ") + schema + ".";
  Execute(prefix + "page_size = " + std::to_string(page_size));
  // Tempdb alone shrinks; the books keep what they have had.
  if (std::string_view(schema) == kTempdb) Execute(prefix + "auto_vacuum = INCREMENTAL");
  // Readers go on while one connection writes.
  Execute(prefix + "journal_mode = WAL");
  Transaction transaction(*this);
  Execute(std::string("CREATE TABLE IF NOT EXISTS ") + schema + "." + kModulesTable +
          " (name TEXT NOT NULL, kind TEXT NOT NULL, definition TEXT NOT NULL)");
  for (const std::string& sql : NoteTextOrder(schema, CollationVersion())) Execute(sql);
  Execute(prefix + "application_id = " + std::to_string(kApplicationId));
  Execute(prefix + "user_version = " + std::to_string(kFormatVersion));
  transaction.Commit();
}

std::optional<SqlError> Storage::OpenTempdb() {
  const fs::path tempdb = TempdbPath(beside_);
  TempdbState state = TempdbState::Unmade;
  std::error_code ignored;
  if (!fs::exists(fs::symlink_status(tempdb, ignored))) {
    // A tempdb that was removed under its users is not to be mixed with theirs.
  } else if (lock_->tempdb_damaged()) {
    state = TempdbState::Damaged;
  } else if (!lock_->alone() || lock_->tempdb_of_this_start()) {
    KeepModeOf(tempdb, beside_);
    int result = sqlite3_exec(db(), AttachTempdb(beside_).c_str(), nullptr, nullptr, nullptr);
    state = InspectTempdb(db(), result, result);
    if (result != SQLITE_OK) Fail(result);
  }
  if (state == TempdbState::Foreign) {
    Refuse(path_, "its tempdb '" + tempdb.string() +
                      "' is an SQLite database, but not one of Ledgerwick's. Move it away.");
  }
  if (state == TempdbState::Sound || (state == TempdbState::Outdated && !lock_->alone())) {
    return std::nullopt;
  }
  if (!lock_->alone()) return errors::TempdbDamaged(tempdb.string());
  MakeTempdb();
  if (state == TempdbState::Damaged) {
    Note("tempdb '" + tempdb.string() +
         "' was damaged and has been made anew; what reports had put there has to be filled again");
  }
  return std::nullopt;
}

// A new tempdb in the place of what is there. Only while alone.
void Storage::MakeTempdb() {
  sqlite3_exec(db(), "DETACH tempdb", nullptr, nullptr, nullptr);  // if it is attached at all
  const fs::path tempdb = TempdbPath(beside_);
  int reason = RemoveFile(tempdb);
  if (reason == 0) reason = CreateLike(tempdb, beside_);
  if (reason != 0) {
    Refuse(path_,
           "its tempdb '" + tempdb.string() + "' cannot be made: " + std::strerror(reason) + ".");
  }
  Execute(AttachTempdb(beside_));
  // Reports' rows are wide and are written and read one after another.
  SetUp(kTempdb, 16384);
  lock_->MarkTempdbMade();
}

}  // namespace ledgerwick::tsql
