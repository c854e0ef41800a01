// The constraints that SQLite does not keep for us: CHECK, FOREIGN KEY and named defaults, with
// what computed and IDENTITY columns are.
//
// They stand in tables of their own, made when a database needs them first; a file with them has
// format 3, so that an older program, which knows nothing of them, refuses it. CHECK and FOREIGN
// KEY are guarded by SQLite's triggers, so that nothing that writes can pass them by. A trigger
// sees one row at a time: it only refuses (ConstraintFailure), and who ran the statement looks at
// its rows as a set (run/refused_rows.cpp), does what cascades, and knows the error.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tsql/storage/catalogue.h"
#include "tsql/syntax/syntax_tree.h"

namespace ledgerwick::tsql {

enum class ConstraintKind : char { Check = 'C', Reference = 'F', Default = 'D', Computed = 'X' };

struct Constraint {
  std::int64_t id = 0;  // given by AddConstraint
  ConstraintKind kind = ConstraintKind::Check;
  Text table;
  Text name;          // empty for a computed column
  bool made = false;  // nobody wrote the name
  Text definition;    // as written; of a default, a check and a computed column
  // Of a check and a computed column what it comes to, in names of columns, in a check with NEW in
  // front; of a default its value, empty for none.
  std::string sql;
  bool persisted = false;          // of a computed column
  std::vector<Text> columns = {};  // of a check the one that it stands at, if any
  Text referenced_table = {};
  std::vector<Text> referenced = {};  // its columns, as many
  ReferenceAction on_delete = ReferenceAction::NoAction;
  ReferenceAction on_update = ReferenceAction::NoAction;
  bool enabled = true;
  bool trusted = true;  // the rows that were there when it came have been looked at
};

// All of these throw SqlError when the storage fails, and stand in the caller's transaction.

// Makes the tables, unless they are there.
void MakeConstraintTables(Storage& storage, DatabaseId database);

// The constraints of `table`; of any table that reference `table`; all references of `database`.
// None where HasConstraints is false, which the caller has asked.
std::vector<Constraint> ConstraintsOf(Storage& storage, DatabaseId database, TextView table);
std::vector<Constraint> ReferencesTo(Storage& storage, DatabaseId database, TextView table);
std::vector<Constraint> AllReferences(Storage& storage, DatabaseId database);

// True when a constraint of that name is kept there.
bool ConstraintExists(Storage& storage, DatabaseId database, TextView name);

// Each of these leaves the guards to be made anew.
void AddConstraint(Storage& storage, DatabaseId database, const Constraint& constraint);
void RemoveConstraint(Storage& storage, DatabaseId database, const Constraint& constraint);
void SwitchConstraint(Storage& storage, DatabaseId database, const Constraint& constraint);

// The statements that forget all that is kept of `table`.
std::vector<std::string> ForgetTable(DatabaseId database, TextView table);

// Adds the IDENTITY column of a table that is about to be made.
void AddIdentity(Storage& storage, DatabaseId database, TextView table, TextView column,
                 const TableIdentity& identity);

// The condition that row `row` ("NEW") of the constraint's table has nobody to reference; that
// some row of that table, "c", references row `row` of the referenced one.
std::string LacksParent(const Constraint& reference, DatabaseId database, const std::string& row);
std::string References(const Constraint& reference, const std::string& row);

// Has SQLite guard what is kept of `table`, and nothing else. Tells every connection that its
// catalogue is stale.
void MakeGuards(Storage& storage, DatabaseId database, TextView table);
void DropGuards(Storage& storage, DatabaseId database, TextView table);

}  // namespace ledgerwick::tsql
