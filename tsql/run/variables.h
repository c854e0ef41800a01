// The variables of a batch and how statements read them: as numbered parameters of the storage.
#pragma once

#include <cstdint>
#include <vector>

#include "tsql/storage/sqlite.h"
#include "tsql/storage/sqlite_value.h"
#include "tsql/syntax/system_variables.h"

namespace ledgerwick::tsql {

// The values of a batch's variables. They are of the types that the variables were declared with.
class Variables {
 public:
  explicit Variables(std::size_t count = 0) : values_(count) {}

  // `slot` counts from the first of the system's variables.
  SqliteValue& operator[](std::int32_t slot) { return values_[IndexOf(slot)]; }

  // Gives parameter `slot` + 1 of `statement`, where it has one, the variable's value; nothing for
  // the system's variables.
  void Bind(sqlite3_stmt* statement);

  // Gives the same parameter the variable itself, for a t_variable that reads it row by row.
  // `statement` must not outlive this.
  void BindLive(sqlite3_stmt* statement, std::int32_t slot);

 private:
  static std::size_t IndexOf(std::int32_t slot) noexcept {
    return static_cast<std::size_t>(slot - kSystemVariables);
  }

  std::vector<SqliteValue> values_;
};

}  // namespace ledgerwick::tsql
