#include "component.h"

#include <stdexcept>

#include "com/module.h"
#include "frame/error.h"

namespace ledgerwick::com::testing {

std::wstring ProgramFolder() {
  wchar_t path[2048];
  std::wstring folder(path, GetModuleFileNameW(nullptr, path, 2048));
  return folder.substr(0, folder.find_last_of(L"\\/") + 1);
}

ComPtr<ITypeLib> LoadLibraryOfTypes() {
  ComPtr<ITypeLib> library;
  const std::wstring path = ProgramFolder() + L"Ledgerwick.dll";
  if (FAILED(LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Receive()))) {
    throw std::runtime_error("Ledgerwick.dll has no type library");
  }
  return library;
}

Identifiers IdentifiersOf(const ClassInfo& info) {
  const ComPtr<ITypeLib> library = LoadLibraryOfTypes();
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    TYPEKIND kind = TKIND_MAX;
    library->GetTypeInfoType(i, &kind);
    if (kind != TKIND_COCLASS) continue;
    ComPtr<ITypeInfo> type;
    library->GetTypeInfo(i, type.Receive());
    const ClassTypes types = ReadClass(*type.Get());
    if (types.name == info.name) return {types.class_id, types.interface_id};
  }
  throw std::runtime_error("the type library lacks " + ToUtf8(info.name));
}

std::wstring ProgIdOf(const ClassInfo& info) {
  return L"Ledgerwick." + std::wstring(info.name.begin(), info.name.end());
}

HRESULT Create(const ClassInfo& info, ComPtr<IDispatch>& object) {
  CLSID id;
  const HRESULT found = CLSIDFromProgID(ProgIdOf(info).c_str(), &id);
  if (FAILED(found)) return found;
  return CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                          reinterpret_cast<void**>(object.Receive()));
}

bool UseManifest(const wchar_t* path) {
  ACTCTXW description = {};
  description.cbSize = sizeof description;
  description.lpSource = path;
  if (std::wstring_view(path).ends_with(L".dll")) {
    description.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
    description.lpResourceName = MAKEINTRESOURCEW(1);
  }
  const HANDLE context = CreateActCtxW(&description);
  ULONG_PTR cookie = 0;
  return context != INVALID_HANDLE_VALUE && ActivateActCtx(context, &cookie);
}

bool MayUnload() {
  return Exported<>(GetModuleHandleW(L"Ledgerwick.dll"), "DllCanUnloadNow")() == S_OK;
}

std::int32_t NumberOfError(const std::function<void()>& action) {
  try {
    action();
  } catch (const DatabaseError& error) {
    return error.number;
  }
  return 0;
}

DISPID NumberOf(IDispatch* object, const std::wstring& name) {
  std::wstring copy = name;
  wchar_t* names[] = {copy.data()};
  DISPID id = DISPID_UNKNOWN;
  object->GetIDsOfNames(GUID{}, names, 1, 0, &id);
  return id;
}

Outcome Invoke(IDispatch* object, DISPID id, WORD flags, const std::vector<Variant>& arguments) {
  std::vector<VARIANT> raw;
  for (auto argument = arguments.rbegin(); argument != arguments.rend(); ++argument) {
    raw.push_back(*argument->Get());
  }
  DISPID named = DISPID_PROPERTYPUT;
  const bool writes = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  DISPPARAMS parameters = {raw.data(), writes ? &named : nullptr, static_cast<UINT>(raw.size()),
                           writes ? 1U : 0U};
  Outcome outcome;
  outcome.code = object->Invoke(id, GUID{}, 0, flags, &parameters, outcome.result.Get(),
                                &outcome.exception, nullptr);
  return outcome;
}

Outcome Invoke(IDispatch* object, const std::wstring& name, WORD flags,
               const std::vector<Variant>& arguments) {
  return Invoke(object, NumberOf(object, name), flags, arguments);
}

}  // namespace ledgerwick::com::testing
