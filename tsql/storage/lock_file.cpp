#include "tsql/storage/lock_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "tsql/base/errors.h"
#include "tsql/storage/database_files.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::string_view kHead = "ledgerwick lock";

struct flock Range(off_t first, off_t end, short type) noexcept {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = first;
  range.l_len = end - first;
  return range;
}

}  // namespace

LockFile::LockFile(const std::filesystem::path& database) : path_(LockPath(database)) {
  const std::string obstacle = ObstacleAt(path_, false);
  if (!obstacle.empty()) Fail("it is " + obstacle + ", not a lock file");
  // Should a pipe have come there meanwhile, opening it must not wait.
  constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  while ((file_ = open(path_.c_str(), kFlags)) < 0) {
    const int reason = errno == ENOENT ? CreateLike(path_, database) : errno;
    if (reason != 0 && reason != EEXIST) Fail(std::strerror(reason));
  }
  KeepModeOf(path_, database);
  const std::string head = Read(0);
  if (!head.empty() && !head.starts_with(kHead)) {
    close(file_);
    Fail("it is not a lock file");
  }
}

LockFile::~LockFile() { close(file_); }  // which releases the locks

void LockFile::Fail(const std::string& why) const {
  throw errors::Storage("cannot use '" + path_.string() + "': " + why);
}

bool LockFile::IsCurrent() const noexcept {
  struct stat opened {};
  struct stat named {};
  return fstat(file_, &opened) == 0 && lstat(path_.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

bool LockFile::TryLock(off_t first, bool against_everyone) {
  struct flock range = Range(first, first + 1, against_everyone ? F_WRLCK : F_RDLCK);
  while (fcntl(file_, F_OFD_SETLK, &range) != 0) {
    if (errno == EAGAIN || errno == EACCES) return false;
    if (errno != EINTR) Fail(std::strerror(errno));
  }
  return true;
}

void LockFile::Unlock(off_t first) noexcept {
  struct flock range = Range(first, first + 1, F_UNLCK);
  fcntl(file_, F_OFD_SETLK, &range);
}

off_t LockFile::EndOfLocks(off_t first, off_t end) const noexcept {
  off_t behind = first;
  for (;;) {
    struct flock range = Range(behind, end, F_WRLCK);
    if (fcntl(file_, F_OFD_GETLK, &range) != 0 || range.l_type == F_UNLCK) return behind;
    behind = range.l_start + range.l_len;
    if (range.l_len == 0 || behind >= end) return end;
  }
}

bool LockFile::IsLocked(off_t first, off_t end) const noexcept {
  if (first >= end) return false;
  struct flock range = Range(first, end, F_WRLCK);
  return fcntl(file_, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

std::string LockFile::Read(off_t entry) const {
  std::string text(kEntrySize, '\0');
  const ssize_t size = pread(file_, text.data(), text.size(), entry);
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  const std::size_t last = text.find_last_not_of(std::string_view("\0 \n", 3));
  text.resize(last == std::string::npos ? 0 : last + 1);
  return text;
}

void LockFile::Write(off_t entry, std::string_view text) noexcept {
  std::array<char, kEntrySize> record;
  record.fill(' ');
  record.back() = '\n';
  text.copy(record.data(), record.size() - 1);
  const ssize_t written = pwrite(file_, record.data(), record.size(), entry);
  static_cast<void>(written);
}

}  // namespace ledgerwick::tsql
