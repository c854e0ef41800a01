// The file X.tempdb.lock: where the users of a database X tell one another what they do.
//
// Locks lie on bytes far behind the content, as locks of the open file (OFD): each LockFile has its
// own, they end with it however its process ends, and closing other descriptors does not touch
// them. The content is text, 128 bytes for each entry, and says nothing that counts without its
// lock:
//
//   0      "ledgerwick lock", the state of tempdb, the machine's start that tempdb was made in
//   128    who writes to the books
//   256    who writes to tempdb
//   384…   who has a table's lease, 4096 entries by the hash of the table's name
//   behind who took an application lock last
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace ledgerwick::tsql {

class LockFile {
 public:
  static constexpr off_t kEntrySize = 128;

  // Opens the lock file of `database`, and makes it with the rights of `database` where there is
  // none. Throws SqlError 823 that names it: no rights, a link, or something else than a lock file.
  explicit LockFile(const std::filesystem::path& database);
  ~LockFile();
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }

  // False when the file has been removed or another has taken its name since it was opened: its
  // locks then keep nobody away.
  bool IsCurrent() const noexcept;

  // Locks bytes from `first` on, against everyone or against those who lock against everyone.
  // Returns false when others' locks are in the way. A lock of this file's own is changed. Throws
  // SqlError 823.
  bool TryLock(off_t first, bool against_everyone);
  void Unlock(off_t first) noexcept;

  // The byte behind the last one that others have locked from `first` on and before `end`; `first`
  // where they have locked none.
  off_t EndOfLocks(off_t first, off_t end) const noexcept;

  // True when others have locked a byte from `first` on and before `end`.
  bool IsLocked(off_t first, off_t end) const noexcept;

  // An entry's text, without what fills it up. An unreadable one is empty.
  std::string Read(off_t entry) const;

  // Replaces an entry's text, which is cut off at its size. What cannot be written stays: an entry
  // only tells.
  void Write(off_t entry, std::string_view text) noexcept;

 private:
  [[noreturn]] void Fail(const std::string& why) const;

  std::filesystem::path path_;
  int file_ = -1;
};

}  // namespace ledgerwick::tsql
