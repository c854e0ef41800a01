// A folder for rows on their way.
#pragma once

#include <filesystem>

#include "tds/socket.h"

namespace ledgerwick::desk {

// A folder of one's own under the system's for temporary files, which goes in the end. Those that
// a desk left behind when it was killed go when the next one starts.
class ScratchFolder {
 public:
  // Throws std::runtime_error.
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
  tds::Descriptor lock_;  // held while the folder is in use
};

}  // namespace ledgerwick::desk
