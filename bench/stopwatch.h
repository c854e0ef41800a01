// What the benchmarks measure with.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>
#include <vector>

namespace ledgerwick {

// How long `work` takes, in seconds.
template <typename Work>
double Seconds(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  std::forward<Work>(work)();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The middle of `values`, of which there is at least one.
inline double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace ledgerwick
