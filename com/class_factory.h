// Creates the reports' objects.
#pragma once

#include "com/module.h"

namespace ledgerwick::com {

// The class object of `class_id`. Gives CLASS_E_CLASSNOTAVAILABLE for a class that the component
// does not have or whose report this version lacks, E_NOINTERFACE for an interface other than
// IUnknown and IClassFactory.
HRESULT GetClassObject(REFCLSID class_id, REFIID iid, void** result) noexcept;

}  // namespace ledgerwick::com
