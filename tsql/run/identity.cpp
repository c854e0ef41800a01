// IDENTITY columns: which numbers they have given, and who may give others.
#include "tsql/base/characters.h"
#include "tsql/run/interpreter.h"
#include "tsql/storage/aggregates.h"
#include "tsql/storage/sqlite_value.h"
#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {
namespace {

std::string OfTable(const Table& table) {
  return std::string(SchemaName(table.database)) + "." + kIdentityTable;
}

std::string WhereTable(const Table& table) {
  return " WHERE tab = " + QuoteLiteral(ToUtf8(table.name));
}

}  // namespace

// The number after which the next one comes; nothing before the first.
std::optional<std::int64_t> Interpreter::LastIdentity(const Table& table) {
  const auto& furthest = storage_.functions().identity.furthest;
  const auto given = furthest.find(table.identity->key);
  const SqliteStatement row =
      storage_.Prepare("SELECT last FROM " + OfTable(table) + WhereTable(table));
  std::optional<std::int64_t> last;
  if (storage_.Step(row.get()) && sqlite3_column_type(row.get(), 0) != SQLITE_NULL) {
    last = sqlite3_column_int64(row.get(), 0);
  }
  if (given == furthest.end()) return last;
  const bool ascends = table.identity->step > 0;
  const bool further = !last || (ascends ? given->second > *last : given->second < *last);
  return further ? given->second : last;
}

void Interpreter::ResetIdentity(const Table& table, std::optional<std::int64_t> last) {
  storage_.functions().identity.furthest.erase(table.identity->key);
  storage_.Execute("UPDATE " + OfTable(table) +
                   " SET last = " + (last ? std::to_string(*last) : "NULL") + WhereTable(table));
}

// IDENT_CURRENT, IDENT_SEED and IDENT_INCR.
std::optional<std::string> Interpreter::IdentityFact(std::string_view fact, std::string_view name) {
  Arena scratch;
  const Text text = ToText(name);
  const std::optional<ObjectName> object = ParseObjectName(text, scratch);
  if (!object) return std::nullopt;
  const Table* table = Binder(text, scratch, catalogue_).FindTable(*object);
  if (table == nullptr || !table->identity) return std::nullopt;
  if (fact == "IDENT_SEED") return std::to_string(table->identity->seed);
  if (fact == "IDENT_INCR") return std::to_string(table->identity->step);
  return std::to_string(LastIdentity(*table).value_or(table->identity->seed));
}

void Interpreter::Perform(const IdentityInsertStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const Table& table = binder.RequireTable(statement.target);
  const Position at = binder.At(statement.target.object.offset);
  if (!table.identity) throw errors::NoIdentityToSet(FullName(statement.target), at);
  const bool is_on = catalogue_.TakesIdentity(table);
  if (statement.on && !is_on) {
    if (const auto& other = catalogue_.identity_insert()) {
      throw errors::IdentityInsertOn(catalogue_.NameOf(other->database) + u".dbo." + other->table,
                                     FullName(statement.target), at);
    }
    catalogue_.SetIdentityInsert(Catalogue::IdentityInsert{table.database, table.name});
  } else if (!statement.on && is_on) {
    catalogue_.SetIdentityInsert(std::nullopt);
  }
  session_.last_error = 0;
}

void Interpreter::Perform(const CheckIdentityStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const Table& table = binder.RequireTable(statement.target);
  const Position at = binder.At(statement.target.object.offset);
  if (!table.identity) throw errors::NoIdentity(table.name, at);
  std::string column;
  for (const TableColumn& c : table.columns) {
    if (c.is_identity) column = c.sql;
  }
  const auto shown = [](std::optional<std::int64_t> number) {
    return number ? std::to_string(*number) : std::string("NULL");
  };
  const std::optional<std::int64_t> last = LastIdentity(table);
  const bool ascends = table.identity->step > 0;
  std::optional<std::int64_t> most;
  const SqliteStatement row = storage_.Prepare(
      std::string("SELECT ") + (ascends ? "max(" : "min(") + column + ") FROM " + table.sql);
  if (storage_.Step(row.get()) && sqlite3_column_type(row.get(), 0) != SQLITE_NULL) {
    most = static_cast<std::int64_t>(UnitsOf(sqlite3_column_value(row.get(), 0)));
  }
  if (statement.value != nullptr) {
    const std::int64_t number =
        IntegerOf(EvaluateOnce(*statement.value, MakeType(TypeKind::BigInt)));
    // The first row of a table that has never had one gets the number itself.
    ResetIdentity(table, last ? number : number - table.identity->step);
  } else if (statement.reseeds && most && (!last || (ascends ? *most > *last : *most < *last))) {
    ResetIdentity(table, most);
  }
  session_.last_error = 0;
  if (statement.silent) return;
  constexpr std::int32_t kChecked = 7998;
  const std::string values =
      statement.value != nullptr ? "" : ", current column value '" + shown(most) + "'";
  Inform(errors::Information(kChecked, "Checking identity information: current identity value '" +
                                           shown(last) + "'" + values + "."),
         statement);
}

}  // namespace ledgerwick::tsql
