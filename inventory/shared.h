// What several inventory reports do alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "frame/report_provider.h"
#include "frame/text.h"
#include "frame/value.h"

namespace ledgerwick {

// True when `name` is `stem` and a number from 1 to `last` ("cFree1" to "cFree10").
bool IsNumbered(TextView name, TextView stem, int last);

// One equality for each code of the comma-separated list `codes`: `before`, the code, `after`,
// which ends in "AND "; the last "AND " is cut off. Several warehouses are joined with AND: reports
// rely on it. Empty for an empty list.
Text EveryCode(const Value& codes, TextView before, TextView after);

// The sum of the digits of `text`; any other character counts 0. Throws error 6 when the sum does
// not fit 32 bits.
std::int32_t SumDigits(TextView text);

// The zero date as text, which the server reads as the first day of its calendar.
Text ZeroDate();

// The text of the argument at `index`. Throws error 450 when it is missing, 13 when it is no value.
Text TextArgument(std::span<const Argument> arguments, std::size_t index);

// The connection at `index`, which may be nullptr. Throws error 450 when the argument is missing,
// 13 when it is a value.
std::shared_ptr<Connection> ConnectionArgument(std::span<const Argument> arguments,
                                               std::size_t index);

}  // namespace ledgerwick
