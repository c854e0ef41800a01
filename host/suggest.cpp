#include "host/suggest.h"

#include <algorithm>
#include <numeric>

#include "frame/text.h"

namespace ledgerwick {
namespace {

// A name of at least this length that another begins with may be meant as a short form of it.
constexpr std::size_t kLeastBeginning = 3;

std::size_t EditDistance(TextView a, TextView b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] == b[j] ? 0U : 1U);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string Nearest(std::string_view name, const std::vector<std::string>& known) {
  const Text wanted = FoldText(TryFromUtf8(name).value_or(Text()));
  std::string nearest;
  std::size_t least = std::max<std::size_t>(2, wanted.size() / 2) + 1;
  for (const std::string& candidate : known) {
    const Text folded = FoldText(FromUtf8(candidate));
    const bool begun = wanted.size() >= kLeastBeginning && folded.starts_with(wanted);
    const std::size_t distance = begun ? 1 : EditDistance(folded, wanted);
    if (distance < least) {
      least = distance;
      nearest = candidate;
    }
  }
  return nearest;
}

}  // namespace ledgerwick
