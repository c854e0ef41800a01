// The embedded database: a SQL Server look-alike on SQLite. A database is a file; its tempdb is a
// second file beside it, shared by every connection and process.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "frame/result_sink.h"
#include "frame/text.h"
#include "frame/value.h"
#include "tsql/base/explanation.h"
#include "tsql/base/options.h"

namespace ledgerwick::tsql {

// Fills a table with rows at the speed of the storage. Every row goes in or none: a loader that is
// destroyed before Finish takes its rows back.
class BulkLoader {
 public:
  virtual ~BulkLoader() = default;

  // One value for each column that the loader was made for, converted as an INSERT converts them.
  virtual void Row(std::span<const Value> values) = 0;

  virtual void Finish() = 0;
};

// While it lives, no other process fills or drops the table that it was taken for.
class TableLease {
 public:
  virtual ~TableLease() = default;
};

// One connection to an embedded database. Serves one thread at a time. Every member throws
// DatabaseError with SQL Server's number and text in `native` and `description`, and nothing else
// but what a sink or a callback of the caller's throws itself; the connection stays usable.
class Database : public BatchRunner {
 public:
  // Opens or creates the database at `path`. The error says which file could not be opened and why:
  // it is missing, unreadable, no database, or in a directory without write permission.
  static std::unique_ptr<Database> Open(const std::filesystem::path& path,
                                        const DatabaseOptions& options = {});

  // How the queries and changes of `batch` are read, planned and written for the storage. With
  // `run` the batch runs, its rows go to `sink`, and what runs of it, procedures included, is
  // explained with rows and times; else nothing runs, and a table that the batch itself makes is
  // not known.
  virtual std::vector<Explanation> Explain(TextView batch, bool run, ResultSink& sink) = 0;

  // How many BEGIN TRAN wait for their COMMIT, as @@TRANCOUNT tells.
  virtual std::int64_t OpenTransactions() const = 0;

  // The name of the database that names without one are looked for in: USE changes it.
  virtual Text CurrentDatabase() const = 0;

  // A loader for `columns` of `table`. One loader at a time, and no statement while it lives.
  virtual std::unique_ptr<BulkLoader> Load(TextView table, std::span<const Text> columns) = 0;

  // Waits until no other process holds the lease of `table`. `on_wait` is called once if it has to.
  virtual std::unique_ptr<TableLease> Lease(TextView table,
                                            const std::function<void()>& on_wait) = 0;

  // Moves everything into the one file that a copy needs, as before handing a new database out.
  virtual void Compact() = 0;
};

}  // namespace ledgerwick::tsql
