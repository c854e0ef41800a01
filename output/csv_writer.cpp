#include "output/csv_writer.h"

#include <algorithm>
#include <iterator>

#include "output/display_text.h"

namespace ledgerwick {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kFormulaStarts[] = {"=",  "+",  "-",  "@",  "\t", "\r",
                                               "\n", "＝", "＋", "－", "＠"};

}  // namespace

bool ReadsAsFormula(std::string_view utf8) noexcept {
  return std::any_of(std::begin(kFormulaStarts), std::end(kFormulaStarts),
                     [&](std::string_view start) { return utf8.starts_with(start); });
}

CsvWriter::CsvWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), options_(options), specials_("\"\r\n") {
  specials_ += options.separator;
}

void CsvWriter::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  line_.clear();
  if (!first_set_) {
    line_ = kLineEnd;
  } else if (options_.byte_order_mark) {
    line_ = kByteOrderMark;
  }
  first_set_ = false;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (i > 0) line_ += options_.separator;
    AppendText(ToUtf8(columns_[i].name));
  }
  WriteLine();
}

void CsvWriter::Row(std::span<const Value> values) {
  line_.clear();
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) line_ += options_.separator;
    if (values[i].IsNull()) continue;
    if (columns_[i].kind == ColumnKind::String) {
      AppendText(CellText(values[i], columns_[i]));
    } else {
      AppendField(CellText(values[i], columns_[i]));
    }
  }
  WriteLine();
}

void CsvWriter::AppendText(std::string field) {
  if (options_.guard_formulas && ReadsAsFormula(field)) field.insert(0, 1, '\'');
  AppendField(options_.terminal ? EscapeControls(field) : field);
}

void CsvWriter::AppendField(const std::string& field) {
  if (!field.empty() && field.find_first_of(specials_) == std::string::npos) {
    line_ += field;
    return;
  }
  line_ += '"';
  for (const char c : field) {
    if (c == '"') line_ += '"';
    line_ += c;
  }
  line_ += '"';
}

void CsvWriter::WriteLine() {
  line_ += kLineEnd;
  out_ << line_;
  CheckWritten(out_);
}

void CsvWriter::EndRows(std::int64_t) {}

void CsvWriter::Finish() {
  out_.flush();
  CheckWritten(out_);
}

}  // namespace ledgerwick
