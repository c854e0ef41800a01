#include "desk/scratch_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace ledgerwick::desk {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = "ledgerwick-rows-";

// A folder's lock, if nobody holds it.
tds::Descriptor TryLock(const fs::path& folder) {
  tds::Descriptor lock(
      open((folder / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (lock.number() < 0 || flock(lock.number(), LOCK_EX | LOCK_NB) != 0) return tds::Descriptor();
  return lock;
}

bool IsMine(const fs::path& folder) {
  struct stat info {};
  return lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid();
}

// Takes away what desks left that did not end by themselves.
void Sweep(const fs::path& where) {
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(where, ignored)) {
    if (!entry.path().filename().string().starts_with(kPrefix) || !IsMine(entry.path())) continue;
    // One that has no lock yet is just being made.
    if (!fs::exists(entry.path() / "lock", ignored)) continue;
    if (TryLock(entry.path()).number() >= 0) fs::remove_all(entry.path(), ignored);
  }
}

}  // namespace

ScratchFolder::ScratchFolder() {
  const fs::path where = fs::temp_directory_path();
  Sweep(where);
  std::string name = (where / (std::string(kPrefix) + "XXXXXX")).string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("cannot make a folder for rows: " + name + ": " +
                             std::strerror(errno));
  }
  path_ = name;
  lock_ = TryLock(path_);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

}  // namespace ledgerwick::desk
