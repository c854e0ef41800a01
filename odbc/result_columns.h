// The columns of a result: as sinks see them, and how the driver is asked for their values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frame/result_sink.h"
#include "odbc/odbc_api.h"

namespace ledgerwick::odbc {

// A column of the result that a statement stands on.
struct Column {
  ResultColumn result;
  SQLSMALLINT c_type = SQL_C_WCHAR;  // how its values are fetched
  std::size_t width = 0;             // in bytes, of the longest value; 0 where there is no telling
  bool is_binary = false;            // its text is 0x and hexadecimal digits
  bool begins_with_year = false;     // which drivers may write without leading zeros
};

// The columns of the result; none where the statement has given no rows. Throws DatabaseError where
// the driver cannot tell them.
std::vector<Column> DescribeColumns(SQLHSTMT statement);

// The value in `bytes` as the sink's contract wants it. `length` is the driver's: of text and
// binary data in bytes. Negative lengths are null.
Value ToValue(const Column& column, const char* bytes, SQLLEN length);

}  // namespace ledgerwick::odbc
