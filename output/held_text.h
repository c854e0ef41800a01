// Text that is kept until it is known what has to stand before it.
#pragma once

#include <cstdio>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace ledgerwick {

// Keeps text, in memory up to a megabyte and beyond that in a temporary file without a name.
// Members throw OutputError when that file cannot be made, written or read.
class HeldText {
 public:
  void Append(std::string_view text);

  // Writes everything to `out` and keeps nothing any more.
  void MoveTo(std::ostream& out);

 private:
  struct Close {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };

  void Spill();  // what is in memory goes to the file

  std::string memory_;
  std::unique_ptr<std::FILE, Close> file_;
};

}  // namespace ledgerwick
