// Includes run one way: what a folder may include besides itself and the system's headers.
#include <doctest/doctest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

// Calls `visit(file, line)` for each include of a project's header in `folder` and below it.
// Returns how many files there are.
template <typename Visit>
int ForEachInclude(const fs::path& folder, Visit visit) {
  const fs::path root = fs::path(LEDGERWICK_SOURCE) / folder;
  if (!fs::exists(root)) return 0;
  int files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    const fs::path extension = entry.path().extension();
    if (extension != ".h" && extension != ".cpp") continue;
    ++files;
    std::ifstream in(entry.path());
    for (std::string line; std::getline(in, line);) {
      if (line.starts_with("#include")) visit(entry.path(), line);
    }
  }
  return files;
}

}  // namespace

TEST_CASE("no folder includes one that lies above or beside it") {
  const std::set<std::string> all_below = {"frame",  "component", "tsql", "host",
                                           "output", "odbc",      "tds",  "sample"};
  std::set<std::string> all_and_desk = all_below;
  all_and_desk.insert("desk");
  // The class table alone knows the reports.
  const std::map<std::string, std::set<std::string>> allowed = {
      {"frame", {}},
      {"sales", {"frame"}},
      {"inventory", {"frame"}},
      {"component", {"frame", "sales", "inventory"}},
      {"tsql", {"frame"}},
      {"host", {"frame", "component"}},
      {"output", {"frame", "component"}},
      {"odbc", {"frame"}},
      {"tds", {"frame", "tsql"}},
      {"sample", {"frame", "tsql"}},
      {"com", {"frame", "component"}},
      {"desk", all_below},
      {"cli", all_and_desk},
  };
  const std::regex include("^#include \"([a-z_]+)/");
  int files = 0;
  for (const auto& [folder, below] : allowed) {
    files += ForEachInclude(folder, [&](const fs::path& file, const std::string& line) {
      std::smatch match;
      if (!std::regex_search(line, match, include)) return;
      const std::string target = match[1];
      CAPTURE(file.string());
      CAPTURE(line);
      CHECK((target == folder || below.contains(target)));
    });
  }
  CHECK(files > 50);
}

TEST_CASE("a room of tsql includes those before it, and storage alone sees SQLite") {
  const std::vector<std::string> rooms = {"base",   "values", "syntax", "functions", "storage",
                                          "binder", "plan",   "emit",   "compile",   "run"};
  // What lies in no room is the top.
  const auto height = [&](const std::string& room) {
    return std::find(rooms.begin(), rooms.end(), room) - rooms.begin();
  };
  const std::regex include("^#include \"tsql/(([a-z]+)/)?[a-z_]+\\.h\"");
  for (const std::string& room : rooms) {
    const int files =
        ForEachInclude("tsql/" + room, [&](const fs::path& file, const std::string& line) {
          CAPTURE(file.string());
          CAPTURE(line);
          CHECK((room == "storage" || line.find("sqlite3.h") == std::string::npos));
          std::smatch match;
          if (std::regex_search(line, match, include)) CHECK(height(match[2]) <= height(room));
        });
    CHECK(files > 0);
  }
}
