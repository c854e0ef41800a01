#include "tsql/database.h"

#include "tsql/bulk_loader.h"
#include "tsql/catalogue.h"
#include "tsql/errors.h"
#include "tsql/interpreter.h"
#include "tsql/storage.h"
#include "tsql/table_lease.h"

namespace ledgerwick::tsql {
namespace {

// Calls `work` and turns the server's error into the component's.
template <typename Work>
auto Translate(Work&& work) {
  try {
    return work();
  } catch (const SqlError& error) {
    throw ToDatabaseError(error);
  }
}

class EmbeddedDatabase final : public Database {
 public:
  EmbeddedDatabase(const std::filesystem::path& path, const DatabaseOptions& options)
      : storage_(path, options),
        catalogue_(storage_, TryFromUtf8(path.stem().string()).value_or(Text())),
        interpreter_(storage_, catalogue_) {}

  void Run(TextView batch, ResultSink& sink) override {
    Translate([&] { interpreter_.Run(batch, sink); });
  }

  std::unique_ptr<BulkLoader> Load(TextView table, std::span<const Text> columns) override {
    return Translate([&] { return NewBulkLoader(storage_, catalogue_, table, columns); });
  }

  std::unique_ptr<TableLease> Lease(TextView table, const std::function<void()>& on_wait) override {
    return Translate(
        [&] { return TakeLease(storage_.path(), table, storage_.options(), on_wait); });
  }

  void Compact() override {
    Translate([&] {
      storage_.Execute("PRAGMA main.wal_checkpoint(TRUNCATE)");
      storage_.Execute("ANALYZE main");
      storage_.Execute("PRAGMA main.wal_checkpoint(TRUNCATE)");
    });
  }

 private:
  Storage storage_;
  Catalogue catalogue_;
  Interpreter interpreter_;
};

}  // namespace

std::unique_ptr<Database> Database::Open(const std::filesystem::path& path,
                                         const DatabaseOptions& options) {
  return Translate([&] { return std::make_unique<EmbeddedDatabase>(path, options); });
}

}  // namespace ledgerwick::tsql
