// What a connection says when it fails: what was going on, what the server or the driver said, and
// what can be done.
#pragma once

#include <vector>

#include "frame/error.h"
#include "frame/value.h"
#include "odbc/diagnostics.h"
#include "odbc/target.h"

namespace ledgerwick::odbc {

// Why there is no connection to `target`, as its driver or the driver manager told.
DatabaseError LoginFailure(const Target& target, const std::vector<Diagnostic>& diagnostics);

// The error of a statement on a connection to `target`. `seconds` is the time that it had.
DatabaseError StatementFailure(const Target& target, const Diagnostic& diagnostic, int seconds);

// The statement was cancelled because the user wished it.
DatabaseError CancelledError();

// As ADO refuses a closed, or an open, connection.
DatabaseError ClosedError();
DatabaseError OpenError();

}  // namespace ledgerwick::odbc
