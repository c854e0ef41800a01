#include "com/variant_value.h"

#include <limits>

#include "com/errors.h"
#include "frame/error.h"

namespace ledgerwick::com {
namespace {

// The host's locale and its spelling of True and False.
constexpr LCID kLocale = LOCALE_USER_DEFAULT;
constexpr USHORT kFlags = VARIANT_ALPHABOOL;

// `variant` without any reference.
Variant Resolve(const Variant& variant) {
  VARIANT source = *variant.Get();  // the platform's function takes no const source
  if ((V_VT(&source) & VT_BYREF) != 0 && V_BYREF(&source) == nullptr) throw TypeMismatch();
  Variant resolved;
  const HRESULT code = VariantCopyInd(resolved.Get(), &source);
  // Said of references to what the platform does not know.
  if (code == E_INVALIDARG) throw TypeMismatch();
  ThrowIfFailed(code);
  return resolved;
}

Variant Change(const Variant& variant, VARTYPE type) {
  VARIANT source = *variant.Get();
  Variant changed;
  ThrowIfFailed(VariantChangeTypeEx(changed.Get(), &source, kLocale, kFlags, type));
  return changed;
}

bool IsReference(const Variant& variant) noexcept { return (V_VT(variant.Get()) & VT_BYREF) != 0; }

// A single has seven digits: as a double, 0.1 would read 0.100000001490116.
Value FromSingle(const Variant& variant) {
  return V_R8(Change(Change(variant, VT_BSTR), VT_R8).Get());
}

Value FromWhole(const Variant& variant) { return std::int64_t{V_I8(Change(variant, VT_I8).Get())}; }

Variant ChangeToNumber(const Variant& variant, VARTYPE type) {
  const Variant resolved = Resolve(variant);
  if (V_VT(resolved.Get()) == VT_NULL) throw InvalidUseOfNull();
  return Change(resolved, type);
}

}  // namespace

Text HostVariant::ToText() const {
  if (IsReference(variant_)) return com::ToText(Resolve(variant_));
  return com::ToText(V_BSTR(Change(variant_, VT_BSTR).Get()));
}

Value ToValue(std::shared_ptr<const HostVariant> variant) {
  const Variant& v = variant->Held();
  switch (V_VT(v.Get())) {
    case VT_EMPTY:
      return {};
    case VT_NULL:
      return Null{};
    case VT_BOOL:
      return V_BOOL(v.Get()) != VARIANT_FALSE;
    case VT_I1:
    case VT_I2:
    case VT_I4:
    case VT_I8:
    case VT_INT:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_UINT:
      return FromWhole(v);
    case VT_R4:
      return FromSingle(v);
    case VT_R8:
      return V_R8(v.Get());
    case VT_DATE:
      return Date{V_DATE(v.Get())};
    case VT_BSTR:
      return ToText(V_BSTR(v.Get()));
    default:
      return std::shared_ptr<const OpaqueValue>(std::move(variant));
  }
}

Value ToValue(Variant variant) {
  return ToValue(std::make_shared<const HostVariant>(std::move(variant)));
}

Variant ToVariant(const Value& value) {
  // Only ToValue makes opaque values here.
  if (const auto opaque = value.Opaque()) return static_cast<const HostVariant&>(*opaque).Held();
  Variant v;
  VARIANT& raw = *v.Get();
  if (value.IsNull()) {
    V_VT(&raw) = VT_NULL;
  } else if (const auto* b = value.If<bool>()) {
    V_VT(&raw) = VT_BOOL;
    V_BOOL(&raw) = *b ? VARIANT_TRUE : VARIANT_FALSE;
  } else if (const auto* i = value.If<std::int64_t>()) {
    const bool small = *i >= std::numeric_limits<std::int32_t>::min() &&
                       *i <= std::numeric_limits<std::int32_t>::max();
    if (small) return Variant::OfInteger(static_cast<std::int32_t>(*i));
    V_VT(&raw) = VT_I8;
    V_I8(&raw) = *i;
  } else if (const auto* d = value.If<double>()) {
    V_VT(&raw) = VT_R8;
    V_R8(&raw) = *d;
  } else if (const auto* date = value.If<Date>()) {
    V_VT(&raw) = VT_DATE;
    V_DATE(&raw) = date->serial;
  } else if (const auto* text = value.If<Text>()) {
    return Variant::OfText(*text);
  }
  return v;
}

Text ToText(Variant variant) { return ToValue(std::move(variant)).ToText(); }

std::int32_t ToInteger(const Variant& variant) {
  return V_I4(ChangeToNumber(variant, VT_I4).Get());
}

bool ToBoolean(const Variant& variant) {
  return V_BOOL(ChangeToNumber(variant, VT_BOOL).Get()) != VARIANT_FALSE;
}

ComPtr<IDispatch> ToObject(const Variant& variant) {
  const Variant v = Resolve(variant);
  const VARTYPE type = V_VT(v.Get());
  if (type == VT_EMPTY || type == VT_NULL) return {};
  if (type == VT_DISPATCH) return ComPtr<IDispatch>::Share(V_DISPATCH(v.Get()));
  if (type != VT_UNKNOWN) throw ObjectRequired();
  ComPtr<IDispatch> object;
  IUnknown* const unknown = V_UNKNOWN(v.Get());
  if (unknown != nullptr &&
      FAILED(unknown->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(object.Receive())))) {
    throw TypeMismatch();
  }
  return object;
}

}  // namespace ledgerwick::com
