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

// The output cannot be written: the disk is full, the reader has gone.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws OutputError with the system's reason when `out` has failed.
void CheckWritten(const std::ostream& out);

// Writes result sets as they come. Every member throws OutputError.
class ResultWriter : public ResultSink {
 public:
  // Called once behind the last result set: writes whatever the format ends with, and flushes.
  virtual void Finish() = 0;

  // Not data: no format has a place for them.
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}
};

struct WriterOptions {
  bool colour = false;    // the output is a terminal that shows colours
  bool terminal = false;  // the output is a terminal: control characters must not reach it
};

// One row of the table of formats.
struct OutputFormat {
  std::string_view name;
  std::string_view description;
  // Writes to `out`, which outlives the writer.
  std::unique_ptr<ResultWriter> (*make)(std::ostream& out, const WriterOptions& options);
};

std::span<const OutputFormat> OutputFormats() noexcept;

// The format of that name, or nullptr.
const OutputFormat* FindOutputFormat(std::string_view name) noexcept;

// The value as people read it: a decimal with all digits of its scale, other numbers with the
// shortest digits, dates as yyyy-mm-dd with a time where there is one. Nothing for null.
std::string CellText(const Value& value, const ResultColumn& column);

}  // namespace ledgerwick
