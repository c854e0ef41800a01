#include "output/html_writer.h"

#include "output/display_text.h"

namespace ledgerwick {
namespace {

// Narrow rows, since reports have many columns; on paper the sheet lies across and nothing is
// coloured.
constexpr std::string_view kStyle =
    R"(body { font: 14px/1.4 system-ui, "Noto Sans CJK SC", "Microsoft YaHei", sans-serif; margin: 1.5em; color: #1a1a1a; background: #fff; }
h1 { font-size: 1.4em; margin: 0; }
h1 + p { margin: .2em 0 1em; color: #444; }
table { border-collapse: collapse; margin: 1em 0; }
th, td { border: 1px solid #c4c4c4; padding: .2em .6em; text-align: left; vertical-align: top; white-space: pre-wrap; }
th { background: #f0f0f0; position: sticky; top: 0; }
tr:nth-child(even) td { background: #f8f8f8; }
.n { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
@media print {
  @page { size: A4 landscape; margin: 12mm; }
  body { font-size: 8pt; margin: 0; }
  thead { display: table-header-group; }
  tr { break-inside: avoid; }
  th { position: static; }
  tr:nth-child(even) td { background: none; }
})";

void AppendEscaped(std::string& line, std::string_view utf8) {
  for (const char c : utf8) {
    switch (c) {
      case '&':
        line += "&amp;";
        break;
      case '<':
        line += "&lt;";
        break;
      case '>':
        line += "&gt;";
        break;
      case '"':
        line += "&quot;";
        break;
      case '\n':
        line += "&#10;";
        break;
      case '\t':
        line += "&#9;";
        break;
      case '\r':  // of CR LF; no page shows one by itself
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
          line += EscapeControls({&c, 1});
        } else {
          line += c;
        }
    }
  }
}

std::string Escaped(const Text& text) {
  std::string escaped;
  AppendEscaped(escaped, ToUtf8(text));
  return escaped;
}

}  // namespace

HtmlWriter::HtmlWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), terminal_(options.terminal) {}

void HtmlWriter::Titles(const Text& title, const Text& sub_title) {
  title_ = Escaped(title);
  sub_title_ = Escaped(sub_title);
}

void HtmlWriter::Begin() {
  if (begun_) return;
  begun_ = true;
  WriteLine("<!DOCTYPE html>");
  WriteLine("<html lang=\"zh-CN\">");
  WriteLine("<head>");
  WriteLine("<meta charset=\"utf-8\">");
  WriteLine("<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">");
  WriteLine("<title>" + (title_.empty() ? "Ledgerwick" : title_) + "</title>");
  out_ << "<style>\n" << kStyle << "\n</style>\n";
  WriteLine("</head>");
  WriteLine("<body>");
}

void HtmlWriter::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  Begin();
  if (!title_.empty()) WriteLine("<h1>" + title_ + "</h1>");
  if (!sub_title_.empty()) WriteLine("<p>" + sub_title_ + "</p>");
  line_ = "<table><thead><tr>";
  for (const ResultColumn& column : columns_) {
    line_ += IsNumeric(column.kind) ? "<th scope=\"col\" class=\"n\">" : "<th scope=\"col\">";
    AppendEscaped(line_, ToUtf8(column.name));
    line_ += "</th>";
  }
  WriteLine(line_ + "</tr></thead><tbody>");
}

void HtmlWriter::Row(std::span<const Value> values) {
  line_ = "<tr>";
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i].IsNull()) {
      line_ += "<td class=\"null\"></td>";
      continue;
    }
    line_ += IsNumeric(columns_[i].kind) ? "<td class=\"n\">" : "<td>";
    AppendEscaped(line_, CellText(values[i], columns_[i]));
    line_ += "</td>";
  }
  line_ += "</tr>";
  WriteLine(line_);
}

void HtmlWriter::EndRows(std::int64_t) { WriteLine("</tbody></table>"); }

void HtmlWriter::Finish() {
  Begin();
  WriteLine("</body>");
  WriteLine("</html>");
  out_.flush();
  CheckWritten(out_);
}

void HtmlWriter::WriteLine(const std::string& line) {
  out_ << (terminal_ ? EscapeControls(line) : line) << '\n';
  CheckWritten(out_);
}

}  // namespace ledgerwick
