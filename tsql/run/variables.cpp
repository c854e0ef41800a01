#include "tsql/run/variables.h"

namespace ledgerwick::tsql {

void Variables::Bind(sqlite3_stmt* statement) {
  const int count = sqlite3_bind_parameter_count(statement);
  for (int i = kSystemVariables + 1; i <= count; ++i) {
    // A number that the statement leaves out has no name.
    if (sqlite3_bind_parameter_name(statement, i) == nullptr) continue;
    const SqliteValue& value = (*this)[i - 1];
    if (value) {
      CheckBound(sqlite3_bind_value(statement, i, value.get()));
    } else {
      sqlite3_bind_null(statement, i);
    }
  }
}

void Variables::BindLive(sqlite3_stmt* statement, std::int32_t slot) {
  sqlite3_bind_pointer(statement, slot + 1, &(*this)[slot], kVariablePointer, nullptr);
}

}  // namespace ledgerwick::tsql
