#include "output/json_lines_writer.h"

namespace ledgerwick {

JsonLinesWriter::JsonLinesWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), terminal_(options.terminal) {}

void JsonLinesWriter::Columns(std::span<const ResultColumn> columns) {
  objects_ = JsonObjects(columns);
}

void JsonLinesWriter::Row(std::span<const Value> values) {
  line_.clear();
  objects_.Append(line_, values, terminal_);
  line_ += '\n';
  out_ << line_;
  CheckWritten(out_);
}

void JsonLinesWriter::EndRows(std::int64_t) {}

void JsonLinesWriter::Finish() {
  out_.flush();
  CheckWritten(out_);
}

}  // namespace ledgerwick
