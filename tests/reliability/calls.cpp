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
constexpr int kNameless = -3;  // watched, and not in the log

// The C library calls into this source before the program's own initialisation: nothing here may
// need one.
struct Watched {
  bool armed;
  bool failed;
  char folder[512];
  std::size_t folder_size;
  Fault fault;
  std::array<std::int64_t, kCalls> counts;
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

// Counts a call of that kind, and says whether the fault is due.
bool Happens(Call call) noexcept {
  const Fault& fault = watched.fault;
  const std::int64_t count = ++watched.counts[static_cast<std::size_t>(call)];
  return fault.at > 0 && fault.call == call &&
         (count == fault.at || (fault.for_good && count > fault.at));
}

// Whether this call fails: it counts, and errno says why.
bool Fails(Call call) noexcept {
  if (!watched.armed) return false;
  bool happens = Happens(call);
  if (call != Call::Memory) happens = Happens(Call::Any) || happens;
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
  const auto known = watched.log->names.find(path);
  if (existed && known != watched.log->names.end()) return known->second;
  const int file = watched.log->files++;
  watched.log->names[path] = file;
  Note({Event::Create, file, 0, path});
  return file;
}

int Unlink(const char* path, int flags) {
  const bool is_watched = IsWatched(path);
  if (is_watched && FailsOrDies(Call::Unlink)) return -1;
  const int result = static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, flags));
  if (is_watched && result == 0 && watched.log != nullptr) {
    watched.log->names.erase(path);
    Note({Event::Unlink, kFolder, 0, path});
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
  watched.counts = {};
  watched.armed = true;
}

void Disarm() noexcept { watched.armed = false; }

std::array<std::int64_t, kCalls> Counts() noexcept { return watched.counts; }

void BeginLog(Log& log) {
  watched.log = &log;
  for (const auto& entry : std::filesystem::directory_iterator(watched.folder)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream stream(entry.path(), std::ios::binary);
    const int file = NameFile(entry.path().c_str(), false);
    Note({Event::Write, file, 0, {}, {}, {std::istreambuf_iterator<char>(stream), {}}});
    Note({Event::Sync, file});
  }
  Note({Event::Sync, kFolder});
  log.begin = log.events.size();
}

void MarkLog(std::int64_t mark) { Note({Event::Mark, kFolder, mark}); }

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

using namespace ledgerwick::reliability;

// The C library's functions, under those of their names that are in use.
extern "C" {

int open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  const bool is_watched = IsWatched(path);
  if (is_watched && FailsOrDies(Call::Open)) return -1;
  const bool existed = is_watched && syscall(SYS_faccessat, AT_FDCWD, path, F_OK) == 0;
  const int descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
  if (descriptor < 0 || descriptor >= kDescriptors) return descriptor;
  const int file = is_watched ? NameFile(path, existed) : kNotWatched;
  watched.files[descriptor] = file;
  if (is_watched && (flags & O_TRUNC) != 0) Note({Event::Truncate, file});
  return descriptor;
}
int open64(const char* path, int flags, ...) __attribute__((alias("open")));

int close(int descriptor) {
  if (FileOf(descriptor) != kNotWatched) watched.files[descriptor] = kNotWatched;
  return static_cast<int>(syscall(SYS_close, descriptor));
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t at) {
  if (FileOf(descriptor) != kNotWatched && FailsOrDies(Call::Read)) return -1;
  return syscall(SYS_pread64, descriptor, bytes, size, at);
}
ssize_t pread64(int descriptor, void* bytes, size_t size, off_t at) {
  return pread(descriptor, bytes, size, at);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t at) {
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
ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off_t at) {
  return pwrite(descriptor, bytes, size, at);
}

int fsync(int descriptor) {
  const int file = FileOf(descriptor);
  if (file != kNotWatched && FailsOrDies(Call::Sync)) return -1;
  if (file >= 0 || file == kFolder) Note({Event::Sync, file});
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}
int fdatasync(int descriptor) { return fsync(descriptor); }

int ftruncate64(int descriptor, off_t size) noexcept {
  const int file = FileOf(descriptor);
  if (file != kNotWatched && FailsOrDies(Call::Truncate)) return -1;
  if (file >= 0) Note({Event::Truncate, file, size});
  return static_cast<int>(syscall(SYS_ftruncate, descriptor, size));
}

// Taking a lock may fail; giving one back does not.
int fcntl(int descriptor, int command, ...) {
  va_list rest;
  va_start(rest, command);
  void* argument = va_arg(rest, void*);
  va_end(rest);
  const bool locks = command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK ||
                     command == F_OFD_SETLKW;
  if (locks && FileOf(descriptor) != kNotWatched &&
      static_cast<const struct flock*>(argument)->l_type != F_UNLCK && FailsOrDies(Call::Lock)) {
    return -1;
  }
  return static_cast<int>(syscall(SYS_fcntl, descriptor, command, argument));
}
int fcntl64(int descriptor, int command, ...) __attribute__((alias("fcntl")));

void* mmap64(void* at, size_t size, int protection, int flags, int descriptor,
             off_t offset) noexcept {
  if ((flags & MAP_ANONYMOUS) == 0 && FileOf(descriptor) != kNotWatched && FailsOrDies(Call::Map)) {
    return MAP_FAILED;
  }
  return reinterpret_cast<void*>(
      syscall(SYS_mmap, at, size, protection, flags, descriptor, offset));
}

// The name of the machine's start, through which alone a start can be told from another.
FILE* fopen64(const char* path, const char* mode) {
  if (watched.start > 0 && std::strcmp(path, "/proc/sys/kernel/random/boot_id") == 0) {
    const std::string start = "start-" + std::to_string(watched.start) + "\n";
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
  if (watched.failed) return 0;
  const timespec pause{time / 1'000'000, static_cast<long>(time % 1'000'000) * 1000};
  return nanosleep(&pause, nullptr);
}
int renameat2(int, const char* from, int, const char* to, unsigned flags) noexcept {
  const bool is_watched = IsWatched(from) || IsWatched(to);
  if (is_watched && FailsOrDies(Call::Rename)) return -1;
  const int result = static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, flags));
  if (is_watched && result == 0 && watched.log != nullptr) {
    watched.log->names[to] = watched.log->names[from];
    watched.log->names.erase(from);
    Note({Event::Rename, kFolder, 0, from, to});
  }
  return result;
}
int rename(const char* from, const char* to) noexcept {
  return renameat2(AT_FDCWD, from, AT_FDCWD, to, 0);
}
int unlink(const char* path) noexcept { return Unlink(path, 0); }
int remove(const char* path) noexcept {
  const int result = Unlink(path, 0);
  return result != 0 && errno == EISDIR ? Unlink(path, AT_REMOVEDIR) : result;
}

}  // extern "C"

void* operator new(std::size_t size) {
  void* memory = Fails(Call::Memory) ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Fails(Call::Memory) ? nullptr : std::malloc(size);
}
// Not inlined: the compiler would take free for the wrong partner of operator new.
__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }
__attribute__((noinline)) void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
