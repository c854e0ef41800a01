// Tables for reading.
#pragma once

#include <vector>

#include "host/result_writer.h"

namespace ledgerwick {

// A header, a rule, and columns padded by display width, numbers to the right. The widths come from
// the first rows; a later cell that is wider shifts the rest of its row and nothing is cut off.
// Null reads NULL; control characters are escaped. A blank line parts result sets.
class TableWriter final : public ResultWriter {
 public:
  TableWriter(std::ostream& out, const WriterOptions& options);

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  using Cells = std::vector<std::string>;

  void WriteHeld();  // the header and the rows that were held back to measure them
  void WriteHeader();
  void WriteRow(const Cells& cells);
  void AppendCell(std::string& line, const std::string& cell, std::size_t column) const;

  std::ostream& out_;
  bool colour_;
  std::vector<ResultColumn> columns_;
  std::vector<std::size_t> widths_;
  std::vector<Cells> held_;
  bool measuring_ = false;
  bool first_set_ = true;
};

}  // namespace ledgerwick
