#include "host/csv_writer.h"

#include "host/display_text.h"

namespace ledgerwick {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

void AppendQuoted(std::string& line, std::string_view field) {
  if (!field.empty() && field.find_first_of(",\"\r\n") == std::string_view::npos) {
    line += field;
    return;
  }
  line += '"';
  for (const char c : field) {
    if (c == '"') line += '"';
    line += c;
  }
  line += '"';
}

}  // namespace

CsvWriter::CsvWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), terminal_(options.terminal) {}

void CsvWriter::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  line_.clear();
  if (!first_set_) line_ = kLineEnd;
  first_set_ = false;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (i > 0) line_ += ',';
    AppendField(ToUtf8(columns_[i].name));
  }
  out_ << line_ << kLineEnd;
  CheckWritten(out_);
}

void CsvWriter::Row(std::span<const Value> values) {
  line_.clear();
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) line_ += ',';
    if (!values[i].IsNull()) AppendField(CellText(values[i], columns_[i]));
  }
  out_ << line_ << kLineEnd;
  CheckWritten(out_);
}

void CsvWriter::AppendField(const std::string& field) {
  AppendQuoted(line_, terminal_ ? EscapeControls(field) : field);
}

void CsvWriter::EndRows(std::int64_t) {}

void CsvWriter::Finish() {
  out_.flush();
  CheckWritten(out_);
}

}  // namespace ledgerwick
