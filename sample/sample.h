// The sample suite database: the books of a trading company over two years, for trying the reports
// and for measuring them.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>

namespace ledgerwick {

struct SampleOptions {
  // Lines of stock vouchers, from 1 to kMostSampleLines; the other tables follow from them.
  std::int64_t voucher_lines = 5000;

  // Equal seeds and line counts make equal files.
  std::uint64_t seed = 1;

  // Replaces an existing database of Ledgerwick's that nobody uses; nothing else is replaced.
  bool force = false;

  // Told every so often how many of the steps are done; may be empty.
  std::function<void(std::int64_t done, std::int64_t total)> progress;

  // When it turns true, CreateSample stops and fails. May be set from a signal handler. May be
  // null; outlives the call.
  const std::atomic<bool>* cancel = nullptr;
};

inline constexpr std::int64_t kMostSampleLines = 100'000'000;

// Creates the sample database at `path`. It comes into being under another name beside `path` and
// takes its place when it is complete: whatever fails, an existing file stays as it was and nothing
// is left behind. Throws std::runtime_error (UTF-8) or DatabaseError with the cause and the remedy.
void CreateSample(const std::filesystem::path& path, const SampleOptions& options);

}  // namespace ledgerwick
