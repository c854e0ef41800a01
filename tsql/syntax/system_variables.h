// What T-SQL calls by a name of its own beside a batch's variables: @@ROWCOUNT, ERROR_MESSAGE() …
#pragma once

#include <cstdint>

#include "frame/text.h"
#include "tsql/base/types.h"

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
inline constexpr std::int32_t kNamedSystemVariables = 10;

// The slot behind them is that of the parts that a statement's deep expressions are evaluated by.
inline constexpr std::int32_t kPartsSlot = kNamedSystemVariables;

inline constexpr std::int32_t kSystemVariables = kPartsSlot + 1;

// The variable that is called so ("@@ROWCOUNT", "ERROR_LINE"), and its type.
struct SystemVariableName {
  TextView name;
  SystemVariable variable;
  Type type;
};

// The system variable of that name without regard to case, or nullptr.
const SystemVariableName* FindSystemVariable(TextView name) noexcept;

// What is asked for as a variable and is a fact of the session or the server: @@VERSION, @@SPID …
struct SessionFactName {
  TextView name;
  Type type;
};

// The fact of that name without regard to case, or nullptr.
const SessionFactName* FindSessionFact(TextView name) noexcept;

}  // namespace ledgerwick::tsql
