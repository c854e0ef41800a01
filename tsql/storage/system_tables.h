// The tables in which the server describes its databases: sysobjects, sys.columns,
// INFORMATION_SCHEMA.COLUMNS and their like, read from SQLite's own catalogue.
#pragma once

#include <memory>
#include <string>

#include "frame/text.h"
#include "tsql/storage/catalogue.h"

namespace ledgerwick::tsql {

// The system's table of that name, or nullptr. `schema` is as written: empty, dbo, sys or
// INFORMATION_SCHEMA. `database_name` and `main_name` are what `database` and the main database are
// called.
std::unique_ptr<Table> NewSystemTable(DatabaseId database, TextView schema, TextView name,
                                      const Text& database_name, const Text& main_name,
                                      bool has_constraints);

// A query of every user table and module: name and kind, 'U' for a table, 'V' and 'P'.
std::string ObjectsQuery(DatabaseId database);

}  // namespace ledgerwick::tsql
