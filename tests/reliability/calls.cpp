#include "calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <new>

namespace ledgerwick::reliability {
namespace {

constexpr int kDescriptors = 1024;
constexpr int kNotWatched = -1;
constexpr int kFolder = -2;
constexpr int kNameless = -3;  // watched, and not in the log

// The C library calls into this source before the program's own initialisation: nothing here may
// need one.
struct Watched {
  bool armed;
  bool failed;
  char folder[512];
  std::size_t folder_size;
  Fault fault;
  std::int64_t counts[kCalls];
  int files[kDescriptors];  // what each descriptor is
  Log* log;
  int start;  // how often the machine was started anew
};
constinit Watched watched{};

bool IsWatched(const char* path) noexcept {
  return watched.folder_size > 0 && path != nullptr &&
         std::strncmp(path, watched.folder, watched.folder_size) == 0;
}

int FileOf(int descriptor) noexcept {
  const bool known = watched.folder_size > 0 && descriptor >= 0 && descriptor < kDescriptors;
  return known ? watched.files[descriptor] : kNotWatched;
}

bool Happens(Call call, std::int64_t count) noexcept {
  const Fault& fault = watched.fault;
  if (fault.at == 0 || fault.call != call) return false;
  return count == fault.at || (fault.for_good && count > fault.at);
}

// Whether this call fails: it counts, and errno says why.
bool Fails(Call call) noexcept {
  if (!watched.armed) return false;
  const std::int64_t count = ++watched.counts[static_cast<std::size_t>(call)];
  bool happens = Happens(call, count);
  if (call != Call::Memory) {
    const std::int64_t any = ++watched.counts[static_cast<std::size_t>(Call::Any)];
    happens = happens || Happens(Call::Any, any);
  }
  if (!happens) return false;
  watched.failed = true;
  errno = watched.fault.error;
  return true;
}

// As Fails, for calls that need nothing done before the process dies.
bool FailsOrDies(Call call) noexcept {
  if (!Fails(call)) return false;
  if (watched.fault.error == kKill) raise(SIGKILL);
  return true;
}

void Note(Event event) {
  if (watched.log != nullptr) watched.log->events.push_back(std::move(event));
}

int NameFile(const char* path, bool existed) {
  if (watched.log == nullptr) return kNameless;
  if (std::strlen(path) <= watched.folder_size) return kFolder;
  const auto known = watched.log->now.find(path);
  if (existed && known != watched.log->now.end()) return known->second;
  const int file = static_cast<int>(watched.log->contents.size());
  watched.log->contents.emplace_back();
  watched.log->now[path] = file;
  Note({Event::Create, file, 0, path, {}});
  return file;
}

int Open(const char* path, int flags, mode_t mode) {
  const bool is_watched = IsWatched(path);
  if (is_watched && FailsOrDies(Call::Open)) return -1;
  const bool existed = is_watched && syscall(SYS_faccessat, AT_FDCWD, path, F_OK) == 0;
  const int descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
  if (descriptor < 0 || descriptor >= kDescriptors) return descriptor;
  watched.files[descriptor] = is_watched ? NameFile(path, existed) : kNotWatched;
  if (is_watched && (flags & O_TRUNC) != 0) {
    Note({Event::Truncate, watched.files[descriptor], 0, {}, {}});
  }
  return descriptor;
}

ssize_t Write(int descriptor, const void* bytes, std::size_t size, off_t at) {
  const int file = FileOf(descriptor);
  if (file != kNotWatched && Fails(Call::Write)) {
    if (watched.fault.error != kKill) return -1;
    syscall(SYS_pwrite64, descriptor, bytes, size / 2, at);
    raise(SIGKILL);
  }
  if (file >= 0) {
    Note({Event::Write, file, at, {}, {}, std::string(static_cast<const char*>(bytes), size)});
  }
  return syscall(SYS_pwrite64, descriptor, bytes, size, at);
}

ssize_t Read(int descriptor, void* bytes, std::size_t size, off_t at) {
  if (FileOf(descriptor) != kNotWatched && FailsOrDies(Call::Read)) return -1;
  return syscall(SYS_pread64, descriptor, bytes, size, at);
}

int Sync(int descriptor, long number) {
  const int file = FileOf(descriptor);
  if (file != kNotWatched && FailsOrDies(Call::Sync)) return -1;
  if (file == kFolder) Note({Event::SyncFolder, file, 0, {}, {}});
  if (file >= 0) Note({Event::Sync, file, 0, {}, {}});
  return static_cast<int>(syscall(number, descriptor));
}

int Truncate(int descriptor, off_t size) {
  const int file = FileOf(descriptor);
  if (file != kNotWatched && FailsOrDies(Call::Truncate)) return -1;
  if (file >= 0) Note({Event::Truncate, file, size, {}, {}});
  return static_cast<int>(syscall(SYS_ftruncate, descriptor, size));
}

// Taking a lock may fail; giving one back does not.
int Control(int descriptor, int command, void* argument) {
  const bool locks = command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK ||
                     command == F_OFD_SETLKW;
  if (locks && FileOf(descriptor) != kNotWatched &&
      static_cast<const struct flock*>(argument)->l_type != F_UNLCK && FailsOrDies(Call::Lock)) {
    return -1;
  }
  return static_cast<int>(syscall(SYS_fcntl, descriptor, command, argument));
}

void* Map(void* at, std::size_t size, int protection, int flags, int descriptor, off_t offset) {
  if ((flags & MAP_ANONYMOUS) == 0 && FileOf(descriptor) != kNotWatched && FailsOrDies(Call::Map)) {
    return MAP_FAILED;
  }
  return reinterpret_cast<void*>(
      syscall(SYS_mmap, at, size, protection, flags, descriptor, offset));
}

int Rename(const char* from, const char* to, unsigned flags) {
  const bool is_watched = IsWatched(from) || IsWatched(to);
  if (is_watched && FailsOrDies(Call::Rename)) return -1;
  const int result = static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, flags));
  if (is_watched && result == 0 && watched.log != nullptr) {
    watched.log->now[to] = watched.log->now[from];
    watched.log->now.erase(from);
    Note({Event::Rename, -1, 0, from, to});
  }
  return result;
}

int Unlink(const char* path, int flags) {
  const bool is_watched = IsWatched(path);
  if (is_watched && FailsOrDies(Call::Unlink)) return -1;
  const int result = static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, flags));
  if (is_watched && result == 0 && watched.log != nullptr) {
    watched.log->now.erase(path);
    Note({Event::Unlink, -1, 0, path, {}});
  }
  return result;
}

sqlite3_mem_methods sqlite_memory;

void* SqliteAllocate(int size) {
  return Fails(Call::Memory) ? nullptr : sqlite_memory.xMalloc(size);
}
void* SqliteReallocate(void* old, int size) {
  return Fails(Call::Memory) ? nullptr : sqlite_memory.xRealloc(old, size);
}

}  // namespace

void Watch(const std::filesystem::path& folder) {
  const std::string name = folder.string();
  std::memcpy(watched.folder, name.c_str(), name.size() + 1);
  watched.folder_size = name.size();
  for (int& file : watched.files) file = kNotWatched;
}

void Arm(const Fault& fault) {
  watched.fault = fault;
  watched.failed = false;
  for (std::int64_t& count : watched.counts) count = 0;
  watched.armed = true;
}

void Disarm() noexcept { watched.armed = false; }

std::array<std::int64_t, kCalls> Counts() noexcept { return std::to_array(watched.counts); }

bool HasFailed() noexcept { return watched.failed; }

void BeginLog(Log& log) {
  for (const auto& entry : std::filesystem::directory_iterator(watched.folder)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    log.names[entry.path()] = static_cast<int>(log.contents.size());
    log.contents.emplace_back(std::istreambuf_iterator<char>(file),
                              std::istreambuf_iterator<char>());
  }
  log.now = log.names;
  watched.log = &log;
}

void MarkLog(std::int64_t mark) { Note({Event::Mark, -1, mark, {}, {}}); }

void EndLog() noexcept { watched.log = nullptr; }

void StartMachineAnew() { ++watched.start; }

void WatchSqliteMemory() {
  sqlite3_config(SQLITE_CONFIG_GETMALLOC, &sqlite_memory);
  sqlite3_mem_methods counted = sqlite_memory;
  counted.xMalloc = &SqliteAllocate;
  counted.xRealloc = &SqliteReallocate;
  sqlite3_config(SQLITE_CONFIG_MALLOC, &counted);
}

}  // namespace ledgerwick::reliability

namespace calls = ledgerwick::reliability;

// The C library's functions, under those of their names that are in use.
extern "C" {

int open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return calls::Open(path, flags, mode);
}
int open64(const char* path, int flags, ...) __attribute__((alias("open")));

int close(int descriptor) {
  if (calls::FileOf(descriptor) != calls::kNotWatched) {
    calls::watched.files[descriptor] = calls::kNotWatched;
  }
  return static_cast<int>(syscall(SYS_close, descriptor));
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t at) {
  return calls::Read(descriptor, bytes, size, at);
}
ssize_t pread64(int descriptor, void* bytes, size_t size, off_t at) {
  return calls::Read(descriptor, bytes, size, at);
}
ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t at) {
  return calls::Write(descriptor, bytes, size, at);
}
ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off_t at) {
  return calls::Write(descriptor, bytes, size, at);
}
int fsync(int descriptor) { return calls::Sync(descriptor, SYS_fsync); }
int fdatasync(int descriptor) { return calls::Sync(descriptor, SYS_fdatasync); }
int ftruncate64(int descriptor, off_t size) noexcept { return calls::Truncate(descriptor, size); }

int fcntl(int descriptor, int command, ...) {
  va_list rest;
  va_start(rest, command);
  void* argument = va_arg(rest, void*);
  va_end(rest);
  return calls::Control(descriptor, command, argument);
}
int fcntl64(int descriptor, int command, ...) __attribute__((alias("fcntl")));

void* mmap64(void* at, size_t size, int protection, int flags, int descriptor,
             off_t offset) noexcept {
  return calls::Map(at, size, protection, flags, descriptor, offset);
}

// The name of the machine's start, through which alone a start can be told from another.
FILE* fopen64(const char* path, const char* mode) {
  if (calls::watched.start > 0 && std::strcmp(path, "/proc/sys/kernel/random/boot_id") == 0) {
    const std::string start = "start-" + std::to_string(calls::watched.start) + "\n";
    FILE* file = tmpfile();
    if (file != nullptr) {
      std::fputs(start.c_str(), file);
      std::rewind(file);
    }
    return file;
  }
  using Open = FILE* (*)(const char*, const char*);
  static const auto real = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "fopen64"));
  return real(path, mode);
}

// SQLite asks ten seconds long for a lock that fails for good; nobody needs to wait for that.
int usleep(useconds_t time) {
  if (calls::HasFailed()) return 0;
  const timespec pause{time / 1'000'000, static_cast<long>(time % 1'000'000) * 1000};
  return nanosleep(&pause, nullptr);
}
int rename(const char* from, const char* to) noexcept { return calls::Rename(from, to, 0); }
int renameat2(int, const char* from, int, const char* to, unsigned flags) noexcept {
  return calls::Rename(from, to, flags);
}
int unlink(const char* path) noexcept { return calls::Unlink(path, 0); }
int remove(const char* path) noexcept {
  const int result = calls::Unlink(path, 0);
  return result != 0 && errno == EISDIR ? calls::Unlink(path, AT_REMOVEDIR) : result;
}

}  // extern "C"

void* operator new(std::size_t size) {
  void* memory = calls::Fails(calls::Call::Memory) ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
// Not inlined: the compiler would take free for the wrong partner of operator new.
__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }
__attribute__((noinline)) void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
