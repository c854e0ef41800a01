// Databases of the format before decimals and money were exact.
#pragma once

#include <filesystem>

#include "tsql/database.h"

namespace ledgerwick::tsql {

// Turns the database at `path` into one of today's format: a new file beside it is filled and takes
// its place when it is complete, so that it is there whole, or the old one as it was. Nobody may
// use the database meanwhile. Returns false for one that has today's format already. Throws
// DatabaseError with the reason; of `options` cancel, lock_wait and progress count.
bool UpgradeDatabase(const std::filesystem::path& path, const DatabaseOptions& options = {});

}  // namespace ledgerwick::tsql
