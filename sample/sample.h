// The sample suite database: the books of a trading company over two years, for trying the reports
// and for measuring them.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>

#include "frame/text.h"
#include "frame/value.h"

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

// An empty database that takes the sample.
class SampleTarget {
 public:
  virtual ~SampleTarget() = default;

  // Runs a batch of the sample's scripts.
  virtual void Run(TextView batch) = 0;

  // Rows of `table` follow, with a value for each of `columns`; no batch before EndTable.
  virtual void BeginTable(TextView table, std::span<const Text> columns) = 0;
  virtual void Row(std::span<const Value> values) = 0;
  virtual void EndTable() = 0;
};

// Makes the sample's tables, rows and procedures in `target`. Throws std::runtime_error (UTF-8) for
// options that cannot be and when it is cancelled, and what `target` throws; what is there by then
// stays there.
void FillSample(SampleTarget& target, const SampleOptions& options);

// Creates the sample database at `path`. It comes into being under another name beside `path` and
// takes its place when it is complete: whatever fails, an existing file stays as it was and nothing
// is left behind. Throws std::runtime_error (UTF-8) or DatabaseError with the cause and the remedy.
void CreateSample(const std::filesystem::path& path, const SampleOptions& options);

}  // namespace ledgerwick
