#include "com/com_types.h"

#include <new>

#include "com/errors.h"

namespace ledgerwick::com {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

BString::BString(TextView text)
    : string_(SysAllocStringLen(nullptr, static_cast<UINT>(text.size()))) {
  if (string_ == nullptr) throw std::bad_alloc();
  for (std::size_t i = 0; i < text.size(); ++i) string_[i] = static_cast<wchar_t>(text[i]);
}

Variant::Variant(const Variant& other) {
  VariantInit(&variant_);
  VARIANT source = other.variant_;  // the platform's function takes no const source
  ThrowIfFailed(VariantCopy(&variant_, &source));
}

Variant Variant::OfInteger(std::int32_t value) noexcept {
  Variant v;
  V_VT(v.Get()) = VT_I4;
  V_I4(v.Get()) = value;
  return v;
}

Variant Variant::OfText(TextView text) {
  BString string(text);
  Variant v;
  V_VT(v.Get()) = VT_BSTR;
  V_BSTR(v.Get()) = string.Detach();
  return v;
}

Variant Variant::OfObject(IDispatch* object) noexcept {
  Variant v;
  V_VT(v.Get()) = VT_DISPATCH;
  V_DISPATCH(v.Get()) = ComPtr<IDispatch>::Share(object).Detach();
  return v;
}

Variant Variant::ByReference(BSTR* string) noexcept {
  Variant v;
  V_VT(v.Get()) = VT_BSTR | VT_BYREF;
  V_BSTRREF(v.Get()) = string;
  return v;
}

Variant Variant::ByReference(VARIANT* variant) noexcept {
  Variant v;
  V_VT(v.Get()) = VT_VARIANT | VT_BYREF;
  V_VARIANTREF(v.Get()) = variant;
  return v;
}

Variant Variant::Missing() noexcept {
  Variant v;
  V_VT(v.Get()) = VT_ERROR;
  V_ERROR(v.Get()) = DISP_E_PARAMNOTFOUND;
  return v;
}

VARIANT Variant::Detach() noexcept {
  const VARIANT contents = variant_;
  VariantInit(&variant_);
  return contents;
}

Text ToText(BSTR string) { return {string, string + SysStringLen(string)}; }

const wchar_t* ToWide(const Text& text) noexcept {
  return reinterpret_cast<const wchar_t*>(text.c_str());
}

Text FromWide(const wchar_t* text) {
  Text copy;
  while (text != nullptr && *text != L'\0') copy += static_cast<char16_t>(*text++);
  return copy;
}

}  // namespace ledgerwick::com
