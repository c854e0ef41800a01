// Includes run one way: what a folder may include besides itself and the systems's headers.
#include <doctest/doctest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace fs = std::filesystem;

TEST_CASE("no folder includes one that lies above it") {
  const std::map<std::string, std::set<std::string>> allowed = {
      {"frame", {}},
      {"sales", {"frame"}},
      {"inventory", {"frame"}},
      {"tsql", {"frame"}},
      {"odbc", {"frame"}},
      {"host", {"frame"}},
      {"sample", {"frame", "tsql"}},
      {"com", {"frame", "host"}},
      {"cli", {"frame", "host", "tsql", "odbc", "sample"}},
  };
  const std::regex include("^#include \"([a-z_]+)/");
  int files = 0;
  for (const auto& [folder, below] : allowed) {
    const fs::path root = fs::path(LEDGERWICK_SOURCE) / folder;
    if (!fs::exists(root)) continue;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      const fs::path extension = entry.path().extension();
      if (extension != ".h" && extension != ".cpp") continue;
      ++files;
      std::ifstream in(entry.path());
      for (std::string line; std::getline(in, line);) {
        std::smatch match;
        if (!std::regex_search(line, match, include)) continue;
        const std::string target = match[1];
        CAPTURE(entry.path().string());
        CAPTURE(line);
        CHECK((target == folder || below.contains(target) || !allowed.contains(target)));
      }
    }
  }
  CHECK(files > 50);
}
