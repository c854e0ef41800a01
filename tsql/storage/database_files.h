// The files of a database, by name and by kind.
//
//   X                the books, with SQLite's X-wal and X-shm while it is open
//   X.tempdb         what need not last, with its own -wal and -shm
//   X.tempdb.lock    the locks between the database's users (lock_file.h)
//
// POSIX drops all of a process's locks on a file when the process closes any descriptor of it. So
// nothing here, nor anywhere else, opens and closes one of the files that SQLite keeps locks on
// (all but the last): their kind is asked of the system by name (stat), their content of SQLite.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ledgerwick::tsql {

// The application_id in the head of every file of ours.
inline constexpr int kApplicationId = 0x4C656467;

// The format of what such a file holds, its user_version: 0 had decimals and money as floats, and 1
// text in the order of its code points, with nothing noted of it (text_order.h).
inline constexpr int kFormatVersion = 2;
// What a file has from its first constraint of constraints.h on.
inline constexpr int kConstraintsFormat = 3;
inline constexpr int kOldestFormatOpened = 1;

// Why a file of a higher number is refused: what this version would make of it nobody knows.
inline constexpr const char* kNewerFormat =
    "it was made by a newer version of Ledgerwick. Use that version, or a later one.";

// `path` with `suffix` added to its last part.
std::filesystem::path WithSuffix(std::filesystem::path path, const char* suffix);

// The names of X.tempdb and X.tempdb.lock.
std::filesystem::path TempdbPath(const std::filesystem::path& database);
std::filesystem::path LockPath(const std::filesystem::path& database);

// What SQLite keeps beside `file` while it is open or after a crash: its logs and their index.
std::vector<std::filesystem::path> EngineCompanions(const std::filesystem::path& file);

// Removes `file` and what SQLite keeps beside it; what is not there need not go. The caller has the
// database alone. Returns 0, or the system's reason why `file` itself is still there.
int RemoveFile(const std::filesystem::path& file) noexcept;

// Makes the empty file `path` with the mode and, where the process may give files away, the owner
// of `model`; without a model, as the process makes its files. Links are not followed, and it never
// has another mode under that name. Returns 0 or the system's reason, EEXIST where it is there
// already.
int CreateLike(const std::filesystem::path& path, const std::filesystem::path& model) noexcept;

// Gives `path`, if it is a file, the mode of `model`, where the process may.
void KeepModeOf(const std::filesystem::path& path, const std::filesystem::path& model) noexcept;

// What stands in the way of `path` as a file of a database ("a directory", "a named pipe"); empty
// for a regular file and for none. `follow` tells whether a link counts as what it names.
std::string ObstacleAt(const std::filesystem::path& path, bool follow);

enum class FileContent {
  None,         // no regular file
  Empty,        // no content at all
  Ours,         // a database of Ledgerwick's, or a tempdb
  OtherSqlite,  // another SQLite database, a damaged one included
  Other,
  Unknown,  // it cannot be read
};

// What SQLite says of the file at `path`, which must not be one of SQLite's own -shm files. It
// waits for nobody; the caller keeps the database from being replaced meanwhile (database_lock.h).
// `why`, unless it is null, is told why the content is Unknown.
FileContent ContentOf(const std::filesystem::path& path, std::string* why = nullptr);

}  // namespace ledgerwick::tsql
