// What the driver has to say after a call.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/error.h"
#include "frame/text.h"
#include "odbc/odbc_api.h"

namespace ledgerwick::odbc {

// One message of the server, the driver or the driver manager.
struct Diagnostic {
  Text state;                 // SQLSTATE, five characters
  std::int32_t native = 0;    // the server's number, or one of the driver's own
  Text text;                  // without the names in brackets that drivers put before it
  std::int32_t severity = 0;  // this and what follows: 0 or empty where the driver does not tell
  std::int32_t server_state = 0;
  std::int32_t line = 0;
  Text procedure;
  bool knows_procedure = false;  // whether the driver tells which procedure the line is in, if any

  // A message that is no error.
  bool IsInformation() const noexcept { return state.starts_with(u"01"); }
  // The connection could not be made or is gone.
  bool IsConnectionFailure() const noexcept { return state.starts_with(u"08"); }
};

// The messages of the last call on the handle, the weightiest first, as ODBC orders them.
std::vector<Diagnostic> ReadDiagnostics(SQLSMALLINT type, SQLHANDLE handle);

// `message` without the names of the vendor, the driver and the server that stand before it.
Text WithoutPrefixes(TextView message);

// The error as the component sees it, with the number that ADO gives for it. `diagnostic` is an
// error or a message of the server.
DatabaseError ToError(const Diagnostic& diagnostic);

}  // namespace ledgerwick::odbc
