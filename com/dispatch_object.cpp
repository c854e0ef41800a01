#include "com/dispatch_object.h"

#include <cguid.h>

#include <algorithm>

#include "com/errors.h"

namespace ledgerwick::com {
namespace {

constexpr LCID kLocale = LOCALE_USER_DEFAULT;

// Moves the arguments into the order in which a call takes them: the last one first. The owners
// stay responsible for what the copies hold.
std::vector<VARIANT> Reversed(std::vector<Variant>& arguments) {
  std::vector<VARIANT> raw;
  raw.reserve(arguments.size());
  std::for_each(arguments.rbegin(), arguments.rend(), [&](Variant& v) { raw.push_back(*v.Get()); });
  return raw;
}

}  // namespace

DispatchObject::DispatchObject(ComPtr<IDispatch> object)
    : bound_(std::make_shared<Bound>(Bound{std::move(object), {}})) {}

Variant DispatchObject::Call(const wchar_t* name, std::vector<Variant> arguments) {
  std::vector<VARIANT> raw = Reversed(arguments);
  DISPPARAMS parameters = {raw.data(), nullptr, static_cast<UINT>(raw.size()), 0};
  // A language that binds late cannot tell a method from a property that it reads.
  return Invoke(name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, parameters);
}

void DispatchObject::Put(const wchar_t* name, const Variant& value) {
  PutWith(name, DISPATCH_PROPERTYPUT, value);
}

void DispatchObject::PutReference(const wchar_t* name, IDispatch* value) {
  PutWith(name, DISPATCH_PROPERTYPUTREF, Variant::OfObject(value));
}

void DispatchObject::PutWith(const wchar_t* name, WORD flags, const Variant& value) {
  DISPID named = DISPID_PROPERTYPUT;
  VARIANT raw = *value.Get();
  DISPPARAMS parameters = {&raw, &named, 1, 1};
  Invoke(name, flags, parameters);
}

DISPID DispatchObject::Find(Bound& bound, const wchar_t* name) {
  if (const auto known = bound.numbers.find(name); known != bound.numbers.end()) {
    return known->second;
  }
  if (!bound.object) throw ObjectNotSet();
  DISPID number = DISPID_UNKNOWN;
  std::wstring copy = name;
  wchar_t* names[] = {copy.data()};
  ThrowIfFailed(bound.object->GetIDsOfNames(IID_NULL, names, 1, kLocale, &number));
  bound.numbers.emplace(name, number);
  return number;
}

Variant DispatchObject::Invoke(const wchar_t* name, WORD flags, DISPPARAMS& parameters) {
  const std::shared_ptr<Bound> bound = bound_;  // the host may end this object from inside the call
  const DISPID number = Find(*bound, name);
  Variant result;
  EXCEPINFO info = {};
  UINT wrong_argument = 0;
  // A property that is written gives no result.
  const bool gives = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) == 0;
  const HRESULT code =
      bound->object->Invoke(number, IID_NULL, kLocale, flags, &parameters,
                            gives ? result.Get() : nullptr, &info, &wrong_argument);
  if (code == DISP_E_EXCEPTION) throw FromException(info);
  ThrowIfFailed(code);
  return result;
}

DispatchObject CreateByProgId(const wchar_t* prog_id) {
  CLSID id;
  ComPtr<IDispatch> object;
  if (FAILED(CLSIDFromProgID(prog_id, &id)) ||
      FAILED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                              reinterpret_cast<void**>(object.Receive())))) {
    throw CannotCreate(FromWide(prog_id));
  }
  return DispatchObject(std::move(object));
}

}  // namespace ledgerwick::com
