// The way of a command's results: format, columns, file or terminal.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/console.h"
#include "cli/output_file.h"
#include "cli/pager.h"
#include "output/result_writer.h"

namespace ledgerwick {

inline constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();

// Where results go and in which form.
struct OutputOptions {
  std::string format;  // empty for what the file's ending says, else a table
  std::string file;    // empty or "-" for the standard output
  std::int64_t limit = kNoLimit;
  std::vector<std::string> columns;  // none for all
  std::string separator;             // empty for a comma
  bool byte_order_mark = false;
  bool guard_formulas = false;
};

// The format of that name. Throws UsageError that lists the formats.
const OutputFormat& RequireFormat(const std::string& name);

// The format that `options` ask for. Throws UsageError for one that is unknown, for options that it
// does not have, and for a terminal that it is nothing for.
const OutputFormat& ChooseFormat(const Console& console, const OutputOptions& options);

// How results look on the console's output.
WriterOptions ResultOptions(const Console& console);

// The results of one command.
class ResultOutput {
 public:
  // `terminal` outlives the output, `format` is the one that was chosen. With `one_result` there is
  // exactly one result set. Throws UsageError and OutputError.
  ResultOutput(Console& terminal, const OutputOptions& options, const OutputFormat& format,
               bool one_result);

  // What the command writes to while the output lives.
  Console& console() noexcept { return pager_.console(); }

  ResultWriter& writer() noexcept { return *writer_; }

  // Where the writer writes, for text that is no result. What was written before is there already.
  std::ostream& stream() noexcept { return to_file_ ? target_.stream() : console().out; }

  // Everything is written: puts the file in its place, or waits for whoever reads the pager.
  void Finish();

 private:
  bool to_file_;
  OutputTarget target_;
  Pager pager_;
  std::unique_ptr<ResultWriter> writer_;
};

}  // namespace ledgerwick
