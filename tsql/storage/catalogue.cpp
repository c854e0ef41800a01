#include "tsql/storage/catalogue.h"

#include <algorithm>

#include "tsql/base/characters.h"
#include "tsql/base/errors.h"
#include "tsql/storage/system_procedures.h"
#include "tsql/storage/system_tables.h"

namespace ledgerwick::tsql {
namespace {

// SQLite gives some names of its own, INT and REAL, back in capitals.
Type DeclaredType(std::string declaration) {
  std::transform(declaration.begin(), declaration.end(), declaration.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return ParseTypeName(declaration);
}

}  // namespace

std::int32_t Table::FindColumn(TextView column) const {
  const auto found = column_by_name.find(column);
  return found == column_by_name.end() ? -1 : found->second;
}

Catalogue::Catalogue(Storage& storage, Text main_name)
    : storage_(storage), main_name_(std::move(main_name)) {}

std::int64_t Catalogue::SchemaVersion(DatabaseId database) {
  SqliteStatement& query = version_queries_[static_cast<std::size_t>(database)];
  if (!query) {
    query = storage_.Prepare(std::string("PRAGMA ") + SchemaName(database) + ".schema_version");
  }
  const int result = sqlite3_step(query.get());
  const std::int64_t version = sqlite3_column_int64(query.get(), 0);
  sqlite3_reset(query.get());
  if (result != SQLITE_ROW) storage_.Fail(result);
  return version;
}

void Catalogue::Refresh() {
  for (const DatabaseId database : {DatabaseId::Main, DatabaseId::Tempdb, DatabaseId::Session}) {
    Cache& cache = caches_[static_cast<std::size_t>(database)];
    const std::int64_t version = SchemaVersion(database);
    if (cache.version == version) continue;
    cache = Cache{};
    cache.version = version;
    ++version_;
  }
}

std::optional<DatabaseId> Catalogue::FindDatabase(TextView name, TextView object) const {
  if (object.starts_with(u"##")) return DatabaseId::Tempdb;
  if (object.starts_with(u'#')) return DatabaseId::Session;
  if (name.empty()) return current_;
  if (EqualText(name, main_name_)) return DatabaseId::Main;
  if (EqualText(name, u"tempdb")) return DatabaseId::Tempdb;
  return std::nullopt;
}

bool Catalogue::IsMaster(TextView name) const noexcept {
  return EqualText(name, u"master") && !EqualText(name, main_name_);
}

// The tables that hold the same in every database.
const Table* Catalogue::FindInMaster(TextView schema, TextView name) {
  for (const TextView known : {u"sysdatabases", u"databases", u"systypes", u"types", u"schemas"}) {
    if (EqualText(name, known)) return Find(DatabaseId::Main, schema, name);
  }
  return nullptr;
}

const ProcedureText* Catalogue::FindProcedureInMaster(TextView name) {
  const ProcedureText* found = FindSystemProcedure(name);
  if (found == nullptr || found->native != NativeProcedure::None) return found;
  const bool same = found->name == u"sp_databases" || found->name == u"sp_datatype_info";
  return same ? found : nullptr;
}

Text Catalogue::NameOf(DatabaseId database) const {
  return database == DatabaseId::Main ? main_name_ : Text(u"tempdb");
}

std::optional<std::pair<std::string, char>> Catalogue::FindById(std::int64_t id) {
  const SqliteStatement query = storage_.Prepare(
      "SELECT name, kind FROM (" + ObjectsQuery(current_) + ") WHERE t_object_key(name) = ?1");
  sqlite3_bind_int64(query.get(), 1, id);
  if (!storage_.Step(query.get())) return std::nullopt;
  return std::pair(std::string(ColumnText(query.get(), 0)), ColumnText(query.get(), 1)[0]);
}

void Catalogue::LoadNames(DatabaseId database, Cache& cache) {
  const SqliteStatement query =
      storage_.Prepare("SELECT name FROM (" + ObjectsQuery(database) +
                       ") WHERE kind <> 'P' UNION ALL SELECT name FROM " + SchemaName(database) +
                       ".sqlite_schema WHERE name = '" + kConstraintsTable + "'");
  while (storage_.Step(query.get())) {
    const std::string name(ColumnText(query.get(), 0));
    if (name == kConstraintsTable) {
      cache.has_constraints = true;
      continue;
    }
    cache.names.emplace(ToText(name), name);
  }
  cache.names_loaded = true;
}

bool Catalogue::HasConstraints(DatabaseId database) {
  Cache& cache = caches_[static_cast<std::size_t>(database)];
  if (!cache.names_loaded) LoadNames(database, cache);
  return cache.has_constraints;
}

const Table* Catalogue::Find(DatabaseId database, TextView schema, TextView name) {
  Cache& cache = caches_[static_cast<std::size_t>(database)];
  const bool information = EqualText(schema, u"INFORMATION_SCHEMA");
  if (!schema.empty() && !information && !EqualText(schema, u"dbo") && !EqualText(schema, u"sys")) {
    return nullptr;
  }
  const bool system = information || EqualText(schema, u"sys");
  const Text qualified = system ? Text(schema).append(u".").append(name) : Text();
  const TextView key = system ? TextView(qualified) : name;
  if (const auto found = cache.tables.find(key); found != cache.tables.end()) {
    return found->second.get();
  }
  std::unique_ptr<Table> table = NewSystemTable(database, schema, name, NameOf(database),
                                                main_name_, HasConstraints(database));
  if (!table && !system) {
    if (!cache.names_loaded) LoadNames(database, cache);
    const auto stored = cache.names.find(key);
    if (stored != cache.names.end()) {
      table = LoadTable(database, stored->second);
      if (table->columns.empty() && database != DatabaseId::Session)
        table = LoadView(database, name);
    }
  }
  if (!table) return nullptr;
  return cache.tables.emplace(Text(key), std::move(table)).first->second.get();
}

const ProcedureText* Catalogue::FindProcedure(DatabaseId database, TextView schema, TextView name) {
  if (EqualText(schema, u"sys")) return FindSystemProcedure(name);
  if (!schema.empty() && !EqualText(schema, u"dbo")) return nullptr;
  if (database == DatabaseId::Session) return nullptr;
  Cache& cache = caches_[static_cast<std::size_t>(database)];
  if (!cache.procedures_loaded) {
    const SqliteStatement query =
        storage_.Prepare(std::string("SELECT name, definition FROM ") + SchemaName(database) + "." +
                         kModulesTable + " WHERE kind = 'P'");
    while (storage_.Step(query.get())) {
      const Text stored = ToText(ColumnText(query.get(), 0));
      cache.procedures.emplace(stored,
                               ProcedureText{database, stored, ToText(ColumnText(query.get(), 1))});
    }
    cache.procedures_loaded = true;
  }
  const auto found = cache.procedures.find(name);
  return found == cache.procedures.end() ? FindSystemProcedure(name) : &found->second;
}

std::int64_t Catalogue::RowEstimate(const Table& table) {
  if (table.kind != TableKind::Table) return 0;
  Cache& cache = caches_[static_cast<std::size_t>(table.database)];
  if (const auto known = cache.row_estimates.find(&table); known != cache.row_estimates.end()) {
    return known->second;
  }
  const SqliteStatement query = storage_.Prepare("SELECT max(_rowid_) FROM " + table.sql);
  const std::int64_t estimate =
      storage_.Step(query.get()) ? sqlite3_column_int64(query.get(), 0) : 0;
  return cache.row_estimates.emplace(&table, estimate).first->second;
}

bool Catalogue::IsKey(const Table& table, std::int32_t column) {
  return IndexesOf(table).keys[static_cast<std::size_t>(column)] != 0;
}

bool Catalogue::IsIndexed(const Table& table, std::int32_t column) {
  return IndexesOf(table).leading[static_cast<std::size_t>(column)] != 0;
}

const Catalogue::Indexes& Catalogue::IndexesOf(const Table& table) {
  Cache& cache = caches_[static_cast<std::size_t>(table.database)];
  if (const auto known = cache.indexes.find(&table); known != cache.indexes.end()) {
    return known->second;
  }
  Indexes indexes;
  const auto keep = [&]() -> const Indexes& {
    return cache.indexes.emplace(&table, std::move(indexes)).first->second;
  };
  indexes.keys.resize(table.columns.size());
  indexes.leading.resize(table.columns.size());
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    indexes.keys[i] = indexes.leading[i] = table.columns[i].is_row_number ? 1 : 0;
  }
  if (table.kind != TableKind::Table) return keep();
  const SqliteStatement query = storage_.Prepare(
      "SELECT (SELECT cid FROM pragma_index_info(l.name, ?2) WHERE seqno = 0),"
      " l.\"unique\" AND (SELECT COUNT(*) FROM pragma_index_info(l.name, ?2)) = 1"
      " FROM pragma_index_list(?1, ?2) AS l WHERE NOT l.partial");
  const std::string name = ToUtf8(table.name);
  sqlite3_bind_text(query.get(), 1, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
  sqlite3_bind_text(query.get(), 2, SchemaName(table.database), -1, SQLITE_STATIC);
  while (storage_.Step(query.get())) {
    const auto column = static_cast<std::size_t>(sqlite3_column_int(query.get(), 0));
    if (column >= table.columns.size()) continue;
    indexes.leading[column] = 1;
    if (sqlite3_column_int(query.get(), 1) != 0) indexes.keys[column] = 1;
  }
  return keep();
}

std::unique_ptr<Table> Catalogue::LoadTable(DatabaseId database, const std::string& name) {
  auto table = std::make_unique<Table>();
  table->database = database;
  table->name = ToText(name);
  table->sql = std::string(SchemaName(database)) + "." + QuoteIdentifier(name);
  const SqliteStatement query = storage_.Prepare(std::string("PRAGMA ") + SchemaName(database) +
                                                 ".table_xinfo(" + QuoteIdentifier(name) + ")");
  while (storage_.Step(query.get())) {
    const std::string column(ColumnText(query.get(), 1));
    const std::string declaration(ColumnText(query.get(), 2));
    TableColumn added{ToText(column), QuoteIdentifier(column), DeclaredType(declaration),
                      std::string(ColumnText(query.get(), 4))};
    added.is_row_number = declaration == kRowNumberType;
    if (added.is_row_number) added.type.kind = TypeKind::Int;
    added.type.nullable = sqlite3_column_int(query.get(), 3) == 0;
    table->column_by_name.emplace(added.name, static_cast<std::int32_t>(table->columns.size()));
    table->columns.push_back(std::move(added));
  }
  if (HasConstraints(database)) LoadConstraints(*table);
  return table;
}

// What the storage does not say of the columns: defaults, what computed ones are, IDENTITY.
void Catalogue::LoadConstraints(Table& table) {
  const std::string schema = SchemaName(table.database);
  const std::string name = QuoteLiteral(ToUtf8(table.name));
  const SqliteStatement rules =
      storage_.Prepare("SELECT k.col, c.kind, c.sql, c.persisted FROM " + schema + "." +
                       kConstraintsTable + " AS c JOIN " + schema + "." + kConstraintColumnsTable +
                       " AS k ON k.id = c.id WHERE c.kind IN ('D', 'X') AND c.tab = " + name);
  while (storage_.Step(rules.get())) {
    const std::int32_t index = table.FindColumn(ToText(ColumnText(rules.get(), 0)));
    if (index < 0) continue;
    TableColumn& column = table.columns[static_cast<std::size_t>(index)];
    std::string sql(ColumnText(rules.get(), 2));
    if (ColumnText(rules.get(), 1) == "D") {
      column.states_default = sql != column.default_sql;
      column.default_sql = std::move(sql);
    } else {
      column.computed_sql = std::move(sql);
      column.persisted = sqlite3_column_int(rules.get(), 3) != 0;
    }
  }
  const SqliteStatement identity = storage_.Prepare("SELECT col, key, seed, step FROM " + schema +
                                                    "." + kIdentityTable + " WHERE tab = " + name);
  if (!storage_.Step(identity.get())) return;
  const std::int32_t index = table.FindColumn(ToText(ColumnText(identity.get(), 0)));
  if (index < 0) return;
  table.columns[static_cast<std::size_t>(index)].is_identity = true;
  table.identity = {sqlite3_column_int64(identity.get(), 1),
                    sqlite3_column_int64(identity.get(), 2),
                    sqlite3_column_int64(identity.get(), 3)};
}

std::unique_ptr<Table> Catalogue::LoadView(DatabaseId database, TextView name) {
  const SqliteStatement query =
      storage_.Prepare(std::string("SELECT name, definition FROM ") + SchemaName(database) + "." +
                       kModulesTable + " WHERE kind = 'V'");
  while (storage_.Step(query.get())) {
    Text stored = ToText(ColumnText(query.get(), 0));
    if (!EqualText(stored, name)) continue;
    auto view = std::make_unique<Table>();
    view->kind = TableKind::View;
    view->database = database;
    view->name = std::move(stored);
    view->definition = ToText(ColumnText(query.get(), 1));
    return view;
  }
  return nullptr;
}

}  // namespace ledgerwick::tsql
