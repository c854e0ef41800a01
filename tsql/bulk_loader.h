// Fast filling of one table.
#pragma once

#include <memory>
#include <span>

#include "tsql/database.h"
#include "tsql/storage/catalogue.h"
#include "tsql/storage/storage.h"

namespace ledgerwick::tsql {

// A loader for `columns` of the table of that name in the main database, or of
// the session where it begins with "#". Throws SqlError 208 and
// 207 for what does not exist.
std::unique_ptr<BulkLoader> NewBulkLoader(Storage& storage, Catalogue& catalogue, TextView table,
                                          std::span<const Text> columns);

}  // namespace ledgerwick::tsql
