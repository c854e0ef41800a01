#include "output/line_writer.h"

#include <algorithm>

#include "output/display_text.h"

namespace ledgerwick {

LineWriter::LineWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), colour_(options.colour) {}

void LineWriter::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  names_.clear();
  row_ = 0;
  std::size_t widest = 0;
  for (const ResultColumn& column : columns) {
    names_.push_back(EscapeControls(ToUtf8(column.name)));
    widest = std::max(widest, DisplayWidth(names_.back()));
  }
  for (std::string& name : names_) name.append(widest - DisplayWidth(name) + 2, ' ');
}

void LineWriter::Row(std::span<const Value> values) {
  std::string text = first_row_ ? "" : "\n";
  first_row_ = false;
  const std::string number = '[' + std::to_string(++row_) + ']';
  text += (colour_ ? "\033[1m" + number + "\033[0m" : number) + '\n';
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string value =
        values[i].IsNull() ? "NULL" : EscapeControls(CellText(values[i], columns_[i]));
    text += names_[i];
    if (value.empty()) text.erase(text.find_last_not_of(' ') + 1);
    text.append(value).append("\n");
  }
  out_ << text;
  CheckWritten(out_);
}

void LineWriter::EndRows(std::int64_t) {}

void LineWriter::Finish() {
  out_.flush();
  CheckWritten(out_);
}

}  // namespace ledgerwick
