// Golden files: an input and, beside it, the output that it must give.
#pragma once

#include <doctest/doctest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace ledgerwick::testing {

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// The first place where the two differ with what stands around it; empty when they do not.
inline std::string FirstDifference(const std::string& wanted, const std::string& got) {
  const auto [w, g] = std::mismatch(wanted.begin(), wanted.end(), got.begin(), got.end());
  if (w == wanted.end() && g == got.end()) return {};
  const auto at = static_cast<std::size_t>(w - wanted.begin());
  const std::size_t from = at > 60 ? at - 60 : 0;
  return "differs at byte " + std::to_string(at) + "\nwanted: …" + wanted.substr(from, 140) +
         "…\ngot:    …" + got.substr(from, 140) + "…";
}

// Compares make(input, file name) with the golden file for each file of `folder` whose name ends in
// `input_end`; the golden's name has `output_end` instead. A golden without an input is a failure
// too. With LEDGERWICK_UPDATE_GOLDENS set, writes the goldens. Returns how many there are.
template <typename Make>
int CompareGoldens(const std::filesystem::path& folder, const std::string& input_end,
                   const std::string& output_end, Make make) {
  const bool update = std::getenv("LEDGERWICK_UPDATE_GOLDENS") != nullptr;
  std::set<std::string> stems;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    for (const std::string& end : {input_end, output_end}) {
      if (name.ends_with(end)) stems.insert(name.substr(0, name.size() - end.size()));
    }
  }
  for (const std::string& stem : stems) {
    CAPTURE(stem);
    const std::filesystem::path input = folder / (stem + input_end);
    REQUIRE(std::filesystem::exists(input));
    const std::string got = make(ReadFile(input), input.filename().string());
    const std::filesystem::path golden = folder / (stem + output_end);
    if (update) WriteFile(golden, got);
    const std::string difference = FirstDifference(ReadFile(golden), got);
    CHECK_MESSAGE(difference.empty(), difference);
  }
  return static_cast<int>(stems.size());
}

}  // namespace ledgerwick::testing
