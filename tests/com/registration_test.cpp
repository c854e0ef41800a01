// Registering for the current user, where writing may fail at any entry.
#include <doctest/doctest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <vector>

#include "component.h"
#include "notices.h"

namespace ledgerwick::com::testing {
namespace {

constexpr const wchar_t* kClasses = L"Software\\Classes";
using Snapshot = std::set<std::wstring>;

// Adds the key `name` of `parent`, which is to be noted as `path`, all below it and the values.
void Note(HKEY parent, const wchar_t* name, const std::wstring& path, Snapshot& snapshot) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(parent, name, 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  snapshot.insert(path);
  wchar_t child[512];
  BYTE bytes[4096];
  for (DWORD i = 0, size = 512, length = 4096;
       RegEnumValueW(key, i, child, &size, nullptr, nullptr, bytes, &length) == ERROR_SUCCESS;
       ++i, size = 512, length = 4096) {
    snapshot.insert(path + L" " + child + L"=" +
                    std::wstring(reinterpret_cast<wchar_t*>(bytes), length / sizeof(wchar_t)));
  }
  for (DWORD i = 0; RegEnumKeyW(key, i, child, 512) == ERROR_SUCCESS; ++i) {
    Note(key, child, path + L"\\" + child, snapshot);
  }
  RegCloseKey(key);
}

Snapshot UsersClasses() {
  Snapshot snapshot;
  Note(HKEY_CURRENT_USER, kClasses, L"", snapshot);
  snapshot.erase(L"");  // a fresh user has no classes at all
  return snapshot;
}

// The user's classes are as `wanted`; otherwise the first difference is shown.
void CheckClasses(const Snapshot& wanted) {
  const Snapshot now = UsersClasses();
  std::vector<std::wstring> differs;
  std::set_symmetric_difference(now.begin(), now.end(), wanted.begin(), wanted.end(),
                                std::back_inserter(differs));
  const std::wstring first = differs.empty() ? L"" : differs.front();
  CHECK(ToUtf8(FromWide(first.c_str())) == "");
}

int writes_left = 0;

LSTATUS WINAPI WriteSome(HKEY key, const wchar_t* name, DWORD reserved, DWORD type,
                         const BYTE* bytes, DWORD size) {
  if (writes_left-- == 0) return ERROR_ACCESS_DENIED;
  return RegSetValueExW(key, name, reserved, type, bytes, size);
}

LSTATUS WINAPI CreateSome(HKEY key, const wchar_t* path, DWORD reserved, wchar_t* kind,
                          DWORD options, REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* result,
                          DWORD* disposition) {
  if (writes_left-- == 0) return ERROR_ACCESS_DENIED;
  return RegCreateKeyExW(key, path, reserved, kind, options, access, security, result, disposition);
}

TEST_SUITE("registration") {
  TEST_CASE("what fails is taken back, and what goes leaves nothing behind") {
    const std::unique_ptr<std::remove_pointer_t<HMODULE>, decltype(&FreeLibrary)> loaded(
        LoadLibraryW(L"Ledgerwick.dll"), &FreeLibrary);
    const HMODULE module = loaded.get();
    const auto install = Exported<BOOL, const wchar_t*>(module, "DllInstall");
    const Snapshot bare = UsersClasses();
    writes_left = -1;  // none fails
    const ImportHook write(module, "RegSetValueExW", reinterpret_cast<void*>(&WriteSome));
    const ImportHook create(module, "RegCreateKeyExW", reinterpret_cast<void*>(&CreateSome));
    REQUIRE(install(TRUE, L"user") == S_OK);
    const int writes = -1 - writes_left;
    const Snapshot registered = UsersClasses();
    CHECK(registered.size() > bare.size() + 18U);
    REQUIRE(install(FALSE, L"user") == S_OK);
    CheckClasses(bare);

    // Where nothing is registered, and where the component is, from another folder.
    const std::wstring own_class = std::wstring(kClasses) + L"\\Ledgerwick.clsRepAQKCYJ\\Clsid";
    for (const bool there_before : {false, true}) {
      CAPTURE(there_before);
      writes_left = -1;
      if (there_before) {
        REQUIRE(install(TRUE, L"user") == S_OK);
        RegSetKeyValueW(HKEY_CURRENT_USER, own_class.c_str(), nullptr, REG_EXPAND_SZ, L"%x%", 8);
      }
      const Snapshot before = UsersClasses();
      for (int fails = 0; fails < writes; fails = fails * 2 + 1) {
        CAPTURE(fails);
        writes_left = fails;
        CHECK(install(TRUE, L"user") == E_ACCESSDENIED);
        CheckClasses(before);
      }
      writes_left = -1;
      CHECK(install(FALSE, L"user") == S_OK);
      CheckClasses(bare);
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
