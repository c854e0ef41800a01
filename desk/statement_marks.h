// What filters put into a statement.
#pragma once

#include "desk/json.h"
#include "host/request.h"

namespace ledgerwick::desk {

// The texts by which the request's filters may stand in a statement, for MarkStatement.
Json MarksOf(const Request& request);

// [{"from", "to", "filter"}]: where those texts stand in `sql`, counted in UTF-16 units.
Json MarkStatement(const Text& sql, const Json& marks);

}  // namespace ledgerwick::desk
