// A table that is about to be made, or made anew.
#pragma once

#include <string>
#include <vector>

#include "tsql/run/interpreter.h"

namespace ledgerwick::tsql {

struct Interpreter::NewTable {
  Table table;                          // as the catalogue will have it
  std::vector<UniqueKey> keys;          // PRIMARY KEY and UNIQUE
  std::vector<Constraint> constraints;  // the others, those that are new
  NameMap<bool> names;                  // of constraints that have been given
  bool exists = false;                  // the table is there already

  // The statement that makes it under the storage's name `sql`.
  std::string CreateSql(const std::string& sql) const;
};

// The type of a column; without a length it holds one character or byte.
Type ColumnType(const ColumnDefinition& column);

// What SQLite needs for the versions of the rows of `table`; empty where it has none.
RowVersionSql RowVersionsOf(const Table& table);

// The names of the columns.
std::vector<Text> NamesOf(const Table& table, const std::vector<std::int32_t>& columns);

}  // namespace ledgerwick::tsql
