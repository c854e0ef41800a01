#include "odbc/result_reader.h"

#include <algorithm>

#include "frame/error.h"

namespace ledgerwick::odbc {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 20;
constexpr std::size_t kMostRows = 1024;
constexpr std::size_t kPieceBytes = std::size_t{1} << 16;

// What the driver puts behind a text.
std::size_t EndOf(const Column& column) {
  if (column.c_type == SQL_C_WCHAR) return sizeof(SQLWCHAR);
  return column.c_type == SQL_C_CHAR ? sizeof(SQLCHAR) : 0;
}

}  // namespace

ResultReader::ResultReader(SQLHSTMT statement, std::vector<Column> columns, Call call)
    : statement_(statement), columns_(std::move(columns)), call_(std::move(call)) {
  row_.resize(columns_.size());
  const bool in_blocks = std::all_of(columns_.begin(), columns_.end(),
                                     [](const Column& column) { return column.width > 0; });
  if (in_blocks) Bind();
}

ResultReader::~ResultReader() {
  // The statement outlives the buffers.
  SQLFreeStmt(statement_, SQL_UNBIND);
  SQLSetStmtAttrW(statement_, SQL_ATTR_ROWS_FETCHED_PTR, nullptr, 0);
  SQLSetStmtAttrW(statement_, SQL_ATTR_ROW_ARRAY_SIZE, AsPointer(1), 0);
}

void ResultReader::Bind() {
  std::size_t row_bytes = 0;
  for (const Column& column : columns_) row_bytes += column.width + sizeof(SQLLEN);
  rows_in_block_ = std::clamp(kBlockBytes / row_bytes, std::size_t{1}, kMostRows);
  if (!Succeeded(
          SQLSetStmtAttrW(statement_, SQL_ATTR_ROW_ARRAY_SIZE, AsPointer(rows_in_block_), 0))) {
    rows_in_block_ = 1;  // a driver without blocks
  }
  SQLSetStmtAttrW(statement_, SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const Column& column = columns_[i];
    std::vector<char>& values = values_.emplace_back(column.width * rows_in_block_);
    std::vector<SQLLEN>& lengths = lengths_.emplace_back(rows_in_block_);
    SQLBindCol(statement_, static_cast<SQLUSMALLINT>(i + 1), column.c_type, values.data(),
               static_cast<SQLLEN>(column.width), lengths.data());
  }
}

void ResultReader::ReadInto(ResultSink& sink) {
  std::vector<ResultColumn> shown;
  for (const Column& column : columns_) shown.push_back(column.result);
  sink.Columns(shown);
  try {
    if (is_empty_) {
      // Nothing is to be fetched.
    } else if (rows_in_block_ > 0) {
      ReadBlocks(sink);
    } else {
      ReadOneByOne(sink);
    }
  } catch (const DatabaseError&) {
    sink.BreakRows(count_);
    throw;
  }
  sink.EndRows(count_);
}

void ResultReader::ReadBlocks(ResultSink& sink) {
  // A block that is not full is the last: drivers that are asked again read beyond the result, and
  // what they meet there is lost.
  for (bool more = true; more && call_([this] { return SQLFetch(statement_); });) {
    more = fetched_ == rows_in_block_;
    for (std::size_t row = 0; row < fetched_; ++row) {
      ++count_;
      if (!sink.WantsRow()) continue;
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        const SQLLEN length = lengths_[i][row];
        // Never less than the server sent without a word.
        if (length > static_cast<SQLLEN>(columns_[i].width - EndOf(columns_[i]))) {
          throw DatabaseError(kErrorFailed, u"ODBC",
                              u"The driver gave a value of column " + columns_[i].result.name +
                                  u" that is longer than the column.");
        }
        row_[i] = ToValue(columns_[i], values_[i].data() + row * columns_[i].width, length);
      }
      sink.Row(row_);
    }
  }
}

void ResultReader::ReadOneByOne(ResultSink& sink) {
  while (call_([this] { return SQLFetch(statement_); })) {
    ++count_;
    if (!sink.WantsRow()) continue;
    for (std::size_t i = 0; i < columns_.size(); ++i) row_[i] = ReadLong(i);
    sink.Row(row_);
  }
}

Value ResultReader::ReadLong(std::size_t column) {
  const Column& shape = columns_[column];
  std::vector<char> bytes;
  std::vector<char> piece(shape.width > 0 ? shape.width : kPieceBytes);
  SQLLEN length = 0;
  while (call_([&] {
    return SQLGetData(statement_, static_cast<SQLUSMALLINT>(column + 1), shape.c_type, piece.data(),
                      static_cast<SQLLEN>(piece.size()), &length);
  })) {
    if (length == SQL_NULL_DATA) return Null{};
    const std::size_t most = piece.size() - EndOf(shape);
    const bool is_last = length >= 0 && static_cast<std::size_t>(length) <= most;
    bytes.insert(bytes.end(), piece.begin(),
                 piece.begin() + static_cast<std::ptrdiff_t>(
                                     is_last ? static_cast<std::size_t>(length) : most));
    if (is_last) break;
  }
  return ToValue(shape, bytes.data(), static_cast<SQLLEN>(bytes.size()));
}

}  // namespace ledgerwick::odbc
