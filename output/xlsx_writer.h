// Workbooks.
#pragma once

#include <filesystem>
#include <map>
#include <memory>

#include "output/result_writer.h"

struct lxw_format;
struct lxw_workbook;
struct lxw_worksheet;

namespace ledgerwick {

// A workbook with a sheet for each result set: title and subtitle, a header that stays in sight and
// filters, then typed cells. Text, codes too, is text, a date a date, a number a number; an integer
// or a decimal of more than 15 digits, which a cell has no room for, is text, and so is a date
// before March 1900, which no sheet can count. Null and an empty text are an empty cell. Rows that
// a sheet has no room for go on in the next. Rows are kept in temporary files, not in memory.
//
// Row throws OutputError for a text of more than 32,767 characters, which no cell holds.
class XlsxWriter final : public ResultWriter {
 public:
  XlsxWriter(std::ostream& out, const WriterOptions& options);
  ~XlsxWriter() override;
  XlsxWriter(const XlsxWriter&) = delete;
  XlsxWriter& operator=(const XlsxWriter&) = delete;

  void Titles(const Text& title, const Text& sub_title) override;
  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  struct FreeWorkbook {
    void operator()(lxw_workbook* workbook) const noexcept;
  };

  void AddFormats();
  void BeginSheet();
  void EndSheet();
  std::string SheetName() const;
  void WriteCell(std::uint16_t column, const Value& value);
  void WriteText(std::uint16_t column, const Text& text);
  void WriteNumber(std::uint16_t column, double number, lxw_format* format);
  void WriteDecimal(std::uint16_t column, const Text& digits);
  void WriteDate(std::uint16_t column, Date date);
  lxw_format* NumberFormat(std::int32_t scale);
  void Measure(std::span<const Value> values);

  std::ostream& out_;
  std::filesystem::path file_;  // where the workbook is put together
  std::unique_ptr<lxw_workbook, FreeWorkbook> workbook_;
  lxw_format* title_format_ = nullptr;
  lxw_format* header_format_ = nullptr;
  lxw_format* text_format_ = nullptr;
  lxw_format* date_format_ = nullptr;
  lxw_format* time_format_ = nullptr;
  lxw_format* millisecond_format_ = nullptr;
  std::map<std::int32_t, lxw_format*> number_formats_;  // by scale
  Text title_;
  Text sub_title_;
  std::vector<ResultColumn> columns_;
  std::vector<std::size_t> widths_;  // of the columns, in characters
  lxw_worksheet* sheet_ = nullptr;
  int sheets_ = 0;
  std::uint32_t header_row_ = 0;
  std::uint32_t row_ = 0;   // the next one
  std::uint64_t size_ = 0;  // of all sheets in bytes, no less than it is
};

}  // namespace ledgerwick
