// The rows of a result, in blocks.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "frame/result_sink.h"
#include "odbc/odbc_api.h"
#include "odbc/result_columns.h"

namespace ledgerwick::odbc {

// Reads the result that a statement stands on.
class ResultReader {
 public:
  // Makes a call on the statement; throws where it fails. Gives false at the rows' end.
  using Call = std::function<bool(const std::function<SQLRETURN()>&)>;

  // All outlive the reader. Throws DatabaseError.
  ResultReader(SQLHSTMT statement, std::vector<Column> columns, Call call);
  ~ResultReader();
  ResultReader(const ResultReader&) = delete;
  ResultReader& operator=(const ResultReader&) = delete;

  // The result is known to have no rows.
  void SetEmpty() noexcept { is_empty_ = true; }

  // Gives all rows to `sink`, between Columns and EndRows; where the rows end in an error,
  // BreakRows comes in place of that. Throws DatabaseError and what `sink` throws.
  void ReadInto(ResultSink& sink);

 private:
  void Bind();
  void ReadBlocks(ResultSink& sink);
  void ReadOneByOne(ResultSink& sink);
  Value ReadLong(std::size_t column);

  SQLHSTMT statement_;
  std::vector<Column> columns_;
  Call call_;
  bool is_empty_ = false;
  std::int64_t count_ = 0;
  std::vector<Value> row_;

  // A block: the values of each column side by side.
  std::size_t rows_in_block_ = 0;  // 0 where a column has to be read in pieces
  SQLULEN fetched_ = 0;
  std::vector<std::vector<char>> values_;
  std::vector<std::vector<SQLLEN>> lengths_;
};

}  // namespace ledgerwick::odbc
