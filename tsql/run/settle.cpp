// Changes of rows all at once, with what follows from them: cascades, and the constraints of all
// tables concerned, which hold at the end of the statement.
#include <algorithm>

#include "tsql/run/interpreter.h"
#include "tsql/storage/constraints.h"

namespace ledgerwick::tsql {
namespace {

// While it lives, the guards of constraints let everything pass.
class Settling {
 public:
  explicit Settling(Storage& storage) : state_(storage.functions()), before_(state_.settling) {
    state_.settling = true;
  }
  ~Settling() { state_.settling = before_; }
  Settling(const Settling&) = delete;
  Settling& operator=(const Settling&) = delete;

 private:
  FunctionState& state_;
  bool before_;
};

// The columns that are written, each behind `before`; of `table` where `replaced` has nothing else.
std::string Columns(const Table& table, const std::string& before) {
  std::string sql;
  for (const TableColumn& column : table.columns) {
    if (!column.computed_sql.empty()) continue;
    sql += ", " + before + column.sql;
  }
  return sql;
}

const TableColumn& ColumnOf(const Table& table, TextView name) {
  return table.columns[static_cast<std::size_t>(table.FindColumn(name))];
}

// True of a row "o" of the referenced table and a row "c" that references it.
std::string Matches(const Constraint& reference, const Table& child, const Table& parent) {
  std::string sql;
  for (std::size_t i = 0; i < reference.columns.size(); ++i) {
    sql += (i == 0 ? "c." : " AND c.") + ColumnOf(child, reference.columns[i]).sql + " = o." +
           ColumnOf(parent, reference.referenced[i]).sql;
  }
  return sql;
}

// The values of the columns of row "c" of `child` when what it references goes, or gets the key of
// row "f".
std::string Followed(const Constraint& reference, const Table& child, const Table& parent,
                     ReferenceAction action) {
  std::string sql;
  for (const TableColumn& column : child.columns) {
    if (!column.computed_sql.empty()) continue;
    std::string value = "c." + column.sql;
    for (std::size_t i = 0; i < reference.columns.size(); ++i) {
      if (!EqualText(reference.columns[i], column.name)) continue;
      if (action == ReferenceAction::Cascade) {
        value = "f." + ColumnOf(parent, reference.referenced[i]).sql;
      } else {
        const bool has_default =
            action == ReferenceAction::SetDefault && !column.default_sql.empty();
        value = has_default ? column.default_sql : "NULL";
      }
    }
    sql += ", " + value;
  }
  return sql;
}

TextView OnlyColumn(const std::vector<Text>& columns) {
  return columns.size() == 1 ? TextView(columns[0]) : TextView();
}

}  // namespace

// Makes `rows`, a table of the session's for rows of `table` with their numbers.
void Interpreter::NewRows(const Table& table, const std::string& rows, Settlement& settlement) {
  std::string sql = "CREATE TABLE " + rows + " (" + kRefusedRow + " INTEGER PRIMARY KEY";
  for (const TableColumn& column : table.columns) {
    Type type = column.type;
    type.nullable = true;
    sql += ", " + ColumnDeclaration(ToUtf8(column.name), type);
    if (!column.computed_sql.empty()) {
      sql += " GENERATED ALWAYS AS (" + column.computed_sql + ")";
    } else if (!column.default_sql.empty()) {
      sql += " DEFAULT (" + column.default_sql + ")";
    }
  }
  storage_.Execute(sql + ")");
  settlement.tables.push_back(rows);
}

// The same under a name of its own.
std::string Interpreter::NewRows(const Table& table, Settlement& settlement) {
  const std::string rows = kRefusedRows + std::to_string(settlement.tables.size());
  NewRows(table, rows, settlement);
  return rows;
}

bool Interpreter::IsReferenced(const Table& table) {
  return catalogue_.HasConstraints(table.database) &&
         !ReferencesTo(storage_, table.database, table.name).empty();
}

// Inserts `rows` into `table`. Returns how many.
std::int64_t Interpreter::PutRows(const Table& table, const std::string& rows,
                                  Settlement& settlement) {
  RequireValues(table, rows, false);
  RequireUnique(table, rows);
  settlement.changed.push_back({&table, rows, {}});
  const Settling settling(storage_);
  return storage_.Execute("INSERT INTO " + table.sql + " (" + Columns(table, "").substr(2) +
                          ") SELECT " + Columns(table, "").substr(2) + " FROM " + rows +
                          " ORDER BY " + kRefusedRow);
}

// Has `rows` take the places of those with their numbers in `table`. Returns how many.
std::int64_t Interpreter::ReplaceRows(const Table& table, const std::string& rows,
                                      Settlement& settlement) {
  RequireValues(table, rows, true);
  const std::string of_rows =
      " WHERE _rowid_ IN (SELECT " + std::string(kRefusedRow) + " FROM " + rows + ")";
  std::string old;
  if (IsReferenced(table)) {
    old = NewRows(table, settlement);
    storage_.Execute("INSERT INTO " + old + " (" + kRefusedRow + Columns(table, "") +
                     ") SELECT _rowid_" + Columns(table, "") + " FROM " + table.sql + of_rows);
  }
  const Settling settling(storage_);
  storage_.Execute("DELETE FROM " + table.sql + of_rows);
  RequireUnique(table, rows);
  const bool own_number = std::any_of(table.columns.begin(), table.columns.end(),
                                      [](const TableColumn& c) { return c.is_row_number; });
  const std::string columns = Columns(table, "").substr(own_number ? 2 : 0);
  const std::int64_t count =
      storage_.Execute("INSERT INTO " + table.sql + " (" + (own_number ? "" : "_rowid_") + columns +
                       ") SELECT " + (own_number ? "" : kRefusedRow) + columns + " FROM " + rows);
  settlement.changed.push_back({&table, rows, old});
  if (!old.empty()) Cascade(settlement.changed.back(), settlement);
  return count;
}

// Takes `rows` out of `table`. Returns how many.
std::int64_t Interpreter::TakeRows(const Table& table, const std::string& rows,
                                   Settlement& settlement) {
  const Settling settling(storage_);
  const std::int64_t count =
      storage_.Execute("DELETE FROM " + table.sql + " WHERE _rowid_ IN (SELECT " + kRefusedRow +
                       " FROM " + rows + ")");
  settlement.changed.push_back({&table, {}, rows});
  Cascade(settlement.changed.back(), settlement);
  return count;
}

// What becomes of the rows that reference the changed ones.
void Interpreter::Cascade(const ChangedRows changed, Settlement& settlement) {
  const Nesting nesting;
  const Table& parent = *changed.table;
  const bool removed = changed.fresh.empty();
  if (!catalogue_.HasConstraints(parent.database)) return;
  for (const Constraint& c : ReferencesTo(storage_, parent.database, parent.name)) {
    const ReferenceAction action = removed ? c.on_delete : c.on_update;
    if (!c.enabled || action == ReferenceAction::NoAction) continue;
    const Table* child = catalogue_.Find(parent.database, {}, c.table);
    if (child == nullptr) continue;
    const bool removes = removed && action == ReferenceAction::Cascade;
    std::string from = " FROM " + changed.old + " AS o JOIN " + child->sql + " AS c ON " +
                       Matches(c, *child, parent);
    if (!removed) {
      std::string changes;
      for (const Text& column : c.referenced) {
        const std::string& name = ColumnOf(parent, column).sql;
        changes += (changes.empty() ? "o." : " OR o.") + name + " IS NOT f." + name;
      }
      from += " JOIN " + changed.fresh + " AS f ON f." + kRefusedRow + " = o." + kRefusedRow +
              " WHERE " + changes;
    }
    const std::string rows = NewRows(*child, settlement);
    const std::string values =
        removes ? Columns(*child, "c.") : Followed(c, *child, parent, action);
    const std::int64_t count =
        storage_.Execute("INSERT INTO " + rows + " (" + kRefusedRow + Columns(*child, "") +
                         ") SELECT c._rowid_" + values + from);
    if (count == 0) continue;
    if (removes) {
      TakeRows(*child, rows, settlement);
    } else {
      ReplaceRows(*child, rows, settlement);
    }
  }
}

bool Interpreter::HasRow(const std::string& sql) {
  const SqliteStatement row = storage_.Prepare("SELECT 1 " + sql + " LIMIT 1");
  return storage_.Step(row.get());
}

// Throws 547 where one of `rows` of the constraint's table breaks it.
void Interpreter::RequireRule(const Constraint& rule, const std::string& rows, DatabaseId database,
                              std::string_view word) {
  const Text name = catalogue_.NameOf(database);
  if (rule.kind == ConstraintKind::Check) {
    if (!HasRow("FROM " + rows + " AS NEW WHERE NOT (" + rule.sql + ")")) return;
    throw errors::Conflict(word, "CHECK", rule.name, name, rule.table, OnlyColumn(rule.columns));
  }
  if (rule.kind != ConstraintKind::Reference) return;
  if (!HasRow("FROM " + rows + " AS NEW WHERE " + LacksParent(rule, database, "NEW"))) return;
  const bool own = EqualText(rule.table, rule.referenced_table);
  throw errors::Conflict(word, own ? "FOREIGN KEY SAME TABLE" : "FOREIGN KEY", rule.name, name,
                         rule.referenced_table, OnlyColumn(rule.referenced));
}

// Throws 547 where a row references one of the changed rows' keys that is no more.
void Interpreter::RequireReferenced(const ChangedRows& changed, std::string_view word) {
  const Table& parent = *changed.table;
  for (const Constraint& c : ReferencesTo(storage_, parent.database, parent.name)) {
    const Table* child = catalogue_.Find(parent.database, {}, c.table);
    if (!c.enabled || child == nullptr) continue;
    std::string same;
    for (const Text& column : c.referenced) {
      const std::string& name = ColumnOf(parent, column).sql;
      same += (same.empty() ? "p." : " AND p.") + name + " = o." + name;
    }
    if (!HasRow("FROM " + changed.old + " AS o JOIN " + child->sql + " AS c ON " +
                Matches(c, *child, parent) + " WHERE NOT EXISTS (SELECT 1 FROM " + parent.sql +
                " AS p WHERE " + same + ")")) {
      continue;
    }
    const bool own = EqualText(c.table, c.referenced_table);
    throw errors::Conflict(word, own ? "SAME TABLE REFERENCE" : "REFERENCE", c.name,
                           catalogue_.NameOf(parent.database), c.table, OnlyColumn(c.columns));
  }
}

void Interpreter::RequireRules(const Settlement& settlement) {
  for (const bool of_new_rows : {true, false}) {
    for (const ChangedRows& changed : settlement.changed) {
      const DatabaseId database = changed.table->database;
      if (!catalogue_.HasConstraints(database)) continue;
      if (!of_new_rows) {
        if (!changed.old.empty()) RequireReferenced(changed, settlement.word);
      } else if (!changed.fresh.empty()) {
        for (const Constraint& c : ConstraintsOf(storage_, database, changed.table->name)) {
          if (c.enabled) RequireRule(c, changed.fresh, database, settlement.word);
        }
      }
    }
  }
}

}  // namespace ledgerwick::tsql
