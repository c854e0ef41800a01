#include "samples.h"

#include "sample/sample.h"

namespace ledgerwick::reliability {
namespace {

constexpr std::int64_t kLines[] = {3, 4};

}  // namespace

void MakeSample(const std::filesystem::path& path, int which, Shared& shared) {
  SampleOptions options;
  options.voucher_lines = kLines[which];
  options.seed = static_cast<std::uint64_t>(which + 1);
  options.force = true;
  Try(shared, "replace", [&] {
    CreateSample(path, options);
    ++shared.replaced;
  });
}

std::string CheckSample(const std::filesystem::path& path) {
  const std::string fault = Integrity(path);
  if (!fault.empty()) return "the sample: " + fault;
  try {
    const auto database = tsql::Database::Open(path, Options());
    const auto ask = [&](const char* sql) { return Answer(*database, sql); };
    const std::string lines = ask("SELECT COUNT(*) FROM RdRecords");
    // The last thing that is made.
    ask("EXEC Sa_MoveTrustDetail 'Sample', ' ', '2002-03-01', '2002-03-31'");
    const bool is_one = lines == std::to_string(kLines[0]) || lines == std::to_string(kLines[1]);
    return is_one ? "" : "the sample is neither old nor new: " + lines + " lines";
  } catch (const std::exception& error) {
    return std::string("the sample: ") + error.what();
  }
}

std::string ReplaceAgain(const std::filesystem::path& path) {
  SharedMemory shared;
  MakeSample(path, 0, *shared);
  if (shared->replaced == 0) return std::string("cannot be replaced: ") + shared->told[0].text;
  const std::string left = Leftovers(path);
  if (!left.empty()) return left;
  return CheckSample(path);
}

}  // namespace ledgerwick::reliability
