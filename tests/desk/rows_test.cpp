// What a run's rows are asked, and who has a session.
#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include "desk/decimal_sum.h"
#include "desk/row_store.h"
#include "desk/session.h"
#include "output/stored_result.h"
#include "tests/temporary_folder.h"

using namespace ledgerwick;
using namespace ledgerwick::desk;

TEST_CASE("sums of decimals keep every digit") {
  struct {
    std::vector<std::string> terms;
    const char* sum;
  } const cases[] = {
      {{}, "0"},
      {{"0.1", "0.2"}, "0.3"},
      {{"1", "-0.05", "100.50"}, "101.45"},
      {{"-0.5", "0.5"}, "0.0"},
      {{"99999999999999999999999999999999999999", "1"}, "100000000000000000000000000000000000000"},
      {{"170141183460469231731687303715884105727", "170141183460469231731687303715884105727"},
       "340282366920938463463374607431768211454"},
      {{"12345678901234567890123456789012345678", "0.00000000000000000000000000000000000001"},
       "12345678901234567890123456789012345678.00000000000000000000000000000000000001"},
      {{"-0.00000000000000000000000000000000000001", "9000000000000000000", "no number"},
       "8999999999999999999.99999999999999999999999999999999999999"},
  };
  for (const auto& [terms, sum] : cases) {
    DecimalSum forwards;
    DecimalSum backwards;
    for (const std::string& term : terms) forwards.Add(term);
    for (auto term = terms.rbegin(); term != terms.rend(); ++term) backwards.Add(*term);
    CHECK(forwards.Text() == sum);
    CHECK(backwards.Text() == sum);
  }
  FloatSum floats;
  for (const double number : {0.1, 0.2, 1e16, -1e16}) floats.Add(number);
  CHECK(floats.Text() == "0.3");
}

namespace {

constexpr const char* kLarge = "123456789012345678901234567890.12";

// Three rows of every kind.
struct Rows {
  Rows() {
    RowStoreWriter writer(folder / "rows", 3, {});
    writer.Columns(std::vector<ResultColumn>{{u"n", ColumnKind::Integer, {}, 0},
                                             {u"d", ColumnKind::Decimal, {}, 2},
                                             {u"f", ColumnKind::Float, {}, 0},
                                             {u"t", ColumnKind::DateTime, {}, 0},
                                             {u"b", ColumnKind::Boolean, {}, 0},
                                             {u"s", ColumnKind::String, {}, 0},
                                             {u"s", ColumnKind::String, {}, 0},
                                             {u"", ColumnKind::String, {}, 0}});
    const Date noon = *FromCalendar({2002, 3, 1, 12, 0, 0, 250});
    const std::vector<std::vector<Value>> rows = {
        {std::int64_t{2}, FromUtf8(kLarge), 0.1, noon, std::int64_t{1}, u"木", Text(u"a\0b", 3),
         u""},
        {std::int64_t{10}, u"-9.50", 1e300, Date{noon.serial - 1}, std::int64_t{0}, u"A", Null{},
         Null{}},
        {Null{}, u"10.00", Null{}, Null{}, Null{}, u"a", u"_%'\"", u""}};
    for (const auto& row : rows) writer.Row(row);
    CHECK_THROWS_AS(writer.Row(rows[0]), TooManyRows);
    std::vector<StoredColumn> columns = writer.Finish();
    CHECK(columns[1].digits == 2);
    CHECK(columns[2].digits == 1);
    CHECK(columns[7].empty);
    CHECK_FALSE(columns[6].empty);
    store = std::make_unique<RowStore>(folder / "rows", std::move(columns), 3);
    CHECK(std::filesystem::is_empty(folder.path()));
  }

  // The numbers of the rows that are kept, in their order.
  std::string Numbers(const std::string& where, const std::string& order) {
    const auto rows =
        nlohmann::json::parse(store->Rows({ParseWhere(where), ParseOrder(order)}, 0, 10).rows);
    std::string numbers;
    for (const auto& row : rows)
      numbers += row[0].is_null() ? "- " : row[0].get<std::string>() + ' ';
    return numbers;
  }

  ledgerwick::testing::TemporaryFolder folder;
  std::unique_ptr<RowStore> store;
};

}  // namespace

TEST_CASE("rows come back as they were, ordered and chosen by what they mean") {
  Rows rows;
  CHECK(rows.store->Rows({}, 0, 1).rows ==
        "[[\"2\",\"123456789012345678901234567890.12\",\"0.1\",\"2002-03-01 12:00:00.250\","
        "\"true\",\"木\",\"a\\u0000b\",\"\"]]");
  struct {
    const char* where;
    const char* order;
    const char* numbers;
  } const cases[] = {
      {"", "n", "- 2 10 "},
      {"", "-n", "10 2 - "},
      {"", "d", "10 - 2 "},
      {"", "-d", "2 - 10 "},
      {"", "t", "- 10 2 "},
      {"", "s,n", "- 10 2 "},
      {"", R"(["-s","n"])", "2 - 10 "},
      {R"([{"column":"n","op":"=","value":null}])", "", "- "},
      {R"([{"column":"d","op":">=","value":"-9.5"},{"column":"d","op":"<=","value":10}])", "",
       "10 - "},
      {R"([{"column":"d","op":"=","value":"10"}])", "", "- "},
      {R"([{"column":"f","op":"<=","value":"0.1"}])", "", "2 "},
      {R"([{"column":"b","op":"=","value":"true"}])", "", "2 "},
      {R"([{"column":"t","op":">=","value":"2002-03-01"}])", "", "2 "},
      {R"([{"column":"t","op":"contains","value":"02-28"}])", "", "10 "},
      {R"([{"column":"s","op":"=","value":"a"}])", "", "- "},
      {R"([{"column":"s","op":"contains","value":"a"}])", "", "10 - "},
      {R"([{"column":"s_2","op":"contains","value":"%'"}])", "", "- "},
      {R"([{"column":"s_2","op":"filled"}])", "-n", "2 - "},
      {R"([{"column":"column8","op":"filled"}])", "", ""},
  };
  for (const auto& [where, order, numbers] : cases) {
    CAPTURE(where);
    CAPTURE(order);
    CHECK(rows.Numbers(where, order) == numbers);
    CHECK(rows.Numbers(where, order) == numbers);  // as it was worked out
  }
  std::string totals;
  for (const auto& [name, sum] : rows.store->Totals({})) totals.append(name + '=' + sum + ' ');
  CHECK(totals == "n=12 d=123456789012345678901234567890.62 f=1e+300 ");
  CHECK(
      rows.store->Groups("s", false, {"d"}, {}, 1) ==
      std::pair<std::string, std::int64_t>("[[\"木\",\"123456789012345678901234567890.12\"]]", 2));
  StoredResult result;
  ResultCollector collector(result);
  rows.store->Read({{}, {{"d", true}}}, collector);
  const auto cursor = result.Read({1, 3});
  REQUIRE(cursor->Next());
  CHECK(cursor->row() == StoredResult::Row{kLarge, "2002-03-01 12:00:00.250"});
  for (const char* where : {"[{}]", R"([{"column":"x","op":"="}])", R"([{"column":"n","op":"<"}])",
                            R"([{"column":"n","op":"=","value":"1 OR 1"}])", "{"}) {
    CHECK_THROWS_AS(rows.Numbers(where, ""), QueryError);
  }
}

TEST_CASE("sessions end when nobody uses them, and there are never too many") {
  Sessions sessions(2, std::chrono::hours(1));
  const std::string first = sessions.Open();
  const std::string second = sessions.Open();
  sessions.Find(first)->Touch();
  const std::string third = sessions.Open();
  CHECK(sessions.Find(second) == nullptr);
  sessions.EndIdle();
  CHECK(sessions.Find(first) != nullptr);
  CHECK(sessions.Find(third) != nullptr);
  CHECK(sessions.Find("") == nullptr);
  Sessions brief(2, std::chrono::seconds(-1));
  const std::string cookie = brief.Open();
  brief.EndIdle();
  CHECK(brief.Find(cookie) == nullptr);
}
