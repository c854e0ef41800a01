// What the module keeps for itself: how many objects live, and its type library.
#pragma once

#include <string>

#include "com/com_types.h"
#include "component/class_table.h"

namespace ledgerwick::com {

// Counts as one reason to keep the module loaded, as long as it lives.
class ModuleLock {
 public:
  ModuleLock() noexcept;
  ~ModuleLock();
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;
};

// A further, or one less, reason that has no owner in this module (IClassFactory::LockServer).
void LockModule() noexcept;
void UnlockModule() noexcept;

// True when nothing keeps the module loaded. Lets go of the type library in that case.
bool ReleaseIfUnused() noexcept;

// The file that holds this module, without the prefix that marks a path as unparsed.
std::wstring ModulePath();

// The type library in this module. Throws DatabaseError when it cannot be read.
ComPtr<ITypeLib> TypeLibrary();

// A class of the type library.
struct ClassTypes {
  Text name;
  CLSID class_id;
  IID interface_id;
  ComPtr<ITypeInfo> interface_type;  // the default dispatch interface
};

// The class that `coclass` describes. Throws DatabaseError when the library is damaged.
ClassTypes ReadClass(ITypeInfo& coclass);

}  // namespace ledgerwick::com
