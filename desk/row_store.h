// A run's rows in a file of their own: written by the worker, read by the desk.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "desk/row_query.h"
#include "frame/result_sink.h"
#include "output/result_writer.h"
#include "tsql/storage/sqlite.h"

namespace ledgerwick::desk {

// A result that is larger than a desk keeps.
class TooManyRows : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Writes the one result that it is given into a new file. Columns and Row throw std::runtime_error
// when the file cannot be written; Row throws TooManyRows beyond `most_rows`.
class RowStoreWriter final : public ResultSink {
 public:
  // `on_rows` is called every so often with the number of rows so far.
  RowStoreWriter(const std::filesystem::path& path, std::int64_t most_rows,
                 std::function<void(std::int64_t)> on_rows);

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text& text) override { messages.push_back(text); }

  // Closes the file, and gives what was learned of the columns while they came.
  std::vector<StoredColumn> Finish();

  std::int64_t count() const noexcept { return count_; }

  std::vector<Text> messages;  // of the server, while the table was read

 private:
  void Bind(std::size_t column, const Value& value);

  tsql::SqliteHandle db_;
  tsql::SqliteStatement insert_;
  std::vector<StoredColumn> columns_;
  std::vector<std::string> texts_;  // of the row being written, by column
  std::int64_t most_rows_;
  std::function<void(std::int64_t)> on_rows_;
  std::int64_t count_ = 0;
};

// A window of rows.
struct Window {
  std::int64_t total = 0;  // of all rows that the conditions keep
  std::string rows;        // a JSON list of lists
};

// Reads the rows. From any thread, one at a time. Every member throws QueryError for a query that
// cannot be meant, and std::runtime_error when the file cannot be read or Interrupt was called.
class RowStore {
 public:
  // Opens the file and takes it out of its folder: nobody else finds it, and it goes with the
  // store or the process.
  RowStore(const std::filesystem::path& path, std::vector<StoredColumn> columns,
           std::int64_t count);

  const std::vector<StoredColumn>& columns() const noexcept { return columns_; }
  std::int64_t count() const noexcept { return count_; }

  Window Rows(const RowQuery& query, std::int64_t from, std::int64_t count);

  // The sums of the number columns, by their names, as decimals.
  std::vector<std::pair<std::string, std::string>> Totals(const std::vector<Condition>& where);

  // The values of a column and how often each occurs, as a JSON list; those that contain
  // `contains`.
  std::string Values(const std::string& column, const std::string& contains, std::int64_t limit);

  // The sums of `values` for each value of `category`, the largest first sum first, as a JSON list
  // of `limit` lists at most; and how many more there are. With `month`, dates count by month.
  std::pair<std::string, std::int64_t> Groups(const std::string& category, bool month,
                                              const std::vector<std::string>& values,
                                              const std::vector<Condition>& where,
                                              std::int64_t limit);

  // Gives the rows that `query` keeps, in its order, to `sink` as they came from the database.
  void Read(const RowQuery& query, ResultSink& sink);

  // Makes what runs fail. From any thread.
  void Interrupt() noexcept { sqlite3_interrupt(db_.get()); }

 private:
  // The rows that a query keeps, in its order, worked out once.
  struct View {
    std::string query;
    std::string table;
    std::int64_t count = 0;
  };

  tsql::SqliteStatement Prepare(const std::string& sql);
  bool Step(sqlite3_stmt* statement);
  const View& FindView(const RowQuery& query);
  // A statement that gives the columns of the rows with these places among the query's.
  tsql::SqliteStatement Select(const RowQuery& query, std::int64_t from, std::int64_t count,
                               std::int64_t& total);

  std::vector<StoredColumn> columns_;
  std::int64_t count_;
  std::mutex mutex_;
  tsql::SqliteHandle db_;
  std::list<View> views_;  // the one used last in front
  int next_view_ = 0;
};

}  // namespace ledgerwick::desk
