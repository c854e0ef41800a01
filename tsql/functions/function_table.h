// The functions that the emitter writes beside T-SQL's own: conversions, arithmetic, checks. One
// row for each, in a table for each theme.
#pragma once

#include <span>

#include "tsql/base/types.h"
#include "tsql/functions/call.h"
#include "tsql/functions/function_signature.h"

namespace ledgerwick::tsql {

// A registered function. It throws SqlError; the caller turns that into the statement's error.
struct FunctionRow {
  const char* name;
  int least_arguments;
  int most_arguments;
  // That many arguments in front are checked: when one of them is NULL, so is the result.
  int null_arguments;
  void (*function)(Call& call);
  Purity purity = Purity::kPure;
};

std::span<const FunctionRow> CheckHelpers();
std::span<const FunctionRow> ConversionHelpers();
std::span<const FunctionRow> ExactHelpers();
std::span<const FunctionRow> IdentityHelpers();
std::span<const FunctionRow> NumberHelpers();
std::span<const FunctionRow> SessionHelpers();
std::span<const FunctionRow> TextHelpers();

// The integer type of that name.
TypeKind TypeOfInteger(const char* name);

}  // namespace ledgerwick::tsql
