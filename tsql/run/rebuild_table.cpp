// Tables that are made anew under their names, and what goes with a table.
#include <algorithm>

#include "tsql/run/new_table.h"

namespace ledgerwick::tsql {

// Makes `table` anew as `made` says. Its rows have `values`, an expression in names of its old
// columns for each column that is not computed; without any, what they have. SQLite itself cannot
// change a column or a key.
void Interpreter::Rebuild(const NewTable& made, const Table& table, const std::string& values) {
  const std::string schema = SchemaName(table.database);
  const std::string name = ToUtf8(table.name);
  std::vector<std::string> indexes;
  {
    const SqliteStatement index =
        storage_.Prepare("SELECT sql, name FROM " + schema +
                         ".sqlite_schema WHERE type = 'index' AND sql IS NOT "
                         "NULL AND tbl_name = " +
                         QuoteLiteral(name));
    while (storage_.Step(index.get())) {
      if (ColumnText(index.get(), 1).starts_with(NullIndexName(""))) continue;  // made anew
      std::string sql(ColumnText(index.get(), 0));
      // The storage keeps the text without the schema.
      sql.insert(sql.find("INDEX ") + 6, schema + ".");
      indexes.push_back(std::move(sql));
    }
  }
  // SQLite reads every trigger when a table gets another name, also those that name this one.
  std::vector<Text> related{table.name};
  if (catalogue_.HasConstraints(table.database)) {
    for (const Constraint& c : AllReferences(storage_, table.database)) {
      if (c.table == table.name) related.push_back(c.referenced_table);
      if (c.referenced_table == table.name) related.push_back(c.table);
    }
    for (const Text& other : related) DropGuards(storage_, table.database, other);
  }
  std::string columns;
  for (const TableColumn& column : made.table.columns) {
    if (column.computed_sql.empty()) columns += (columns.empty() ? "" : ", ") + column.sql;
  }
  const auto own_number = [](const Table& t) {
    return std::any_of(t.columns.begin(), t.columns.end(),
                       [](const TableColumn& c) { return c.is_row_number; });
  };
  const bool keeps_numbers = !own_number(made.table);
  const std::string fresh = schema + ".ledgerwick_rebuilt";
  storage_.Execute(made.CreateSql(fresh));
  storage_.Execute("INSERT INTO " + fresh + " (" + (keeps_numbers ? "_rowid_, " : "") + columns +
                   ") SELECT " + (keeps_numbers ? "_rowid_, " : "") +
                   (values.empty() ? columns : values) + " FROM " + table.sql);
  storage_.Execute("DROP TABLE " + table.sql);
  storage_.Execute("ALTER TABLE " + fresh + " RENAME TO " + QuoteIdentifier(name));
  for (const std::string& index : indexes) storage_.Execute(index);
  MakeNullIndexes(made.table);
  for (const std::string& after : RowVersionsOf(made.table).after) storage_.Execute(after);
  if (!catalogue_.HasConstraints(table.database)) return;
  for (const Text& other : related) MakeGuards(storage_, table.database, other);
}

// The table with all that is kept of it.
void Interpreter::DropAll(const Table& table) {
  if (!catalogue_.HasConstraints(table.database)) {
    storage_.Execute("DROP TABLE " + table.sql);
    return;
  }
  Transaction transaction(storage_);
  const std::vector<Constraint> constraints = ConstraintsOf(storage_, table.database, table.name);
  storage_.Execute("DROP TABLE " + table.sql);
  for (const std::string& sql : ForgetTable(table.database, table.name)) storage_.Execute(sql);
  for (const Constraint& c : constraints) {
    if (c.kind != ConstraintKind::Reference || c.referenced_table == table.name) continue;
    MakeGuards(storage_, table.database, c.referenced_table);
  }
  if (catalogue_.TakesIdentity(table)) catalogue_.SetIdentityInsert(std::nullopt);
  transaction.Commit();
}

}  // namespace ledgerwick::tsql
