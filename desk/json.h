// What the interface says in JSON in more than one place.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "frame/error.h"
#include "host/finding.h"

namespace ledgerwick::desk {

using Json = nlohmann::ordered_json;

// {"severity", "code", "filter", "text", "instead", "text_zh", "instead_zh"}
Json FindingJson(const Finding& finding);

// {"text", "number"?, "line"?, "column"?, "statement"?}; `statement` is what the error is about.
Json ErrorJson(const DatabaseError& error, const Text& statement);

// `json` as text; what is no UTF-8 in it is replaced.
std::string Dump(const Json& json);

}  // namespace ledgerwick::desk
