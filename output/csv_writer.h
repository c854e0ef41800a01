// Comma-separated values.
#pragma once

#include "output/result_writer.h"

namespace ledgerwick {

// RFC 4180 in UTF-8: a header, fields quoted where they must be, lines that end in CR LF. Null is
// an empty field and an empty text "", so that they stay apart. A blank line parts result sets. On
// a terminal the control characters of a field are escaped as in tables.
class CsvWriter final : public ResultWriter {
 public:
  CsvWriter(std::ostream& out, const WriterOptions& options);

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  void AppendField(const std::string& field);
  void AppendText(std::string field);  // a field that is no number
  void WriteLine();

  std::ostream& out_;
  WriterOptions options_;
  std::string specials_;  // what makes a field need quotes
  std::vector<ResultColumn> columns_;
  std::string line_;
  bool first_set_ = true;
};

// True when a spreadsheet would read `utf8` as a formula: it begins with = + - @, in their
// full-width forms too, or with a tab or a line break in front of them.
bool ReadsAsFormula(std::string_view utf8) noexcept;

}  // namespace ledgerwick
