// The figures of the two first reports, worked out by hand from the stock of small_stock.cpp:
//   warehouse 01: item A 5; item B 24 + 6 = 30      warehouse 02: item B 12; item C 3 + nothing + 7
//   = 10
// Item Z has stock and is not on file; items K and T have no stock.
#include <doctest/doctest.h>

#include <algorithm>

#include "tests/inventory/small_stock.h"

namespace ledgerwick {
namespace {

using namespace testing;

struct Warning {
  std::string warehouse, item, safety, stock, difference;

  friend auto operator<=>(const Warning&, const Warning&) = default;
};

const Warning kA = {"主库", "A", "5", "5", "0"};
const Warning kB1 = {"主库", "B", "20", "30", "10"};
const Warning kB2 = {"副库", "B", "20", "12", "-8"};
const Warning kC = {"副库", "C", "15.5", "10", "-5.5"};

std::vector<Warning> Sorted(std::vector<Warning> warnings) {
  std::sort(warnings.begin(), warnings.end());
  return warnings;
}

}  // namespace

TEST_CASE("figures of the safety-stock warning") {
  StockDatabase data;
  // T has no stock and drops out; A's stock is just its safety stock.
  data.Run(
      "UPDATE Inventory SET iSafeNum = NULL UPDATE Inventory SET iSafeNum = 5 WHERE cInvCode = 'A' "
      "UPDATE Inventory SET iSafeNum = 20 WHERE cInvCode = 'B' "
      "UPDATE Inventory SET iSafeNum = 15.5 WHERE cInvCode = 'C' "
      "UPDATE Inventory SET iSafeNum = 3 WHERE cInvCode = 'T'");
  struct Case {
    const char16_t* query_type;
    const char16_t* warehouse;
    std::vector<Warning> wanted;
  };
  const Case cases[] = {
      {u"", u"", {kA, kB1, kB2, kC}},         {u"全部", u"", {kA, kB1, kB2, kC}},
      {u"高于安全库存量存货", u"", {kB1}},    {u"不高于安全库存量存货", u"", {kA, kB2, kC}},
      {u"不高于安全库存量存货", u"01", {kA}}, {u"高于安全库存量存货", u"02 ", {}},
  };
  for (const Case& c : cases) {
    CAPTURE(ToUtf8(c.query_type));
    CAPTURE(ToUtf8(c.warehouse));
    std::vector<Warning> got;
    const std::vector<FilterItem> filters = {Filter(u"W.cWhCode", c.warehouse),
                                             Filter(u"def_queryType", c.query_type)};
    for (ResultRow& row : data.Report("clsRepAQKCYJ", filters)) {
      CHECK(row["JLDW"] == "只");
      got.push_back({row["cWhName"], row["cInvCode"], row["AQKCL"], row["DQKCL"], row["CL"]});
    }
    CHECK(Sorted(got) == Sorted(c.wanted));
  }
}

TEST_CASE("the inventory snapshot holds every item, as it stands when it runs") {
  StockDatabase data;
  REQUIRE(data.Report("clsInventroy", {}).size() == Items().size());
  data.Run("UPDATE Inventory SET cInvName = N'改名' WHERE cInvCode = 'A'");
  const std::vector<ResultRow> rows = data.Report("clsInventroy", {});
  CHECK(rows.size() == Items().size());
  CHECK(std::count_if(rows.begin(), rows.end(), [](const ResultRow& row) {
          return row.at("cInvName") == "改名" && row.at("cInvCode") == "A";
        }) == 1);
}

}  // namespace ledgerwick
