// What each sales report makes of its filters, against the files in golden/.
#include <doctest/doctest.h>

#include "tests/golden.h"
#include "tests/support/case_traces.h"

namespace ledgerwick {

TEST_CASE("sales reports do what their golden traces say") {
  const std::filesystem::path folder = std::filesystem::path(LEDGERWICK_TESTS) / "sales/golden";
  CHECK(testing::CompareGoldens(folder, ".cases.json", ".cases.txt", testing::TracesOfCases) == 9);
}

}  // namespace ledgerwick
