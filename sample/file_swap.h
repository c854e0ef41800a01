// A new file that takes another's place only when it is complete.
#pragma once

#include <filesystem>

namespace ledgerwick::sample {

// A name beside `target` for a database in the making. Unless Commit is called, the database, its
// tempdb and whatever the storage puts beside them vanish with the object.
class FileSwap {
 public:
  // Throws std::runtime_error when `target` cannot be created: it exists and `force` is false, it
  // is no regular file, or its directory is missing.
  FileSwap(std::filesystem::path target, bool force);
  ~FileSwap();
  FileSwap(const FileSwap&) = delete;
  FileSwap& operator=(const FileSwap&) = delete;

  // The name to work under. No file of that name exists.
  const std::filesystem::path& working_path() const { return working_; }

  // Moves the database, which must be closed, and its tempdb to the target. An older tempdb goes
  // with the database that it belonged to. Throws std::runtime_error; the target is then as before.
  void Commit();

 private:
  void RemoveWorkingFiles() const noexcept;

  std::filesystem::path target_;
  std::filesystem::path working_;
};

}  // namespace ledgerwick::sample
