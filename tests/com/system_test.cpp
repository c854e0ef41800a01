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

  TEST_CASE("a report that cannot go on says so, with a beep only for a condition too long") {
    const Text too_long(601, u'x');
    const struct {
      TextView class_name;
      FilterItem filter;
      std::string notices;  // style, title and text of each
    } cases[] = {
        {u"clsRepSFC", {u"iAssUnitGrade", {}, u"9", {}, {}}, "64 提示: 没有该级次收发类型\n"},
        {u"newclsReportDataSaleTotal",
         {u"cCusCode", {}, u"1", {}, too_long},
         "0 beep\n64 test_com: 查询条件超过上限，系统不能处理...\r\n"
         "错误位于模块：newclsReportDataSaleTotal.MoveSaleDetail()\n"},
    };
    for (const auto& c : cases) {
      Request request;
      request.filters = {c.filter};
      FakeWorld world(request);
      const ComPtr<IDispatch> report = world.NewReport(*FindClass(c.class_name));
      const NoticeWatch watch(GetModuleHandleW(L"Ledgerwick.dll"));
      const Outcome outcome = Invoke(report.Get(), L"MoveDataDetail", DISPATCH_METHOD);
      CHECK(outcome.code == S_OK);
      CHECK(V_BOOL(outcome.result.Get()) == VARIANT_FALSE);
      std::string notices;
      for (const Notice& notice : watch.notices()) {
        const Text said = notice.beeps ? u"beep" : notice.title + u": " + notice.text;
        notices += std::to_string(notice.type) + ' ' + ToUtf8(said) + '\n';
        CHECK(notice.owner == nullptr);
      }
      CHECK(notices == c.notices);
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
