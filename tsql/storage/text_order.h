// The order in which a file's indexes have text, noted in the file itself.
//
// SQLite trusts an index to be in the order of its collation. Where the order of text changes, as
// it may with another version of ICU, rows would be missed and put in wrong places until the index
// is rebuilt.
#pragma once

#include <array>
#include <string>

#include "tsql/storage/sqlite.h"

namespace ledgerwick::tsql {

// The order of text that `schema` notes (CollationVersion), empty for none. `result` becomes
// SQLite's result; where that is an error, nothing is known.
std::string NotedTextOrder(sqlite3* db, const char* schema, int& result);

// The statements that note `order` in `schema`; they name the schema before anything else. They
// belong into one transaction with what brings the indexes into that order.
std::array<std::string, 2> NoteTextOrder(const char* schema, const std::string& order);

}  // namespace ledgerwick::tsql
