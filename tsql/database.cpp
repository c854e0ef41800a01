#include "tsql/database.h"

#include "tsql/base/allowance.h"
#include "tsql/base/border.h"
#include "tsql/base/errors.h"
#include "tsql/bulk_loader.h"
#include "tsql/run/interpreter.h"
#include "tsql/storage/catalogue.h"
#include "tsql/storage/storage.h"
#include "tsql/table_lease.h"

namespace ledgerwick::tsql {
namespace {

// Hands everything on to the caller's sink, whose exceptions are its own.
class CallersSink final : public ResultSink {
 public:
  explicit CallersSink(ResultSink& sink) : sink_(sink) {}

  void Columns(std::span<const ResultColumn> columns) override {
    CallBack([&] { sink_.Columns(columns); });
  }
  void Row(std::span<const Value> values) override {
    CallBack([&] { sink_.Row(values); });
  }
  bool WantsRow() override {
    return CallBack([&] { return sink_.WantsRow(); });
  }
  void EndRows(std::int64_t count) override {
    CallBack([&] { sink_.EndRows(count); });
  }
  void BreakRows(std::int64_t count) override {
    CallBack([&] { sink_.BreakRows(count); });
  }
  void RowsAffected(std::int64_t count) override {
    CallBack([&] { sink_.RowsAffected(count); });
  }
  void Message(const Text& text) override {
    CallBack([&] { sink_.Message(text); });
  }
  void Information(const DatabaseError& message) override {
    CallBack([&] { sink_.Information(message); });
  }
  void FirstError(const DatabaseError& error) override {
    CallBack([&] { sink_.FirstError(error); });
  }
  void Error(const DatabaseError& error) override {
    CallBack([&] { sink_.Error(error); });
  }

 private:
  ResultSink& sink_;
};

class EmbeddedDatabase final : public Database {
 public:
  EmbeddedDatabase(const std::filesystem::path& path, const DatabaseOptions& options)
      : storage_(path, options),
        catalogue_(storage_, TryFromUtf8(path.stem().string()).value_or(Text())),
        interpreter_(storage_, catalogue_) {}

  void Run(TextView batch, ResultSink& sink) override {
    AtBorder([&] {
      const Allowance allowance = NewAllowance();
      CallersSink callers(sink);
      interpreter_.Run(batch, callers);
    });
  }

  std::vector<Explanation> Explain(TextView batch, bool run, ResultSink& sink) override {
    return AtBorder([&] {
      const Allowance allowance = NewAllowance();
      if (!run) return interpreter_.Explain(batch);
      CallersSink callers(sink);
      return interpreter_.RunExplained(batch, callers);
    });
  }

  std::int64_t OpenTransactions() const override { return interpreter_.open_transactions(); }

  Text CurrentDatabase() const override { return catalogue_.NameOf(catalogue_.current()); }

  std::unique_ptr<BulkLoader> Load(TextView table, std::span<const Text> columns) override {
    return AtBorder([&] { return NewBulkLoader(storage_, catalogue_, table, columns); });
  }

  std::unique_ptr<TableLease> Lease(TextView table, const std::function<void()>& on_wait) override {
    return AtBorder([&] {
      return TakeLease(storage_.beside(), table, storage_.options(), [&] {
        if (on_wait) CallBack(on_wait);
      });
    });
  }

  void Compact() override {
    AtBorder([&] {
      storage_.Execute("PRAGMA main.wal_checkpoint(TRUNCATE)");
      storage_.Execute("ANALYZE main");
      storage_.Execute("PRAGMA main.wal_checkpoint(TRUNCATE)");
    });
  }

 private:
  Allowance NewAllowance() const noexcept {
    return Allowance(storage_.options().cancel, storage_.options().memory_limit);
  }

  Storage storage_;
  Catalogue catalogue_;
  Interpreter interpreter_;
};

}  // namespace

std::unique_ptr<Database> Database::Open(const std::filesystem::path& path,
                                         const DatabaseOptions& options) {
  return AtBorder([&]() -> std::unique_ptr<Database> {
    return std::make_unique<EmbeddedDatabase>(path, options);
  });
}

}  // namespace ledgerwick::tsql
