#include <unistd.h>

#include <array>

#include "host/reference_host.h"

namespace ledgerwick {

Text ThisComputerName() {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return {};
  const std::string_view full = name.data();
  return TryFromUtf8(full.substr(0, full.find('.'))).value_or(Text());
}

}  // namespace ledgerwick
