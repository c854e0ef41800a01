#include "tsql/storage/constraints.h"

#include <algorithm>

#include "tsql/base/characters.h"
#include "tsql/storage/database_files.h"

namespace ledgerwick::tsql {
namespace {

std::string Quoted(TextView name) { return QuoteIdentifier(ToUtf8(name)); }
std::string Literal(TextView text) { return QuoteLiteral(ToUtf8(text)); }

std::string In(DatabaseId database, const char* table) {
  return std::string(SchemaName(database)) + "." + table;
}

void BindText(sqlite3_stmt* statement, int index, const std::string& text) {
  CheckBound(sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_TRANSIENT,
                                 SQLITE_UTF8));
}

// The constraints for which `condition` holds, with their columns.
std::vector<Constraint> Read(Storage& storage, DatabaseId database, const std::string& condition) {
  const SqliteStatement row = storage.Prepare(
      "SELECT c.id, c.kind, c.tab, c.name, c.made, c.definition, c.sql, c.persisted, "
      "c.referenced, c.on_delete, c.on_update, c.enabled, c.trusted, k.col, k.referenced FROM " +
      In(database, kConstraintsTable) + " AS c LEFT JOIN " + In(database, kConstraintColumnsTable) +
      " AS k ON k.id = c.id WHERE " + condition + " ORDER BY c.id, k.ord");
  std::vector<Constraint> constraints;
  sqlite3_stmt* const at = row.get();
  while (storage.Step(at)) {
    const std::int64_t id = sqlite3_column_int64(at, 0);
    if (constraints.empty() || constraints.back().id != id) {
      Constraint added;
      added.id = id;
      added.kind = static_cast<ConstraintKind>(ColumnText(at, 1)[0]);
      added.table = ToText(ColumnText(at, 2));
      added.name = ToText(ColumnText(at, 3));
      added.made = sqlite3_column_int(at, 4) != 0;
      added.definition = ToText(ColumnText(at, 5));
      added.sql = ColumnText(at, 6);
      added.persisted = sqlite3_column_int(at, 7) != 0;
      added.referenced_table = ToText(ColumnText(at, 8));
      added.on_delete = static_cast<ReferenceAction>(sqlite3_column_int(at, 9));
      added.on_update = static_cast<ReferenceAction>(sqlite3_column_int(at, 10));
      added.enabled = sqlite3_column_int(at, 11) != 0;
      added.trusted = sqlite3_column_int(at, 12) != 0;
      constraints.push_back(std::move(added));
    }
    if (sqlite3_column_type(at, 13) == SQLITE_NULL) continue;
    constraints.back().columns.push_back(ToText(ColumnText(at, 13)));
    if (sqlite3_column_type(at, 14) == SQLITE_NULL) continue;
    constraints.back().referenced.push_back(ToText(ColumnText(at, 14)));
  }
  return constraints;
}

std::string GuardName(DatabaseId database, TextView table, const char* event) {
  return std::string(SchemaName(database)) + "." +
         QuoteIdentifier("ledgerwick_guard:" + ToUtf8(table) + "." + event);
}

constexpr const char* kEvents[] = {"INSERT", "UPDATE", "DELETE"};

void AddTerm(std::string& condition, const std::string& term) {
  condition += (condition.empty() ? "" : " OR ") + term;
}

// True when an index finds the rows of the constraint's table by its columns.
bool IsIndexed(Storage& storage, DatabaseId database, const Constraint& reference) {
  const SqliteStatement index = storage.Prepare(
      "SELECT 1 FROM pragma_index_list(?1, ?2) AS l, pragma_index_info(l.name, ?2) AS i WHERE NOT "
      "l.partial AND i.seqno = 0 AND i.name = ?3");
  BindText(index.get(), 1, ToUtf8(reference.table));
  BindText(index.get(), 2, SchemaName(database));
  BindText(index.get(), 3, ToUtf8(reference.columns[0]));
  return storage.Step(index.get());
}

// What a row that is deleted, or gets another key, might leave behind. Without an index the rows
// are better looked for all at once.
std::string MightBeReferenced(Storage& storage, DatabaseId database, const Constraint& reference) {
  if (!IsIndexed(storage, database, reference)) return "1";
  return References(reference, "OLD");
}

std::string KeyChanges(const Constraint& reference) {
  std::string changes;
  for (const Text& column : reference.referenced) {
    AddTerm(changes, "OLD." + Quoted(column) + " IS NOT NEW." + Quoted(column));
  }
  return "(" + changes + ")";
}

}  // namespace

void MakeConstraintTables(Storage& storage, DatabaseId database) {
  const std::string schema = SchemaName(database);
  for (const std::string& sql :
       {"CREATE TABLE IF NOT EXISTS " + schema + "." + kConstraintsTable +
            " (id INTEGER PRIMARY KEY, kind TEXT NOT NULL, tab TEXT NOT NULL, name TEXT NOT "
            "NULL, made INTEGER NOT NULL, definition TEXT NOT NULL, sql TEXT NOT NULL, persisted "
            "INTEGER NOT NULL, referenced TEXT NOT NULL, on_delete INTEGER NOT NULL, on_update "
            "INTEGER NOT NULL, enabled INTEGER NOT NULL, trusted INTEGER NOT NULL)",
        "CREATE TABLE IF NOT EXISTS " + schema + "." + kConstraintColumnsTable +
            " (id INTEGER NOT NULL, ord INTEGER NOT NULL, col TEXT NOT NULL, referenced TEXT, "
            "PRIMARY KEY (id, ord)) WITHOUT ROWID",
        "CREATE TABLE IF NOT EXISTS " + schema + "." + kIdentityTable +
            " (tab TEXT NOT NULL PRIMARY KEY, col TEXT NOT NULL, key INTEGER NOT NULL, seed "
            "INTEGER NOT NULL, step INTEGER NOT NULL, last INTEGER) WITHOUT ROWID"}) {
    storage.Execute(sql);
  }
  if (database == DatabaseId::Session) return;
  storage.Execute("PRAGMA " + schema + ".user_version = " + std::to_string(kConstraintsFormat));
}

std::vector<Constraint> ConstraintsOf(Storage& storage, DatabaseId database, TextView table) {
  return Read(storage, database, "c.tab = " + Literal(table));
}

std::vector<Constraint> ReferencesTo(Storage& storage, DatabaseId database, TextView table) {
  return Read(storage, database, "c.kind = 'F' AND c.referenced = " + Literal(table));
}

std::vector<Constraint> AllReferences(Storage& storage, DatabaseId database) {
  return Read(storage, database, "c.kind = 'F'");
}

bool ConstraintExists(Storage& storage, DatabaseId database, TextView name) {
  const std::vector<Constraint> found =
      Read(storage, database, "c.kind <> 'X' AND lower(c.name) = lower(" + Literal(name) + ")");
  return !found.empty();
}

void AddConstraint(Storage& storage, DatabaseId database, const Constraint& constraint) {
  const SqliteStatement row =
      storage.Prepare("INSERT INTO " + In(database, kConstraintsTable) +
                      " VALUES (NULL, ?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12)");
  const char kind = static_cast<char>(constraint.kind);
  BindText(row.get(), 1, std::string(1, kind));
  BindText(row.get(), 2, ToUtf8(constraint.table));
  BindText(row.get(), 3, ToUtf8(constraint.name));
  sqlite3_bind_int(row.get(), 4, constraint.made ? 1 : 0);
  BindText(row.get(), 5, ToUtf8(constraint.definition));
  BindText(row.get(), 6, constraint.sql);
  sqlite3_bind_int(row.get(), 7, constraint.persisted ? 1 : 0);
  BindText(row.get(), 8, ToUtf8(constraint.referenced_table));
  sqlite3_bind_int(row.get(), 9, static_cast<int>(constraint.on_delete));
  sqlite3_bind_int(row.get(), 10, static_cast<int>(constraint.on_update));
  sqlite3_bind_int(row.get(), 11, constraint.enabled ? 1 : 0);
  sqlite3_bind_int(row.get(), 12, constraint.trusted ? 1 : 0);
  storage.Step(row.get());
  const std::string id = std::to_string(sqlite3_last_insert_rowid(storage.db()));
  for (std::size_t i = 0; i < constraint.columns.size(); ++i) {
    const bool has_other = i < constraint.referenced.size();
    storage.Execute("INSERT INTO " + In(database, kConstraintColumnsTable) + " VALUES (" + id +
                    ", " + std::to_string(i + 1) + ", " + Literal(constraint.columns[i]) + ", " +
                    (has_other ? Literal(constraint.referenced[i]) : "NULL") + ")");
  }
}

void RemoveConstraint(Storage& storage, DatabaseId database, const Constraint& constraint) {
  for (const char* table : {kConstraintsTable, kConstraintColumnsTable}) {
    storage.Execute("DELETE FROM " + In(database, table) +
                    " WHERE id = " + std::to_string(constraint.id));
  }
}

void SwitchConstraint(Storage& storage, DatabaseId database, const Constraint& constraint) {
  storage.Execute("UPDATE " + In(database, kConstraintsTable) +
                  " SET enabled = " + std::to_string(constraint.enabled ? 1 : 0) +
                  ", trusted = " + std::to_string(constraint.trusted ? 1 : 0) +
                  " WHERE id = " + std::to_string(constraint.id));
}

std::vector<std::string> ForgetTable(DatabaseId database, TextView table) {
  const std::string of_table = " WHERE tab = " + Literal(table);
  return {"DELETE FROM " + In(database, kConstraintColumnsTable) + " WHERE id IN (SELECT id FROM " +
              In(database, kConstraintsTable) + of_table + ")",
          "DELETE FROM " + In(database, kConstraintsTable) + of_table,
          "DELETE FROM " + In(database, kIdentityTable) + of_table};
}

void AddIdentity(Storage& storage, DatabaseId database, TextView table, TextView column,
                 const TableIdentity& identity) {
  storage.Execute("INSERT INTO " + In(database, kIdentityTable) +
                  " (tab, col, key, seed, step) VALUES (" + Literal(table) + ", " +
                  Literal(column) + ", abs(random() / 2) + 1, " + std::to_string(identity.seed) +
                  ", " + std::to_string(identity.step) + ")");
}

std::string LacksParent(const Constraint& reference, DatabaseId database, const std::string& row) {
  std::string given;
  std::string same;
  for (std::size_t i = 0; i < reference.columns.size(); ++i) {
    const std::string column = row + "." + Quoted(reference.columns[i]);
    given += column + " IS NOT NULL AND ";
    same += (i == 0 ? "p." : " AND p.") + Quoted(reference.referenced[i]) + " = " + column;
  }
  return "(" + given + "NOT EXISTS (SELECT 1 FROM " + SchemaName(database) + "." +
         Quoted(reference.referenced_table) + " AS p WHERE " + same + "))";
}

std::string References(const Constraint& reference, const std::string& row) {
  std::string same;
  for (std::size_t i = 0; i < reference.columns.size(); ++i) {
    same += (i == 0 ? "c." : " AND c.") + Quoted(reference.columns[i]) + " = " + row + "." +
            Quoted(reference.referenced[i]);
  }
  return "EXISTS (SELECT 1 FROM " + Quoted(reference.table) + " AS c WHERE " + same + ")";
}

void DropGuards(Storage& storage, DatabaseId database, TextView table) {
  for (const char* event : kEvents) {
    storage.Execute("DROP TRIGGER IF EXISTS " + GuardName(database, table, event));
  }
}

void MakeGuards(Storage& storage, DatabaseId database, TextView table) {
  DropGuards(storage, database, table);
  std::string child;  // what a new row must not be
  for (const Constraint& c : ConstraintsOf(storage, database, table)) {
    if (!c.enabled) continue;
    if (c.kind == ConstraintKind::Check) AddTerm(child, "NOT (" + c.sql + ")");
    if (c.kind == ConstraintKind::Reference) AddTerm(child, LacksParent(c, database, "NEW"));
  }
  std::string gone;     // what the row that goes must not be
  std::string changed;  // and the row that changes
  for (const Constraint& c : ReferencesTo(storage, database, table)) {
    if (!c.enabled) continue;
    const std::string referenced = MightBeReferenced(storage, database, c);
    AddTerm(gone, referenced);
    AddTerm(changed, "(" + KeyChanges(c) + " AND " + referenced + ")");
  }
  std::string update = child;
  if (!changed.empty()) AddTerm(update, changed);
  const std::string* const conditions[] = {&child, &update, &gone};
  for (std::size_t i = 0; i < std::size(kEvents); ++i) {
    if (conditions[i]->empty()) continue;
    storage.Execute("CREATE TRIGGER " + GuardName(database, table, kEvents[i]) + " AFTER " +
                    kEvents[i] + " ON " + Quoted(table) + " WHEN (" + *conditions[i] +
                    ") AND NOT t_settling() BEGIN SELECT RAISE(ABORT, 'constraint'); END");
  }
  // Defaults and the like have no guards.
  storage.Execute("CREATE TABLE " + In(database, "ledgerwick_change") + " (x)");
  storage.Execute("DROP TABLE " + In(database, "ledgerwick_change"));
}

}  // namespace ledgerwick::tsql
