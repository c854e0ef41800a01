#include "tsql/script.h"

#include <algorithm>
#include <cstddef>

namespace ledgerwick::tsql {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";

std::string_view TrimWhiteSpace(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

bool IsSeparator(std::string_view line) {
  const std::string_view word = TrimWhiteSpace(line);
  return word.size() == 2 && (word[0] == 'G' || word[0] == 'g') &&
         (word[1] == 'O' || word[1] == 'o');
}

}  // namespace

std::vector<std::string_view> SplitBatches(std::string_view script) {
  std::vector<std::string_view> batches;
  const auto add = [&](std::string_view batch) {
    if (!TrimWhiteSpace(batch).empty()) batches.push_back(batch);
  };
  std::size_t batch = 0;
  for (std::size_t line = 0; line < script.size();) {
    const std::size_t end = std::min(script.find('\n', line), script.size());
    if (IsSeparator(script.substr(line, end - line))) {
      add(script.substr(batch, line - batch));
      batch = std::min(end + 1, script.size());
    }
    line = end + 1;
  }
  add(script.substr(batch));
  return batches;
}

}  // namespace ledgerwick::tsql
