// A connection that tells what it is about to run.
#pragma once

#include <functional>
#include <memory>

#include "frame/database.h"

namespace ledgerwick {

// A connection that calls `watch` with each statement before it runs and leaves the rest to
// `inner`. Calls of procedures are told as "EXEC name @a = '…', …".
std::shared_ptr<Connection> WatchConnection(std::shared_ptr<Connection> inner,
                                            std::function<void(const Text& sql)> watch);

}  // namespace ledgerwick
