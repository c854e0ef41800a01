#include "frame/text.h"

#include <doctest/doctest.h>

#include <stdexcept>

using namespace ledgerwick;

TEST_CASE("text comparison passes over case, width and kana type, but not over accents") {
  struct Case {
    TextView a, b;
    int order;
  };
  const Case cases[] = {
      {u"DDATE", u"ddate", 0},   {u"ＡＢｃ１", u"abc1", 0},
      {u"カード", u"かーど", 0}, {u"ｶｰﾄ", u"かーと", 0},
      {u"Ärger", u"ärger", 0},   {u"Ж", u"ж", 0},
      {u"é", u"e", 1},           {u"", u"", 0},
      {u"a", u"a ", -1},         {u"10", u"9", -1},
      {u"库存", u"库存量", -1},  {u"高于", u"不高于", 1},
      {u"\u3000x", u" x", 0},
  };
  for (const Case& c : cases) {
    CAPTURE(ToUtf8(c.a));
    CAPTURE(ToUtf8(c.b));
    const auto sign = [](int n) { return (n > 0) - (n < 0); };
    CHECK(sign(CompareText(c.a, c.b)) == c.order);
    CHECK(sign(CompareText(c.b, c.a)) == -c.order);
    CHECK(EqualText(c.a, c.b) == (c.order == 0));
    CHECK((FoldText(c.a) == FoldText(c.b)) == (c.order == 0));
  }
}

TEST_CASE("only blanks are trimmed") {
  const std::pair<TextView, TextView> cases[] = {{u"  a b ", u"a b"},
                                                 {u"   ", u""},
                                                 {u"", u""},
                                                 {u"\ta\r\n", u"\ta\r\n"},
                                                 {u"\u3000a", u"\u3000a"}};
  for (const auto& [text, trimmed] : cases) CHECK(Trim(text) == trimmed);
}

TEST_CASE("an empty text splits into no parts, every other one into one more than separators") {
  CHECK(Split(u"", u',').empty());
  CHECK(Split(u"01", u',') == std::vector<Text>{u"01"});
  CHECK(Split(u"01,,02,", u',') == std::vector<Text>{u"01", u"", u"02", u""});
}

TEST_CASE("a text is found by comparison, from a position on") {
  CHECK(FindText(u"a.cAccDep='1'", u"CACCDEP") == 2);
  CHECK(FindText(u"xx", u"x", 1) == 1);
  CHECK(FindText(u"ab", u"abc") == TextView::npos);
}

TEST_CASE("UTF-8 goes through UTF-16 and back unchanged, and what is invalid is found") {
  for (const char* text :
       {"", "plain", "安全库存", "caf\xC3\xA9", "\xF0\x9F\x98\x80 end", "\xEF\xBF\xBF"}) {
    CHECK(ToUtf8(FromUtf8(text)) == text);
  }
  CHECK(FromUtf8("\xF0\x9F\x98\x80") == u"\xD83D\xDE00");
  CHECK(ToUtf8(Text(1, char16_t{0xD83D})) == "\xEF\xBF\xBD");
  const std::pair<std::string_view, std::size_t> invalid[] = {
      {"ab\xFF", 2},           {"\xC0\x80", 0}, {"x\xE5\xAE", 1},    {"\xED\xA0\x80", 0},
      {"\xF4\x90\x80\x80", 0}, {"a\x80", 1},    {"\xE0\x80\x80", 0},
  };
  for (const auto& [text, offset] : invalid) {
    CHECK(FindInvalidUtf8(text) == offset);
    CHECK_FALSE(TryFromUtf8(text).has_value());
    CHECK_THROWS_WITH_AS(static_cast<void>(FromUtf8(text)),
                         doctest::Contains(std::to_string(offset).c_str()), std::invalid_argument);
  }
}

TEST_CASE("the ANSI length counts a Chinese character as two bytes") {
  const std::pair<Text, std::size_t> cases[] = {
      {u"", 0},
      {u"abc", 3},
      {u"安全", 4},
      {u"a安b", 4},
      {u"，。", 4},
      {u"é", 2},                // is in the code page
      {u"ñ", 1},                // is not
      {u"€", 1},                // one byte, 0x80
      {u"\xD83D\xDE00", 2},     // lacking: one for each UTF-16 unit
      {u"\xE000", 2},           // a user-defined character
      {Text(u"ab\0cd", 5), 2},  // a NUL ends the text
      {Text(300, u'货'), 600},
  };
  for (const auto& [text, length] : cases) {
    CAPTURE(ToUtf8(text));
    CHECK(AnsiLength(text) == length);
  }
}
