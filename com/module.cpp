#include "com/module.h"

#include "com/errors.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;  // where the linker places the module

namespace ledgerwick::com {
namespace {

// Hosts create objects in any number of apartments.
class ExclusiveLock {
 public:
  explicit ExclusiveLock(SRWLOCK& lock) noexcept : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
  ~ExclusiveLock() { ReleaseSRWLockExclusive(&lock_); }
  ExclusiveLock(const ExclusiveLock&) = delete;
  ExclusiveLock& operator=(const ExclusiveLock&) = delete;

 private:
  SRWLOCK& lock_;
};

struct Module {
  SRWLOCK lock = SRWLOCK_INIT;
  LONG users = 0;
  // Kept, because reading it takes longer than creating an object. Not an owner: when the process
  // ends, the platform is gone before this module's destructors run.
  ITypeLib* library = nullptr;
};

Module module;

}  // namespace

ModuleLock::ModuleLock() noexcept { LockModule(); }

ModuleLock::~ModuleLock() { UnlockModule(); }

void LockModule() noexcept { InterlockedIncrement(&module.users); }

void UnlockModule() noexcept { InterlockedDecrement(&module.users); }

bool ReleaseIfUnused() noexcept {
  const ExclusiveLock lock(module.lock);
  if (InterlockedCompareExchange(&module.users, 0, 0) != 0) return false;
  if (ITypeLib* const library = std::exchange(module.library, nullptr)) library->Release();
  return true;
}

std::wstring ModulePath() {
  constexpr DWORD kLongest = 32768;
  constexpr std::wstring_view kUnparsed = L"\\\\?\\";
  std::wstring path(kLongest, L'\0');
  path.resize(GetModuleFileNameW(reinterpret_cast<HMODULE>(&__ImageBase), path.data(), kLongest));
  if (path.starts_with(kUnparsed) && path.substr(kUnparsed.size(), 4) != L"UNC\\") {
    path.erase(0, kUnparsed.size());
  }
  return path;
}

ComPtr<ITypeLib> TypeLibrary() {
  const ExclusiveLock lock(module.lock);
  if (module.library == nullptr) {
    ThrowIfFailed(LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, &module.library));
  }
  return ComPtr<ITypeLib>::Share(module.library);
}

ClassTypes ReadClass(ITypeInfo& coclass) {
  ClassTypes types;
  BString name;
  ThrowIfFailed(coclass.GetDocumentation(MEMBERID_NIL, name.Address(), nullptr, nullptr, nullptr));
  types.name = ToText(name.Get());
  const auto identifier = [](ITypeInfo& type) {
    TYPEATTR* attributes = nullptr;
    ThrowIfFailed(type.GetTypeAttr(&attributes));
    const GUID id = attributes->guid;
    type.ReleaseTypeAttr(attributes);
    return id;
  };
  types.class_id = identifier(coclass);
  HREFTYPE reference = 0;
  ThrowIfFailed(coclass.GetRefTypeOfImplType(0, &reference));
  ThrowIfFailed(coclass.GetRefTypeInfo(reference, types.interface_type.Receive()));
  types.interface_id = identifier(*types.interface_type.Get());
  return types;
}

}  // namespace ledgerwick::com
