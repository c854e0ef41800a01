#include "cli/schema_reader.h"

#include <algorithm>
#include <map>

#include "frame/null_sink.h"

namespace ledgerwick {
namespace {

// The last result of a batch, as texts. Null is an empty one.
class Answer final : public NullSink {
 public:
  Answer(BatchRunner& database, TextView batch) { database.Run(batch, *this); }

  void Columns(std::span<const ResultColumn> columns) override {
    columns_.assign(columns.begin(), columns.end());
    rows_.clear();
  }
  void Row(std::span<const Value> values) override {
    std::vector<Text>& row = rows_.emplace_back();
    for (const Value& value : values) row.push_back(value.IsNull() ? Text() : value.ToText());
  }

  const std::vector<ResultColumn>& columns() const noexcept { return columns_; }
  std::size_t size() const noexcept { return rows_.size(); }
  const Text& At(std::size_t row, std::size_t column) const { return rows_[row].at(column); }

  // By the column's name, which catalogue procedures of all ages have alike.
  const Text& At(std::size_t row, TextView column) const {
    const auto found = std::find_if(columns_.begin(), columns_.end(), [&](const ResultColumn& c) {
      return EqualText(c.name, column);
    });
    static const Text none;
    return found == columns_.end() ? none
                                   : At(row, static_cast<std::size_t>(found - columns_.begin()));
  }

 private:
  std::vector<ResultColumn> columns_;
  std::vector<std::vector<Text>> rows_;
};

Text Doubled(TextView text, char16_t sign) {
  Text doubled;
  for (const char16_t c : text) doubled.append(c == sign ? 2 : 1, c);
  return doubled;
}

Text Literal(TextView text) { return u"N'" + Doubled(text, u'\'') + u"'"; }

Text Bracketed(TextView name) { return u"[" + Doubled(name, u']') + u"]"; }

Text KindOf(TextView type) {
  if (EqualText(type, u"BASE TABLE")) return u"table";
  if (EqualText(type, u"PROCEDURE")) return u"procedure";
  return EqualText(type, u"VIEW") ? u"view" : u"function";
}

bool IsOneOf(TextView name, std::initializer_list<TextView> names) {
  return std::any_of(names.begin(), names.end(), [&](TextView n) { return EqualText(n, name); });
}

// Appends `name` to those that are there.
void AddName(Text& names, TextView name) { names.append(names.empty() ? u"" : u", ").append(name); }

// The type of a row of INFORMATION_SCHEMA.COLUMNS.
Text TypeOf(const Answer& columns, std::size_t row) {
  const Text& type = columns.At(row, u"DATA_TYPE");
  if (IsOneOf(type, {u"char", u"varchar", u"nchar", u"nvarchar", u"binary", u"varbinary"})) {
    const Text& length = columns.At(row, u"CHARACTER_MAXIMUM_LENGTH");
    return type + u"(" + (length == u"-1" ? Text(u"max") : length) + u")";
  }
  if (IsOneOf(type, {u"decimal", u"numeric"})) {
    return type + u"(" + columns.At(row, u"NUMERIC_PRECISION") + u"," +
           columns.At(row, u"NUMERIC_SCALE") + u")";
  }
  if (IsOneOf(type, {u"time", u"datetime2", u"datetimeoffset"})) {
    return type + u"(" + columns.At(row, u"DATETIME_PRECISION") + u")";
  }
  return type;
}

// A call of a catalogue procedure for one table.
Text CatalogueCall(TextView procedure, TextView prefix, const SchemaObject& table) {
  return u"EXEC " + Text(procedure) + u" @" + Text(prefix) + u"_name = " + Literal(table.name) +
         u", @" + Text(prefix) + u"_owner = " + Literal(table.owner);
}

}  // namespace

Text SchemaObject::ShownName() const {
  return EqualText(owner, u"dbo") ? name : owner + u"." + name;
}

Text SchemaObject::QuotedName() const { return Bracketed(owner) + u"." + Bracketed(name); }

void SchemaReader::Use(TextView database_name) {
  NullSink nobody;
  database_.Run(u"USE " + Bracketed(database_name), nobody);
}

Text SchemaReader::DatabaseName() {
  const Answer answer(database_, u"SELECT DB_NAME()");
  return answer.size() == 0 ? Text() : answer.At(0, 0);
}

std::vector<SchemaObject> SchemaReader::Objects(TextView pattern) {
  const Answer found(
      database_,
      u"SELECT o.o, o.n, o.t FROM (SELECT TABLE_SCHEMA AS o, TABLE_NAME AS n, TABLE_TYPE AS t FROM "
      u"INFORMATION_SCHEMA.TABLES UNION ALL SELECT ROUTINE_SCHEMA, ROUTINE_NAME, ROUTINE_TYPE FROM "
      u"INFORMATION_SCHEMA.ROUTINES) AS o" +
          (pattern.empty() ? Text() : u" WHERE o.n LIKE " + Literal(pattern)) +
          u" ORDER BY o.n, o.o");
  std::map<std::pair<Text, Text>, int> counts;
  const Answer columns(database_,
                       u"SELECT TABLE_SCHEMA, TABLE_NAME, COUNT(*) FROM INFORMATION_SCHEMA.COLUMNS "
                       u"GROUP BY TABLE_SCHEMA, TABLE_NAME");
  for (std::size_t i = 0; i < columns.size(); ++i) {
    counts[{columns.At(i, 0), columns.At(i, 1)}] = std::stoi(ToUtf8(columns.At(i, 2)));
  }
  std::map<std::pair<Text, Text>, Text> keys;
  const Answer key_columns(
      database_,
      u"SELECT k.TABLE_SCHEMA, k.TABLE_NAME, k.COLUMN_NAME FROM "
      u"INFORMATION_SCHEMA.KEY_COLUMN_USAGE "
      u"AS k INNER JOIN INFORMATION_SCHEMA.TABLE_CONSTRAINTS AS c ON c.CONSTRAINT_SCHEMA = "
      u"k.CONSTRAINT_SCHEMA AND c.CONSTRAINT_NAME = k.CONSTRAINT_NAME AND c.TABLE_NAME = "
      u"k.TABLE_NAME WHERE c.CONSTRAINT_TYPE = 'PRIMARY KEY' ORDER BY k.TABLE_NAME, "
      u"k.ORDINAL_POSITION");
  for (std::size_t i = 0; i < key_columns.size(); ++i) {
    AddName(keys[{key_columns.At(i, 0), key_columns.At(i, 1)}], key_columns.At(i, 2));
  }
  std::vector<SchemaObject> objects;
  for (std::size_t i = 0; i < found.size(); ++i) {
    const std::pair name(found.At(i, 0), found.At(i, 1));
    objects.push_back({name.first, name.second, KindOf(found.At(i, 2)), counts[name], keys[name]});
  }
  return objects;
}

std::vector<SchemaColumn> SchemaReader::Columns(const SchemaObject& object) {
  std::vector<SchemaColumn> columns;
  const Answer told(database_,
                    u"SELECT COLUMN_NAME, DATA_TYPE, CHARACTER_MAXIMUM_LENGTH, "
                    u"NUMERIC_PRECISION, NUMERIC_SCALE, DATETIME_PRECISION, IS_NULLABLE, "
                    u"COLUMN_DEFAULT FROM INFORMATION_SCHEMA.COLUMNS WHERE TABLE_SCHEMA = " +
                        Literal(object.owner) + u" AND TABLE_NAME = " + Literal(object.name) +
                        u" ORDER BY ORDINAL_POSITION");
  for (std::size_t i = 0; i < told.size(); ++i) {
    columns.push_back({told.At(i, u"COLUMN_NAME"), TypeOf(told, i),
                       !EqualText(told.At(i, u"IS_NULLABLE"), u"NO"),
                       told.At(i, u"COLUMN_DEFAULT")});
  }
  if (!columns.empty()) return columns;
  // The columns of a view are not in every catalogue, but in its rows.
  const Answer rows(database_, u"SELECT * FROM " + object.QuotedName() + u" WHERE 1 = 0");
  for (const ResultColumn& c : rows.columns()) columns.push_back({c.name, c.type, c.nullable, {}});
  return columns;
}

std::vector<SchemaKey> SchemaReader::Keys(const SchemaObject& table) {
  std::vector<SchemaKey> keys;
  // Rows of one key follow one another.
  const auto key_of = [&](const Text& name, TextView kind) -> SchemaKey& {
    if (keys.empty() || keys.back().name != name) keys.push_back({name, Text(kind), {}, {}});
    return keys.back();
  };
  const Answer primary(database_, CatalogueCall(u"sp_pkeys", u"table", table));
  for (std::size_t i = 0; i < primary.size(); ++i) {
    AddName(key_of(primary.At(i, u"PK_NAME"), u"primary key").columns,
            primary.At(i, u"COLUMN_NAME"));
  }
  const Text primary_name = keys.empty() ? Text() : keys.front().name;
  const Answer indexes(database_, CatalogueCall(u"sp_statistics", u"table", table));
  for (std::size_t i = 0; i < indexes.size(); ++i) {
    const Text& name = indexes.At(i, u"INDEX_NAME");
    if (name.empty() || EqualText(name, primary_name)) continue;  // the table's own numbers
    const bool unique = indexes.At(i, u"NON_UNIQUE") == u"0";
    AddName(key_of(name, unique ? u"unique index" : u"index").columns,
            indexes.At(i, u"COLUMN_NAME"));
  }
  const Answer foreign(database_, CatalogueCall(u"sp_fkeys", u"fktable", table));
  for (std::size_t i = 0; i < foreign.size(); ++i) {
    SchemaKey& key = key_of(foreign.At(i, u"FK_NAME"), u"foreign key");
    AddName(key.columns, foreign.At(i, u"FKCOLUMN_NAME"));
    if (key.references.empty()) key.references = foreign.At(i, u"PKTABLE_NAME") + u": ";
    key.references.append(key.references.ends_with(u": ") ? u"" : u", ")
        .append(foreign.At(i, u"PKCOLUMN_NAME"));
  }
  return keys;
}

Text SchemaReader::Definition(const SchemaObject& object) {
  // In pieces, since a row has room for 4000 characters.
  const Answer pieces(database_, u"SELECT text FROM syscomments WHERE id = OBJECT_ID(" +
                                     Literal(object.QuotedName()) + u") ORDER BY number, colid");
  Text text;
  for (std::size_t i = 0; i < pieces.size(); ++i) text += pieces.At(i, 0);
  return text;
}

std::vector<std::pair<Text, Text>> SchemaReader::AllColumns() {
  const Answer answer(database_,
                      u"SELECT TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS "
                      u"ORDER BY TABLE_NAME, ORDINAL_POSITION");
  std::vector<std::pair<Text, Text>> columns;
  for (std::size_t i = 0; i < answer.size(); ++i) {
    columns.emplace_back(answer.At(i, 0), answer.At(i, 1));
  }
  return columns;
}

}  // namespace ledgerwick
