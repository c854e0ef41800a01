// What the platform calls in the module.
#include "com/class_factory.h"
#include "com/errors.h"
#include "com/module.h"
#include "com/registration.h"

namespace __gnu_cxx {
void __freeres() noexcept;  // in the compiler's library, which no header declares
}

namespace ledgerwick::com {
namespace {

HRESULT Perform(void (*action)(Scope), Scope scope) noexcept {
  HRESULT result = S_OK;
  try {
    action(scope);
  } catch (...) {
    result = ReportException(IID_IUnknown);
  }
  // Who registers frees the module without asking it.
  ReleaseIfUnused();
  return result;
}

}  // namespace
}  // namespace ledgerwick::com

using ledgerwick::com::Scope;

extern "C" {

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* process_ends) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
  // The pool from which exceptions are thrown when memory has run out.
  if (reason == DLL_PROCESS_DETACH && process_ends == nullptr) __gnu_cxx::__freeres();
  return TRUE;
}

HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID class_id, REFIID iid, void** result) {
  return ledgerwick::com::GetClassObject(class_id, iid, result);
}

HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return ledgerwick::com::ReleaseIfUnused() ? S_OK : S_FALSE;
}

HRESULT STDAPICALLTYPE DllRegisterServer() {
  return ledgerwick::com::Perform(&ledgerwick::com::Register, Scope::Machine);
}

HRESULT STDAPICALLTYPE DllUnregisterServer() {
  return ledgerwick::com::Perform(&ledgerwick::com::Unregister, Scope::Machine);
}

// `command_line` "user" registers for the current user, none or an empty one for the machine;
// anything else is E_INVALIDARG.
HRESULT STDAPICALLTYPE DllInstall(BOOL install, const wchar_t* command_line) {
  const std::wstring_view scope = command_line == nullptr ? L"" : command_line;
  if (!scope.empty() && lstrcmpiW(command_line, L"user") != 0) return E_INVALIDARG;
  return ledgerwick::com::Perform(
      install ? &ledgerwick::com::Register : &ledgerwick::com::Unregister,
      scope.empty() ? Scope::Machine : Scope::User);
}
}
