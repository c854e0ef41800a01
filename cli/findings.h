// What is found in a request, on the console.
#pragma once

#include <string>
#include <vector>

#include "cli/console.h"
#include "host/finding.h"
#include "host/request.h"

namespace ledgerwick {

// Tells the errors and warnings among what is found in `request` on the error stream, a line for
// each. Returns false when there is any and `strict` is set, so that the command must not go on.
bool TellFindings(Console& console, const Request& request, bool strict);

}  // namespace ledgerwick
