// The prompt of `query`.
#pragma once

#include "cli/commands.h"
#include "cli/console.h"

namespace ledgerwick {

// True where a user sits at both ends.
bool IsAtTerminal(const Console& console);

// Reads batches at the terminal and runs them on `connection` until the user has enough. Errors are
// told and end nothing; Ctrl-C stops the statement that runs. Returns the exit code, which is
// kRefused only where the database cannot be opened or a signal ends the program. Throws
// UsageError.
int RunPrompt(Console& terminal, const QueryOptions& options, const Text& connection);

}  // namespace ledgerwick
