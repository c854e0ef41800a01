// The formats of results.
#include "output/result_writer.h"

#include <doctest/doctest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "output/display_text.h"
#include "output/value_text.h"

namespace ledgerwick {
namespace {

using Rows = std::vector<std::vector<Value>>;

std::string Write(const char* format, const std::vector<ResultColumn>& columns, const Rows& rows,
                  int sets = 1, WriterOptions options = {}) {
  std::ostringstream out;
  const auto writer = FindOutputFormat(format)->make(out, options);
  for (int i = 0; i < sets; ++i) {
    writer->Columns(columns);
    for (const auto& row : rows) writer->Row(row);
    writer->EndRows(static_cast<std::int64_t>(rows.size()));
  }
  writer->Finish();
  return out.str();
}

Date At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int ms = 0) {
  return *FromCalendar({year, month, day, hour, minute, second, ms});
}

ResultColumn Column(const char16_t* name, ColumnKind kind, std::int32_t scale = 0) {
  return {name, kind, {}, scale};
}

const std::vector<ResultColumn> kColumns = {
    Column(u"名称", ColumnKind::String),   Column(u"n", ColumnKind::Integer),
    Column(u"价", ColumnKind::Decimal, 2), Column(u"", ColumnKind::Float),
    Column(u"n", ColumnKind::Boolean),     Column(u"d", ColumnKind::DateTime)};

const Rows kRows = {
    {u"铁钉 \"A\", 大", 12, 1.5, 0.1, 1, At(2002, 3, 1)},
    {u"a\tb\x1b[31m\n", -7, -0.001, 1e5, 0, At(2002, 3, 1, 9, 5, 0)},
    {u"", Null{}, 1234.0, 1.0 / 3, Null{}, At(1899, 12, 30, 0, 0, 1, 7)},
    {Null{}, std::numeric_limits<std::int64_t>::min(), Null{}, -0.0, 1, Null{}},
};

}  // namespace

TEST_CASE("tables align by display width, escape controls and put numbers to the right") {
  CHECK(Write("table", kColumns, kRows) ==
        "名称                               n       价                         n  d\n"
        "--------------  --------------------  -------  ------------------  ----  "
        "-----------------------\n"
        "铁钉 \"A\", 大                      12     1.50                 0.1     1  2002-03-01\n"
        "a\\tb\\x1B[31m\\n                    -7     0.00              100000     0  "
        "2002-03-01 09:05:00\n"
        "                                NULL  1234.00  0.3333333333333333  NULL  "
        "1899-12-30 00:00:01.007\n"
        "NULL            -9223372036854775808     NULL                   0     1  NULL\n");
}

TEST_CASE("a table keeps streaming behind the rows that it measures, and cuts nothing off") {
  Rows rows(299, {u"ab", 1});
  rows.push_back({u"abc", 2});
  rows.push_back({u"much wider than the rest", 3});
  const std::string text = Write(
      "table", {Column(u"x", ColumnKind::String), Column(u"y", ColumnKind::Integer)}, rows, 2);
  CHECK(text.starts_with("x    y\n---  -\nab   1\n"));
  CHECK(text.find("abc  2\nmuch wider than the rest  3\n\nx    y\n") != std::string::npos);
}

TEST_CASE("a table's header is bold where colours show") {
  const std::string text =
      Write("table", {Column(u"x", ColumnKind::String)}, {}, 1, {.colour = true});
  CHECK(text == "\033[1mx\n\033[0m-\n");
}

TEST_CASE("csv quotes what must be quoted and tells null from an empty text") {
  CHECK(Write("csv", kColumns, kRows) ==
        "名称,n,价,\"\",n,d\r\n"
        "\"铁钉 \"\"A\"\", 大\",12,1.50,0.1,1,2002-03-01\r\n"
        "\"a\tb\x1b[31m\n\",-7,0.00,100000,0,2002-03-01 09:05:00\r\n"
        "\"\",,1234.00,0.3333333333333333,,1899-12-30 00:00:01.007\r\n"
        ",-9223372036854775808,,0,1,\r\n");
  CHECK(Write("csv", {Column(u"x", ColumnKind::String)}, {{u"1"}}, 2) ==
        "x\r\n1\r\n\r\nx\r\n1\r\n");
}

TEST_CASE("no format sends control characters to a terminal, and a file gets them as they are") {
  const std::vector<ResultColumn> columns = {Column(u"k\x1b", ColumnKind::String)};
  const Rows rows = {{u"a\x1b[31m\n\x7f\u009b\u202e\"b"}};
  const std::pair<const char*, const char*> cases[] = {
      {"csv", "k\\x1B\r\n\"a\\x1B[31m\\n\\x7F\\x9B\\u202E\"\"b\"\r\n"},
      {"json", "[\n  {\"k\\u001b\": \"a\\u001b[31m\\n\\u007F\\u009B\\u202E\\\"b\"}\n]\n"},
  };
  for (const auto& [format, shown] : cases) {
    CAPTURE(format);
    CHECK(Write(format, columns, rows, 1, {.terminal = true}) == shown);
    CHECK(Write(format, columns, rows).find("\xC2\x9B") != std::string::npos);
  }
}

TEST_CASE("json keeps every column, exact numbers and null") {
  CHECK(
      Write("json", kColumns, kRows) ==
      "[\n"
      R"(  {"名称": "铁钉 \"A\", 大", "n": 12, "价": 1.5, "column4": 0.1, "n_2": true, "d": "2002-03-01"},)"
      "\n"
      R"(  {"名称": "a\tb\u001b[31m\n", "n": -7, "价": -0.001, "column4": 100000, "n_2": false, "d": "2002-03-01 09:05:00"},)"
      "\n"
      R"(  {"名称": "", "n": null, "价": 1234, "column4": 0.3333333333333333, "n_2": null, "d": "1899-12-30 00:00:01.007"},)"
      "\n"
      R"(  {"名称": null, "n": -9223372036854775808, "价": null, "column4": 0, "n_2": true, "d": null})"
      "\n]\n");
  CHECK(Write("json", kColumns, {}) == "[]\n");
}

TEST_CASE("json keys stay unique whatever the columns are called") {
  const std::pair<std::vector<const char16_t*>, std::vector<std::string>> cases[] = {
      {{u"a", u"a", u"a_2", u"a"}, {"a", "a_3", "a_2", "a_4"}},
      {{u"", u"column1", u""}, {"column1_2", "column1", "column3"}},
      {{u"a", u"A"}, {"a", "A"}},
  };
  for (const auto& [names, keys] : cases) {
    std::vector<ResultColumn> columns;
    for (const char16_t* name : names) columns.push_back(Column(name, ColumnKind::Integer));
    const auto json = nlohmann::ordered_json::parse(
        Write("json", columns, {std::vector<Value>(names.size(), Value(1))}));
    std::vector<std::string> got;
    for (const auto& [key, value] : json[0].items()) got.push_back(key);
    CHECK(got == keys);
  }
}

TEST_CASE("numbers read back exactly and have an exponent only far from 1") {
  const std::pair<double, const char*> cases[] = {
      {100000, "100000"},
      {0.1, "0.1"},
      {123456789.125, "123456789.125"},
      {1e-6, "0.000001"},
      {1e-7, "1e-07"},
      {1e20, "100000000000000000000"},
      {1e21, "1e+21"},
      {-2.5, "-2.5"},
      {5e-324, "5e-324"},
      {std::numeric_limits<double>::infinity(), "Infinity"}};
  for (const auto& [number, text] : cases) CHECK(ShortestNumber(number) == text);
  CHECK(FixedNumber(-0.004, 2) == "0.00");
  CHECK(FixedNumber(-0.006, 2) == "-0.01");
}

TEST_CASE("display width and escapes") {
  const std::pair<const char*, std::size_t> cases[] = {
      {"abc", 3}, {"存货", 4}, {"e\u0301", 1}, {"ｱ", 1}, {"Ａ", 2}, {"😀", 2}, {"\xFF", 1}};
  for (const auto& [text, width] : cases) CHECK_MESSAGE(DisplayWidth(text) == width, text);
  CHECK(EscapeControls("存\u202E\u0085\u2028\r\x7F\xFF") == "存\\u202E\\x85\\u2028\\r\\x7F\xFF");
}

TEST_CASE("a write that fails is an error") {
  for (const OutputFormat& format : OutputFormats()) {
    CAPTURE(format.name);
    std::ostringstream out;
    const auto writer = format.make(out, {});
    writer->Columns(kColumns);
    out.setstate(std::ios::badbit);
    CHECK_THROWS_AS((writer->Row(kRows[0]), writer->EndRows(1)), OutputError);
    CHECK_THROWS_AS(writer->Finish(), OutputError);
  }
}

}  // namespace ledgerwick
