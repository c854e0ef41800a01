// The arguments of the members that inventory reports have beyond the contract.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "frame/report_provider.h"
#include "frame/text.h"

namespace ledgerwick {

// The text of the argument at `index`. Throws error 450 when it is missing, 13 when it is no value.
Text TextArgument(std::span<const Argument> arguments, std::size_t index);

// The connection at `index`, which may be nullptr. Throws error 450 when the argument is missing,
// 13 when it is a value.
std::shared_ptr<Connection> ConnectionArgument(std::span<const Argument> arguments,
                                               std::size_t index);

// The sum of the digits of `text`; any other character counts 0. Throws error 6 when the sum does
// not fit 32 bits.
std::int32_t SumDigits(TextView text);

}  // namespace ledgerwick
