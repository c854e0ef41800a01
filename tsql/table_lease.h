// Leases of tables between processes.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "frame/text.h"
#include "tsql/database.h"

namespace ledgerwick::tsql {

// Waits for the lease of `table` in `database`, whose path has no links, as long as
// options.lock_wait after it last changed hands. Leases go to those who wait in the order in which
// they came. `on_wait` is called once if it has to wait. Throws SqlError 1222 that names who has
// it, or that the wait was cancelled. The lease may outlive the connection.
std::unique_ptr<TableLease> TakeLease(const std::filesystem::path& database, TextView table,
                                      const DatabaseOptions& options,
                                      const std::function<void()>& on_wait);

}  // namespace ledgerwick::tsql
