#include "tsql/values/collation.h"

#include <doctest/doctest.h>
#include <unicode/ucol.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "frame/text.h"

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
  const std::string rising[] = {
      "",   "_",    "(",  "😀",  "01",  "0-10", "0101",  "02",    "20",    "a\t", "A",  "A b",
      "ab", "b",    "B1", "c",  "con", "coop", "co'op", "co-op", "coop-", "cop", "d-", "da",
      "e",  "é",    "éa", "eb", "f",   "ss",   "ß",     "z",     "αβ",    "か",  "が", "阿",
      "八", "北京", "丁", "李", "王",  "一",   "张三",  "重",    "座"};
  for (std::size_t i = 0; i < std::size(rising); ++i) {
    for (std::size_t k = 0; k < std::size(rising); ++k) {
      CAPTURE(rising[i]);
      CAPTURE(rising[k]);
      CHECK(Sign(CompareCollated(rising[i], rising[k])) == (i > k) - (i < k));
    }
  }
}

// Letters are as ICU orders them: ASCII among itself and beside all else.
TEST_CASE("the order of letters is ICU's") {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UCollator, decltype(&ucol_close)> icu(ucol_open("zh-u-co-pinyin", &status),
                                                              &ucol_close);
  const std::int32_t chinese_last = UCOL_REORDER_CODE_NONE;
  ucol_setReorderCodes(icu.get(), &chinese_last, 1, &status);
  ucol_setStrength(icu.get(), UCOL_PRIMARY);
  REQUIRE(U_SUCCESS(status));
  std::mt19937 random(1);
  const auto text = [&] {
    const Text signs = u"()*,./:;?@[]_ ~$+";
    Text made;
    for (auto i = random() % 5; i > 0; --i) {
      switch (random() % 6) {
        case 0:
          made += static_cast<char16_t>(0x4E00 + random() % 20902);
          break;
        case 1:
          made += u"éßüþāλжか、（Ａ９㈱"[random() % 12];
          break;
        case 2:
          made += signs[random() % signs.size()];
          break;
        default:
          made += u"019abyzABZ"[random() % 10];
      }
    }
    return made + u'.';  // which no blank can fill up
  };
  int wrong = 0;
  for (int i = 0; i < 100'000; ++i) {
    const Text a = text();
    const Text b = text();
    const int expected = ucol_strcoll(icu.get(), a.data(), static_cast<int>(a.size()), b.data(),
                                      static_cast<int>(b.size()));
    const int found = CompareCollated(ToUtf8(a), ToUtf8(b));
    if (expected != 0 && Sign(found) != expected && wrong++ < 5) {
      MESSAGE(ToUtf8(a), " and ", ToUtf8(b), ": ", expected);
    }
  }
  CHECK(wrong == 0);
}

// Sorting and grouping go wrong when the order is not one.
TEST_CASE("the order is antisymmetric and transitive") {
  const char* const pieces[] = {"",   "a", "Ａ", " ",        "　",   "\t", "-", "'",
                                "中", "é", "😀",  "\xE4\xB8", "\x80", "Z",  "1", "\u0301"};
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
