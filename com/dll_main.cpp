// What the platform calls in the module.
#include "com/class_factory.h"
#include "com/errors.h"
#include "com/module.h"
#include "com/registration.h"

namespace ledgerwick::com {
namespace {

HRESULT Perform(void (*action)(Scope), Scope scope) noexcept {
  try {
    action(scope);
    return S_OK;
  } catch (...) {
    return ReportException(IID_IUnknown);
  }
}

}  // namespace
}  // namespace ledgerwick::com

using ledgerwick::com::Scope;

extern "C" {

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
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
