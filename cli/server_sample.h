// The sample on a server.
#pragma once

#include <functional>

#include "cli/connections.h"
#include "sample/sample.h"

namespace ledgerwick {

// Makes the sample in the server's database that `connection_string` names, which must have no
// tables yet. Throws UsageError, DatabaseError, std::runtime_error; `partly` is called first where
// something of the sample stays there.
void CreateSampleOnServer(const Text& connection_string, const ConnectionSettings& settings,
                          const SampleOptions& options, const std::function<void()>& partly);

}  // namespace ledgerwick
