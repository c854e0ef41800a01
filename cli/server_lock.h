// A result table on a server, held from its filling to its reading.
#pragma once

#include <functional>
#include <memory>

#include "frame/result_sink.h"
#include "host/runner.h"

namespace ledgerwick {

// Takes the application lock of the result table's name (sp_getapplock, of tempdb, where the table
// lies) for `connection`, which has it until the hold goes. Waits for another that has it, having
// called `on_wait`. Tells `note` that the table is replaced for everyone, and where the server has
// no such locks or grants none; the hold then holds nothing. Throws DatabaseError.
std::unique_ptr<TableHold> HoldOnServer(const std::shared_ptr<BatchRunner>& connection,
                                        TextView table, const std::function<void()>& on_wait,
                                        const std::function<void(const Text&)>& note);

}  // namespace ledgerwick
