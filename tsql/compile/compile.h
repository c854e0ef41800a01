// The front end by itself: from a statement's text to SQLite's SQL, without running anything.
#pragma once

#include <string>
#include <vector>

#include "frame/text.h"
#include "tsql/base/planning.h"
#include "tsql/storage/catalogue.h"

namespace ledgerwick::tsql {

// The SQLite SQL of every query in `batch` (SELECT, also with INTO: the query alone), bound against
// `catalogue` and rewritten as `planning` allows. Other statements are parsed and passed over.
// Throws SqlError.
std::vector<std::string> CompileQueries(TextView batch, Catalogue& catalogue,
                                        Planning planning = Planning::Usual);

}  // namespace ledgerwick::tsql
