// The formats in which a result goes to a file or the terminal.
#pragma once

#include <memory>
#include <ostream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "frame/result_sink.h"

namespace ledgerwick {

// The output cannot be written: the disk is full.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Whoever read the output has enough of it and has gone, as `head` does.
class ReaderGone : public OutputError {
 public:
  using OutputError::OutputError;
};

// Throws OutputError with the system's reason when `out` has failed, ReaderGone where that is a
// closed pipe.
void CheckWritten(const std::ostream& out);

// Writes result sets as they come. Every member throws OutputError.
class ResultWriter : public ResultSink {
 public:
  // What stands above the results that follow, where the format has a place for it; either may be
  // empty.
  virtual void Titles(const Text& title, const Text& sub_title);

  // Called once behind the last result set: writes whatever the format ends with, and flushes.
  virtual void Finish() = 0;

  // Called instead of Finish when no more comes though more was to come: writes what was held back
  // of the results that are whole.
  virtual void Abandon() {}

  // Not data: no format has a place for them.
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}
};

struct WriterOptions {
  bool colour = false;           // the output is a terminal that shows colours
  bool terminal = false;         // the output is a terminal: control characters must not reach it
  std::size_t width = 0;         // of the terminal that a table shall fit; 0 for a table as it is
  bool all_columns = false;      // a table that shall fit keeps its empty columns
  bool one_result = false;       // there will be one result set, so that none need be held back
  bool byte_order_mark = false;  // csv begins with one
  char separator = ',';          // of csv
  bool guard_formulas = false;   // csv and tsv: no text reads as a formula
};

// One row of the table of formats.
struct OutputFormat {
  std::string_view name;
  std::string_view endings;  // of files in this format, parted by blanks
  std::string_view description;
  bool is_binary;  // nothing for a terminal
  // Writes to `out`, which outlives the writer.
  std::unique_ptr<ResultWriter> (*make)(std::ostream& out, const WriterOptions& options);
};

// All formats.
std::span<const OutputFormat> OutputFormats() noexcept;

// The format of that name, or nullptr.
const OutputFormat* FindOutputFormat(std::string_view name) noexcept;

// The format that the ending of `file` stands for, letter case aside; or nullptr.
const OutputFormat* FormatOfFile(std::string_view file) noexcept;

// The value as people read it: a decimal with all digits of its scale, other numbers with the
// shortest digits, dates as yyyy-mm-dd with a time where there is one. Nothing for null.
std::string CellText(const Value& value, const ResultColumn& column);

// True for columns that go to the right: numbers and bits.
constexpr bool IsNumeric(ColumnKind kind) noexcept {
  return kind != ColumnKind::String && kind != ColumnKind::DateTime;
}

}  // namespace ledgerwick
