// What tables and views there are, with their columns' declared types.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "frame/text.h"
#include "tsql/base/name_map.h"
#include "tsql/base/types.h"
#include "tsql/storage/sqlite.h"
#include "tsql/storage/storage.h"

namespace ledgerwick::tsql {

// The databases of a connection; Session holds its own temporary tables.
enum class DatabaseId : std::uint8_t { Main, Tempdb, Session };
inline constexpr std::size_t kDatabases = 3;

// The name under which SQLite has the database attached.
constexpr const char* SchemaName(DatabaseId id) noexcept {
  return id == DatabaseId::Main ? "main" : id == DatabaseId::Tempdb ? "tempdb" : "temp";
}

// The table that keeps the texts of views and procedures; hidden from queries.
inline constexpr const char* kModulesTable = "ledgerwick_modules";

// The tables that keep constraints with their columns, and IDENTITY columns; made when they are
// first needed, and hidden too (constraints.h).
inline constexpr const char* kConstraintsTable = "ledgerwick_constraints";
inline constexpr const char* kConstraintColumnsTable = "ledgerwick_constraint_columns";
inline constexpr const char* kIdentityTable = "ledgerwick_identity";

// The table that counts the versions of rows; hidden too.
inline constexpr const char* kRowVersionTable = "ledgerwick_rowversion";

// How a column is declared that is the storage's own row number. It is an int in T-SQL.
inline constexpr const char* kRowNumberType = "INTEGER";

struct TableColumn {
  Text name;
  std::string sql;  // the name as an SQLite identifier
  Type type;
  std::string default_sql;      // empty where there is none
  bool is_row_number = false;   // an int that is the primary key: the storage's own row number
  bool states_default = false;  // the storage does not know the default: statements write it
  bool is_identity = false;
  std::string computed_sql = {};  // of a computed column, in the columns' own names; else empty
  bool persisted = false;         // of a computed column
};

// Of the table's IDENTITY column.
struct TableIdentity {
  std::int64_t key = 0;  // by which its numbers are told from another table's of the same name
  std::int64_t seed = 1;
  std::int64_t step = 1;
};

enum class TableKind : std::uint8_t { Table, View, System };

struct Table {
  TableKind kind = TableKind::Table;
  DatabaseId database = DatabaseId::Main;
  Text name;
  std::string sql;  // what stands for it in an SQLite FROM clause
  std::vector<TableColumn> columns;
  NameMap<std::int32_t> column_by_name;
  Text definition;  // a view's CREATE VIEW statement
  std::optional<TableIdentity> identity = {};

  // The column's index, or -1.
  std::int32_t FindColumn(TextView column) const;
};

// What runs in place of a procedure's body.
enum class NativeProcedure : std::uint8_t { None, GetApplicationLock, ReleaseApplicationLock };

// A stored procedure as it was created.
struct ProcedureText {
  DatabaseId database = DatabaseId::Main;
  Text name;
  Text definition;  // the whole batch that created it
  NativeProcedure native = NativeProcedure::None;
};

// Reads the catalogue of one connection as it is asked for and keeps it until another connection or
// a statement of this one changes the schema.
class Catalogue {
 public:
  // `main_name` is the name by which statements may call the main database. `storage` outlives it.
  Catalogue(Storage& storage, Text main_name);

  // Forgets what has become stale. Tables that were found before stay valid until then. Throws
  // SqlError when the storage cannot be read.
  void Refresh();

  // How the session reads dates. Whoever changes that calls Forget: what was bound before is stale.
  const DateOptions& dates() const noexcept { return storage_.functions().dates; }

  // Forgets everything: a transaction was rolled back, and the schema's version with it.
  void Forget() {
    caches_ = {};
    ++version_;
  }

  // Another one whenever Refresh or Forget has forgotten something.
  std::uint64_t version() const noexcept { return version_; }

  // The database in which `object` is to be found when its name is written with `database`
  // (possibly empty); nothing for an unknown one. A table "#name" is the session's and "##name" in
  // tempdb, whatever is written.
  std::optional<DatabaseId> FindDatabase(TextView database, TextView object) const;

  // True for master, which has nothing but what tells of the server: `name` is then looked for with
  // FindInMaster and FindProcedureInMaster.
  bool IsMaster(TextView name) const noexcept;
  const Table* FindInMaster(TextView schema, TextView name);
  static const ProcedureText* FindProcedureInMaster(TextView name);

  // Has names that are written without a database be looked for in `database`, Main or Tempdb.
  void Use(DatabaseId database) noexcept {
    current_ = database;
    ++version_;  // names stand for others
  }
  DatabaseId current() const noexcept { return current_; }

  // The table whose IDENTITY column takes what INSERT gives it: SET IDENTITY_INSERT, for one table
  // at a time; nothing for none.
  struct IdentityInsert {
    DatabaseId database;
    Text table;
  };
  const std::optional<IdentityInsert>& identity_insert() const noexcept { return identity_insert_; }
  void SetIdentityInsert(std::optional<IdentityInsert> table) {
    identity_insert_ = std::move(table);
    ++version_;  // what was bound counts on the columns that it left out
  }
  bool TakesIdentity(const Table& table) const noexcept {
    return identity_insert_ && identity_insert_->database == table.database &&
           EqualText(identity_insert_->table, table.name);
  }

  // True when constraints are kept in `database` (constraints.h).
  bool HasConstraints(DatabaseId database);

  // The name of Main or Tempdb.
  Text NameOf(DatabaseId database) const;

  // The name and the kind ('U', 'V', 'P') of the object of that number (type_facts.h) in the
  // current database.
  std::optional<std::pair<std::string, char>> FindById(std::int64_t id);

  // The table or view of that name, or nullptr. `schema` is as written: empty, dbo, sys or
  // INFORMATION_SCHEMA.
  const Table* Find(DatabaseId database, TextView schema, TextView name);

  // The procedure of that name, or nullptr. `schema` is as written: empty or dbo.
  const ProcedureText* FindProcedure(DatabaseId database, TextView schema, TextView name);

  // About how many rows `table` has, as of when it was asked for first: its highest row number,
  // which the storage knows without counting.
  std::int64_t RowEstimate(const Table& table);

  // True when no two rows of `table` have the same value in `column`, and an index finds them.
  bool IsKey(const Table& table, std::int32_t column);

  // True when an index finds the rows with a value of `column`.
  bool IsIndexed(const Table& table, std::int32_t column);

 private:
  // By the columns of a table.
  struct Indexes {
    std::vector<char> keys;
    std::vector<char> leading;
  };

  struct Cache {
    std::int64_t version = -1;
    bool names_loaded = false;
    bool has_constraints = false;            // known with the names
    NameMap<std::string> names;              // as they are stored
    NameMap<std::unique_ptr<Table>> tables;  // those of a system's schema with it before them
    bool procedures_loaded = false;
    NameMap<ProcedureText> procedures;
    std::unordered_map<const Table*, std::int64_t> row_estimates;
    std::unordered_map<const Table*, Indexes> indexes;
  };

  std::int64_t SchemaVersion(DatabaseId database);
  void LoadNames(DatabaseId database, Cache& cache);
  std::unique_ptr<Table> LoadTable(DatabaseId database, const std::string& name);
  void LoadConstraints(Table& table);
  std::unique_ptr<Table> LoadView(DatabaseId database, TextView name);
  const Indexes& IndexesOf(const Table& table);

  Storage& storage_;
  Text main_name_;
  std::uint64_t version_ = 1;
  DatabaseId current_ = DatabaseId::Main;
  std::optional<IdentityInsert> identity_insert_;
  std::array<Cache, kDatabases> caches_;
  std::array<SqliteStatement, kDatabases> version_queries_;
};

}  // namespace ledgerwick::tsql
