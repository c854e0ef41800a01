#include "host/table_writer.h"

#include <algorithm>

#include "host/display_text.h"

namespace ledgerwick {
namespace {

constexpr std::size_t kMeasuredRows = 300;
constexpr std::size_t kWidest = 80;  // a longer text does not push every other row apart
constexpr std::string_view kGap = "  ";
constexpr std::string_view kNull = "NULL";
constexpr std::string_view kBold = "\033[1m";
constexpr std::string_view kPlain = "\033[0m";

bool IsNumeric(ColumnKind kind) {
  return kind != ColumnKind::String && kind != ColumnKind::DateTime;
}

}  // namespace

TableWriter::TableWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), colour_(options.colour) {}

void TableWriter::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  widths_.clear();
  for (const ResultColumn& column : columns) {
    widths_.push_back(std::min(kWidest, DisplayWidth(EscapeControls(ToUtf8(column.name)))));
  }
  measuring_ = true;
  if (!first_set_) out_ << '\n';
  first_set_ = false;
}

void TableWriter::Row(std::span<const Value> values) {
  Cells cells;
  for (std::size_t i = 0; i < values.size(); ++i) {
    cells.push_back(values[i].IsNull() ? std::string(kNull)
                                       : EscapeControls(CellText(values[i], columns_[i])));
    if (!measuring_) continue;
    widths_[i] = std::max(widths_[i], std::min(kWidest, DisplayWidth(cells[i])));
  }
  if (!measuring_) return WriteRow(cells);
  held_.push_back(std::move(cells));
  if (held_.size() == kMeasuredRows) WriteHeld();
}

void TableWriter::EndRows(std::int64_t) {
  if (measuring_) WriteHeld();
}

void TableWriter::Finish() {
  out_.flush();
  CheckWritten(out_);
}

void TableWriter::WriteHeld() {
  measuring_ = false;
  WriteHeader();
  for (const Cells& cells : held_) WriteRow(cells);
  held_.clear();
}

void TableWriter::WriteHeader() {
  Cells names;
  Cells rules;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    names.push_back(EscapeControls(ToUtf8(columns_[i].name)));
    widths_[i] = std::max<std::size_t>(widths_[i], 1);
    rules.emplace_back(widths_[i], '-');
  }
  if (colour_) out_ << kBold;
  WriteRow(names);
  if (colour_) out_ << kPlain;
  WriteRow(rules);
}

void TableWriter::WriteRow(const Cells& cells) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) AppendCell(line, cells[i], i);
  if (!cells.empty() && cells.back().empty()) line.erase(line.find_last_not_of(' ') + 1);
  out_ << line << '\n';
  CheckWritten(out_);
}

void TableWriter::AppendCell(std::string& line, const std::string& cell, std::size_t column) const {
  const std::size_t width = DisplayWidth(cell);
  const std::string padding(widths_[column] - std::min(width, widths_[column]), ' ');
  const bool last = column + 1 == columns_.size();
  if (column > 0) line += kGap;
  if (IsNumeric(columns_[column].kind)) {
    line += padding + cell;
  } else {
    line += cell;
    if (!last) line += padding;
  }
}

}  // namespace ledgerwick
