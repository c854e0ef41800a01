#include "output/result_reader.h"

#include <algorithm>
#include <array>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

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

void CheckUtf8(const StoredResult::Row& row, std::size_t line, const Complaint& complain) {
  for (const auto& cell : row) {
    if (cell && FindInvalidUtf8(*cell) != std::string::npos) complain.At(line, "invalid UTF-8");
  }
}

// Takes the header first and then the rows.
void TakeRow(StoredResult& result, const StoredResult::Row& row, std::size_t line,
             const Complaint& complain) {
  CheckUtf8(row, line, complain);
  if (result.columns().empty()) {
    std::vector<ResultColumn> columns;
    for (const auto& name : row) columns.push_back({FromUtf8(name.value_or("")), {}, {}, 0});
    for (const std::string& name : UniqueNames(columns)) result.AddColumn(name, false);
    return;
  }
  if (row.size() != result.columns().size()) {
    complain.At(line, std::to_string(row.size()) + " values under " +
                          std::to_string(result.columns().size()) + " columns");
  }
  result.AddRow(row);
}

// The likely sign that stands most often between the names of the header.
char SeparatorOf(std::string_view header) {
  const std::string_view signs = ",;\t|";
  std::array<std::size_t, 4> counts{};
  bool quoted = false;
  for (const char c : header) {
    if (c == '"') quoted = !quoted;
    if (quoted) continue;
    if (const std::size_t sign = signs.find(c); sign != signs.npos) ++counts[sign];
  }
  const auto most = std::max_element(counts.begin(), counts.end());
  return signs[static_cast<std::size_t>(most - counts.begin())];
}

// The characters of a stream, one by one.
class Source {
 public:
  explicit Source(std::istream& in) : buffer_(*in.rdbuf()) {}

  bool AtEnd() { return buffer_.sgetc() == Traits::eof(); }
  bool Is(char c) { return buffer_.sgetc() == Traits::to_int_type(c); }
  char Take() { return Traits::to_char_type(buffer_.sbumpc()); }

 private:
  using Traits = std::char_traits<char>;
  std::streambuf& buffer_;
};

class CsvReader {
 public:
  CsvReader(std::istream& in, const Complaint& complain) : in_(in), complain_(complain) {}

  void Read(StoredResult& result) {
    if (in_.AtEnd()) return;
    ReadHeader(result);
    while (!in_.AtEnd()) {
      const std::size_t line = line_;
      ReadRow();
      // A row of one column may be a blank line: its null.
      const bool is_blank = row_.size() == 1 && !row_.front();
      if (is_blank && result.columns().size() != 1) complain_.Several(line);
      TakeRow(result, row_, line, complain_);
    }
  }

 private:
  // What parts the values has to be known before the header can be read.
  void ReadHeader(StoredResult& result) {
    std::string header;
    for (bool quoted = false; !in_.AtEnd();) {
      header += in_.Take();
      if (header.back() == '"') quoted = !quoted;
      if (header.back() == '\n' && !quoted) break;
    }
    separator_ = SeparatorOf(header);
    std::istringstream stream(header);
    CsvReader reader(stream, complain_);
    reader.separator_ = separator_;
    reader.ReadRow();
    TakeRow(result, reader.row_, 1, complain_);
    line_ = reader.line_;
  }

  bool Ends() { return in_.AtEnd() || in_.Is('\r') || in_.Is('\n'); }

  void ReadRow() {
    row_.clear();
    for (;;) {
      row_.push_back(ReadField());
      if (in_.Is(separator_)) {
        in_.Take();
        continue;
      }
      if (!Ends()) complain_.At(line_, "text behind a closing quote");
      if (in_.Is('\r')) in_.Take();
      if (in_.Is('\n')) in_.Take();
      ++line_;
      return;
    }
  }

  // An empty field without quotes is null.
  std::optional<std::string> ReadField() {
    std::string field;
    if (in_.Is('"')) {
      const std::size_t line = line_;
      for (in_.Take();;) {
        if (in_.AtEnd()) complain_.At(line, "a quote is not closed");
        const char c = in_.Take();
        if (c == '"' && !in_.Is('"')) return field;
        if (c == '"') in_.Take();
        if (c == '\n') ++line_;
        field += c;
      }
    }
    while (!Ends() && !in_.Is(separator_)) field += in_.Take();
    return field.empty() ? std::nullopt : std::optional(field);
  }

  Source in_;
  char separator_ = ',';
  const Complaint& complain_;
  StoredResult::Row row_;
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

void ReadTsv(std::istream& in, const Complaint& complain, StoredResult& result) {
  StoredResult::Row row;
  std::string text;
  for (std::size_t line = 1; std::getline(in, text); ++line) {
    std::string_view rest = text;
    if (rest.empty() && result.columns().size() > 1) complain.Several(line);
    row.clear();
    for (;;) {
      const std::size_t tab = rest.find('\t');
      row.push_back(ReadTsvField(rest.substr(0, tab)));
      if (tab == std::string_view::npos) break;
      rest.remove_prefix(tab + 1);
    }
    TakeRow(result, row, line, complain);
  }
}

// Takes objects as rows, whether they stand in an array or by themselves. Numbers keep the digits
// that they are written with.
class JsonRows final : public nlohmann::json_sax<Json> {
 public:
  JsonRows(StoredResult& result, bool in_array, const Complaint& complain)
      : result_(result), in_array_(in_array), complain_(complain) {}

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
    row_.assign(result_.columns().size(), std::nullopt);
    return true;
  }
  bool key(std::string& name) override {
    const auto [place, is_new] = places_.try_emplace(name, result_.columns().size());
    if (is_new) result_.AddColumn(name, false);
    column_ = place->second;
    return true;
  }
  bool end_object() override {
    in_row_ = false;
    result_.AddRow(row_);
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
    row_.resize(result_.columns().size());
    row_[column_] = std::move(value);
    if (is_number) result_.SetNumber(column_);
    return true;
  }

  StoredResult& result_;
  StoredResult::Row row_;
  bool in_array_;
  const Complaint& complain_;
  std::map<std::string, std::size_t> places_;
  std::size_t line_ = 1;
  std::size_t column_ = 0;
  int depth_ = 0;
  bool in_row_ = false;
};

void ReadJson(std::istream& in, bool one_document, const Complaint& complain,
              StoredResult& result) {
  JsonRows rows(result, one_document, complain);
  if (one_document) {
    Json::sax_parse(in, &rows);
    return;
  }
  std::string object;
  for (std::size_t line = 1; std::getline(in, object); ++line) {
    rows.SetLine(line);
    if (object.find_first_not_of(" \t\r") == std::string::npos) continue;
    Json::sax_parse(object.begin(), object.end(), &rows);
  }
}

void SkipByteOrderMark(std::istream& in) {
  for (const char c : kByteOrderMark) {
    if (in.peek() != std::char_traits<char>::to_int_type(c)) break;
    in.get();
  }
  in.clear();  // of an end that was met
}

}  // namespace

void ReadResult(std::istream& in, std::string_view format, const std::string& file_name,
                StoredResult& result) {
  const Complaint complain(file_name);
  SkipByteOrderMark(in);
  if (format == "csv") return CsvReader(in, complain).Read(result);
  if (format == "tsv") return ReadTsv(in, complain, result);
  if (format == "json") return ReadJson(in, true, complain, result);
  if (format == "jsonl") return ReadJson(in, false, complain, result);
  throw ResultFileError(file_name + ": results are compared in csv, tsv, json and jsonl");
}

}  // namespace ledgerwick
