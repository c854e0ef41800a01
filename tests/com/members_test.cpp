// The further members: arguments by reference or by value, results of the stated types.
#include <doctest/doctest.h>

#include <deque>
#include <vector>

#include "com/variant_value.h"
#include "component.h"
#include "fake_world.h"
#include "requests.h"

namespace ledgerwick::com::testing {
namespace {

TEST_SUITE("members") {
  TEST_CASE("a method takes arguments by value, by reference and in a variant, and keeps none") {
    const struct {
      TextView class_name;
      const wchar_t* member;
      std::vector<TextView> texts;
      Value result;
      bool with_connection = false;  // behind the texts
    } cases[] = {
        {u"clsInventroy", L"GetSubTitle", {}, u""},
        {u"clsRepSFC", L"IsBlank", {u""}, true},
        {u"clsRepSFC", L"IsBlank", {u" "}, false},
        {u"clsRepSFC", L"SumString", {u"1a2"}, 3},
        {u"clsRepXCL", L"GetClassLength", {u"223"}, 7},
        {u"clsRepXCL", L"GetDigConditionString", {u"aa", u"bb", u"cc"}, u"aa>=bb AND aa<=cc"},
        {u"clsRepXCL", L"ExistsFuzzyChar", {u"a*"}, true},
        {u"clsRepXCL", L"RepForFuzzy", {u"a?b*"}, u"a_b%"},
        {u"clsRepXCL", L"RepCharWithChar", {u"a-b", u"-", u"+"}, u"a+b"},
        {u"clsRepXCL", L"GetInformation", {u"ST", u"cGoodClass"}, u"223", true},
        {u"clsRepXCL", L"GetGoodClass", {}, u"223", true},
    };
    for (const auto& c : cases) {
      CAPTURE(ToUtf8(FromWide(c.member)));
      FakeWorld world(RequestFor(u"clsRepXCL"));
      const ComPtr<IDispatch> connection = world.NewConnection();
      ComPtr<IDispatch> object;
      REQUIRE(Create(*FindClass(c.class_name), object) == S_OK);
      for (const int way : {0, 1, 2}) {
        CAPTURE(way);
        std::vector<Variant> owned;
        std::deque<BString> strings;
        for (const TextView text : c.texts) {
          owned.push_back(Variant::OfText(text));
          strings.emplace_back(text);
        }
        std::vector<Variant> arguments;
        for (std::size_t i = 0; i < owned.size(); ++i) {
          arguments.push_back(way == 0   ? owned[i]
                              : way == 1 ? Variant::ByReference(strings[i].Address())
                                         : Variant::ByReference(owned[i].Get()));
        }
        if (c.with_connection) arguments.push_back(Variant::OfObject(connection.Get()));
        const Outcome outcome = Invoke(object.Get(), c.member, DISPATCH_METHOD, arguments);
        REQUIRE(outcome.code == S_OK);
        CHECK(ToUtf8(ToValue(outcome.result).ToText()) == ToUtf8(c.result.ToText()));
        CHECK((ToValue(outcome.result) == c.result));
        // Strings that were freed would be these.
        const std::vector<Variant> later(3, Variant::OfText(u"xx"));
        for (std::size_t i = 0; i < owned.size(); ++i) {
          CHECK(ToUtf8(ToText(arguments[i])) == ToUtf8(c.texts[i]));
        }
        if (arguments.empty()) continue;
        // No object: Wine 8 keeps a reference to one among too many arguments.
        if (c.with_connection) arguments.back() = Variant::OfObject(nullptr);
        arguments.push_back(Variant::OfText(u"more"));
        CHECK(Invoke(object.Get(), c.member, DISPATCH_METHOD, arguments).code ==
              DISP_E_BADPARAMCOUNT);
        arguments.resize(arguments.size() - 2);
        CHECK(Invoke(object.Get(), c.member, DISPATCH_METHOD, arguments).code != S_OK);
      }
    }
    CHECK(MayUnload());
    CHECK(FakeObject::live == 0);
  }

  TEST_CASE("a function table's entry takes its argument by reference and misses none") {
    ComPtr<IDispatch> object;
    REQUIRE(Create(*FindClass(u"clsRepSFC"), object) == S_OK);
    using Sum = HRESULT(STDMETHODCALLTYPE*)(IDispatch*, BSTR*, LONG*);
    // Behind 7 entries of IDispatch, 8 of four properties, and three methods.
    const auto sum = EntryOf<Sum>(object.Get(), 18);
    BString text(u"123");
    LONG result = 0;
    CHECK(sum(object.Get(), text.Address(), &result) == S_OK);
    CHECK(result == 6);
    CHECK(sum(object.Get(), nullptr, &result) == E_POINTER);
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
