// The registered functions: one row for each, in a table for each theme.
#pragma once

#include <span>

#include "tsql/base/types.h"
#include "tsql/functions/call.h"

namespace ledgerwick::tsql {

// When a function may be evaluated.
enum class Purity {
  kPure,         // the same arguments give the same result
  kStaysInPlace  // never moved out of the branch that it stands in, never evaluated only once
};

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

std::span<const FunctionRow> CheckFunctions();
std::span<const FunctionRow> ConversionFunctions();
std::span<const FunctionRow> DateFunctions();
std::span<const FunctionRow> ExactFunctions();
std::span<const FunctionRow> NumberFunctions();
std::span<const FunctionRow> TextFunctions();

// The integer type of that name.
TypeKind TypeOfInteger(const char* name);

}  // namespace ledgerwick::tsql
