// A trace as T-SQL.
#pragma once

#include <string>

#include "host/trace.h"

namespace ledgerwick {

// What the report did as a script in UTF-8 that a server runs as it stands: a batch for each
// statement, calls of procedures as EXEC with their values in order, statements whose errors the
// report passes over inside TRY, everything else as comments, and the host's reading of the table
// as the last batch. No value of a filter can end a batch early or be taken for a variable of the
// tool that runs the script.
std::string ToScript(const Trace& trace, const ClassInfo& report);

}  // namespace ledgerwick
