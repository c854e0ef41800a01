// A connection that tells what it is about to run.
#pragma once

#include <functional>
#include <memory>

#include "frame/database.h"
#include "frame/error.h"

namespace ledgerwick {

// What a watched connection tells of.
struct ConnectionWatch {
  // `sql` is about to run. Calls of procedures are told as "EXEC name @a = '…', …".
  std::function<void(const Text& sql)> statement;

  // An operation has failed, and its error goes on to the caller, who may keep it to itself.
  // Statements whose errors are passed over are not told of.
  std::function<void(const DatabaseError& error)> failure;
};

// A connection that tells `watch` what happens and leaves the rest to `inner`.
std::shared_ptr<Connection> WatchConnection(std::shared_ptr<Connection> inner,
                                            ConnectionWatch watch);

}  // namespace ledgerwick
