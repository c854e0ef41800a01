#include "tsql/storage/database_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>

#include "tsql/storage/sqlite.h"
#include "tsql/storage/storage_error.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kModeBits = 07777;
constexpr mode_t kUsualMode = 0666;  // less what the umask takes away

// Puts `from` under the name `to` unless there is one already.
int MoveToNewName(const char* from, const char* to) noexcept {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // A file system without that way.
  if (link(from, to) != 0) return errno;
  unlink(from);
  return 0;
}

int CreateWithRights(const char* path, const struct stat* model) noexcept {
  const mode_t at_first = model != nullptr ? 0600 : kUsualMode;
  const int file = open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, at_first);
  if (file < 0) return errno;
  int reason = 0;
  if (model != nullptr) {
    // Only root may give a file away; for others it stays their own, as SQLite's logs do.
    const bool given = geteuid() != 0 || fchown(file, model->st_uid, model->st_gid) == 0;
    if (!given || fchmod(file, model->st_mode & kModeBits) != 0) reason = errno;
  }
  close(file);  // under a name that nobody else knows
  if (reason != 0) unlink(path);
  return reason;
}

// The result of the pragma `name`, or -1 with SQLite's code in `result`.
int PragmaOf(sqlite3* db, const std::string& name, int& result) {
  sqlite3_stmt* prepared = nullptr;
  result = sqlite3_prepare_v2(db, ("PRAGMA main." + name).c_str(), -1, &prepared, nullptr);
  const SqliteStatement statement(prepared);
  if (result != SQLITE_OK) return -1;
  result = sqlite3_step(prepared);
  return result == SQLITE_ROW ? sqlite3_column_int(prepared, 0) : -1;
}

}  // namespace

fs::path WithSuffix(fs::path path, const char* suffix) {
  path += suffix;
  return path;
}

fs::path TempdbPath(const fs::path& database) { return WithSuffix(database, ".tempdb"); }

fs::path LockPath(const fs::path& database) { return WithSuffix(database, ".tempdb.lock"); }

std::vector<fs::path> EngineCompanions(const fs::path& file) {
  return {WithSuffix(file, "-wal"), WithSuffix(file, "-shm"), WithSuffix(file, "-journal")};
}

int RemoveFile(const fs::path& file) noexcept try {
  // The file goes first: a log without its file is cleared away by SQLite, a file without its log
  // would be another file.
  if (unlink(file.c_str()) != 0 && errno != ENOENT) return errno;
  for (const fs::path& companion : EngineCompanions(file)) unlink(companion.c_str());
  return 0;
} catch (const std::bad_alloc&) {
  return ENOMEM;
}

int CreateLike(const fs::path& path, const fs::path& model) noexcept try {
  static std::atomic<unsigned> count = 0;
  struct stat rights {};
  const bool has_model = !model.empty() && stat(model.c_str(), &rights) == 0;
  const std::string scratch =
      path.string() + ".new-" + std::to_string(getpid()) + "-" + std::to_string(count.fetch_add(1));
  unlink(scratch.c_str());  // of a process of that number that was killed
  int reason = CreateWithRights(scratch.c_str(), has_model ? &rights : nullptr);
  if (reason != 0) return reason;
  reason = MoveToNewName(scratch.c_str(), path.c_str());
  if (reason != 0) unlink(scratch.c_str());
  return reason;
} catch (const std::bad_alloc&) {
  return ENOMEM;
}

void KeepModeOf(const fs::path& path, const fs::path& model) noexcept {
  struct stat rights {};
  struct stat given {};
  if (stat(model.c_str(), &rights) != 0 || lstat(path.c_str(), &given) != 0) return;
  const mode_t mode = rights.st_mode & kModeBits;
  if (!S_ISREG(given.st_mode) || mode == (given.st_mode & kModeBits)) return;
  fchmodat(AT_FDCWD, path.c_str(), mode, AT_SYMLINK_NOFOLLOW);  // which only its owner may
}

std::string ObstacleAt(const fs::path& path, bool follow) {
  std::error_code failure;
  const fs::file_status status =
      follow ? fs::status(path, failure) : fs::symlink_status(path, failure);
  switch (status.type()) {
    case fs::file_type::none:
    case fs::file_type::not_found:
    case fs::file_type::regular:
      return {};
    case fs::file_type::directory:
      return "a directory";
    case fs::file_type::symlink:
      return "a symbolic link";
    case fs::file_type::fifo:
      return "a named pipe";
    case fs::file_type::socket:
      return "a socket";
    default:
      return "a device";
  }
}

FileContent ContentOf(const fs::path& path, std::string* why) {
  ConfigureSqlite();
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) return FileContent::None;
  if (fs::file_size(path, ignored) == 0) return FileContent::Empty;
  sqlite3* opened = nullptr;
  // Not read-only: SQLite would leave the log behind that it makes in order to read.
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
  int result = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
  const SqliteHandle db(opened);
  const int id = result == SQLITE_OK ? PragmaOf(opened, "application_id", result) : 0;
  if (why != nullptr && result != SQLITE_ROW) *why = FailureText(opened);
  if (IsFailedRead(opened, result)) return FileContent::Unknown;
  switch (result & 0xFF) {
    case SQLITE_ROW:
      return id == kApplicationId ? FileContent::Ours : FileContent::OtherSqlite;
    case SQLITE_BUSY:
    case SQLITE_CORRUPT:
      return FileContent::OtherSqlite;
    case SQLITE_NOTADB:
      return FileContent::Other;
    default:
      return FileContent::Unknown;
  }
}

}  // namespace ledgerwick::tsql
