#include "tsql/storage/sqlite_value.h"

#include <new>

#include "tsql/values/convert.h"

namespace ledgerwick::tsql {

std::string_view TextOf(const SqliteValue& value) {
  if (!value) return {};
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value.get()));
  if (text == nullptr) throw std::bad_alloc();
  return {text, static_cast<std::size_t>(sqlite3_value_bytes(value.get()))};
}

std::int64_t IntegerOf(const SqliteValue& value) {
  return value ? sqlite3_value_int64(value.get()) : 0;
}

AnyValue AnyOf(sqlite3_value* value) {
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
      return std::int64_t{sqlite3_value_int64(value)};
    case SQLITE_FLOAT:
      return sqlite3_value_double(value);
    default: {
      const auto* bytes = static_cast<const char*>(sqlite3_value_blob(value));
      const auto size = static_cast<std::size_t>(sqlite3_value_bytes(value));
      if (bytes == nullptr && size > 0) throw std::bad_alloc();
      return bytes == nullptr ? std::string() : std::string(bytes, size);
    }
  }
}

SqliteValue CopyValue(sqlite3_stmt* row, int column) {
  if (sqlite3_column_type(row, column) == SQLITE_FLOAT) Finite(sqlite3_column_double(row, column));
  sqlite3_value* value = sqlite3_column_value(row, column);
  if (sqlite3_value_type(value) == SQLITE_NULL) return nullptr;
  SqliteValue copy(sqlite3_value_dup(value));
  if (!copy) throw std::bad_alloc();
  return copy;
}

}  // namespace ledgerwick::tsql
