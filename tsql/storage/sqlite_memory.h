// SQLite's allocations, charged to the batch that causes them.
#pragma once

namespace ledgerwick::tsql {

// Has SQLite allocate through Allowance. Must come before SQLite is used for the first time: in an
// application that has it running already nothing changes, and only the batch's own tree is
// charged.
void ChargeSqliteMemory() noexcept;

}  // namespace ledgerwick::tsql
