#include "output/table_writer.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "output/display_text.h"

namespace ledgerwick {
namespace {

constexpr std::size_t kMeasuredRows = 300;
constexpr std::size_t kWidest = 80;  // a longer text does not push every other row apart
constexpr std::string_view kGap = "  ";
constexpr std::string_view kNull = "NULL";
constexpr std::string_view kBold = "\033[1m";
constexpr std::string_view kPlain = "\033[0m";

bool HoldsNothing(const Value& value) {
  const Text* text = value.If<Text>();
  return value.IsNull() || (text && Trim(*text).empty());
}

}  // namespace

TableWriter::TableWriter(std::ostream& out, const WriterOptions& options)
    : out_(out),
      colour_(options.colour),
      width_(options.width),
      all_columns_(options.all_columns) {}

void TableWriter::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  widths_.clear();
  for (const ResultColumn& column : columns) {
    const std::size_t width = DisplayWidth(EscapeControls(ToUtf8(column.name)));
    widths_.push_back(std::clamp<std::size_t>(width, 1, kWidest));
  }
  filled_.assign(columns_.size(), false);
  parts_.clear();
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
    if (!HoldsNothing(values[i])) filled_[i] = true;
    widths_[i] = std::max(widths_[i], std::min(kWidest, DisplayWidth(cells[i])));
  }
  if (!measuring_) return WriteRow(cells, parts_.front());
  held_.push_back(std::move(cells));
  if (held_.size() == kMeasuredRows) WriteHeld();
}

void TableWriter::EndRows(std::int64_t) {
  if (measuring_ && (!held_.empty() || parts_.empty())) WriteHeld();
  std::set<std::size_t> shown;
  for (const Part& part : parts_) shown.insert(part.begin(), part.end());
  const std::size_t left_out = columns_.size() - shown.size();
  if (left_out == 0) return;
  out_ << '(' << left_out << (left_out == 1 ? " column" : " columns")
       << " without any value left out)\n";
  CheckWritten(out_);
}

void TableWriter::Finish() {
  out_.flush();
  CheckWritten(out_);
}

TableWriter::Part TableWriter::Shown() const {
  Part all(columns_.size());
  std::iota(all.begin(), all.end(), std::size_t{0});
  if (width_ == 0 || all_columns_ || WidthOf(all) <= width_) return all;
  Part shown;
  std::copy_if(all.begin(), all.end(), std::back_inserter(shown),
               [&](std::size_t column) { return filled_[column]; });
  return shown.empty() ? all : shown;
}

// The first columns that tell the held rows apart, each of them some that those before it do not,
// as far as they leave room for others.
TableWriter::Part TableWriter::Keys(const Part& shown) const {
  Part keys;
  std::vector<Cells> found(held_.size());
  std::size_t distinct = 1;
  for (const std::size_t column : shown) {
    if (IsNumeric(columns_[column].kind)) continue;
    keys.push_back(column);
    std::vector<Cells> more = found;
    for (std::size_t row = 0; row < held_.size(); ++row) more[row].push_back(held_[row][column]);
    const std::size_t count = std::set<Cells>(more.begin(), more.end()).size();
    if (count > distinct && WidthOf(keys) <= width_ / 2) {
      distinct = count;
      found = std::move(more);
    } else {
      keys.pop_back();
    }
    if (distinct == held_.size()) break;
  }
  if (keys.empty() && WidthOf({shown.front()}) <= width_ / 2) keys.push_back(shown.front());
  return keys;
}

std::vector<TableWriter::Part> TableWriter::Parts() {
  const Part shown = Shown();
  if (width_ == 0 || WidthOf(shown) <= width_) return {shown};
  if (parts_.empty()) keys_ = Keys(shown);
  std::vector<Part> parts;
  Part part = keys_;
  for (const std::size_t column : shown) {
    if (std::find(keys_.begin(), keys_.end(), column) != keys_.end()) continue;
    part.push_back(column);
    if (WidthOf(part) <= width_ || part.size() == keys_.size() + 1) continue;
    part.pop_back();
    parts.push_back(std::move(part));
    part = keys_;
    part.push_back(column);
  }
  parts.push_back(std::move(part));
  return parts;
}

std::size_t TableWriter::WidthOf(const Part& part) const {
  std::size_t width = part.empty() ? 0 : kGap.size() * (part.size() - 1);
  for (const std::size_t column : part) width += widths_[column];
  return width;
}

void TableWriter::WriteHeld() {
  std::vector<Part> parts = Parts();
  const bool goes_on = parts.size() == 1 && parts == parts_;
  const bool begins = parts_.empty();
  parts_ = std::move(parts);
  for (const Part& part : parts_) {
    if (!goes_on && !(begins && &part == &parts_.front())) out_ << '\n';
    if (!goes_on) WriteHeader(part);
    for (const Cells& cells : held_) WriteRow(cells, part);
  }
  held_.clear();
  // With every column in sight there is nothing that a later row could change.
  measuring_ = parts_.size() > 1 || parts_.front().size() < columns_.size();
}

void TableWriter::WriteHeader(const Part& part) {
  Cells names(columns_.size());
  Cells rules(columns_.size());
  for (const std::size_t i : part) {
    names[i] = EscapeControls(ToUtf8(columns_[i].name));
    rules[i].assign(widths_[i], '-');
  }
  if (colour_) out_ << kBold;
  WriteRow(names, part);
  if (colour_) out_ << kPlain;
  WriteRow(rules, part);
}

void TableWriter::WriteRow(const Cells& cells, const Part& part) {
  std::string line;
  for (std::size_t i = 0; i < part.size(); ++i) {
    if (i > 0) line += kGap;
    AppendCell(line, cells[part[i]], part[i], i + 1 == part.size());
  }
  if (!part.empty() && cells[part.back()].empty()) line.erase(line.find_last_not_of(' ') + 1);
  out_ << line << '\n';
  CheckWritten(out_);
}

void TableWriter::AppendCell(std::string& line, const std::string& cell, std::size_t column,
                             bool last) const {
  const std::size_t width = DisplayWidth(cell);
  const std::string padding(widths_[column] - std::min(width, widths_[column]), ' ');
  if (IsNumeric(columns_[column].kind)) {
    line += padding + cell;
  } else {
    line += cell;
    if (!last) line += padding;
  }
}

}  // namespace ledgerwick
