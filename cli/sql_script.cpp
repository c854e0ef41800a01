#include "cli/sql_script.h"

#include "host/json_document.h"
#include "tsql/script.h"

namespace ledgerwick {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

std::vector<ScriptBatch> SplitScript(std::string_view utf8, const std::string& name) {
  if (utf8.starts_with(kByteOrderMark)) utf8.remove_prefix(kByteOrderMark.size());
  if (const std::size_t bad = FindInvalidUtf8(utf8); bad != std::string_view::npos) {
    throw FileError(name, PositionAt(utf8, bad), "invalid UTF-8 at byte " + std::to_string(bad));
  }
  std::vector<ScriptBatch> batches;
  for (const std::string_view sql : tsql::SplitBatches(utf8)) {
    const auto offset = static_cast<std::size_t>(sql.data() - utf8.data());
    batches.push_back({FromUtf8(sql), PositionAt(utf8, offset).line});
  }
  return batches;
}

}  // namespace ledgerwick
