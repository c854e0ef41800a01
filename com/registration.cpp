#include "com/registration.h"

#include <string>
#include <vector>

#include "com/errors.h"
#include "com/module.h"

namespace ledgerwick::com {
namespace {

constexpr const wchar_t* kClassesRoot = L"Software\\Classes\\";
constexpr const wchar_t* kProgIdStart = L"Ledgerwick.";
// The platform's marshaler for interfaces that a type library describes.
constexpr const wchar_t* kTypeLibraryMarshaler = L"{00020424-0000-0000-C000-000000000046}";
constexpr const wchar_t* kPlatform = sizeof(void*) == 8 ? L"win64" : L"win32";
constexpr const wchar_t* kOtherPlatform = sizeof(void*) == 8 ? L"win32" : L"win64";

// One default or named value of a key under the classes' root.
struct Entry {
  std::wstring key;
  std::wstring name;  // empty for the key's default value
  std::wstring value;
};

// What is written, and which keys go when the component does.
struct Entries {
  std::vector<Entry> values;
  std::vector<std::wstring> own_keys;     // this word size's alone
  std::vector<std::wstring> shared_keys;  // both word sizes'
  std::wstring library_version;           // the key above the platforms' type libraries
  std::wstring library;
};

std::wstring ToString(REFGUID id) {
  wchar_t text[40];
  StringFromGUID2(id, text, 40);
  return text;
}

std::wstring Wide(const Text& text) { return {text.begin(), text.end()}; }

std::wstring HelpOf(ITypeInfo& type) {
  BString help;
  ThrowIfFailed(type.GetDocumentation(MEMBERID_NIL, nullptr, help.Address(), nullptr, nullptr));
  return Wide(ToText(help.Get()));
}

struct LibraryIdentity {
  std::wstring id;
  std::wstring version;
  std::wstring locale;
  std::wstring help;
};

LibraryIdentity ReadIdentity(ITypeLib& library) {
  TLIBATTR* attributes = nullptr;
  ThrowIfFailed(library.GetLibAttr(&attributes));
  LibraryIdentity identity;
  identity.id = ToString(attributes->guid);
  identity.version =
      std::to_wstring(attributes->wMajorVerNum) + L"." + std::to_wstring(attributes->wMinorVerNum);
  wchar_t locale[16];
  wsprintfW(locale, L"%x", attributes->lcid);
  identity.locale = locale;
  library.ReleaseTLibAttr(attributes);
  BString help;
  ThrowIfFailed(library.GetDocumentation(-1, nullptr, help.Address(), nullptr, nullptr));
  identity.help = Wide(ToText(help.Get()));
  return identity;
}

void AddClass(const ClassTypes& types, const std::wstring& help, const LibraryIdentity& library,
              const std::wstring& path, Entries& entries) {
  const std::wstring name = Wide(types.name);
  const std::wstring prog_id = kProgIdStart + name;
  const std::wstring class_id = ToString(types.class_id);
  const std::wstring class_key = L"CLSID\\" + class_id;
  const std::wstring interface_key = L"Interface\\" + ToString(types.interface_id);
  const std::wstring& title = help.empty() ? prog_id : help;
  entries.values.insert(entries.values.end(),
                        {{class_key, L"", title},
                         {class_key + L"\\InprocServer32", L"", path},
                         {class_key + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
                         {class_key + L"\\ProgID", L"", prog_id},
                         {class_key + L"\\TypeLib", L"", library.id},
                         {class_key + L"\\VERSION", L"", library.version},
                         {class_key + L"\\Programmable", L"", L""},
                         {prog_id, L"", title},
                         {prog_id + L"\\Clsid", L"", class_id},
                         {interface_key, L"", L"_" + name},
                         {interface_key + L"\\ProxyStubClsid32", L"", kTypeLibraryMarshaler},
                         {interface_key + L"\\TypeLib", L"", library.id},
                         {interface_key + L"\\TypeLib", L"Version", library.version}});
  entries.own_keys.insert(entries.own_keys.end(), {class_key, interface_key});
  entries.shared_keys.push_back(prog_id);
}

void AddLibrary(const LibraryIdentity& identity, const std::wstring& path, Entries& entries) {
  entries.library = L"TypeLib\\" + identity.id;
  entries.library_version = entries.library + L"\\" + identity.version;
  const std::wstring locale = entries.library_version + L"\\" + identity.locale;
  entries.values.insert(entries.values.end(), {{entries.library_version, L"", identity.help},
                                               {locale + L"\\" + kPlatform, L"", path},
                                               {entries.library_version + L"\\FLAGS", L"", L"0"},
                                               {entries.library_version + L"\\HELPDIR", L"",
                                                path.substr(0, path.find_last_of(L'\\'))}});
  entries.own_keys.push_back(locale + L"\\" + kPlatform);
}

Entries MakeEntries() {
  Entries entries;
  const ComPtr<ITypeLib> library = TypeLibrary();
  const LibraryIdentity identity = ReadIdentity(*library.Get());
  const std::wstring path = ModulePath();
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    TYPEKIND kind = TKIND_MAX;
    ThrowIfFailed(library->GetTypeInfoType(i, &kind));
    if (kind != TKIND_COCLASS) continue;
    ComPtr<ITypeInfo> coclass;
    ThrowIfFailed(library->GetTypeInfo(i, coclass.Receive()));
    AddClass(ReadClass(*coclass.Get()), HelpOf(*coclass.Get()), identity, path, entries);
  }
  AddLibrary(identity, path, entries);
  return entries;
}

// A key of the registry, closed at the end.
class Key {
 public:
  Key() = default;
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() {
    if (key_ != nullptr) RegCloseKey(key_);
  }
  HKEY* Receive() noexcept { return &key_; }
  HKEY Get() const noexcept { return key_; }

 private:
  HKEY key_ = nullptr;
};

HKEY Root(Scope scope) noexcept {
  return scope == Scope::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

void Check(LSTATUS status) { ThrowIfFailed(HRESULT_FROM_WIN32(static_cast<DWORD>(status))); }

void Write(Scope scope, const Entry& entry) {
  Key key;
  Check(RegCreateKeyExW(Root(scope), (kClassesRoot + entry.key).c_str(), 0, nullptr, 0, KEY_WRITE,
                        nullptr, key.Receive(), nullptr));
  const auto bytes = static_cast<DWORD>((entry.value.size() + 1) * sizeof(wchar_t));
  Check(RegSetValueExW(key.Get(), entry.name.empty() ? nullptr : entry.name.c_str(), 0, REG_SZ,
                       reinterpret_cast<const BYTE*>(entry.value.c_str()), bytes));
}

void Remove(Scope scope, const std::wstring& key) {
  const LSTATUS status = RegDeleteTreeW(Root(scope), (kClassesRoot + key).c_str());
  if (status != ERROR_FILE_NOT_FOUND && status != ERROR_PATH_NOT_FOUND) Check(status);
}

bool Exists(Scope scope, const std::wstring& key) {
  Key opened;
  return RegOpenKeyExW(Root(scope), (kClassesRoot + key).c_str(), 0, KEY_READ, opened.Receive()) ==
         ERROR_SUCCESS;
}

// True when the key is there and has no key below it.
bool IsChildless(Scope scope, const std::wstring& key) {
  Key opened;
  DWORD children = 0;
  return RegOpenKeyExW(Root(scope), (kClassesRoot + key).c_str(), 0, KEY_READ, opened.Receive()) ==
             ERROR_SUCCESS &&
         RegQueryInfoKeyW(opened.Get(), nullptr, nullptr, nullptr, &children, nullptr, nullptr,
                          nullptr, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
         children == 0;
}

}  // namespace

void Register(Scope scope) {
  for (const Entry& entry : MakeEntries().values) Write(scope, entry);
}

void Unregister(Scope scope) {
  const Entries entries = MakeEntries();
  for (const std::wstring& key : entries.own_keys) Remove(scope, key);
  const std::wstring locale =
      entries.own_keys.back().substr(0, entries.own_keys.back().rfind(L'\\'));
  if (Exists(scope, locale + L"\\" + kOtherPlatform)) return;
  for (const std::wstring& key : entries.shared_keys) Remove(scope, key);
  Remove(scope, entries.library_version);
  // Another version of the library may stand beside this one.
  if (IsChildless(scope, entries.library)) Remove(scope, entries.library);
}

}  // namespace ledgerwick::com
