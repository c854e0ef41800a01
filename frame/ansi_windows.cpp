// The ANSI code page is the system's own.
#include <windows.h>

#include <string>

#include "frame/text.h"

namespace ledgerwick {

std::size_t AnsiLength(TextView text) {
  const std::wstring wide(text.begin(), text.end());
  // No code page has more than three bytes for one UTF-16 unit.
  std::string ansi(wide.size() * 3 + 1, '\0');
  const int written =
      WideCharToMultiByte(CP_ACP, 0, wide.c_str(), static_cast<int>(wide.size()), ansi.data(),
                          static_cast<int>(ansi.size()), nullptr, nullptr);
  ansi[static_cast<std::size_t>(written)] = '\0';
  return static_cast<std::size_t>(lstrlenA(ansi.c_str()));
}

}  // namespace ledgerwick
