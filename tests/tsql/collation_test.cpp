#include "tsql/values/collation.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

namespace ledgerwick::tsql {
namespace {

int Sign(int number) { return (number > 0) - (number < 0); }

TEST_CASE("texts that count as equal") {
  const std::vector<std::vector<std::string>> classes = {
      {"", " ", "    ", "　"},
      {"A001", "a001", "A001 ", "Ａ００１", "ａ001　"},
      {" a", " A"},
      {"É", "é"},
      {"e"},
      {"存货", "存货  "},
      {"カナ", "かな", "ｶﾅ"},
      {"abcdefgh1", "ABCDEFGH1", "abcdefgh1        "},
      {"abcdefgh一", "abcdefgH一"},
      {"😀", "😀 "},
      {"a\tb"},
  };
  for (std::size_t i = 0; i < classes.size(); ++i) {
    for (std::size_t k = 0; k < classes.size(); ++k) {
      for (const std::string& a : classes[i]) {
        for (const std::string& b : classes[k]) {
          CAPTURE(a);
          CAPTURE(b);
          CHECK((CompareCollated(a, b) == 0) == (i == k));
        }
      }
    }
  }
}

TEST_CASE("the order of texts") {
  const std::string rising[] = {"", "01", "0101", "02", "A", "b", "B1", "c", "é", "一", "丁", "😀"};
  for (std::size_t i = 0; i + 1 < std::size(rising); ++i) {
    CAPTURE(rising[i]);
    CHECK(CompareCollated(rising[i], rising[i + 1]) < 0);
  }
}

// Sorting and grouping go wrong when the order is not one.
TEST_CASE("the order is antisymmetric and transitive") {
  const char* const pieces[] = {"",   "a",  "Ａ", " ",        "　",   "\t",
                                "中", "丂", "😀",  "\xE4\xB8", "\x80", "Z"};
  std::vector<std::string> texts;
  for (const char* first : pieces) {
    for (const char* second : pieces) texts.push_back(std::string(first) + second);
  }
  int broken = 0;
  for (const std::string& a : texts) {
    for (const std::string& b : texts) {
      const int ab = Sign(CompareCollated(a, b));
      broken += ab != -Sign(CompareCollated(b, a));
      for (const std::string& c : texts) {
        const int bc = Sign(CompareCollated(b, c));
        if (ab > 0 || bc > 0) continue;
        broken += Sign(CompareCollated(a, c)) != (ab < 0 || bc < 0 ? -1 : 0);
      }
    }
  }
  CHECK(broken == 0);
}

}  // namespace
}  // namespace ledgerwick::tsql
