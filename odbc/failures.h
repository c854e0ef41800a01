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

// What is known of the statement that failed.
struct StatementFacts {
  int seconds = 0;               // the time that it had; 0 for no limit
  bool connection_gone = false;  // the driver says that the connection serves no more
};

// The error of a statement on a connection to `target`.
DatabaseError StatementFailure(const Target& target, const Diagnostic& diagnostic,
                               const StatementFacts& facts);

// The statement was cancelled because the user wished it.
DatabaseError CancelledError();

// As ADO refuses a closed, or an open, connection.
DatabaseError ClosedError();
DatabaseError OpenError();

}  // namespace ledgerwick::odbc
