// Where a result is written: the program's output, or a file that appears whole or not at all.
#pragma once

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

namespace ledgerwick {

// The destination of a result. With a path, the text goes to a new file beside it, which takes its
// place in Commit and goes away without one. A path that names no regular file (a device, a pipe)
// is written straight. A database, ours or another of SQLite's, is never replaced, nor a file that
// belongs to one. Throws OutputError.
class OutputTarget {
 public:
  // `path` is empty for `standard`, which outlives the target.
  OutputTarget(std::ostream& standard, const std::string& path);
  ~OutputTarget();
  OutputTarget(const OutputTarget&) = delete;
  OutputTarget& operator=(const OutputTarget&) = delete;

  std::ostream& stream() noexcept { return to_file_ ? file_ : standard_; }

  // Everything is written: puts the file in its place.
  void Commit();

 private:
  void CreateTemporary();

  std::ostream& standard_;
  bool to_file_ = false;
  std::ofstream file_;
  std::filesystem::path path_;
  std::filesystem::path temporary_;  // empty once there is nothing to remove
};

}  // namespace ledgerwick
