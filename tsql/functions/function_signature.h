// The functions that the binder knows: what they take and what they give.
#pragma once

#include <cstdint>

#include "frame/text.h"

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
  DateDiff,
  DateAdd,
  DatePart,
  Year,  // MONTH and DAY
  GetDate,
};

constexpr bool IsAggregate(FunctionId id) noexcept {
  return id >= FunctionId::Count && id <= FunctionId::Avg;
}

// The type of what a scalar function gives.
enum class FunctionResult : std::uint8_t {
  Own,           // a rule of its own
  Int,           //
  Float,         //
  Number,        // of the first argument
  WholeNumber,   // of the first argument, without digits behind the point
  Sign,          // of the first argument, with room for a 1
  Text,          // as long as the first argument
  LongText,      // of the longest length; n-text as soon as an argument is
  Character,     // one of varchar
  WideCharacter  // one of nvarchar
};

struct FunctionSignature {
  TextView name;  // in lower case; behind "t_" the name of the storage's function
  FunctionId id = FunctionId::Scalar;
  int least = 0;
  int most = 0;
  // What each argument is brought to: t text, i int, n a number (text becomes float), f float, d
  // datetime; others stay as they are.
  const char* arguments = "";
  FunctionResult result = FunctionResult::Own;
};

// The function of that name without regard to case, or nullptr.
const FunctionSignature* FindFunction(TextView name) noexcept;

}  // namespace ledgerwick::tsql
