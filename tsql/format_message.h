// Messages of RAISERROR.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "tsql/variables.h"

namespace ledgerwick::tsql {

// `format` with its %s, %d, %i, %u, %x, %X and %o, with flags, width and precision, replaced by
// `arguments` in turn; %% is one %. Throws SqlError 2786 where an argument is of another kind than
// its place, 2787 for a place that is none.
std::string FormatMessage(std::string_view format, std::span<const SqliteValue> arguments);

}  // namespace ledgerwick::tsql
