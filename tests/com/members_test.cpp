// The further members: arguments by reference or by value, results of the stated types.
#include <doctest/doctest.h>

#include <vector>

#include "com/variant_value.h"
#include "component.h"
#include "fake_world.h"

namespace ledgerwick::com::testing {
namespace {

TEST_SUITE("members") {
  TEST_CASE("a method takes its text by value, by reference and in a variant") {
    const struct {
      TextView class_name;
      const wchar_t* member;
      TextView argument;
      VARTYPE type;
      Value result;
    } cases[] = {
        {u"clsRepSFC", L"IsBlank", u"", VT_BOOL, true},
        {u"clsRepSFC", L"IsBlank", u" ", VT_BOOL, false},
        {u"clsRepSFC", L"SumString", u"1a2", VT_I4, std::int64_t{3}},
        {u"clsRepXCL", L"GetClassLength", u"223", VT_I4, std::int64_t{7}},
    };
    for (const auto& c : cases) {
      CAPTURE(ToUtf8(c.argument));
      ComPtr<IDispatch> object;
      const ClassInfo& info = *FindClass(c.class_name);
      if (info.factory == nullptr) continue;
      REQUIRE(Create(info, object) == S_OK);
      BString text(c.argument);
      Variant inner = Variant::OfText(c.argument);
      for (const Variant& argument :
           {Variant::OfText(c.argument), Variant::ByReference(text.Address()),
            Variant::ByReference(inner.Get())}) {
        CAPTURE(V_VT(argument.Get()));
        const Outcome outcome = Invoke(object.Get(), c.member, DISPATCH_METHOD, {argument});
        REQUIRE(outcome.code == S_OK);
        CHECK(V_VT(outcome.result.Get()) == c.type);
        CHECK((ToValue(outcome.result) == c.result));
      }
      CHECK(ToText(text.Get()) == c.argument);
      CHECK(ToText(inner) == c.argument);
    }
  }

  TEST_CASE("arguments stay their caller's") {
    ComPtr<IDispatch> object;
    REQUIRE(Create(*FindClass(u"clsRepXCL"), object) == S_OK);
    constexpr TextView kTexts[] = {u"cccc", u"bbbb", u"aaaa"};
    for (const bool by_reference : {false, true}) {
      CAPTURE(by_reference);
      Variant owned[] = {Variant::OfText(kTexts[0]), Variant::OfText(kTexts[1]),
                         Variant::OfText(kTexts[2])};
      std::vector<Variant> arguments;
      std::vector<VARIANT> raw;
      for (Variant& variant : owned) {
        if (by_reference) arguments.push_back(Variant::ByReference(variant.Get()));
        raw.push_back(by_reference ? *arguments.back().Get() : *variant.Get());
      }
      DISPPARAMS parameters = {raw.data(), nullptr, 3, 0};
      Variant result;
      CHECK(object->Invoke(NumberOf(object.Get(), L"GetDigConditionString"), GUID{}, 0,
                           DISPATCH_METHOD, &parameters, result.Get(), nullptr, nullptr) == S_OK);
      CHECK(ToUtf8(ToText(result)) == "aaaa>=bbbb AND aaaa<=cccc");
      // Strings that were freed would be these.
      const Variant later[] = {Variant::OfText(u"xxxx"), Variant::OfText(u"yyyy"),
                               Variant::OfText(u"zzzz")};
      for (int i = 0; i < 3; ++i) CHECK(ToUtf8(ToText(owned[i])) == ToUtf8(kTexts[i]));
      CHECK(ToText(later[0]) == u"xxxx");
    }
  }

  TEST_CASE("every method with arguments can be called, and counts them") {
    for (const ClassInfo& info : Classes()) {
      if (info.factory == nullptr) continue;
      FakeWorld world;
      const ComPtr<IDispatch> connection = world.NewConnection();
      ComPtr<IDispatch> object;
      REQUIRE(Create(info, object) == S_OK);
      for (const Member which : info.members) {
        const MemberInfo& member = Describe(which);
        if (member.arguments.empty()) continue;
        CAPTURE(ToUtf8(member.name));
        std::vector<Variant> arguments;
        for (const MemberArgument& argument : member.arguments) {
          const bool is_text = argument.type == MemberType::String;
          arguments.push_back(is_text ? Variant::OfText(u"1")
                                      : Variant::OfObject(connection.Get()));
        }
        const std::wstring name(member.name.begin(), member.name.end());
        const HRESULT code = Invoke(object.Get(), name, DISPATCH_METHOD, arguments).code;
        // A table without rows may be an error of the report's; the call itself has come through.
        CHECK((code == S_OK || code == DISP_E_EXCEPTION));
        arguments.resize(member.arguments.size() - 1);
        CHECK(Invoke(object.Get(), name, DISPATCH_METHOD, arguments).code != S_OK);
        // No object: Wine 8 keeps a reference to one among too many arguments.
        arguments.clear();
        for (const MemberArgument& argument : member.arguments) {
          const bool is_text = argument.type == MemberType::String;
          arguments.push_back(is_text ? Variant::OfText(u"1") : Variant::OfObject(nullptr));
        }
        arguments.push_back(Variant::OfText(u"more"));
        CHECK(Invoke(object.Get(), name, DISPATCH_METHOD, arguments).code == DISP_E_BADPARAMCOUNT);
      }
      object.Reset();
      CHECK(MayUnload());
      CHECK(FakeObject::live == 1);  // the connection
    }
    CHECK(FakeObject::live == 0);
  }

  TEST_CASE("a function table's entry refuses a missing place for its result") {
    ComPtr<IDispatch> object;
    const ClassInfo& info = *FindClass(u"clsRepSFC");
    if (info.factory == nullptr) return;
    REQUIRE(Create(info, object) == S_OK);
    using Sum = HRESULT(STDMETHODCALLTYPE*)(IDispatch*, BSTR*, LONG*);
    // Behind 7 entries of IDispatch, 8 of four properties, and three methods.
    const auto sum = reinterpret_cast<Sum>((*reinterpret_cast<void***>(object.Get()))[18]);
    BString text(u"123");
    LONG result = 0;
    CHECK(sum(object.Get(), text.Address(), &result) == S_OK);
    CHECK(result == 6);
    for (const bool no_result : {false, true}) {
      ComPtr<ICreateErrorInfo> older;
      REQUIRE(CreateErrorInfo(older.Receive()) == S_OK);
      ComPtr<IErrorInfo> stale;
      older->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(stale.Receive()));
      SetErrorInfo(0, stale.Get());
      CHECK(sum(object.Get(), no_result ? text.Address() : nullptr,
                no_result ? nullptr : &result) == E_POINTER);
      CHECK(GetErrorInfo(0, stale.Receive()) == S_FALSE);  // the older one is not this call's
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
