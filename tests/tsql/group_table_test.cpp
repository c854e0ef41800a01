#include "tsql/storage/group_table.h"

#include <doctest/doctest.h>

#include <map>

namespace ledgerwick::tsql {
namespace {

TEST_CASE("groups are the same whether they stay in memory or go to files") {
  for (const std::size_t most_bytes : {std::size_t{1} << 30, std::size_t{2000}}) {
    CAPTURE(most_bytes);
    GroupTable table(3, 1, most_bytes);
    std::map<std::int64_t, double> expected;
    for (std::int64_t i = 0; i < 5000; ++i) {
      const std::int64_t key = i * 7919 % 301;
      const std::string name = "Item " + std::to_string(key);
      const std::string spelling = i % 3 == 0 ? "ITEM " + std::to_string(key) + "  " : name;
      const StoredValue number = i % 2 == 0 ? StoredValue(key) : static_cast<double>(key);
      table.Add(std::vector<StoredValue>{number, spelling, std::monostate(),
                                         0.5 * static_cast<double>(key)});
      expected[key] += 0.5 * static_cast<double>(key);
    }
    for (int pass = 0; pass < 2; ++pass) {  // a table may be read again
      std::map<std::int64_t, double> seen;
      for (table.Rewind(); !table.AtEnd(); table.Next()) {
        const StoredValue key = table.Key(0);
        const auto* real = std::get_if<double>(&key);
        const std::int64_t number =
            real != nullptr ? static_cast<std::int64_t>(*real) : std::get<std::int64_t>(key);
        CHECK(seen.emplace(number, table.TotalOf(0).real).second);
        CHECK(std::get<std::string_view>(table.Key(1)).ends_with(std::to_string(number)) !=
              std::get<std::string_view>(table.Key(1)).ends_with("  "));
        CHECK(std::holds_alternative<std::monostate>(table.Key(2)));
      }
      CHECK(seen == expected);
    }
  }
}

TEST_CASE("a total is whole until a fraction joins it, and NULL does not count") {
  Total total;
  total.Add(StoredValue(std::int64_t{7}));
  total.Add(std::monostate());
  CHECK(total.whole == 7);
  CHECK(total.count == 1);
  CHECK_FALSE(total.has_fraction);
  Total other;
  other.Add(StoredValue(0.25));
  other.Add(StoredValue(INT64_MAX));
  total.Add(other);
  CHECK(total.has_fraction);
  CHECK(total.whole == Int128{INT64_MAX} + 7);
  CHECK(total.count == 3);
  const Int128 limit = Int128{1} << 126;
  total.Add(StoredValue(limit));
  CHECK_FALSE(total.overflow);
  total.Add(StoredValue(limit));
  CHECK(total.overflow);
}

}  // namespace
}  // namespace ledgerwick::tsql
