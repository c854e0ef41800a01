// What must hold between the reports whatever the data: generated books of several seeds.
#include <doctest/doctest.h>

#include <array>
#include <cmath>
#include <functional>
#include <set>
#include <string>

#include "tests/support/test_database.h"

namespace ledgerwick {
namespace {

using namespace testing;

using Key = std::pair<std::string, std::string>;  // warehouse and item
using Totals = std::map<Key, double>;

double NumberOf(const ResultRow& row, const std::string& column) {
  const auto found = row.find(column);
  return found == row.end() ? 0 : std::stod(found->second);
}

bool Near(double a, double b) { return std::abs(a - b) < 1e-6; }

// The column's sum by warehouse and item; nothing where it comes to zero.
Totals TotalsOf(const std::vector<ResultRow>& rows, const std::string& column,
                const std::string& warehouse = "仓库编码", const std::string& item = "存货编码") {
  Totals totals;
  for (const ResultRow& row : rows) {
    totals[{row.at(warehouse), row.at(item)}] += NumberOf(row, column);
  }
  std::erase_if(totals, [](const auto& total) { return Near(total.second, 0); });
  return totals;
}

Totals Only(Totals totals, const std::function<bool(const Key&)>& kept) {
  std::erase_if(totals, [&](const auto& total) { return !kept(total.first); });
  return totals;
}

// The first difference, or nothing.
std::string Difference(const Totals& one, const Totals& other) {
  std::set<Key> keys;
  for (const auto& [key, value] : one) keys.insert(key);
  for (const auto& [key, value] : other) keys.insert(key);
  for (const Key& key : keys) {
    const double a = one.contains(key) ? one.at(key) : 0;
    const double b = other.contains(key) ? other.at(key) : 0;
    if (!Near(a, b)) {
      return key.first + " " + key.second + ": " + NumberText(a) + " and " + NumberText(b);
    }
  }
  return {};
}

// opening + received - issued = closing in every row.
void CheckBalances(const std::vector<ResultRow>& rows, const std::array<std::string, 4>& columns) {
  for (const ResultRow& row : rows) {
    CHECK(Near(NumberOf(row, columns[0]) + NumberOf(row, columns[1]) - NumberOf(row, columns[2]),
               NumberOf(row, columns[3])));
  }
}

// Half of the two years, with the opening stock before it.
const FilterItem kPeriod = Filter(u"dDate", u"2002-01-01", u"2002-12-31");

void CheckSummary(const std::vector<ResultRow>& rows) {
  CheckBalances(rows, {"iQCJCSL", "总计_入库数量", "总计_出库数量", "期末结存数量"});
  CheckBalances(rows, {"iQCJCJS", "总计_入库件数", "总计_出库件数", "期末结存件数"});
  for (const ResultRow& row : rows) {
    double receipts = 0;
    double issues = 0;
    for (const auto& [column, value] : row) {
      if (column.ends_with("_入库数量") && column != "总计_入库数量") receipts += std::stod(value);
      if (column.ends_with("_出库数量") && column != "总计_出库数量") issues += std::stod(value);
    }
    CHECK(Near(receipts, NumberOf(row, "总计_入库数量")));
    CHECK(Near(issues, NumberOf(row, "总计_出库数量")));
  }
}

void CheckReports(TestDatabase& data) {
  const auto summary = data.Report("clsRepSFC", {kPeriod});
  const auto stock = data.Report("clsRepXCL", {});
  const auto locations = data.Report("clsRepHwhz", {});
  const auto batches = data.Report("clsRepPcch", {kPeriod});
  const auto journal = data.Report("clsRepLsz", {Filter(u"R.dDate", u"2002-01-01", u"2002-12-31")});
  CheckSummary(summary);
  CheckBalances(locations, {"期初结存数量", "本期入库数量", "本期出库数量", "期末结存数量"});
  CheckBalances(locations, {"期初结存件数", "本期入库件数", "本期出库件数", "期末结存件数"});
  CheckBalances(batches, {"期初结存数量", "收入数量", "发出数量", "期末结存数量"});
  CheckBalances(batches, {"期初结存件数", "收入件数", "发出件数", "期末结存件数"});

  const Totals closing = TotalsOf(summary, "期末结存数量");
  REQUIRE(closing.size() > 20);
  CHECK(Difference(closing, TotalsOf(stock, "iQuantity", "cWhCode", "cInvCode")) == "");

  std::set<std::string> with_locations;
  for (const ResultRow& row : locations) with_locations.insert(row.at("仓库编码"));
  const auto in_location = [&](const Key& key) { return with_locations.contains(key.first); };
  CHECK(Difference(Only(closing, in_location), TotalsOf(locations, "期末结存数量")) == "");

  std::set<std::string> batched;
  for (const ResultRow& row : batches) batched.insert(row.at("存货编码"));
  const auto has_batches = [&](const Key& key) { return batched.contains(key.second); };
  for (const auto& [of_summary, of_batches] :
       {std::pair("总计_入库数量", "收入数量"), std::pair("总计_出库数量", "发出数量")}) {
    CHECK(Difference(Only(TotalsOf(summary, of_summary), has_batches),
                     TotalsOf(batches, of_batches)) == "");
  }
  std::map<std::string, double> journal_sums;
  std::map<std::string, double> summary_sums;
  for (const ResultRow& row : journal) {
    journal_sums[row.at("CHBM")] += NumberOf(row, "RKSL") - NumberOf(row, "CKSL");
  }
  for (const ResultRow& row : summary) {
    summary_sums[row.at("存货编码")] +=
        NumberOf(row, "总计_入库数量") - NumberOf(row, "总计_出库数量");
  }
  for (const auto& [item, sum] : summary_sums) CHECK(Near(sum, journal_sums[item]));
}

// A kit's parts take its movements over; everything else stays as it was.
void CheckKits(TestDatabase& data) {
  const auto plain = data.Report("clsRepSFC", {kPeriod});
  const auto expanded = data.Report("clsRepSFC", {kPeriod, Filter(u"ExtAcc", u"是")});
  CheckSummary(expanded);
  std::set<std::string> involved;
  for (const ResultRow& row : data.Rows("SELECT cAccPCode, cAccCode FROM Accessaries")) {
    involved.insert(row.at("cAccPCode"));
    involved.insert(row.at("cAccCode"));
  }
  const auto untouched = [&](const Key& key) { return !involved.contains(key.second); };
  for (const char* column : {"iQCJCSL", "总计_入库数量", "总计_出库数量", "期末结存件数"}) {
    CAPTURE(column);
    const Totals all = TotalsOf(expanded, column);
    CHECK(Difference(Only(TotalsOf(plain, column), untouched), Only(all, untouched)) == "");
    CHECK(Difference(TotalsOf(plain, column), all) != "");
  }
}

}  // namespace

TEST_CASE("the reports agree with one another on generated books") {
  for (const unsigned seed : {1U, 2U, 3U}) {
    CAPTURE(seed);
    TestDatabase data(3000, seed);
    CheckReports(data);
    CheckKits(data);
  }
}

}  // namespace ledgerwick
