// The page's files, which the program carries.
#pragma once

#include <string>
#include <string_view>

namespace ledgerwick::desk {

struct PageFile {
  std::string_view text;  // empty where there is no such file
  const char* type = "";  // as Content-Type
};

// The file of that name.
PageFile FindPageFile(const std::string& name);

}  // namespace ledgerwick::desk
