// Variants of the host as values, and back.
#include <doctest/doctest.h>

#include <functional>
#include <vector>

#include "com/host_objects.h"
#include "com/variant_value.h"
#include "component.h"
#include "fake_world.h"

namespace ledgerwick::com::testing {
namespace {

Variant Make(VARTYPE type, const std::function<void(VARIANT&)>& fill) {
  Variant v;
  V_VT(v.Get()) = type;
  fill(*v.Get());
  return v;
}

Variant Converted(const wchar_t* text, VARTYPE type) {
  Variant v = Variant::OfText(FromWide(text));
  REQUIRE(VariantChangeTypeEx(v.Get(), v.Get(), 0x409, 0, type) == S_OK);
  return v;
}

// A filter's value that a report takes away and puts back keeps its type.
void CheckKept(const Variant& value) {
  FakeWorld world;
  world.filters = {{u"cWhCode", value, {}, u"", 0, {}}};
  HostReportManager manager(world.NewManager());
  Text title;
  const auto filter = manager.ReportFilterByName(title)->Item(1);
  const Value kept = filter->varValue();
  filter->set_varValue(u"");
  filter->set_varValue(kept);
  CHECK(V_VT(world.last_value.Get()) == V_VT(value.Get()));
  const bool refers = (V_VT(value.Get()) & VT_BYREF) != 0;
  CHECK((!refers || V_BYREF(world.last_value.Get()) == V_BYREF(value.Get())));
}

TEST_SUITE("values") {
  TEST_CASE("a variant becomes the value that the platform converts it to, or stays unread") {
    Variant inner = Variant::OfText(u"里");
    BString string(u"引用");
    double number = 2.5;
    double day = 37346;
    Script script;
    const Handler default_value = [](const FakeCall&) { return Variant::OfText(u"缺省"); };
    // A default property is the member of number 0.
    const ComPtr<IDispatch> object = FakeObject::Make(script, {{L"", default_value}});
    constexpr VARTYPE kUnknown = 77;
    // What has a kind of its own, or refers to something, is read by who wants its text: unread.
    struct {
      Variant variant;
      Value value;  // unread: its text, or empty where there is none
      bool unread = false;
    } cases[] = {
        {Variant(), Value()},
        {Make(VT_NULL, [](VARIANT&) {}), Null{}},
        {Make(VT_BOOL, [](VARIANT& v) { V_BOOL(&v) = VARIANT_TRUE; }), true},
        {Make(VT_UI1, [](VARIANT& v) { V_UI1(&v) = 200; }), 200},
        {Make(VT_I2, [](VARIANT& v) { V_I2(&v) = -3; }), -3},
        {Variant::OfInteger(-70000), -70000},
        {Make(VT_I8, [](VARIANT& v) { V_I8(&v) = 1LL << 40; }), std::int64_t{1} << 40},
        {Make(VT_R4, [](VARIANT& v) { V_R4(&v) = 0.1F; }), 0.1},
        {Make(VT_R8, [](VARIANT& v) { V_R8(&v) = 1e20; }), 1e20},
        {Make(VT_DATE, [](VARIANT& v) { V_DATE(&v) = 37346.25; }), Date{37346.25}},
        {Make(VT_DATE, [](VARIANT& v) { V_DATE(&v) = 1e9; }), Date{1e9}},
        {Variant::OfText(u"文 本 "), u"文 本 "},
        {Make(VT_BSTR, [](VARIANT& v) { V_BSTR(&v) = nullptr; }), u""},
        {Make(VT_UI8, [](VARIANT& v) { V_UI8(&v) = ~0ULL; }), u"18446744073709551615", true},
        {Converted(L"12345.6789", VT_CY), u"12345.6789", true},
        {Converted(L"12.50", VT_DECIMAL), u"12.5", true},
        {Variant::ByReference(inner.Get()), u"里", true},
        {Variant::ByReference(string.Address()), u"引用", true},
        {Make(VT_R8 | VT_BYREF, [&](VARIANT& v) { V_R8REF(&v) = &number; }), u"2.5", true},
        {Make(VT_DATE | VT_BYREF, [&](VARIANT& v) { V_DATEREF(&v) = &day; }), u"2002-03-31", true},
        {Variant::OfObject(object.Get()), u"缺省", true},
        {Variant::Missing(), Value(), true},
        {AnArray(), Value(), true},
        {Make(VT_BSTR | VT_BYREF, [](VARIANT& v) { V_BSTRREF(&v) = nullptr; }), Value(), true},
        {Make(kUnknown, [](VARIANT&) {}), Value(), true},
        {Make(kUnknown | VT_BYREF, [&](VARIANT& v) { V_R8REF(&v) = &number; }), Value(), true},
    };
    for (auto& c : cases) {
      CAPTURE(&c - cases);
      const VARTYPE type = V_VT(c.variant.Get());
      if ((type & VT_TYPEMASK) != kUnknown) CheckKept(c.variant);
      const auto held = std::make_shared<const HostVariant>(std::move(c.variant));
      const Value value = ToValue(held);
      REQUIRE((value.Opaque() == held) == c.unread);
      if (!c.unread) {
        CHECK((value == c.value));
        continue;
      }
      Text text;
      CHECK(NumberOfError([&] { text = value.ToText(); }) == (c.value.IsEmpty() ? 13 : 0));
      CHECK(ToUtf8(text) == ToUtf8(c.value.ToText()));
    }
  }

  TEST_CASE("numbers and truth values are refused by the language's numbers") {
    const Variant null = Make(VT_NULL, [](VARIANT&) {});
    const Variant large = Make(VT_R8, [](VARIANT& v) { V_R8(&v) = 1e12; });
    const struct {
      Variant variant;
      std::int32_t error;
    } cases[] = {{null, 94}, {Variant::OfText(u"x"), 13}, {AnArray(), 13}, {large, 6}};
    for (const auto& c : cases) CHECK(NumberOfError([&] { ToInteger(c.variant); }) == c.error);
    CHECK(ToInteger(Variant::OfText(u" 12 ")) == 12);
    CHECK(ToBoolean(Variant::OfText(u"True")));
  }

  TEST_CASE("the title travels by reference: what the host writes there stays") {
    Script script;
    const Handler renames = [](const FakeCall& call) {
      SysReAllocString(call.title, L"新");
      return Variant::OfObject(nullptr);
    };
    HostReportManager manager(FakeObject::Make(script, {{L"ReportFilterByName", renames}}));
    Text title = u"旧名";
    CHECK_FALSE(manager.ReportFilterByName(title));
    CHECK(title == u"新");
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
