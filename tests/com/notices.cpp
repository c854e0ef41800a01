#include "notices.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace ledgerwick::com::testing {
namespace {

std::vector<Notice> noted;

int WINAPI NoteBox(HWND owner, const wchar_t* text, const wchar_t* title, UINT style) {
  noted.push_back({false, style, owner, FromWide(text), FromWide(title)});
  return IDOK;
}

BOOL WINAPI NoteBeep(UINT type) {
  noted.push_back({true, type, nullptr, {}, {}});
  return TRUE;
}

// The place in `module` through which it calls `function`; nullptr when it imports none of the
// name.
void** FindImport(HMODULE module, const char* function) {
  auto* const base = reinterpret_cast<char*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& imports =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
  for (; library->Name != 0; ++library) {
    auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
    auto* entry = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++entry) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* import =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
      if (std::strcmp(reinterpret_cast<const char*>(import->Name), function) != 0) continue;
      return reinterpret_cast<void**>(&entry->u1.Function);
    }
  }
  return nullptr;
}

// The import table is read-only once the module is loaded.
void Write(void** entry, void* value) {
  DWORD protection = 0;
  VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &protection);
  *entry = value;
  VirtualProtect(entry, sizeof *entry, protection, &protection);
}

}  // namespace

ImportHook::ImportHook(HMODULE module, const char* function, void* replacement)
    : entry_(FindImport(module, function)) {
  if (entry_ == nullptr) throw std::runtime_error(std::string("no import of ") + function);
  original_ = *entry_;
  Write(entry_, replacement);
}

ImportHook::~ImportHook() { Write(entry_, original_); }

NoticeWatch::NoticeWatch(HMODULE module)
    : box_(module, "MessageBoxW", reinterpret_cast<void*>(&NoteBox)),
      beep_(module, "MessageBeep", reinterpret_cast<void*>(&NoteBeep)) {
  noted.clear();
}

const std::vector<Notice>& NoticeWatch::notices() const noexcept { return noted; }

}  // namespace ledgerwick::com::testing
