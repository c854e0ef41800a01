// The component's entries in the registry.
#pragma once

#include "com/com_types.h"

namespace ledgerwick::com {

// For whom the component is registered: every user of the machine, or the current one alone.
enum class Scope { Machine, User };

// Writes the entries of all classes, their interfaces and the type library; what an older one of
// the same identifiers left is written over. Throws DatabaseError with the platform's code, for
// instance when the user may not register for the machine; then everything is as it was before.
void Register(Scope scope);

// Removes the entries, and the keys above them that are left empty. What the component for the
// other word size shares with this one stays as long as that one is registered. Entries that are
// not there are no failure.
void Unregister(Scope scope);

}  // namespace ledgerwick::com
