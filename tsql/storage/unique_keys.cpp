#include "tsql/storage/unique_keys.h"

#include <algorithm>

#include "tsql/base/arena.h"
#include "tsql/base/characters.h"
#include "tsql/syntax/lexer.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
namespace {

constexpr const char* kAddedPrimary = "ledgerwick_pk:";
constexpr const char* kAddedUnique = "ledgerwick_uq:";

struct NamedKey {
  Text name;
  KeyKind kind = KeyKind::Unique;
  std::vector<Text> columns;
};

// What CREATE TABLE was told to call them: the text that the storage keeps of it is ours, and reads
// as T-SQL does.
std::vector<NamedKey> NamedConstraints(const Text& sql) {
  Arena scratch;
  const std::pmr::vector<Token> tokens = Tokenize(sql, scratch);
  std::vector<NamedKey> named;
  for (std::size_t i = 0; i + 2 < tokens.size(); ++i) {
    if (tokens[i].keyword != Keyword::Constraint) continue;
    NamedKey key;
    key.name = tokens[i + 1].text;
    key.kind = tokens[i + 2].keyword == Keyword::Primary ? KeyKind::Primary : KeyKind::Unique;
    while (tokens[i].kind != TokenKind::End && tokens[i].symbol != Symbol::LeftParen) ++i;
    for (; tokens[i].kind != TokenKind::End && tokens[i].symbol != Symbol::RightParen; ++i) {
      if (tokens[i].kind == TokenKind::QuotedIdentifier) key.columns.emplace_back(tokens[i].text);
    }
    named.push_back(std::move(key));
  }
  return named;
}

// The name of the constraint on `columns` of a table that was made by `sql`.
Text ConstraintName(TextView table, KeyKind kind, std::span<const Text> columns, const Text& sql) {
  const auto same_text = [](const Text& a, const Text& b) { return EqualText(a, b); };
  for (NamedKey& named : NamedConstraints(sql)) {
    if (named.kind == kind && std::equal(named.columns.begin(), named.columns.end(),
                                         columns.begin(), columns.end(), same_text)) {
      return std::move(named.name);
    }
  }
  return MadeName(kind == KeyKind::Primary ? u"PK" : u"UQ", table, columns);
}

// The name of a constraint that was added, behind its prefix and its table's name.
std::string_view NameInIndex(std::string_view index, std::size_t table_size) {
  return index.substr(std::string_view(kAddedPrimary).size() + table_size + 1);
}

// t_key_name(table, primary, columns, index, sql)
void KeyNameOf(Call& call) {
  const std::string_view index = call.Utf8(3);
  if (index.starts_with(kAddedPrimary) || index.starts_with(kAddedUnique)) {
    return call.Return(NameInIndex(index, call.Utf8(0).size()));
  }
  std::vector<Text> columns;
  std::string_view list = call.Utf8(2);
  for (std::size_t end = 0; end != std::string_view::npos;) {
    end = list.find('\x01');
    columns.push_back(ToText(list.substr(0, end)));
    list.remove_prefix(end == std::string_view::npos ? 0 : end + 1);
  }
  const KeyKind kind = call.Integer(1) != 0 ? KeyKind::Primary : KeyKind::Unique;
  const Text name = ConstraintName(ToText(call.Utf8(0)), kind, columns, ToText(call.Utf8(4)));
  call.Return(std::string_view(ToUtf8(name)));
}

constexpr FunctionRow kFunctions[] = {{"t_key_name", 5, 5, 3, KeyNameOf}};

// What T-SQL calls the index that the storage calls `stored`.
Text IndexNameOf(const Table& table, std::string_view stored) {
  const std::string start = IndexName(table, {});
  return ToText(stored.starts_with(start) ? stored.substr(start.size()) : stored);
}

std::vector<TableColumn> ColumnsOf(const Table& table, const UniqueKey& key) {
  std::vector<TableColumn> columns;
  for (const std::int32_t column : key.columns) {
    columns.push_back(table.columns[static_cast<std::size_t>(column)]);
  }
  return columns;
}

bool HasIndex(Storage& storage, const char* schema, const std::string& name) {
  const SqliteStatement index =
      storage.Prepare(std::string("SELECT 1 FROM ") + schema +
                      ".sqlite_schema WHERE type = 'index' AND name = " + QuoteLiteral(name));
  return storage.Step(index.get());
}

KeyKind KindOf(std::string_view origin, std::string_view index) noexcept {
  if (origin == "pk" || index.starts_with(kAddedPrimary)) return KeyKind::Primary;
  return origin == "u" || index.starts_with(kAddedUnique) ? KeyKind::Unique : KeyKind::Index;
}

std::vector<Text> NamesOf(const Table& table, const UniqueKey& key) {
  std::vector<Text> names;
  for (const std::int32_t column : key.columns) {
    names.push_back(table.columns[static_cast<std::size_t>(column)].name);
  }
  return names;
}

}  // namespace

std::vector<UniqueKey> UniqueKeysOf(Storage& storage, const Table& table) {
  const std::string name = ToUtf8(table.name);
  const char* schema = SchemaName(table.database);
  std::vector<UniqueKey> keys;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (!table.columns[i].is_row_number) continue;
    keys.push_back({{}, KeyKind::Primary, {static_cast<std::int32_t>(i)}});
    keys.back().descending.push_back(0);
  }
  const SqliteStatement indexes = storage.Prepare(
      "SELECT l.name, l.origin, i.cid, i.seqno, i.\"desc\" FROM pragma_index_list(?1, ?2) AS l,"
      " pragma_index_xinfo(l.name, ?2) AS i WHERE i.key AND l.\"unique\" AND NOT l.partial"
      " ORDER BY l.origin <> 'pk', l.seq DESC, i.seqno");
  sqlite3_bind_text(indexes.get(), 1, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
  sqlite3_bind_text(indexes.get(), 2, schema, -1, SQLITE_STATIC);
  while (storage.Step(indexes.get())) {
    if (sqlite3_column_int(indexes.get(), 3) == 0) {
      const std::string_view index = ColumnText(indexes.get(), 0);
      const std::string_view origin = ColumnText(indexes.get(), 1);
      keys.push_back({{}, KindOf(origin, index), {}});
      if (origin == "c") keys.back().index = index;
    }
    keys.back().columns.push_back(sqlite3_column_int(indexes.get(), 2));
    keys.back().descending.push_back(static_cast<char>(sqlite3_column_int(indexes.get(), 4)));
  }
  const SqliteStatement text =
      storage.Prepare(std::string("SELECT sql FROM ") + schema +
                      ".sqlite_schema WHERE type = 'table' AND name = " + QuoteLiteral(name));
  const Text sql = storage.Step(text.get()) ? ToText(ColumnText(text.get(), 0)) : Text();
  for (UniqueKey& key : keys) {
    const std::vector<TableColumn> columns = ColumnsOf(table, key);
    const std::string main = key.index.empty() ? ConstraintIndexName(name, columns) : key.index;
    key.nulls_equal = CreateNullIndex(table.database, name, main, columns).empty() ||
                      HasIndex(storage, schema, NullIndexName(main));
    if (key.kind == KeyKind::Index) {
      key.name = IndexNameOf(table, key.index);
    } else if (!key.index.empty()) {
      key.name = ToText(NameInIndex(key.index, name.size()));
    } else {
      key.name = ConstraintName(table.name, key.kind, NamesOf(table, key), sql);
    }
  }
  return keys;
}

Text MadeName(TextView prefix, TextView table, std::span<const Text> columns) {
  constexpr std::size_t kDigits = 16;
  constexpr std::size_t kStart = 8;  // characters of the table's name
  std::uint64_t hash = 0xCBF29CE484222325;
  const auto add = [&](TextView text) {
    for (const char16_t c : text) hash = (hash ^ c) * 0x100000001B3;
    hash = (hash ^ 0x10000) * 0x100000001B3;
  };
  add(FoldText(table));
  for (const Text& column : columns) add(FoldText(column));
  Text name(prefix);
  name.append(u"__").append(table.substr(0, kStart)).append(u"__");
  for (std::size_t i = kDigits; i-- > 0;) name += u"0123456789ABCDEF"[(hash >> (4 * i)) & 0xF];
  return name;
}

bool KeyExists(Storage& storage, DatabaseId database, TextView name) {
  // Only what has these letters anywhere is read.
  const SqliteStatement tables =
      storage.Prepare(std::string("SELECT sql FROM ") + SchemaName(database) +
                      ".sqlite_schema WHERE type = 'table' AND instr(lower(sql), lower(?1))");
  const std::string utf8 = ToUtf8(name);
  sqlite3_bind_text(tables.get(), 1, utf8.data(), static_cast<int>(utf8.size()), SQLITE_STATIC);
  while (storage.Step(tables.get())) {
    for (const NamedKey& key : NamedConstraints(ToText(ColumnText(tables.get(), 0)))) {
      if (EqualText(key.name, name)) return true;
    }
  }
  const SqliteStatement added = storage.Prepare(
      std::string("SELECT name, tbl_name FROM ") + SchemaName(database) +
      ".sqlite_schema WHERE type = 'index' AND (name LIKE 'ledgerwick!_pk:%' ESCAPE '!' OR name "
      "LIKE 'ledgerwick!_uq:%' ESCAPE '!')");
  while (storage.Step(added.get())) {
    const std::size_t table_size = ColumnText(added.get(), 1).size();
    if (EqualText(ToText(NameInIndex(ColumnText(added.get(), 0), table_size)), name)) return true;
  }
  return false;
}

std::string AddedKeyName(TextView table, TextView name, bool primary) {
  return (primary ? kAddedPrimary : kAddedUnique) + ToUtf8(table) + "." + ToUtf8(name);
}

std::span<const FunctionRow> KeyFunctions() { return kFunctions; }

std::string IndexName(const Table& table, TextView index) {
  return ToUtf8(table.name) + "." + ToUtf8(index);
}

std::optional<std::string> FindIndex(Storage& storage, const Table& table, TextView index) {
  const std::string name = ToUtf8(table.name);
  const SqliteStatement indexes =
      storage.Prepare("SELECT name FROM pragma_index_list(?1, ?2) WHERE origin = 'c'");
  sqlite3_bind_text(indexes.get(), 1, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
  sqlite3_bind_text(indexes.get(), 2, SchemaName(table.database), -1, SQLITE_STATIC);
  while (storage.Step(indexes.get())) {
    const std::string_view stored = ColumnText(indexes.get(), 0);
    if (EqualText(IndexNameOf(table, stored), index)) return std::string(stored);
  }
  return std::nullopt;
}

std::string ConstraintIndexName(const std::string& table, std::span<const TableColumn> columns) {
  std::string name = table + ":";
  for (const TableColumn& column : columns) name += column.sql;
  return name;
}

std::string NullIndexName(const std::string& main_index) { return "ledgerwick_null:" + main_index; }

std::string CreateNullIndex(DatabaseId database, const std::string& table,
                            const std::string& main_index, std::span<const TableColumn> columns) {
  std::string key;
  std::string has_null;
  for (const TableColumn& column : columns) {
    if (!column.type.nullable) {
      key += ", " + column.sql;
      continue;
    }
    // Whether it is NULL stands in the key, so that no value can be taken for NULL.
    key += ", " + column.sql + " IS NULL, ifnull(" + column.sql + ", 0)";
    if (IsText(column.type.kind)) key.append(" COLLATE ").append(kCollation);
    has_null += (has_null.empty() ? "" : " OR ") + column.sql + " IS NULL";
  }
  if (has_null.empty()) return {};
  return std::string("CREATE UNIQUE INDEX IF NOT EXISTS ") + SchemaName(database) + "." +
         QuoteIdentifier(NullIndexName(main_index)) + " ON " + QuoteIdentifier(table) + " (" +
         key.substr(2) + ") WHERE " + has_null;
}

}  // namespace ledgerwick::tsql
