#include "output/markdown_writer.h"

#include "output/display_text.h"

namespace ledgerwick {
namespace {

// What a backslash takes the meaning of in every dialect; the others are written by their codes.
constexpr std::string_view kMarkup = "\\`*_[]|";

void AppendEscaped(std::string& line, std::string_view utf8) {
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const char c = utf8[i];
    if (c == '\r' || c == '\n') {
      if (c == '\r' && utf8.substr(i + 1, 1) == "\n") ++i;
      line += "<br>";
    } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      AppendEscaped(line, EscapeControls(utf8.substr(i, 1)));
    } else if (c == '<') {
      line += "&lt;";
    } else if (c == '>') {
      line += "&gt;";
    } else if (c == '&') {
      line += "&amp;";
    } else if (c == '~') {
      line += "&#126;";
    } else {
      if (kMarkup.find(c) != std::string_view::npos) line += '\\';
      line += c;
    }
  }
}

}  // namespace

MarkdownWriter::MarkdownWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), terminal_(options.terminal) {}

void MarkdownWriter::Titles(const Text& title, const Text& sub_title) {
  titles_.clear();
  for (const auto& [mark, text] : {std::pair("## ", &title), std::pair("", &sub_title)}) {
    if (text->empty()) continue;
    AppendEscaped(titles_.emplace_back(mark), ToUtf8(*text));
  }
}

void MarkdownWriter::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  if (!first_set_) out_ << '\n';
  first_set_ = false;
  for (const std::string& title : titles_) {
    WriteLine(title);
    out_ << '\n';
  }
  line_.clear();
  std::string rule;
  for (const ResultColumn& column : columns_) {
    line_ += "| ";
    AppendEscaped(line_, ToUtf8(column.name));
    line_ += ' ';
    rule += IsNumeric(column.kind) ? "| ---: " : "| --- ";
  }
  WriteLine(line_ + '|');
  WriteLine(rule + '|');
}

void MarkdownWriter::Row(std::span<const Value> values) {
  line_.clear();
  for (std::size_t i = 0; i < values.size(); ++i) {
    line_ += "| ";
    if (!values[i].IsNull()) AppendEscaped(line_, CellText(values[i], columns_[i]));
    line_ += ' ';
  }
  line_ += '|';
  WriteLine(line_);
}

void MarkdownWriter::WriteLine(const std::string& line) {
  out_ << (terminal_ ? EscapeControls(line) : line) << '\n';
  CheckWritten(out_);
}

void MarkdownWriter::EndRows(std::int64_t) {}

void MarkdownWriter::Finish() {
  out_.flush();
  CheckWritten(out_);
}

}  // namespace ledgerwick
