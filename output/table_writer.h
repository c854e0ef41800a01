// Tables for reading.
#pragma once

#include <vector>

#include "output/result_writer.h"

namespace ledgerwick {

// A header, a rule, and columns padded by display width, numbers to the right. The widths come from
// the first rows; a later cell that is wider shifts the rest of its row and nothing is cut off.
// Null reads NULL; control characters are escaped. A blank line parts result sets.
//
// A table that is wider than the terminal leaves out the columns that hold nothing and says how
// many. One that is still too wide comes in blocks of rows, each broken into parts that begin with
// the columns that tell the rows apart.
class TableWriter final : public ResultWriter {
 public:
  TableWriter(std::ostream& out, const WriterOptions& options);

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  using Cells = std::vector<std::string>;
  using Part = std::vector<std::size_t>;  // the columns that stand side by side

  std::vector<Part> Parts();
  Part Shown() const;
  Part Keys(const Part& shown) const;
  std::size_t WidthOf(const Part& part) const;

  void WriteHeld();  // the rows that were held back to measure them
  void WriteHeader(const Part& part);
  void WriteRow(const Cells& cells, const Part& part);
  void AppendCell(std::string& line, const std::string& cell, std::size_t column, bool last) const;

  std::ostream& out_;
  bool colour_;
  std::size_t width_;  // that the table shall fit; 0 for none
  bool all_columns_;
  std::vector<ResultColumn> columns_;
  std::vector<std::size_t> widths_;
  std::vector<bool> filled_;  // columns in which some row has something
  std::vector<Part> parts_;   // as they were written last; empty before the first row
  Part keys_;                 // columns that every part begins with
  std::vector<Cells> held_;
  bool measuring_ = false;
  bool first_set_ = true;
};

}  // namespace ledgerwick
