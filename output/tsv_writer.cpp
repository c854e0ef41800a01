#include "output/tsv_writer.h"

#include "output/csv_writer.h"
#include "output/display_text.h"

namespace ledgerwick {
namespace {

constexpr std::string_view kNull = "\\N";

}  // namespace

TsvWriter::TsvWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), options_(options) {}

void TsvWriter::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  line_ = first_set_ ? "" : "\n";
  first_set_ = false;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (i > 0) line_ += '\t';
    AppendText(ToUtf8(columns_[i].name));
  }
  WriteLine();
}

void TsvWriter::Row(std::span<const Value> values) {
  line_.clear();
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) line_ += '\t';
    if (values[i].IsNull()) {
      line_ += kNull;
    } else if (columns_[i].kind == ColumnKind::String) {
      AppendText(CellText(values[i], columns_[i]));
    } else {
      line_ += CellText(values[i], columns_[i]);
    }
  }
  WriteLine();
}

void TsvWriter::AppendText(std::string_view text) {
  if (options_.guard_formulas && ReadsAsFormula(text)) line_ += '\'';
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '\\':
        escaped += "\\\\";
        break;
      case '\t':
        escaped += "\\t";
        break;
      case '\n':
        escaped += "\\n";
        break;
      case '\r':
        escaped += "\\r";
        break;
      default:
        escaped += c;
    }
  }
  line_ += options_.terminal ? EscapeControls(escaped) : escaped;
}

void TsvWriter::WriteLine() {
  out_ << line_ << '\n';
  CheckWritten(out_);
}

void TsvWriter::EndRows(std::int64_t) {}

void TsvWriter::Finish() {
  out_.flush();
  CheckWritten(out_);
}

}  // namespace ledgerwick
