#include "tsql/script.h"

#include <doctest/doctest.h>

namespace ledgerwick::tsql {
namespace {

TEST_CASE("a line of GO parts batches, and nothing else does") {
  const struct {
    std::string_view script;
    std::vector<std::string_view> batches;
  } kCases[] = {
      {"", {}},
      {"SELECT 1", {"SELECT 1"}},
      {"SELECT 1\nGO\nSELECT 2\nGO\n", {"SELECT 1\n", "SELECT 2\n"}},
      {"SELECT 1\r\n  go \r\nSELECT 2", {"SELECT 1\r\n", "SELECT 2"}},
      {"GO\nGO\n\n \nGO", {}},
      {"SELECT 1\nGOTO x\nSELECT 2 -- GO", {"SELECT 1\nGOTO x\nSELECT 2 -- GO"}},
      {"SELECT 1\nGO", {"SELECT 1\n"}},
  };
  for (const auto& c : kCases) {
    CAPTURE(c.script);
    CHECK(SplitBatches(c.script) == c.batches);
  }
}

}  // namespace
}  // namespace ledgerwick::tsql
