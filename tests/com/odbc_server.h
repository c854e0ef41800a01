// A server behind the double of ADO, reached through the platform's ODBC.
#pragma once

#include "fake_world.h"

namespace ledgerwick::com::testing {

// A server that is not connected yet. It is opened by what hosts write for ADO (odbc/target.h);
// `driver` is the ODBC driver's path or name.
std::shared_ptr<Server> NewOdbcServer(const Text& driver);

}  // namespace ledgerwick::com::testing
