// The file behind tempdb: what it must be like, and how it gives space back.
//
// It holds nothing that must last. One that is damaged, or was made by an older version, is made
// anew by the next who has the database alone.
#pragma once

#include <string>

#include "tsql/storage/sqlite.h"

namespace ledgerwick::tsql {

enum class TempdbState {
  Sound,
  Outdated,  // of an older version: it never shrinks
  Unmade,    // without content, left half made, of another format or with another order of text
  Damaged,
  Foreign,  // a database of somebody else's
};

// What the attached tempdb of `db` is like, by its head and its table of tables. `attached` is the
// result code of attaching it. An error that says nothing of the file is `result`. Throws what
// CollationVersion does.
TempdbState InspectTempdb(sqlite3* db, int attached, int& result);

// Gives free pages back to the system if they are many. The caller has the turn to write to tempdb.
// A failure changes nothing and is passed over.
void ShrinkTempdb(sqlite3* db) noexcept;

// True when ShrinkTempdb would do something.
bool HasMuchFreeSpace(sqlite3* db) noexcept;

}  // namespace ledgerwick::tsql
