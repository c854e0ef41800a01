#include "output/result_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "output/csv_writer.h"
#include "output/html_writer.h"
#include "output/json_lines_writer.h"
#include "output/json_writer.h"
#include "output/line_writer.h"
#include "output/markdown_writer.h"
#include "output/table_writer.h"
#include "output/tsv_writer.h"
#include "output/value_text.h"
#include "output/xlsx_writer.h"

namespace ledgerwick {
namespace {

template <typename Writer>
std::unique_ptr<ResultWriter> Make(std::ostream& out, const WriterOptions& options) {
  return std::make_unique<Writer>(out, options);
}

// name, endings, description, binary, writer
constexpr OutputFormat kFormats[] = {
    {"table", "", "columns aligned for reading", false, &Make<TableWriter>},
    {"line", "", "one value a line", false, &Make<LineWriter>},
    {"csv", "csv", "comma-separated values with a header, NULL as an empty field", false,
     &Make<CsvWriter>},
    {"tsv", "tsv tab", "values parted by tabs, one row a line, NULL as \\N", false,
     &Make<TsvWriter>},
    {"json", "json", "an array of objects", false, &Make<JsonWriter>},
    {"jsonl", "jsonl ndjson", "one object a line", false, &Make<JsonLinesWriter>},
    {"markdown", "md markdown", "a table for documents in Markdown", false, &Make<MarkdownWriter>},
    {"html", "html htm", "a page to read and to print", false, &Make<HtmlWriter>},
    {"xlsx", "xlsx", "a workbook with typed cells", true, &Make<XlsxWriter>},
};

bool EqualEnding(std::string_view a, std::string_view b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return (x >= 'A' && x <= 'Z' ? x + ('a' - 'A') : x) == y;
  });
}

bool HasEnding(std::string_view endings, std::string_view wanted) noexcept {
  while (!endings.empty()) {
    const std::size_t blank = endings.find(' ');
    if (EqualEnding(wanted, endings.substr(0, blank))) return true;
    endings.remove_prefix(blank == std::string_view::npos ? endings.size() : blank + 1);
  }
  return false;
}

}  // namespace

void CheckWritten(const std::ostream& out) {
  if (out) return;
  const int reason = errno;
  std::string message = "cannot write the output";
  if (reason != 0) message.append(": ").append(std::strerror(reason));
  if (reason == EPIPE) throw ReaderGone(message);
  throw OutputError(message);
}

void ResultWriter::Titles(const Text&, const Text&) {}

std::span<const OutputFormat> OutputFormats() noexcept { return kFormats; }

const OutputFormat* FindOutputFormat(std::string_view name) noexcept {
  const auto* found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                   [&](const OutputFormat& f) { return f.name == name; });
  return found == std::end(kFormats) ? nullptr : found;
}

const OutputFormat* FormatOfFile(std::string_view file) noexcept {
  const std::size_t dot = file.find_last_of("./");
  if (dot == std::string_view::npos || file[dot] == '/') return nullptr;
  const auto* found = std::find_if(
      std::begin(kFormats), std::end(kFormats),
      [&](const OutputFormat& f) { return HasEnding(f.endings, file.substr(dot + 1)); });
  return found == std::end(kFormats) ? nullptr : found;
}

std::string CellText(const Value& value, const ResultColumn& column) {
  if (const auto* d = value.If<double>()) {
    const bool decimal = column.kind == ColumnKind::Decimal;
    return decimal ? FixedNumber(*d, column.scale) : ShortestNumber(*d);
  }
  if (const auto* date = value.If<Date>()) return DateText(*date);
  if (const auto* integer = value.If<std::int64_t>()) return std::to_string(*integer);
  return ToUtf8(value.ToText());
}

}  // namespace ledgerwick
