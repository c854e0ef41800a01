// What keeps the rows of a table apart: its primary key, UNIQUE constraints and unique indexes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tsql/functions/function_table.h"
#include "tsql/storage/catalogue.h"

namespace ledgerwick::tsql {

enum class KeyKind : std::uint8_t { Primary, Unique, Index };

struct UniqueKey {
  Text name;  // of the constraint or the index
  KeyKind kind = KeyKind::Index;
  std::vector<std::int32_t> columns;  // of the table
  bool nulls_equal = true;            // not so in files that an earlier version has made
  std::string index = {};             // the storage's own, where CREATE INDEX made it
  std::vector<char> descending = {};  // for each column
};

// The keys of `table`, the primary one first. A constraint that was given no name has one that is
// made from the table and the columns, always the same. Throws SqlError when the storage cannot be
// read. Reads the storage every time: for who has met a duplicate.
std::vector<UniqueKey> UniqueKeysOf(Storage& storage, const Table& table);

// The name of a constraint without one: of the server's kind, made from the table and the columns,
// and always the same. `prefix` is "PK", "UQ" and the like.
Text MadeName(TextView prefix, TextView table, std::span<const Text> columns);

// True when a key of a table of `database` is a constraint of that name. Throws SqlError when the
// storage cannot be read.
bool KeyExists(Storage& storage, DatabaseId database, TextView name);

// The storage's name for the index that stands for a constraint which was added to `table`.
std::string AddedKeyName(TextView table, TextView name, bool primary);

// What the catalogue's queries call: t_key_name(table, primary, columns, index, sql), the name of
// the constraint on these columns (parted by U+0001), which the storage calls `index` and whose
// table was made by `sql`.
std::span<const FunctionRow> KeyFunctions();

// The storage's name for a new index of `table`. SQLite's names are unique in a database, T-SQL's
// in a table.
std::string IndexName(const Table& table, TextView index);

// The storage's name for the index of `table` that T-SQL calls `index`; nothing where there is
// none.
std::optional<std::string> FindIndex(Storage& storage, const Table& table, TextView index);

// What stands for the storage's name of a constraint on these columns of `table`, in its own order.
std::string ConstraintIndexName(const std::string& table, std::span<const TableColumn> columns);

// To SQLite two NULLs differ, and a unique index takes any number of them; to T-SQL they are equal.
// So a second index, of the rows with a NULL in the key alone, stands beside `main_index` (the
// storage's name for it, or for a constraint). Returns the statement that makes it; empty when no
// column of the key may be NULL.
std::string CreateNullIndex(DatabaseId database, const std::string& table,
                            const std::string& main_index, std::span<const TableColumn> columns);

// The name of that second index.
std::string NullIndexName(const std::string& main_index);

}  // namespace ledgerwick::tsql
