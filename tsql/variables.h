// The variables of a batch and how statements read them: as numbered parameters of the storage.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "frame/text.h"
#include "tsql/sqlite.h"
#include "tsql/types.h"

namespace ledgerwick::tsql {

// What the session knows by itself. They have the first slots; a batch's own variables follow.
enum class SystemVariable : std::uint8_t {
  RowCount,
  Error,
  TranCount,
  NestLevel,
  ErrorMessage,
  ErrorNumber,
  ErrorSeverity,
  ErrorState,
  ErrorProcedure,
  ErrorLine,
};
inline constexpr std::int32_t kSystemVariables = 10;

// The variable that is called so ("@@ROWCOUNT", "ERROR_LINE"), and its type.
struct SystemVariableName {
  TextView name;
  SystemVariable variable;
  Type type;
};

// The system variable of that name without regard to case, or nullptr.
const SystemVariableName* FindSystemVariable(TextView name) noexcept;

struct SqliteValueFree {
  void operator()(sqlite3_value* value) const noexcept { sqlite3_value_free(value); }
};

// A value of the storage's; none is NULL.
using SqliteValue = std::unique_ptr<sqlite3_value, SqliteValueFree>;

// The type under which t_variable receives a variable.
inline constexpr const char* kVariablePointer = "ledgerwick variable";

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

// A value as text (UTF-8; empty for NULL) and as a whole number (0 for NULL).
std::string_view TextOf(const SqliteValue& value);
std::int64_t IntegerOf(const SqliteValue& value);

// A copy of the value in `column` of the current row.
SqliteValue CopyValue(sqlite3_stmt* row, int column);

}  // namespace ledgerwick::tsql
