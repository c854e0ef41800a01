// The platform's own services: the code page, the computer's name, messages.
#include <doctest/doctest.h>

#include "com/windows_system.h"
#include "component.h"
#include "dialogs.h"

namespace ledgerwick::com::testing {
namespace {

TEST_SUITE("system") {
  TEST_CASE("a length is that of the ANSI text") {
    REQUIRE_MESSAGE(GetACP() == 936, "the tests need the Chinese code page");
    const struct {
      TextView text;
      std::size_t length;
    } cases[] = {{u"", 0}, {u"abc", 3}, {u"单据", 4}, {u"a单 ", 4}, {TextView(u"ab\0c", 4), 2},
                 {u"ก", 1}};
    for (const auto& c : cases) {
      CAPTURE(ToUtf8(c.text));
      CHECK(WindowsSystem().AnsiLength(c.text) == c.length);
    }
  }

  TEST_CASE("the computer's name is the platform's") {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    REQUIRE(GetComputerNameW(name, &size));
    CHECK(WindowsSystem().ComputerName() == FromWide(name));
  }

  TEST_CASE("a message has its text, the information icon, one button and no owner") {
    const DialogWatch watch;
    const struct {
      TextView title;
      TextView wanted;
    } cases[] = {{u"提示", u"提示"}, {u"", u"test_com"}};  // the host is this program
    for (const auto& c : cases) {
      CAPTURE(ToUtf8(c.title));
      WindowsSystem().MessageBox(u"查询条件超过上限\r\n第二行", Text(c.title), kInformation);
      CHECK(watch.shown().title == c.wanted);
      CHECK(watch.shown().text == u"查询条件超过上限\r\n第二行");
      CHECK(watch.shown().has_icon);
      CHECK_FALSE(watch.shown().has_owner);
      CHECK(watch.shown().buttons == 1);
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
