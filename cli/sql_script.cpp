#include "cli/sql_script.h"

#include "host/json_document.h"
#include "tsql/script.h"

namespace ledgerwick {
std::vector<ScriptBatch> SplitScript(std::string_view utf8) {
  std::vector<ScriptBatch> batches;
  for (const std::string_view sql : tsql::SplitBatches(utf8)) {
    const auto offset = static_cast<std::size_t>(sql.data() - utf8.data());
    batches.push_back({FromUtf8(sql), PositionAt(utf8, offset).line});
  }
  return batches;
}

}  // namespace ledgerwick
