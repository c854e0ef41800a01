#include "tsql/storage/unique_keys.h"

#include <algorithm>

#include "tsql/base/arena.h"
#include "tsql/base/characters.h"
#include "tsql/syntax/lexer.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
namespace {

// What CREATE TABLE was told to call them: the text that the storage keeps of it is ours, and reads
// as T-SQL does.
std::vector<UniqueKey> NamedConstraints(const Table& table, const Text& sql) {
  Arena scratch;
  const std::pmr::vector<Token> tokens = Tokenize(sql, scratch);
  std::vector<UniqueKey> named;
  for (std::size_t i = 0; i + 2 < tokens.size(); ++i) {
    if (tokens[i].keyword != Keyword::Constraint) continue;
    UniqueKey key;
    key.name = tokens[i + 1].text;
    key.kind = tokens[i + 2].keyword == Keyword::Primary ? KeyKind::Primary : KeyKind::Unique;
    while (tokens[i].kind != TokenKind::End && tokens[i].symbol != Symbol::LeftParen) ++i;
    for (; tokens[i].kind != TokenKind::End && tokens[i].symbol != Symbol::RightParen; ++i) {
      if (tokens[i].kind != TokenKind::QuotedIdentifier) continue;
      key.columns.push_back(table.FindColumn(tokens[i].text));
    }
    named.push_back(std::move(key));
  }
  return named;
}

// As the server names what was given no name, but always the same for the same key.
Text MadeName(const Table& table, const UniqueKey& key) {
  constexpr std::size_t kDigits = 16;
  constexpr std::size_t kStart = 8;  // characters of the table's name
  std::uint64_t hash = 0xCBF29CE484222325;
  const auto add = [&](TextView text) {
    for (const char16_t c : text) hash = (hash ^ c) * 0x100000001B3;
    hash = (hash ^ 0x10000) * 0x100000001B3;
  };
  add(FoldText(table.name));
  for (const std::int32_t column : key.columns) {
    add(FoldText(table.columns[static_cast<std::size_t>(column)].name));
  }
  Text name = key.kind == KeyKind::Primary ? u"PK__" : u"UQ__";
  name.append(table.name.substr(0, kStart)).append(u"__");
  for (std::size_t i = kDigits; i-- > 0;) name += u"0123456789ABCDEF"[(hash >> (4 * i)) & 0xF];
  return name;
}

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

KeyKind KindOf(std::string_view origin) noexcept {
  if (origin == "pk") return KeyKind::Primary;
  return origin == "u" ? KeyKind::Unique : KeyKind::Index;
}

}  // namespace

std::vector<UniqueKey> UniqueKeysOf(Storage& storage, const Table& table) {
  const std::string name = ToUtf8(table.name);
  const char* schema = SchemaName(table.database);
  std::vector<UniqueKey> keys;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (!table.columns[i].is_row_number) continue;
    keys.push_back({{}, KeyKind::Primary, {static_cast<std::int32_t>(i)}});
  }
  const SqliteStatement indexes = storage.Prepare(
      "SELECT l.name, l.origin, i.cid, i.seqno FROM pragma_index_list(?1, ?2) AS l,"
      " pragma_index_info(l.name, ?2) AS i WHERE l.\"unique\" AND NOT l.partial"
      " ORDER BY l.origin <> 'pk', l.seq DESC, i.seqno");
  sqlite3_bind_text(indexes.get(), 1, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
  sqlite3_bind_text(indexes.get(), 2, schema, -1, SQLITE_STATIC);
  std::vector<std::string> stored(keys.size());
  while (storage.Step(indexes.get())) {
    if (sqlite3_column_int(indexes.get(), 3) == 0) {
      keys.push_back({{}, KindOf(ColumnText(indexes.get(), 1)), {}});
      stored.emplace_back(ColumnText(indexes.get(), 0));
    }
    keys.back().columns.push_back(sqlite3_column_int(indexes.get(), 2));
  }
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const bool is_index = keys[i].kind == KeyKind::Index;
    if (is_index) keys[i].name = IndexNameOf(table, stored[i]);
    const std::vector<TableColumn> columns = ColumnsOf(table, keys[i]);
    const std::string main = is_index ? stored[i] : ConstraintIndexName(name, columns);
    keys[i].nulls_equal = CreateNullIndex(table.database, name, main, columns).empty() ||
                          HasIndex(storage, schema, NullIndexName(main));
  }
  const SqliteStatement text =
      storage.Prepare(std::string("SELECT sql FROM ") + schema +
                      ".sqlite_schema WHERE type = 'table' AND name = " + QuoteLiteral(name));
  const Text sql = storage.Step(text.get()) ? ToText(ColumnText(text.get(), 0)) : Text();
  const std::vector<UniqueKey> named = NamedConstraints(table, sql);
  for (UniqueKey& key : keys) {
    if (key.kind == KeyKind::Index) continue;
    const auto same = std::find_if(named.begin(), named.end(), [&](const UniqueKey& n) {
      return n.kind == key.kind && n.columns == key.columns;
    });
    key.name = same != named.end() ? same->name : MadeName(table, key);
  }
  return keys;
}

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
