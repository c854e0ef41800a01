// Values parted by tabs.
#pragma once

#include "output/result_writer.h"

namespace ledgerwick {

// A header and one line for each row, in UTF-8, lines that end in LF: what awk, cut and sort read.
// Backslash, tab and line breaks inside a value are \\, \t, \n and \r, and null is \N, as servers'
// bulk loaders read it. A blank line parts result sets. On a terminal every control character is
// escaped.
class TsvWriter final : public ResultWriter {
 public:
  TsvWriter(std::ostream& out, const WriterOptions& options);

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  void AppendText(std::string_view text);
  void WriteLine();

  std::ostream& out_;
  WriterOptions options_;
  std::vector<ResultColumn> columns_;
  std::string line_;
  bool first_set_ = true;
};

}  // namespace ledgerwick
