#include "output/json_writer.h"

namespace ledgerwick {

JsonWriter::JsonWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), terminal_(options.terminal), one_result_(options.one_result) {}

void JsonWriter::Columns(std::span<const ResultColumn> columns) {
  objects_ = JsonObjects(columns);
  first_row_ = true;
  ++sets_;
  if (sets_ == 2) {
    out_ << "[\n";
    held_.MoveTo(out_);
  }
  Write(sets_ == 1 ? "[" : ",\n[");
}

void JsonWriter::Row(std::span<const Value> values) {
  line_ = first_row_ ? "\n  " : ",\n  ";
  first_row_ = false;
  objects_.Append(line_, values, terminal_);
  Write(line_);
}

void JsonWriter::EndRows(std::int64_t) {
  Write(first_row_ ? "]" : "\n]");
  CheckWritten(out_);
}

void JsonWriter::Finish() {
  held_.MoveTo(out_);
  if (sets_ > 1) out_ << "\n]";
  if (sets_ > 0) out_ << '\n';
  out_.flush();
  CheckWritten(out_);
}

void JsonWriter::Abandon() {
  held_.MoveTo(out_);
  if (sets_ > 0) out_ << '\n';
  out_.flush();
}

void JsonWriter::Write(std::string_view text) {
  if (sets_ == 1 && !one_result_) return held_.Append(text);
  out_ << text;
  CheckWritten(out_);
}

}  // namespace ledgerwick
