// What the sources of the error factories share.
#pragma once

#include <cstdint>
#include <string>

#include "frame/text.h"

namespace ledgerwick::tsql::errors {

// Severities: mistakes in the text are 15, all others that a user can mend 16.
inline constexpr std::int32_t kSyntax = 15;
inline constexpr std::int32_t kUser = 16;

// Parts of a message in UTF-8: a name as it is, a name in quotes, a number.
inline std::string U(TextView text) { return ToUtf8(text); }
inline std::string Q(TextView text) { return "'" + ToUtf8(text) + "'"; }
inline std::string N(std::int64_t number) { return std::to_string(number); }

}  // namespace ledgerwick::tsql::errors
