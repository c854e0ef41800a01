#include "fake_object.h"

#include <algorithm>
#include <memory>

#include "com/errors.h"
#include "com/variant_value.h"

namespace ledgerwick::com::testing {
namespace {

HRESULT Raise(const DatabaseError& error, EXCEPINFO* info) {
  if (info == nullptr) return DISP_E_EXCEPTION;
  *info = {};
  info->scode = ToResult(error.number);
  info->bstrSource = BString(error.source).Detach();
  info->bstrDescription = BString(error.description).Detach();
  info->bstrHelpFile = BString(error.help_file).Detach();
  info->dwHelpContext = error.help_context;
  return DISP_E_EXCEPTION;
}

HRESULT Raise(const Script& script, EXCEPINFO* info) {
  Raise(RaisedError(), info);
  info->wCode = script.raised_code;
  info->scode = script.raised_code == 0 ? script.raised : 0;
  return DISP_E_EXCEPTION;
}

// A null, or an array, which has no text and is no object.
Variant Wrong(Mishap mishap) { return mishap == Mishap::WrongType ? AnArray() : ToVariant(Null{}); }

// How the log notes a call: whether it writes, the member, and a first argument that is a text.
std::wstring Describe(const std::wstring& name, const FakeCall& call) {
  std::wstring text = (call.writes ? L"Put " : L"") + name;
  if (call.arguments.empty() || V_VT(call.arguments.front().Get()) != VT_BSTR) return text;
  const BSTR argument = V_BSTR(call.arguments.front().Get());
  return text.append(L" ").append(argument, SysStringLen(argument));
}

FakeCall ReadCall(WORD flags, const DISPPARAMS& parameters) {
  FakeCall call;
  call.writes = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  for (UINT i = parameters.cArgs; i-- > 0;) {
    Variant argument;
    // What is written is kept as it came; of arguments, what they refer to counts.
    if (call.writes) {
      VariantCopy(argument.Get(), &parameters.rgvarg[i]);
    } else {
      VariantCopyInd(argument.Get(), &parameters.rgvarg[i]);
    }
    call.arguments.push_back(argument);
  }
  const VARIANT* const first =
      parameters.cArgs == 0 ? nullptr : &parameters.rgvarg[parameters.cArgs - 1];
  if (first != nullptr && V_VT(first) == (VT_BSTR | VT_BYREF)) call.title = V_BSTRREF(first);
  return call;
}

}  // namespace

DatabaseError RaisedError() {
  DatabaseError error(kRaised, u"Provider", u"第 1 行: 语法错误");
  error.help_file = u"C:\\help.chm";
  error.help_context = 4711;
  return error;
}

Variant AnArray() {
  Variant v;
  V_VT(v.Get()) = VT_ARRAY | VT_I4;
  V_ARRAY(v.Get()) = SafeArrayCreateVector(VT_I4, 0, 1);
  return v;
}

void Script::Step() {
  const int step = steps++;
  if (const auto run = at_step) run(step);
}

ComPtr<IDispatch> FakeObject::Make(Script& script, std::map<std::wstring, Handler> members) {
  auto object = std::make_unique<FakeObject>(script);
  object->members_.assign(members.begin(), members.end());
  ComPtr<IDispatch> result;
  *result.Receive() = object.release();
  return result;
}

HRESULT FakeObject::QueryInterface(REFIID iid, void** result) {
  const bool known = iid == IID_IUnknown || iid == IID_IDispatch;
  *result = known ? this : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

ULONG FakeObject::Release() {
  const ULONG left = --references_;
  if (left == 0) std::unique_ptr<FakeObject>(this).reset();
  return left;
}

HRESULT FakeObject::GetTypeInfoCount(UINT* count) {
  *count = 0;
  return S_OK;
}

HRESULT FakeObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  script_.Step();
  const auto found = std::find_if(members_.begin(), members_.end(), [&](const auto& member) {
    return lstrcmpiW(member.first.c_str(), names[0]) == 0;
  });
  if (count != 1 || found == members_.end()) return DISP_E_UNKNOWNNAME;
  ids[0] = static_cast<DISPID>(found - members_.begin()) + 1;
  return S_OK;
}

HRESULT FakeObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                           VARIANT* result, EXCEPINFO* info, UINT*) {
  // The default property has no name, so it stands first.
  if (id == DISPID_VALUE && !members_.empty() && members_.front().first.empty()) id = 1;
  if (id == DISPID_VALUE) return DISP_E_MEMBERNOTFOUND;
  const auto& [name, handler] = members_[static_cast<std::size_t>(id - 1)];
  const FakeCall call = ReadCall(flags, *parameters);
  script_.Step();
  script_.log.push_back(Describe(name, call));
  const bool goes_wrong = script_.calls++ == script_.mishap_at;
  if (goes_wrong && script_.mishap == Mishap::Error) return Raise(script_, info);
  if (goes_wrong && script_.mishap == Mishap::NoMember) return DISP_E_MEMBERNOTFOUND;
  try {
    Variant given = handler(call);
    if (goes_wrong && script_.mishap != Mishap::None) given = Wrong(script_.mishap);
    if (result != nullptr) *result = given.Detach();
    return S_OK;
  } catch (const DatabaseError& error) {
    return Raise(error, info);
  }
}

}  // namespace ledgerwick::com::testing
