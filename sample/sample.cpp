#include "sample/sample.h"

#include <stdexcept>
#include <string>

#include "frame/null_sink.h"
#include "frame/text.h"
#include "sample/file_swap.h"
#include "sample/tables.h"
#include "sample/voucher_generator.h"
#include "sample/voucher_rows.h"
#include "sample_files.h"
#include "tsql/base/errors.h"
#include "tsql/database.h"
#include "tsql/script.h"

namespace ledgerwick {
namespace {

constexpr std::int64_t kLinesBetweenReports = 1024;

void CheckCancelled(const SampleOptions& options) {
  if (options.cancel != nullptr && options.cancel->load()) {
    throw std::runtime_error("cancelled; no sample database was created");
  }
}

// Counts the lines on their way to the rows, and looks out for the user's cancelling.
class Counted : public sample::VoucherSink {
 public:
  Counted(VoucherSink& next, const SampleOptions& options, std::int64_t& done)
      : next_(next), options_(options), done_(done) {}

  void Head(const sample::VoucherHead& head) override { next_.Head(head); }

  void Line(const sample::VoucherHead& head, const sample::VoucherLine& line) override {
    next_.Line(head, line);
    if (++done_ % kLinesBetweenReports == 0) Report();
  }

 private:
  void Report() const {
    CheckCancelled(options_);
    if (options_.progress) options_.progress(done_, options_.voucher_lines * StepsPerLine());
  }
  static constexpr std::int64_t StepsPerLine() { return sample::kVoucherTables; }

  VoucherSink& next_;
  const SampleOptions& options_;
  std::int64_t& done_;
};

// An embedded database that takes the sample.
class EmbeddedTarget final : public SampleTarget {
 public:
  explicit EmbeddedTarget(tsql::Database& database) : database_(database) {}

  void Run(TextView batch) override {
    NullSink sink;  // the scripts yield no results
    database_.Run(batch, sink);
  }
  void BeginTable(TextView table, std::span<const Text> columns) override {
    loader_ = database_.Load(table, columns);
  }
  void Row(std::span<const Value> values) override { loader_->Row(values); }
  void EndTable() override {
    loader_->Finish();
    loader_.reset();
  }

 private:
  tsql::Database& database_;
  std::unique_ptr<tsql::BulkLoader> loader_;
};

// Fills a new database.
class SampleWriter {
 public:
  SampleWriter(SampleTarget& target, const SampleOptions& options)
      : target_(target), options_(options) {}

  void Write() {
    RunScript("schema.sql");
    RunScript("sales_schema.sql");
    WriteMasterData();
    for (std::size_t table = 0; table < sample::kVoucherTables; ++table) WriteVouchers(table);
    RunScript("indexes.sql");
    RunScript("sales_procedures.sql");
    if (options_.progress) options_.progress(done_, done_);
  }

 private:
  void RunScript(std::string_view name) {
    for (std::string_view batch : tsql::SplitBatches(sample_files::Find(name))) {
      target_.Run(FromUtf8(batch));
    }
  }

  void WriteTable(const sample::Table& table) {
    target_.BeginTable(table.name, table.columns);
    for (const auto& row : table.rows) target_.Row(row);
    target_.EndTable();
  }

  void WriteMasterData() {
    const sample::VoucherGenerator generator(options_.seed, options_.voucher_lines);
    for (const sample::Table& table : sample::MasterTables(generator.stock())) WriteTable(table);
  }

  // The database takes one table at a time, so the history is made once for each of them: that
  // costs less than keeping it.
  void WriteVouchers(std::size_t table) {
    sample::VoucherGenerator generator(options_.seed, options_.voucher_lines);
    const auto rows = sample::NewVoucherRows(table, generator.stock(), options_.seed,
                                             [&](std::span<const Value> row) { target_.Row(row); });
    target_.BeginTable(rows->table(), rows->columns());
    Counted counted(*rows, options_, done_);
    generator.Run(counted);
    rows->Finish();
    target_.EndTable();
    if (table + 1 == sample::kVoucherTables) {
      WriteTable(sample::StockTable(generator.stock(), options_.seed));
    }
  }

  SampleTarget& target_;
  const SampleOptions& options_;
  std::int64_t done_ = 0;
};

void CheckOptions(const SampleOptions& options) {
  if (options.voucher_lines < 1 || options.voucher_lines > kMostSampleLines) {
    throw std::runtime_error("the number of voucher lines must be from 1 to " +
                             std::to_string(kMostSampleLines) + ", not " +
                             std::to_string(options.voucher_lines));
  }
}

void Create(const std::filesystem::path& path, const SampleOptions& options) {
  sample::FileSwap files(path, options.force, options.cancel);
  {
    tsql::DatabaseOptions database_options;
    database_options.create = true;
    database_options.rights_of = files.target();
    database_options.cancel = options.cancel;
    const auto database = tsql::Database::Open(files.working_path(), database_options);
    EmbeddedTarget target(*database);
    SampleWriter(target, options).Write();
    database->Compact();
  }
  CheckCancelled(options);  // the last moment at which nothing has happened yet
  files.Commit();
}

}  // namespace

void FillSample(SampleTarget& target, const SampleOptions& options) {
  CheckOptions(options);
  SampleWriter(target, options).Write();
}

void CreateSample(const std::filesystem::path& path, const SampleOptions& options) {
  CheckOptions(options);
  try {
    Create(path, options);
  } catch (const tsql::SqlError& error) {
    throw tsql::ToDatabaseError(error);
  }
}

}  // namespace ledgerwick
