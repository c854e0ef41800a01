// Leases of tables between processes.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "frame/text.h"
#include "tsql/database.h"

namespace ledgerwick::tsql {

// Waits for the lease of `table` in `database` as long as `options` allow. `on_wait` is called once
// if it has to wait. Throws SqlError 1222 when the time is over, or that the wait was cancelled.
std::unique_ptr<TableLease> TakeLease(const std::filesystem::path& database, TextView table,
                                      const DatabaseOptions& options,
                                      const std::function<void()>& on_wait);

}  // namespace ledgerwick::tsql
