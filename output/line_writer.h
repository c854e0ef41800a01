// One value a line.
#pragma once

#include "output/result_writer.h"

namespace ledgerwick {

// Each row as lines of a column's name and its value, under its number in brackets, a blank line
// between rows: for results that are wider than any screen. Null reads NULL; control characters are
// escaped, so that a value never has two lines.
class LineWriter final : public ResultWriter {
 public:
  LineWriter(std::ostream& out, const WriterOptions& options);

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  std::ostream& out_;
  bool colour_;
  std::vector<ResultColumn> columns_;
  std::vector<std::string> names_;  // padded to one width
  std::int64_t row_ = 0;
  bool first_row_ = true;
};

}  // namespace ledgerwick
