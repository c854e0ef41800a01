// The component as a host reaches it.
#pragma once

#include <functional>
#include <string>

#include "com/com_types.h"
#include "com/dispatch_object.h"
#include "component/class_table.h"

namespace ledgerwick::com::testing {

// The interface and class identifiers that the type library in Ledgerwick.dll gives a class.
struct Identifiers {
  CLSID class_id;
  IID interface_id;
};

// The folder of the test program and of Ledgerwick.dll.
std::wstring ProgramFolder();

// The type library of Ledgerwick.dll.
ComPtr<ITypeLib> LoadLibraryOfTypes();

Identifiers IdentifiersOf(const ClassInfo& info);

std::wstring ProgIdOf(const ClassInfo& info);

// A new object of the class, created by its ProgID, or the code of the failure.
HRESULT Create(const ClassInfo& info, ComPtr<IDispatch>& object);

// Binds the classes that a manifest names, from now on: the file at `path`, or what a module there
// holds as its resource 1. False when it cannot be used.
bool UseManifest(const wchar_t* path);

// The function of that name that `module` exports.
template <typename... Arguments>
auto Exported(HMODULE module, const char* name) {
  using Function = HRESULT(STDAPICALLTYPE*)(Arguments...);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// The entry at `index` of an object's function table.
template <typename Function>
Function EntryOf(IDispatch* object, std::size_t index) {
  return reinterpret_cast<Function>((*reinterpret_cast<void***>(object))[index]);
}

// True when the loaded module agrees to be unloaded.
bool MayUnload();

// The number of the DatabaseError that `action` throws, 0 for none.
std::int32_t NumberOfError(const std::function<void()>& action);

// Calls a member by its number or name, with the very arguments, and gives the call's code.
struct Outcome {
  HRESULT code = S_OK;
  Variant result;
  EXCEPINFO exception = {};  // its strings are owned by nobody and leak in tests that look at them
};
Outcome Invoke(IDispatch* object, DISPID id, WORD flags,
               const std::vector<Variant>& arguments = {});
Outcome Invoke(IDispatch* object, const std::wstring& name, WORD flags,
               const std::vector<Variant>& arguments = {});
DISPID NumberOf(IDispatch* object, const std::wstring& name);

}  // namespace ledgerwick::com::testing
