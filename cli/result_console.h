// What a batch gives, on the console.
#pragma once

#include <cstdint>
#include <limits>

#include "cli/console.h"
#include "cli/progress_line.h"
#include "host/result_writer.h"

namespace ledgerwick {

inline constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();

// How results look on the console's output or, unless `file` is empty, in that file.
inline WriterOptions ResultOptions(const Console& console, const std::string& file) {
  if (!file.empty()) return {};
  return {console.out_colour, console.out_is_terminal};
}

// Gives the first `limit` rows of each result set to a writer and tells counts and messages on the
// error stream. Throws Interrupted when the user asks to stop.
class ResultConsole final : public ResultSink {
 public:
  // All of them outlive the sink. `source` is the batch that runs; errors that it goes on after
  // are told with their place in it.
  ResultConsole(Console& console, ProgressLine& progress, ResultWriter& writer, std::int64_t limit,
                StatementSource source = {});

  void Columns(std::span<const ResultColumn> columns) override;
  bool WantsRow() override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void RowsAffected(std::int64_t count) override;
  void Message(const Text& text) override;
  void Error(const DatabaseError& error) override;

 private:
  Console& console_;
  ProgressLine& progress_;
  ResultWriter& writer_;
  std::int64_t limit_;
  StatementSource source_;
  std::int64_t rows_ = 0;  // of the current result set
};

}  // namespace ledgerwick
