#include "output/xlsx_writer.h"

#include <unistd.h>
#include <xlsxwriter.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "output/display_text.h"
#include "output/value_text.h"

namespace ledgerwick {
namespace {

constexpr std::uint32_t kMostRows = LXW_ROW_MAX;
constexpr std::size_t kMostColumns = LXW_COL_MAX;
constexpr std::size_t kMostCharacters = 32767;
constexpr std::size_t kMostDigits = 15;
constexpr std::int64_t kMostInteger = 1'000'000'000'000'000;
// Sheets count a 29th of February 1900 that never was; from the day after on they count as we do.
constexpr double kFirstSafeDate = 61;
constexpr std::size_t kMeasuredRows = 1000;
constexpr std::size_t kWidest = 60;
constexpr std::size_t kSheetName = 24;  // of 31 characters; the rest is for a number
constexpr std::uint8_t kPaperA4 = 9;
// What a cell takes at most, its text aside, and what an archive holds without an extension.
constexpr std::uint64_t kCellSize = 64;
constexpr std::uint64_t kMostPlainSize = 4'000'000'000;

void Check(lxw_error error) {
  if (error == LXW_NO_ERROR) return;
  std::string message = std::string("cannot write the workbook: ") + lxw_strerror(error);
  if (errno != 0) message.append(" (").append(std::strerror(errno)).append(")");
  throw OutputError(message);
}

std::filesystem::path NewFile() {
  std::string name =
      (std::filesystem::temp_directory_path() / "ledgerwick-workbook-XXXXXX").string();
  const int descriptor = mkstemp(name.data());
  if (descriptor < 0) {
    throw OutputError("cannot write " + name + ": " + std::strerror(errno));
  }
  close(descriptor);
  return name;
}

// XML has no place for these two, whatever way they are written.
std::string XmlText(const Text& text) {
  Text allowed = text;
  std::replace_if(
      allowed.begin(), allowed.end(), [](char16_t c) { return c >= 0xFFFE; }, u'\xFFFD');
  return ToUtf8(allowed);
}

// The digits that count: without zeros before the first and behind the last.
std::size_t CountDigits(std::string_view number) {
  std::string digits;
  for (const char c : number) {
    if (c >= '0' && c <= '9') digits += c;
  }
  const std::size_t first = digits.find_first_not_of('0');
  if (first == std::string::npos) return 0;
  // Zeros at the end count before the point, where a cell would have to keep their place.
  const std::size_t last =
      number.find('.') == std::string_view::npos ? digits.size() : digits.find_last_not_of('0') + 1;
  return last - first;
}

std::uint16_t Narrow(std::size_t column) { return static_cast<std::uint16_t>(column); }

}  // namespace

void XlsxWriter::FreeWorkbook::operator()(lxw_workbook* workbook) const noexcept {
  // The library leaves the rows of a workbook that comes to nothing open.
  for (lxw_worksheet* sheet = workbook->worksheets->stqh_first; sheet != nullptr;
       sheet = sheet->list_pointers.stqe_next) {
    if (sheet->optimize_tmpfile != nullptr) std::fclose(sheet->optimize_tmpfile);
  }
  lxw_workbook_free(workbook);
}

XlsxWriter::XlsxWriter(std::ostream& out, const WriterOptions&) : out_(out), file_(NewFile()) {
  std::string folder = file_.parent_path().string();
  lxw_workbook_options options{};
  options.constant_memory = LXW_TRUE;
  options.tmpdir = folder.data();
  workbook_.reset(workbook_new_opt(file_.c_str(), &options));
  if (!workbook_) throw OutputError("cannot write the workbook: no memory");
  AddFormats();
}

XlsxWriter::~XlsxWriter() {
  std::error_code ignored;
  std::filesystem::remove(file_, ignored);
}

void XlsxWriter::AddFormats() {
  lxw_workbook* book = workbook_.get();
  title_format_ = workbook_add_format(book);
  format_set_bold(title_format_);
  format_set_font_size(title_format_, 14);
  header_format_ = workbook_add_format(book);
  format_set_bold(header_format_);
  format_set_bg_color(header_format_, 0xE7E6E6);
  format_set_bottom(header_format_, LXW_BORDER_THIN);
  for (const auto& [format, number] :
       {std::pair(&text_format_, "@"), std::pair(&date_format_, "yyyy-mm-dd"),
        std::pair(&time_format_, "yyyy-mm-dd hh:mm:ss"),
        std::pair(&millisecond_format_, "yyyy-mm-dd hh:mm:ss.000")}) {
    *format = workbook_add_format(book);
    format_set_num_format(*format, number);
  }
}

lxw_format* XlsxWriter::NumberFormat(std::int32_t scale) {
  lxw_format*& format = number_formats_[scale];
  if (format == nullptr) {
    const std::string fraction =
        scale > 0 ? "." + std::string(static_cast<std::size_t>(scale), '0') : std::string();
    format = workbook_add_format(workbook_.get());
    format_set_num_format(format, ("0" + fraction).c_str());
  }
  return format;
}

void XlsxWriter::Titles(const Text& title, const Text& sub_title) {
  title_ = title;
  sub_title_ = sub_title;
  std::string text = XmlText(title_);
  lxw_doc_properties properties{};
  properties.title = text.data();
  Check(workbook_set_properties(workbook_.get(), &properties));
}

void XlsxWriter::Columns(std::span<const ResultColumn> columns) {
  if (columns.size() > kMostColumns) {
    throw OutputError("a sheet has 16,384 columns, the result " + std::to_string(columns.size()) +
                      "; choose another format, or some columns");
  }
  columns_.assign(columns.begin(), columns.end());
  widths_.clear();
  for (const ResultColumn& column : columns_) {
    widths_.push_back(DisplayWidth(ToUtf8(column.name)) + 3);  // the filter's button
  }
  BeginSheet();
}

// The title, the result's number where there are several, without what names of sheets cannot have.
std::string XlsxWriter::SheetName() const {
  Text name = title_;
  std::replace_if(
      name.begin(), name.end(),
      [](char16_t c) { return c < u' ' || TextView(u"[]:*?/\\'").find(c) != TextView::npos; },
      u' ');
  name.resize(std::min(name.size(), kSheetName));
  if (!name.empty() && name.back() >= 0xD800 && name.back() < 0xDC00) name.pop_back();
  name = Trim(name);
  if (name.empty() || EqualText(name, u"History")) name = u"Result";
  return XmlText(name) + (sheets_ > 1 ? " (" + std::to_string(sheets_) + ")" : "");
}

void XlsxWriter::BeginSheet() {
  errno = 0;
  ++sheets_;
  sheet_ = workbook_add_worksheet(workbook_.get(), SheetName().c_str());
  if (sheet_ == nullptr) throw OutputError("cannot write the workbook: it takes no further sheet");
  row_ = 0;
  if (!title_.empty()) {
    Check(worksheet_write_string(sheet_, row_++, 0, XmlText(title_).c_str(), title_format_));
  }
  if (!sub_title_.empty()) {
    Check(worksheet_write_string(sheet_, row_++, 0, XmlText(sub_title_).c_str(), nullptr));
  }
  header_row_ = row_++;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    Check(worksheet_write_string(sheet_, header_row_, Narrow(i), XmlText(columns_[i].name).c_str(),
                                 header_format_));
  }
  worksheet_freeze_panes(sheet_, header_row_ + 1, 0);
  worksheet_set_landscape(sheet_);
  worksheet_set_paper(sheet_, kPaperA4);
  worksheet_fit_to_pages(sheet_, 1, 0);
  Check(worksheet_repeat_rows(sheet_, header_row_, header_row_));
}

void XlsxWriter::EndSheet() {
  if (columns_.empty()) return;
  Check(worksheet_autofilter(sheet_, header_row_, 0, row_ - 1, Narrow(columns_.size() - 1)));
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const double width = static_cast<double>(std::min(kWidest, widths_[i]));
    Check(worksheet_set_column(sheet_, Narrow(i), Narrow(i), width, nullptr));
  }
}

void XlsxWriter::Row(std::span<const Value> values) {
  errno = 0;
  if (row_ == kMostRows) {
    EndSheet();
    BeginSheet();
  }
  if (row_ - header_row_ <= kMeasuredRows) Measure(values);
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i].IsNull()) continue;
    size_ += kCellSize;
    WriteCell(Narrow(i), values[i]);
  }
  ++row_;
}

void XlsxWriter::Measure(std::span<const Value> values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i].IsNull()) continue;
    widths_[i] = std::max(widths_[i], DisplayWidth(CellText(values[i], columns_[i])) + 1);
  }
}

void XlsxWriter::WriteCell(std::uint16_t column, const Value& value) {
  const ResultColumn& info = columns_[column];
  if (const auto* integer = value.If<std::int64_t>()) {
    if (info.kind == ColumnKind::Boolean) {
      return Check(worksheet_write_boolean(sheet_, row_, column, *integer != 0, nullptr));
    }
    if (*integer <= -kMostInteger || *integer >= kMostInteger) {
      return WriteText(column, value.ToText());
    }
    return WriteNumber(column, static_cast<double>(*integer), NumberFormat(0));
  }
  if (const auto* number = value.If<double>(); number && std::isfinite(*number)) {
    return WriteNumber(column, *number,
                       info.kind == ColumnKind::Decimal ? NumberFormat(info.scale) : nullptr);
  }
  if (const auto* date = value.If<Date>()) return WriteDate(column, *date);
  const Text* text = value.If<Text>();
  if (text && info.kind == ColumnKind::Decimal) return WriteDecimal(column, *text);
  WriteText(column, text ? *text : FromUtf8(CellText(value, info)));
}

void XlsxWriter::WriteNumber(std::uint16_t column, double number, lxw_format* format) {
  Check(worksheet_write_number(sheet_, row_, column, number, format));
}

void XlsxWriter::WriteDecimal(std::uint16_t column, const Text& digits) {
  const std::string text = ToUtf8(digits);
  double number = 0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
  if (end.ec != std::errc() || CountDigits(text) > kMostDigits) return WriteText(column, digits);
  WriteNumber(column, number, NumberFormat(columns_[column].scale));
}

void XlsxWriter::WriteDate(std::uint16_t column, Date date) {
  if (date.serial < kFirstSafeDate) return WriteText(column, FromUtf8(DateText(date)));
  const CalendarTime t = ToCalendar(date);
  const bool has_time = t.hour != 0 || t.minute != 0 || t.second != 0;
  lxw_format* format = t.millisecond != 0 ? millisecond_format_
                       : has_time         ? time_format_
                                          : date_format_;
  WriteNumber(column, date.serial, format);
}

void XlsxWriter::WriteText(std::uint16_t column, const Text& text) {
  if (text.size() > kMostCharacters) {
    throw OutputError("row " + std::to_string(row_ - header_row_) + ", column " +
                      ToUtf8(columns_[column].name) + ": a cell of a workbook holds 32,767 " +
                      "characters, the text has " + std::to_string(text.size()) +
                      "; choose another format");
  }
  if (text.empty()) return;
  const std::string utf8 = XmlText(text);
  size_ += utf8.size();
  Check(worksheet_write_string(sheet_, row_, column, utf8.c_str(), text_format_));
}

void XlsxWriter::EndRows(std::int64_t) {
  CheckWritten(out_);
  EndSheet();
}

void XlsxWriter::Finish() {
  CheckWritten(out_);
  errno = 0;
  if (!workbook_) return;
  // Not otherwise: some programs take it for damage.
  if (size_ > kMostPlainSize) workbook_->options.use_zip64 = LXW_TRUE;
  Check(workbook_close(workbook_.release()));
  const std::ifstream file(file_, std::ios::binary);
  out_ << file.rdbuf();
  if (!file) throw OutputError("cannot read " + file_.string() + ": " + std::strerror(errno));
  out_.flush();
  CheckWritten(out_);
}

}  // namespace ledgerwick
