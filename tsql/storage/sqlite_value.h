// Values of the storage's that outlive the row they come from.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string_view>

#include "tsql/values/any_value.h"

namespace ledgerwick::tsql {

struct SqliteValueFree {
  void operator()(sqlite3_value* value) const noexcept { sqlite3_value_free(value); }
};

// A value of the storage's; none is NULL.
using SqliteValue = std::unique_ptr<sqlite3_value, SqliteValueFree>;

// The type under which t_variable receives a variable.
inline constexpr const char* kVariablePointer = "ledgerwick variable";

// A value as text (UTF-8; empty for NULL) and as a whole number (0 for NULL).
std::string_view TextOf(const SqliteValue& value);
std::int64_t IntegerOf(const SqliteValue& value);

// A value that is not NULL as any_value.h takes it. Throws std::bad_alloc.
AnyValue AnyOf(sqlite3_value* value);

// A copy of the value in `column` of the current row.
SqliteValue CopyValue(sqlite3_stmt* row, int column);

}  // namespace ledgerwick::tsql
