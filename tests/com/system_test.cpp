// The platform's own services: the code page, the computer's name, messages.
#include <doctest/doctest.h>

#include "com/windows_system.h"
#include "component.h"
#include "fake_world.h"
#include "notices.h"

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

  TEST_CASE("messages and beeps are the platform's, without an owner window") {
    const NoticeWatch watch(GetModuleHandleW(nullptr));
    const struct {
      TextView title;
      TextView wanted;
    } cases[] = {{u"提示", u"提示"}, {u"", u"test_com"}};  // the host is this program
    for (const auto& c : cases) {
      WindowsSystem().MessageBox(u"查询条件超过上限\r\n第二行", Text(c.title), kInformation);
      const Notice& box = watch.notices().back();
      CHECK_FALSE(box.beeps);
      CHECK(ToUtf8(box.title) == ToUtf8(c.wanted));
      CHECK(ToUtf8(box.text) == "查询条件超过上限\r\n第二行");
      CHECK(box.type == (MB_ICONINFORMATION | MB_OK));
      CHECK(box.owner == nullptr);
    }
    WindowsSystem().Beep();
    REQUIRE(watch.notices().size() == 3);
    CHECK(watch.notices().back().beeps);
    CHECK(watch.notices().back().type == MB_OK);
  }

  TEST_CASE("a report that cannot go on says so, with a beep only for a condition too long") {
    const Text too_long(601, u'x');
    const struct {
      TextView class_name;
      FilterItem filter;
      bool beeps;
      TextView text;
      TextView title;
    } cases[] = {
        {u"clsRepSFC", {u"iAssUnitGrade", {}, u"9", {}, {}}, false, u"没有该级次收发类型", u"提示"},
        {u"newclsReportDataSaleTotal",
         {u"cCusCode", {}, u"1", {}, too_long},
         true,
         u"查询条件超过上限，系统不能处理...\r\n错误位于模块：newclsReportDataSaleTotal."
         u"MoveSaleDetail()",
         u"test_com"},
    };
    for (const auto& c : cases) {
      const ClassInfo& info = *FindClass(c.class_name);
      if (info.factory == nullptr) continue;
      CAPTURE(ToUtf8(c.class_name));
      Request request;
      request.filters = {c.filter};
      FakeWorld world(request);
      const ComPtr<IDispatch> report = world.NewReport(info);
      const NoticeWatch watch(GetModuleHandleW(L"Ledgerwick.dll"));
      const Outcome outcome = Invoke(report.Get(), L"MoveDataDetail", DISPATCH_METHOD);
      CHECK(outcome.code == S_OK);
      CHECK(V_BOOL(outcome.result.Get()) == VARIANT_FALSE);
      REQUIRE(watch.notices().size() == (c.beeps ? 2 : 1));
      CHECK(watch.notices().front().beeps == c.beeps);
      if (c.beeps) CHECK(watch.notices().front().type == MB_OK);
      const Notice& box = watch.notices().back();
      CHECK_FALSE(box.beeps);
      CHECK(box.type == 64);
      CHECK(box.owner == nullptr);
      CHECK(ToUtf8(box.text) == ToUtf8(c.text));
      CHECK(ToUtf8(box.title) == ToUtf8(c.title));
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
