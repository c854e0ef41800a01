#include "output/result_reader.h"

#include <algorithm>
#include <array>
#include <map>
#include <nlohmann/json.hpp>

#include "output/unique_names.h"

namespace ledgerwick {
namespace {

using Json = nlohmann::json;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

class Complaint {
 public:
  explicit Complaint(const std::string& file_name) : file_name_(file_name) {}

  [[noreturn]] void At(std::size_t line, const std::string& message) const {
    throw ResultFileError(file_name_ + ":" + std::to_string(line) + ": " + message);
  }
  [[noreturn]] void Several(std::size_t line) const {
    At(line, "a second result begins; files with one result can be compared");
  }

 private:
  const std::string& file_name_;
};

void NameColumns(ResultTable& table, const ResultTable::Row& header) {
  std::vector<ResultColumn> columns;
  for (const auto& name : header) columns.push_back({FromUtf8(name.value_or("")), {}, {}, 0});
  for (std::string& name : UniqueNames(columns)) table.columns.push_back({std::move(name), false});
}

// Takes the header first and then the rows.
void TakeRow(ResultTable& table, ResultTable::Row row, std::size_t line,
             const Complaint& complain) {
  if (table.columns.empty()) return NameColumns(table, row);
  if (row.size() != table.columns.size()) {
    complain.At(line, std::to_string(row.size()) + " values under " +
                          std::to_string(table.columns.size()) + " columns");
  }
  table.rows.push_back(std::move(row));
}

// The likely sign that stands most often between the names of the header.
char SeparatorOf(std::string_view csv) {
  const std::string_view signs = ",;\t|";
  std::array<std::size_t, 4> counts{};
  bool quoted = false;
  for (const char c : csv) {
    if (c == '"') quoted = !quoted;
    if (quoted) continue;
    if (c == '\n') break;
    if (const std::size_t sign = signs.find(c); sign != signs.npos) ++counts[sign];
  }
  const auto most = std::max_element(counts.begin(), counts.end());
  return signs[static_cast<std::size_t>(most - counts.begin())];
}

class CsvReader {
 public:
  CsvReader(std::string_view text, char separator, const Complaint& complain)
      : text_(text), separator_(separator), complain_(complain) {}

  ResultTable Read() {
    ResultTable table;
    while (at_ < text_.size()) {
      const std::size_t line = line_;
      ResultTable::Row row = ReadRow();
      // A row of one column may be a blank line: its null.
      const bool is_blank = row.size() == 1 && !row.front();
      if (is_blank && table.columns.size() != 1) complain_.Several(line);
      TakeRow(table, std::move(row), line, complain_);
    }
    return table;
  }

 private:
  bool Ends() const { return at_ == text_.size() || text_[at_] == '\r' || text_[at_] == '\n'; }

  ResultTable::Row ReadRow() {
    ResultTable::Row row;
    for (;;) {
      row.push_back(ReadField());
      if (at_ < text_.size() && text_[at_] == separator_) {
        ++at_;
        continue;
      }
      if (!Ends()) complain_.At(line_, "text behind a closing quote");
      if (at_ < text_.size() && text_[at_] == '\r') ++at_;
      if (at_ < text_.size() && text_[at_] == '\n') ++at_;
      ++line_;
      return row;
    }
  }

  // An empty field without quotes is null.
  std::optional<std::string> ReadField() {
    std::string field;
    if (at_ < text_.size() && text_[at_] == '"') {
      const std::size_t line = line_;
      for (++at_;; ++at_) {
        if (at_ == text_.size()) complain_.At(line, "a quote is not closed");
        if (text_[at_] == '"' && text_.substr(at_ + 1, 1) != "\"") break;
        if (text_[at_] == '"') ++at_;
        if (text_[at_] == '\n') ++line_;
        field += text_[at_];
      }
      ++at_;
      return field;
    }
    while (!Ends() && text_[at_] != separator_) field += text_[at_++];
    return field.empty() ? std::nullopt : std::optional(field);
  }

  std::string_view text_;
  char separator_;
  const Complaint& complain_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
};

std::optional<std::string> ReadTsvField(std::string_view field) {
  if (field == "\\N") return std::nullopt;
  std::string value;
  for (std::size_t i = 0; i < field.size(); ++i) {
    if (field[i] != '\\' || i + 1 == field.size()) {
      value += field[i];
      continue;
    }
    const char c = field[++i];
    value += c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
  }
  return value;
}

ResultTable ReadTsv(std::string_view text, const Complaint& complain) {
  ResultTable table;
  for (std::size_t line = 1; !text.empty(); ++line) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view rest = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (rest.empty() && table.columns.size() > 1) complain.Several(line);
    ResultTable::Row row;
    for (;;) {
      const std::size_t tab = rest.find('\t');
      row.push_back(ReadTsvField(rest.substr(0, tab)));
      if (tab == std::string_view::npos) break;
      rest.remove_prefix(tab + 1);
    }
    TakeRow(table, std::move(row), line, complain);
  }
  return table;
}

// Takes objects as rows, whether they stand in an array or by themselves. Numbers keep the digits
// that they are written with.
class JsonRows final : public nlohmann::json_sax<Json> {
 public:
  JsonRows(ResultTable& table, bool in_array, const Complaint& complain)
      : table_(table), in_array_(in_array), complain_(complain) {}

  void SetLine(std::size_t line) { line_ = line; }

  bool null() override { return Take(std::nullopt, false); }
  bool boolean(bool value) override { return Take(value ? "1" : "0", true); }
  bool number_integer(std::int64_t value) override { return Take(std::to_string(value), true); }
  bool number_unsigned(std::uint64_t value) override { return Take(std::to_string(value), true); }
  bool number_float(double, const std::string& digits) override { return Take(digits, true); }
  bool string(std::string& value) override { return Take(std::move(value), false); }
  bool binary(Json::binary_t&) override { return false; }
  bool start_object(std::size_t) override {
    if (in_row_ || (in_array_ && depth_ != 1)) Refuse();
    in_row_ = true;
    table_.rows.emplace_back(table_.columns.size());
    return true;
  }
  bool key(std::string& name) override {
    const auto [place, is_new] = places_.try_emplace(name, table_.columns.size());
    if (is_new) table_.columns.push_back({name, false});
    column_ = place->second;
    return true;
  }
  bool end_object() override {
    in_row_ = false;
    return true;
  }
  bool start_array(std::size_t) override {
    if (in_array_ && depth_ == 1 && !in_row_) complain_.Several(line_);
    if (!in_array_ || ++depth_ > 1) Refuse();
    return true;
  }
  bool end_array() override {
    --depth_;
    return true;
  }
  bool parse_error(std::size_t at, const std::string&,
                   const nlohmann::detail::exception&) override {
    complain_.At(line_, "no valid JSON at byte " + std::to_string(at));
  }

 private:
  [[noreturn]] void Refuse() const {
    complain_.At(line_, "a result is an array of objects with plain values, or one object a line");
  }
  bool Take(std::optional<std::string> value, bool is_number) {
    if (!in_row_) Refuse();
    ResultTable::Row& row = table_.rows.back();
    row.resize(table_.columns.size());
    row[column_] = std::move(value);
    if (is_number) table_.columns[column_].is_number = true;
    return true;
  }

  ResultTable& table_;
  bool in_array_;
  const Complaint& complain_;
  std::map<std::string, std::size_t> places_;
  std::size_t line_ = 1;
  std::size_t column_ = 0;
  int depth_ = 0;
  bool in_row_ = false;
};

ResultTable ReadJson(std::string_view text, bool one_document, const Complaint& complain) {
  ResultTable table;
  JsonRows rows(table, one_document, complain);
  if (one_document) {
    Json::sax_parse(text.begin(), text.end(), &rows);
  } else {
    for (std::size_t line = 1; !text.empty(); ++line) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      const std::string_view object = text.substr(0, end);
      rows.SetLine(line);
      if (object.find_first_not_of(" \t\r") != std::string_view::npos) {
        Json::sax_parse(object.begin(), object.end(), &rows);
      }
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  }
  for (ResultTable::Row& row : table.rows) row.resize(table.columns.size());
  return table;
}

}  // namespace

ResultTable ReadResult(std::string_view utf8, std::string_view format,
                       const std::string& file_name) {
  const Complaint complain(file_name);
  if (utf8.starts_with(kByteOrderMark)) utf8.remove_prefix(kByteOrderMark.size());
  if (const std::size_t bad = FindInvalidUtf8(utf8); bad != std::string_view::npos) {
    throw ResultFileError(file_name + ": invalid UTF-8 at byte " + std::to_string(bad));
  }
  if (format == "csv") return CsvReader(utf8, SeparatorOf(utf8), complain).Read();
  if (format == "tsv") return ReadTsv(utf8, complain);
  if (format == "json") return ReadJson(utf8, true, complain);
  if (format == "jsonl") return ReadJson(utf8, false, complain);
  throw ResultFileError(file_name + ": results are compared in csv, tsv, json and jsonl");
}

}  // namespace ledgerwick
