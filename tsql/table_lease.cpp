#include "tsql/table_lease.h"

#include "tsql/storage/database_lock.h"
#include "tsql/storage/fair_lock.h"

namespace ledgerwick::tsql {
namespace {

// Uses the database for itself, so that it may outlive the connection, and has a lock file of its
// own, so that two leases of one connection know each other.
class FairLease final : public TableLease {
 public:
  FairLease(const std::filesystem::path& database, TextView table, const DatabaseOptions& options)
      : user_(database, options),
        lock_(user_.file(), LockSubject::LeaseOf(table),
              ToUtf8(table) + " of '" + database.string() + "'") {
    user_.Share();
  }

  void Wait(const DatabaseOptions& options, const std::function<void()>& on_wait) {
    DatabaseOptions quiet = options;
    quiet.progress = nullptr;  // who waits for a table does not show that it works on it
    lock_.Acquire(quiet, on_wait);
  }

 private:
  DatabaseLock user_;
  FairLock lock_;
};

}  // namespace

std::unique_ptr<TableLease> TakeLease(const std::filesystem::path& database, TextView table,
                                      const DatabaseOptions& options,
                                      const std::function<void()>& on_wait) {
  auto lease = std::make_unique<FairLease>(database, table, options);
  lease->Wait(options, on_wait);
  return lease;
}

}  // namespace ledgerwick::tsql
