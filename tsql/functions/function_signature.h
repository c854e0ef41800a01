// T-SQL's functions: one row for each, in a table for each theme, says what it is called, what it
// takes and gives and what it does. Whoever adds a function adds its row.
#pragma once

#include <cstdint>
#include <span>

#include "frame/text.h"
#include "tsql/functions/call.h"

namespace ledgerwick::tsql {

// The functions that the binder knows; Unknown before binding.
enum class FunctionId : std::uint8_t {
  Unknown,
  Count,
  Sum,
  Min,
  Max,
  Avg,     // the aggregates come first
  Scalar,  // a function of the storage's that needs no care
  IsNull,
  Coalesce,
  NullIf,
  Left,  // and RIGHT
  Str,
  Abs,
  Power,
  DataLength,
  QuoteName,
  Replicate,
  DateDiff,
  DateAdd,
  DatePart,
  Year,  // MONTH and DAY
  DateName,
  GetDate,      // and its like, of datetime
  SysDateTime,  // and its like, of datetime2
  NewId,
  Substring,
};

constexpr bool IsAggregate(FunctionId id) noexcept {
  return id >= FunctionId::Count && id <= FunctionId::Avg;
}

// The type of what a scalar function gives.
enum class FunctionResult : std::uint8_t {
  Own,           // a rule of its own
  Int,           //
  Float,         //
  Identity,      // decimal(38,0), as an IDENTITY column's numbers are told
  Number,        // of the first argument
  WholeNumber,   // of the first argument, without digits behind the point
  Sign,          // of the first argument, with room for a 1
  Text,          // as long as the first argument
  LongText,      // of the longest length; n-text as soon as an argument is
  Name,          // of an object, a user and the like
  Character,     // one of varchar
  WideCharacter  // one of nvarchar
};

// When a function may be evaluated.
enum class Purity : std::uint8_t {
  kPure,         // the same arguments give the same result
  kStaysInPlace  // never moved out of the branch that it stands in, never evaluated only once
};

struct FunctionSignature {
  TextView name;  // in lower case; behind "t_" the name of the storage's function
  FunctionId id = FunctionId::Scalar;
  int least = 0;
  int most = 0;
  // What each argument is brought to: t text, s text but no date or time beside datetime, b text or
  // binary, i int, n a number (text becomes float), f float, d datetime or another date type;
  // others stay as they are.
  const char* arguments = "";
  FunctionResult result = FunctionResult::Own;

  // What it does; it throws SqlError. None for what the emitter writes in the storage's own words.
  void (*implementation)(Call& call) = nullptr;
  int null_arguments = 0;  // that many in front: when one of them is NULL, so is the result
  Purity purity = Purity::kPure;
  int added_arguments = 0;  // that many the binder may add behind the written ones
};

std::span<const FunctionSignature> CheckFunctions();
std::span<const FunctionSignature> ChoiceFunctions();
std::span<const FunctionSignature> ConversionFunctions();
std::span<const FunctionSignature> DateFunctions();
std::span<const FunctionSignature> NumberFunctions();
std::span<const FunctionSignature> SessionFunctions();
std::span<const FunctionSignature> TextFunctions();

// The function of that name without regard to case, or nullptr.
const FunctionSignature* FindFunction(TextView name);

}  // namespace ledgerwick::tsql
