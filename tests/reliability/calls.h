// The system calls by which this program, SQLite and the C++ library reach the files of one folder:
// counted, made to fail, made to be the process's last, or written down. calls.cpp stands in for
// the C library's functions, so nothing of the program can pass it by.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace ledgerwick::reliability {

// Memory is operator new and SQLite's own allocations, wherever they are for. Any is a fault's
// alone: whatever call comes.
enum class Call { Open, Read, Write, Sync, Truncate, Lock, Map, Rename, Unlink, Memory, Any };
inline constexpr std::size_t kCalls = static_cast<std::size_t>(Call::Any) + 1;

// For a fault's `error`: the process is killed at the call; a write is done by half before.
inline constexpr int kKill = -1;

struct Fault {
  Call call = Call::Any;
  std::int64_t at = 0;    // the first call that fails, counted from 1 after Arm; 0 for none
  bool for_good = false;  // the later ones fail too
  int error = kKill;      // errno
};

inline constexpr int kFolder = -2;  // among files: the folder itself

// What befell the folder, in order. Content belongs to a file, whatever it is called meanwhile.
struct Event {
  enum Kind { Create, Write, Truncate, Sync, Rename, Unlink, Mark } kind;
  int file = kFolder;      // Create, Write, Truncate, Sync
  std::int64_t at = 0;     // Write: where; Truncate: the size; Mark: the caller's
  std::string name = {};   // Create, Rename, Unlink
  std::string to = {};     // Rename
  std::string bytes = {};  // Write
};

struct Log {
  std::vector<Event> events;         // first those that make what was there already
  std::size_t begin = 0;             // the first of the others
  std::map<std::string, int> names;  // as they are while it is written
  int files = 0;
};

// Calls that touch `folder`, an absolute path, count from now on. Nothing fails yet.
void Watch(const std::filesystem::path& folder);

// Counts from 0 and lets the fault happen.
void Arm(const Fault& fault);

// Nothing counts or fails any more.
void Disarm() noexcept;

// How many calls there were since Arm.
std::array<std::int64_t, kCalls> Counts() noexcept;

// Writes down in `log`, which is empty, what happens in the watched folder until EndLog.
void BeginLog(Log& log);
void MarkLog(std::int64_t mark);
void EndLog() noexcept;

// The machine counts as started anew: its identity for this start is another one from now on.
void StartMachineAnew();

// Lets Memory count SQLite's allocations. Before anything uses SQLite.
void WatchSqliteMemory();

}  // namespace ledgerwick::reliability
