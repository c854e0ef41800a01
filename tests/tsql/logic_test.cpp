// Runs the *.test files beside this source: T-SQL with what it must give.
//
// A file is a row of records, parted by blank lines, on a fresh database. "#" begins a comment
// line.
//
//   statement ok                 the batch that follows runs
//   statement count N            … and its last statement affects N rows
//   statement error N [TEXT]     … fails with the server's error N; its text and place
//                                ("Invalid column name 'x'. [2:8]") contain TEXT
//   query [TYPES] [rowsort] [names]
//   SELECT …                     the batch, up to the line
//   ----
//   1|a                          the rows, columns parted by "|"
//   each [PREFIX]                a batch in each line; PREFIX begins every one of them
//   BATCH => RESULT              "ok", "count N", "error N [TEXT]" as above (and no row before it),
//                                or the rows, parted by " / ", "nothing" for none; before them may
//                                stand the columns' types or names and types ("II: 1|2 / 3|4",
//                                "n int: 5")
//   connection NAME              what follows runs on another connection to the same file;
//                                "main" is the first
//
// TYPES has a letter for each column: B boolean, I integer, F float, N decimal or money, D
// datetime, T text. With "rowsort" the order of the rows does not count. With "names" the first row
// holds each column's name, a blank and its type. A further result set begins with a line "====".
// Of an "each" line without ORDER BY the order of one set's rows does not count. Lines that begin
// with "#" are comments there too.
//
// What PRINT and errors after the first say stands among the rows as "> text"; the batch's error,
// with its place, is the last row: "error 8134 Divide by zero … [3:0]", for a procedure "[name
// 3:0]", for a dynamic text "[text 3:0]".
//
// Values: NULL; (empty) for the empty text; text that begins or ends with a blank stands between
// single quotes; decimals have their scale's digits; dates are yyyy-mm-dd hh:mm:ss[.fff].
#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "frame/error.h"
#include "tests/temporary_folder.h"
#include "tsql/database.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;

using Lines = std::vector<std::string>;

std::string Join(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

char TypeLetter(ColumnKind kind) {
  switch (kind) {
    case ColumnKind::Boolean:
      return 'B';
    case ColumnKind::Integer:
      return 'I';
    case ColumnKind::Float:
      return 'F';
    case ColumnKind::Decimal:
      return 'N';
    case ColumnKind::DateTime:
      return 'D';
    case ColumnKind::String:
      return 'T';
  }
  return '?';
}

std::string ShowText(const std::string& text) {
  if (text.empty()) return "(empty)";
  return text.front() == ' ' || text.back() == ' ' ? "'" + text + "'" : text;
}

std::string ShowDate(Date date) {
  const CalendarTime t = ToCalendar(date);
  std::array<char, 64> buffer;
  const int length = std::snprintf(buffer.data(), buffer.size(), "%04d-%02d-%02d %02d:%02d:%02d",
                                   t.year, t.month, t.day, t.hour, t.minute, t.second);
  std::string text(buffer.data(), static_cast<std::size_t>(length));
  if (t.millisecond != 0) text += "." + std::to_string(1000 + t.millisecond).substr(1);
  return text;
}

std::string ShowNumber(double number) {
  std::array<char, 400> buffer;
  return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr};
}

std::string Show(const Value& value) {
  if (value.IsNull()) return "NULL";
  if (const auto* number = value.If<std::int64_t>()) return std::to_string(*number);
  if (const auto* number = value.If<double>()) return ShowNumber(*number);
  if (const auto* date = value.If<Date>()) return ShowDate(*date);
  if (const auto* text = value.If<Text>()) return ShowText(ToUtf8(*text));
  return "(no value of a column)";
}

// What a batch gave.
class Results : public ResultSink {
 public:
  void Columns(std::span<const ResultColumn> columns) override {
    if (!types.empty()) rows.emplace_back("====");
    columns_.assign(columns.begin(), columns.end());
    types.clear();
    names.clear();
    for (const ResultColumn& column : columns) {
      types += TypeLetter(column.kind);
      names += (names.empty() ? "" : "|") + ToUtf8(column.name) + " " + ToUtf8(column.type);
    }
  }
  void Row(std::span<const Value> values) override {
    std::string row;
    for (std::size_t i = 0; i < values.size(); ++i) {
      row += (i == 0 ? "" : "|") + Show(values[i]);
    }
    rows.push_back(row);
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t count) override { affected = count; }
  void Message(const Text& text) override { rows.push_back("> " + ToUtf8(text)); }

  std::string types;
  std::string names;
  Lines rows;
  std::int64_t affected = -1;

 private:
  std::vector<ResultColumn> columns_;
};

// A record as it stands in a file.
struct Record {
  std::size_t line = 0;
  std::string head;
  Lines sql;
  Lines rows;
};

std::vector<Record> ReadRecords(const fs::path& path) {
  std::vector<Record> records;
  std::ifstream in(path);
  REQUIRE_MESSAGE(in, path.string());
  std::string text;
  bool inside = false;
  bool in_rows = false;
  for (std::size_t line = 1; std::getline(in, text); ++line) {
    if (text.empty()) {
      inside = false;
    } else if (!inside) {
      if (text.starts_with('#')) continue;
      records.push_back({line, text, {}, {}});
      inside = true;
      in_rows = false;
    } else if (text == "----" && !in_rows) {
      in_rows = true;
    } else {
      (in_rows ? records.back().rows : records.back().sql).push_back(text);
    }
  }
  return records;
}

// One file's run.
class Script {
 public:
  Script(const fs::path& path, Planning planning) : path_(path) {
    options_.planning = planning;
    DatabaseOptions create = options_;
    create.create = true;
    connections_[current_] = Database::Open(folder_ / "test.db", create);
  }
  // Runs every record and reports each that fails. Returns how many there were.
  std::size_t Run() {
    const std::vector<Record> records = ReadRecords(path_);
    for (const Record& record : records) {
      const std::string difference = RunRecord(record);
      if (difference.empty()) continue;
      const bool is_each = record.head.starts_with("each");  // it names its lines itself
      FAIL_CHECK(path_.string() << ":" << record.line << ": " << record.head << "\n"
                                << (is_each ? "" : Join(record.sql)) << difference);
    }
    return records.size();
  }

 private:
  // What is wrong with the record; empty when nothing is.
  std::string RunRecord(const Record& record) {
    std::istringstream head(record.head);
    std::string kind;
    head >> kind;
    if (kind == "connection") return Connect(head);
    if (kind == "each") return RunLines(record);
    Results results;
    const std::string error = RunBatch(Join(record.sql), results);
    if (kind == "statement") return CheckStatement(head, results, error);
    if (kind != "query") return "unknown record: " + kind;
    if (!error.empty()) results.rows.push_back("error " + error);
    return CheckQuery(head, results, record.rows);
  }

  std::string Connect(std::istream& head) {
    head >> current_;
    std::unique_ptr<Database>& connection = connections_[current_];
    if (!connection) connection = Database::Open(folder_ / "test.db", options_);
    return {};
  }

  // What is wrong with the lines of an "each" record, those that are right left out.
  std::string RunLines(const Record& record) {
    const std::string prefix = record.head == "each" ? "" : record.head.substr(5) + " ";
    std::string differences;
    for (std::size_t i = 0; i < record.sql.size(); ++i) {
      const std::string& line = record.sql[i];
      if (line.starts_with('#')) continue;
      const std::size_t arrow = line.rfind(" => ");
      if (arrow == std::string::npos) {
        differences += "no result: " + line + "\n";
        continue;
      }
      const std::string batch = prefix + line.substr(0, arrow);
      Results results;
      const std::string error = RunBatch(batch, results);
      const std::string expected = line.substr(arrow + 4);
      const bool sorted = batch.find("ORDER BY") == std::string::npos;
      const std::string difference = CheckLine(expected, sorted, results, error);
      if (difference.empty()) continue;
      differences += "line " + std::to_string(record.line + 1 + i) + ": " + batch + "\nexpected " +
                     expected + "\n" + difference + "\n";
    }
    return differences;
  }

  static std::string CheckLine(const std::string& expected, bool sorted, const Results& results,
                               const std::string& error) {
    for (const char* outcome : {"ok", "count ", "error "}) {
      if (!expected.starts_with(outcome)) continue;
      std::istringstream words(expected);
      const std::string difference = CheckStatement(words, results, error);
      const bool alone = error.empty() || results.rows.empty();
      return alone ? difference : "seen before the error:\n" + Join(results.rows) + difference;
    }
    std::string rows = expected;
    for (const std::string& head : {results.types, results.names}) {
      if (expected.starts_with(head + ": ")) rows = expected.substr(head.size() + 2);
    }
    Lines wanted = SplitRows(rows);
    Lines seen = results.rows;
    if (!error.empty()) seen.push_back("error " + error);
    const bool one_set = std::none_of(seen.begin(), seen.end(), [](const std::string& row) {
      return row == "====" || row.starts_with("> ");
    });
    if (sorted && one_set) {
      std::sort(wanted.begin(), wanted.end());
      std::sort(seen.begin(), seen.end());
    }
    if (wanted == seen) return {};
    return "seen types: " + results.types + ", " + results.names + "\nseen rows:\n" + Join(seen);
  }

  // "1|a / 2|b" as rows.
  static Lines SplitRows(const std::string& text) {
    if (text == "nothing") return {};
    Lines rows;
    std::size_t from = 0;
    for (std::size_t at = 0; (at = text.find(" / ", from)) != std::string::npos; from = at + 3) {
      rows.push_back(text.substr(from, at - from));
    }
    rows.push_back(text.substr(from));
    return rows;
  }

  // The error of the batch: "number text [line:column]", or nothing.
  std::string RunBatch(const std::string& batch, Results& results) {
    try {
      connections_[current_]->Run(FromUtf8(batch), results);
    } catch (const DatabaseError& error) {
      std::string text = std::to_string(error.native) + " " + error.what();
      if (error.line > 0) {
        const std::string place = error.in_text ? "text" : ToUtf8(error.procedure);
        text += " [" + place + (place.empty() ? "" : " ") + std::to_string(error.line) + ":" +
                std::to_string(error.column) + "]";
      }
      return text;
    }
    return {};
  }

  static std::string CheckStatement(std::istream& head, const Results& results,
                                    const std::string& error) {
    std::string outcome;
    std::int64_t number = 0;
    head >> outcome >> number;
    if (outcome == "error") {
      std::string fragment;
      std::getline(head >> std::ws, fragment);
      const bool expected = error.starts_with(std::to_string(number) + " ") &&
                            error.find(fragment) != std::string::npos;
      return expected ? "" : "seen: " + (error.empty() ? "no error" : error);
    }
    if (!error.empty()) return "seen error:\n" + error;
    if (outcome == "ok") return {};
    if (outcome != "count") return "unknown outcome: " + outcome;
    return results.affected == number ? ""
                                      : "seen rows affected: " + std::to_string(results.affected);
  }

  static std::string CheckQuery(std::istream& head, const Results& results, Lines expected) {
    Lines seen = results.rows;
    const Lines words{std::istream_iterator<std::string>(head), {}};
    const bool names = std::find(words.begin(), words.end(), "names") != words.end();
    for (const std::string& word : words) {
      if (word == "names") continue;
      if (word == "rowsort") {
        std::sort(seen.begin(), seen.end());
        std::sort(expected.begin() + (names && !expected.empty()), expected.end());
      } else if (word != results.types) {
        return "seen types: " + results.types + "\nseen rows:\n" + Join(seen);
      }
    }
    if (names) seen.insert(seen.begin(), results.names);
    if (seen == expected) return {};
    return "expected rows:\n" + Join(expected) + "seen rows:\n" + Join(seen);
  }

  fs::path path_;
  testing::TemporaryFolder folder_;
  DatabaseOptions options_;
  std::string current_ = "main";
  std::map<std::string, std::unique_ptr<Database>> connections_;
};

TEST_CASE("T-SQL gives what the files say, however queries are planned") {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(fs::path(LEDGERWICK_TESTS) / "tsql")) {
    if (entry.path().extension() == ".test") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  REQUIRE_FALSE(files.empty());
  for (const fs::path& file : files) {
    for (const Planning planning : {Planning::Plain, Planning::Usual, Planning::Eager}) {
      CAPTURE(static_cast<int>(planning));
      CHECK(Script(file, planning).Run() > 0);
    }
  }
}

}  // namespace
}  // namespace ledgerwick::tsql
