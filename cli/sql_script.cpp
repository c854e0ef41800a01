#include "cli/sql_script.h"

#include "host/json_document.h"

namespace ledgerwick {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\f\v";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(kBlanks) == std::string_view::npos;
}

bool IsGo(std::string_view line) {
  const std::size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return false;
  const std::string_view word = line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
  return word.size() == 2 && (word[0] | 0x20) == 'g' && (word[1] | 0x20) == 'o';
}

}  // namespace

std::vector<ScriptBatch> SplitScript(std::string_view utf8, const std::string& name) {
  if (utf8.starts_with(kByteOrderMark)) utf8.remove_prefix(kByteOrderMark.size());
  if (const std::size_t bad = FindInvalidUtf8(utf8); bad != std::string_view::npos) {
    throw FileError(name, PositionAt(utf8, bad), "invalid UTF-8 at byte " + std::to_string(bad));
  }
  std::vector<ScriptBatch> batches;
  std::size_t batch_start = 0;
  int batch_line = 1;
  const auto end_batch = [&](std::size_t end) {
    const std::string_view sql = utf8.substr(batch_start, end - batch_start);
    if (!IsBlank(sql)) batches.push_back({FromUtf8(sql), batch_line});
  };
  int line_number = 1;
  for (std::size_t from = 0; from < utf8.size(); ++line_number) {
    const std::size_t newline = utf8.find('\n', from);
    const std::size_t next = newline == std::string_view::npos ? utf8.size() : newline + 1;
    if (IsGo(utf8.substr(from, next - from))) {
      end_batch(from);
      batch_start = next;
      batch_line = line_number + 1;
    }
    from = next;
  }
  end_batch(utf8.size());
  return batches;
}

}  // namespace ledgerwick
