// Leases as locks on bytes of a file beside the database: the system releases them when a process
// ends, however it ends.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "tsql/errors.h"
#include "tsql/table_lease.h"

namespace ledgerwick::tsql {
namespace {

// The byte that stands for a table: tables whose names meet there wait for each other needlessly,
// no more.
off_t ByteOf(TextView table) {
  std::uint32_t hash = 2166136261U;
  for (const char16_t c : FoldText(table)) {
    hash = (hash ^ c) * 16777619U;
  }
  return static_cast<off_t>(hash & 0x7FFFFFFF);
}

class FileLease final : public TableLease {
 public:
  FileLease(int file) : file_(file) {}
  ~FileLease() override { close(file_); }  // which releases the lock
  FileLease(const FileLease&) = delete;
  FileLease& operator=(const FileLease&) = delete;

 private:
  int file_;
};

}  // namespace

std::unique_ptr<TableLease> TakeLease(const std::filesystem::path& database, TextView table,
                                      const DatabaseOptions& options,
                                      const std::function<void()>& on_wait) {
  std::filesystem::path path = Database::TempdbPath(database);
  path += ".lock";
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (file < 0) {
    throw errors::Storage("cannot open '" + path.string() + "': " + std::strerror(errno));
  }
  auto lease = std::make_unique<FileLease>(file);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = ByteOf(table);
  lock.l_len = 1;
  const auto start = std::chrono::steady_clock::now();
  for (bool waited = false; fcntl(file, F_OFD_SETLK, &lock) != 0;) {
    if (errno != EAGAIN && errno != EACCES && errno != EINTR) {
      throw errors::Storage("cannot lock '" + path.string() + "': " + std::strerror(errno));
    }
    if (options.cancel != nullptr && options.cancel->load()) throw errors::Cancelled();
    if (std::chrono::steady_clock::now() - start >= options.lock_wait) {
      throw errors::LockTimeout(
          database.string(),
          std::chrono::duration_cast<std::chrono::seconds>(options.lock_wait).count());
    }
    if (!waited && on_wait) on_wait();
    waited = true;
    constexpr auto kPause = std::chrono::milliseconds(10);
    std::this_thread::sleep_for(kPause);
  }
  return lease;
}

}  // namespace ledgerwick::tsql
