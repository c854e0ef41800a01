// The driver that is used where a connection string names none.
#pragma once

#include "frame/text.h"

namespace ledgerwick::odbc {

// The path of FreeTDS's driver where its package puts it, so that it needs no entry in
// odbcinst.ini; else the name of a driver for SQL Server that has one. Throws DatabaseError, which
// tells what to install, where there is neither.
Text DefaultDriver();

// What to say for Driver= where the text is `name`: a driver that the driver manager knows, or a
// path, as it stands; FreeTDS without an entry by its path.
Text DriverNamed(const Text& name);

}  // namespace ledgerwick::odbc
