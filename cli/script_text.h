// The text of a script's bytes.
#pragma once

#include <string>
#include <string_view>

namespace ledgerwick {

// UTF-8 of a script in `encoding`: utf-8, utf-16 or gbk; empty for what its byte-order mark says,
// else UTF-8. UTF-16 without a mark has the low byte first. `name` stands in messages. Throws
// FileError with the place of the first byte that is no text, UsageError where the mark is
// another's.
std::string DecodeScript(std::string_view bytes, const std::string& encoding,
                         const std::string& name);

}  // namespace ledgerwick
