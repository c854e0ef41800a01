// Messages of RAISERROR.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace ledgerwick::tsql {

// What a place is filled with: NULL, a text in UTF-8 or a whole number.
using MessageArgument = std::variant<std::monostate, std::string_view, std::int64_t>;

// `format` with its %s, %d, %i, %u, %x, %X and %o, with flags, width and precision, replaced by
// `arguments` in turn; %% is one %. Throws SqlError 2786 where an argument is of another kind than
// its place, 2787 for a place that is none.
std::string FormatMessage(std::string_view format, std::span<const MessageArgument> arguments);

}  // namespace ledgerwick::tsql
