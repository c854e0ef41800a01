// A result on disk, to be compared with another.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "output/result_writer.h"

namespace ledgerwick {

// A result whose values are text; nothing stands for null. It lies in a temporary file that goes
// away with the object, so memory does not grow with the rows. Members throw OutputError.
class StoredResult {
 public:
  using Cell = std::optional<std::string>;
  using Row = std::vector<Cell>;

  struct Column {
    std::string name;
    bool is_number = false;  // known to be: a text of digits may be a code

    // What its values are.
    bool has_words = false;           // some are no plain number
    bool has_fraction = false;        // some have digits behind a point
    bool has_short_fraction = false;  // the same without the zeros at the end
    bool has_long_numbers = false;    // some end with such zeros
  };

  // Reads rows one by one, while the result gets no more of them.
  class Cursor {
   public:
    virtual ~Cursor() = default;

    // False behind the last row.
    virtual bool Next() = 0;

    // Its number, counted from 1 in the order in which rows came.
    virtual std::int64_t number() const = 0;

    // One value for each column that was asked for.
    virtual const Row& row() const = 0;
  };

  StoredResult();
  ~StoredResult();
  StoredResult(StoredResult&&) noexcept;
  StoredResult& operator=(StoredResult&&) noexcept;

  // Adds a column, null in the rows that are there. Names are unique. Returns its place.
  std::size_t AddColumn(const std::string& name, bool is_number);

  // A value of the column is known to be a number.
  void SetNumber(std::size_t column) { columns_[column].is_number = true; }

  // Adds a row, which may lack columns at the end. In a column of numbers a plain one loses the
  // zeros at its end: 1.50 is 1.5.
  void AddRow(const Row& row);

  // Takes those zeros from the numbers of these columns that came before they were known.
  void ShortenNumbers(const std::vector<std::size_t>& columns);

  const std::vector<Column>& columns() const noexcept { return columns_; }
  std::int64_t size() const noexcept { return rows_; }

  // All rows, or row `number` alone, with these columns.
  std::unique_ptr<Cursor> Read(const std::vector<std::size_t>& columns,
                               std::int64_t number = 0) const;

  // The same in the order of the first `keys` of the columns: null first, then byte by byte; rows
  // that share them in their own order.
  std::unique_ptr<Cursor> ReadSorted(const std::vector<std::size_t>& columns,
                                     std::size_t keys) const;

 private:
  struct Storage;
  std::unique_ptr<Cursor> Open(const std::vector<std::size_t>& columns,
                               const std::string& rest) const;

  std::unique_ptr<Storage> storage_;
  std::vector<Column> columns_;
  std::int64_t rows_ = 0;
};

// Keeps the one result set that it is given.
class ResultCollector final : public ResultWriter {
 public:
  // `result` has no column yet and outlives the collector.
  explicit ResultCollector(StoredResult& result) : result_(result) {}

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t) override {}
  void Finish() override {}

 private:
  std::vector<ResultColumn> columns_;
  StoredResult& result_;
  StoredResult::Row row_;
};

}  // namespace ledgerwick
