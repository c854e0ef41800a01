#include "com/registration.h"

#include <optional>
#include <string>
#include <vector>

#include "com/errors.h"
#include "com/module.h"
#include "component/class_table.h"

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
  std::wstring other_platform;            // is there while the other word size is registered
};

std::wstring ToString(REFGUID id) {
  wchar_t text[40];
  StringFromGUID2(id, text, 40);
  return text;
}

std::wstring Wide(const Text& text) { return {text.begin(), text.end()}; }

// What a class is called. Not the type library's help text, which this machine's code page decides.
std::wstring TitleOf(const Text& class_name) {
  const ClassInfo* const info = FindClass(class_name);
  const bool has_help = info != nullptr && !info->help.empty();
  return has_help ? Wide(Text(info->help)) : kProgIdStart + Wide(class_name);
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

void AddClass(const ClassTypes& types, const LibraryIdentity& library, const std::wstring& path,
              Entries& entries) {
  const std::wstring name = Wide(types.name);
  const std::wstring prog_id = kProgIdStart + name;
  const std::wstring class_id = ToString(types.class_id);
  const std::wstring class_key = L"CLSID\\" + class_id;
  const std::wstring interface_key = L"Interface\\" + ToString(types.interface_id);
  const std::wstring title = TitleOf(types.name);
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
  const std::wstring version = L"TypeLib\\" + identity.id + L"\\" + identity.version;
  entries.values.insert(entries.values.end(),
                        {{version, L"", identity.help},
                         {version + L"\\FLAGS", L"", L"0"},
                         {version + L"\\HELPDIR", L"", path.substr(0, path.find_last_of(L'\\'))}});
  // The marshaler of the interfaces looks the library up without a locale.
  for (const std::wstring& locale : {identity.locale, std::wstring(L"0")}) {
    const std::wstring platform = version + L"\\" + locale + L"\\" + kPlatform;
    entries.values.push_back({platform, L"", path});
    entries.own_keys.push_back(platform);
  }
  entries.other_platform = version + L"\\" + identity.locale + L"\\" + kOtherPlatform;
  // Another version of the library may stand beside this one.
  entries.shared_keys.push_back(version);
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
    AddClass(ReadClass(*coclass.Get()), identity, path, entries);
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

// The full path of a key under the classes' root.
std::wstring PathOf(const std::wstring& key) { return kClassesRoot + key; }

LSTATUS Open(Scope scope, const std::wstring& path, REGSAM access, Key& opened) noexcept {
  return RegOpenKeyExW(Root(scope), path.c_str(), 0, access, opened.Receive());
}

// Deletes the key at `path` and those above it, up to the first that holds anything. Needs no
// memory.
void RemoveEmpty(Scope scope, std::wstring& path) noexcept {
  for (; path.size() > std::wstring_view(kClassesRoot).size(); path.resize(path.rfind(L'\\'))) {
    Key opened;
    DWORD keys = 0;
    DWORD values = 0;
    if (Open(scope, path, KEY_READ, opened) != ERROR_SUCCESS ||
        RegQueryInfoKeyW(opened.Get(), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values,
                         nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS ||
        keys + values > 0 || RegDeleteKeyW(Root(scope), path.c_str()) != ERROR_SUCCESS) {
      return;
    }
  }
}

void Remove(Scope scope, const std::wstring& key) {
  std::wstring path = PathOf(key);
  const LSTATUS status = RegDeleteTreeW(Root(scope), path.c_str());
  if (status != ERROR_FILE_NOT_FOUND && status != ERROR_PATH_NOT_FOUND) Check(status);
  path.resize(path.rfind(L'\\'));
  RemoveEmpty(scope, path);
}

// Writes entries, and takes them back unless it is told to keep them.
class Writer {
 public:
  explicit Writer(Scope scope) : scope_(scope) {}
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer() {
    for (auto old = replaced_.rbegin(); old != replaced_.rend(); ++old) Restore(*old);
  }

  void Write(const Entry& entry) {
    Old& old = replaced_.emplace_back(Read(entry));
    Key key;
    Check(RegCreateKeyExW(Root(scope_), old.path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr,
                          key.Receive(), nullptr));
    const auto bytes = static_cast<DWORD>((entry.value.size() + 1) * sizeof(wchar_t));
    Check(RegSetValueExW(key.Get(), old.Name(), 0, REG_SZ,
                         reinterpret_cast<const BYTE*>(entry.value.c_str()), bytes));
  }

  void Keep() noexcept { replaced_.clear(); }

 private:
  // A value as it was before.
  struct Old {
    std::wstring path;
    std::wstring name;
    DWORD type = REG_NONE;
    std::optional<std::vector<BYTE>> bytes;  // none where there was no value

    const wchar_t* Name() const noexcept { return name.empty() ? nullptr : name.c_str(); }
  };

  Old Read(const Entry& entry) const {
    Old old{PathOf(entry.key), entry.name, REG_NONE, std::nullopt};
    Key key;
    DWORD size = 0;
    if (Open(scope_, old.path, KEY_READ, key) != ERROR_SUCCESS ||
        RegQueryValueExW(key.Get(), old.Name(), nullptr, nullptr, nullptr, &size) !=
            ERROR_SUCCESS) {
      return old;
    }
    old.bytes.emplace(size);
    Check(RegQueryValueExW(key.Get(), old.Name(), nullptr, &old.type, old.bytes->data(), &size));
    return old;
  }

  // What cannot be restored stays: the failure that led here is the one to tell. Needs no memory,
  // which may be what failed.
  void Restore(Old& old) const noexcept {
    Key key;
    if (Open(scope_, old.path, KEY_READ | KEY_WRITE, key) != ERROR_SUCCESS) return;
    if (old.bytes) {
      RegSetValueExW(key.Get(), old.Name(), 0, old.type, old.bytes->data(),
                     static_cast<DWORD>(old.bytes->size()));
    } else {
      RegDeleteValueW(key.Get(), old.Name());
      RemoveEmpty(scope_, old.path);
    }
  }

  const Scope scope_;
  std::vector<Old> replaced_;
};

}  // namespace

void Register(Scope scope) {
  const Entries entries = MakeEntries();
  Writer writer(scope);
  for (const Entry& entry : entries.values) writer.Write(entry);
  writer.Keep();
}

void Unregister(Scope scope) {
  const Entries entries = MakeEntries();
  for (const std::wstring& key : entries.own_keys) Remove(scope, key);
  Key opened;
  const std::wstring other = PathOf(entries.other_platform);
  if (Open(scope, other, KEY_READ, opened) == ERROR_SUCCESS) return;
  for (const std::wstring& key : entries.shared_keys) Remove(scope, key);
}

}  // namespace ledgerwick::com
