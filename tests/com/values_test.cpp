// Variants of the host as values, and back.
#include <doctest/doctest.h>

#include <functional>
#include <vector>

#include "com/variant_value.h"
#include "component.h"
#include "fake_world.h"
#include "frame/error.h"

namespace ledgerwick::com::testing {
namespace {

Variant Make(VARTYPE type, const std::function<void(VARIANT&)>& fill) {
  Variant v;
  V_VT(v.Get()) = type;
  fill(*v.Get());
  return v;
}

Variant Currency(const wchar_t* text) {
  Variant v = Variant::OfText(FromWide(text));
  VariantChangeTypeEx(v.Get(), v.Get(), 0x409, 0, VT_CY);
  return v;
}

Variant Decimal(const wchar_t* text) {
  Variant v = Variant::OfText(FromWide(text));
  VariantChangeTypeEx(v.Get(), v.Get(), 0x409, 0, VT_DECIMAL);
  return v;
}

TEST_SUITE("values") {
  TEST_CASE("a variant becomes the value that the platform converts it to") {
    Variant inner = Variant::OfText(u"里");
    BString string(u"引用");
    double number = 2.5;
    const struct {
      Variant variant;
      Value value;
    } cases[] = {
        {Variant(), Value()},
        {Make(VT_NULL, [](VARIANT&) {}), Null{}},
        {Make(VT_BOOL, [](VARIANT& v) { V_BOOL(&v) = VARIANT_TRUE; }), true},
        {Make(VT_UI1, [](VARIANT& v) { V_UI1(&v) = 200; }), std::int64_t{200}},
        {Make(VT_I2, [](VARIANT& v) { V_I2(&v) = -3; }), std::int64_t{-3}},
        {Variant::OfInteger(-70000), std::int64_t{-70000}},
        {Make(VT_I8, [](VARIANT& v) { V_I8(&v) = 1LL << 40; }), std::int64_t{1} << 40},
        {Make(VT_UI8, [](VARIANT& v) { V_UI8(&v) = ~0ULL; }), u"18446744073709551615"},
        {Make(VT_R4, [](VARIANT& v) { V_R4(&v) = 0.1F; }), 0.1},
        {Make(VT_R8, [](VARIANT& v) { V_R8(&v) = 1e20; }), 1e20},
        {Make(VT_DATE, [](VARIANT& v) { V_DATE(&v) = 37346; }), Date{37346}},
        {Currency(L"922337203685477.5807"), u"922337203685477.5807"},
        {Decimal(L"12.50"), u"12.5"},
        {Variant::OfText(u"文 本 "), u"文 本 "},
        {Make(VT_BSTR, [](VARIANT& v) { V_BSTR(&v) = nullptr; }), u""},
        {Variant::ByReference(inner.Get()), u"里"},
        {Variant::ByReference(string.Address()), u"引用"},
        {Make(VT_R8 | VT_BYREF, [&](VARIANT& v) { V_R8REF(&v) = &number; }), 2.5},
    };
    for (const auto& c : cases) {
      CAPTURE(V_VT(c.variant.Get()));
      CHECK((ToValue(c.variant) == c.value));
    }
    CHECK_THROWS_AS(ToValue(Variant::Missing()), DatabaseError);
  }

  TEST_CASE("numbers and truth values are refused by the language's numbers") {
    const Variant null = Make(VT_NULL, [](VARIANT&) {});
    const Variant large = Make(VT_R8, [](VARIANT& v) { V_R8(&v) = 1e12; });
    const struct {
      Variant variant;
      std::int32_t error;
    } cases[] = {{null, 94}, {Variant::OfText(u"x"), 13}, {large, 6}};
    for (const auto& c : cases) {
      try {
        ToInteger(c.variant);
        FAIL("no error");
      } catch (const DatabaseError& error) {
        CHECK(error.number == c.error);
      }
    }
    CHECK(ToInteger(Variant::OfText(u" 12 ")) == 12);
    CHECK(ToBoolean(Variant::OfText(u"True")));
  }

  TEST_CASE("a value that a report takes away and puts back keeps its type") {
    const Variant values[] = {Currency(L"12.5"),
                              Make(VT_UI1, [](VARIANT& v) { V_UI1(&v) = 7; }),
                              Make(VT_NULL, [](VARIANT&) {}),
                              Variant(),
                              Make(VT_R4, [](VARIANT& v) { V_R4(&v) = 0.1F; }),
                              Make(VT_DATE, [](VARIANT& v) { V_DATE(&v) = 37346.25; })};
    for (const Variant& value : values) {
      CAPTURE(V_VT(value.Get()));
      FakeWorld world;
      world.filters = {{u"def_queryType", value, {}, u"", 0, {}}};
      const ComPtr<IDispatch> report = world.NewReport(*FindClass(u"clsRepAQKCYJ"));
      CHECK(Invoke(report.Get(), L"MoveDataDetail", DISPATCH_METHOD).code == S_OK);
      CHECK(V_VT(world.last_value.Get()) == V_VT(value.Get()));
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
