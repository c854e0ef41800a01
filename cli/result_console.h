// What a batch gives, on the console.
#pragma once

#include <cstdint>

#include "cli/console.h"
#include "cli/progress_line.h"
#include "output/result_writer.h"

namespace ledgerwick {

// Gives the first `limit` rows of each result set to a writer and tells counts and messages on the
// error stream. Throws Interrupted when the user asks to stop.
class ResultConsole final : public ResultSink {
 public:
  // All of them outlive the sink. `source` is the batch that runs; errors that it goes on after
  // are told with their place in it.
  ResultConsole(Console& console, ProgressLine& progress, ResultWriter& writer, std::int64_t limit,
                StatementSource source = {});

  // How many rows the last result set had, those beyond the limit included.
  std::int64_t count() const noexcept { return count_; }

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
  std::int64_t rows_ = 0;   // of the current result set
  std::int64_t count_ = 0;  // of the last one
};

}  // namespace ledgerwick
