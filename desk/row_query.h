// What a page asks of rows: conditions and order.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "frame/result_sink.h"

namespace ledgerwick::desk {

// A column as it lies in a store.
struct StoredColumn {
  ResultColumn info;
  std::string name;   // unique
  bool empty = true;  // no row has anything in it
  int digits = 0;     // behind the point, of a number
};

// A query that cannot be meant: a column that is not there, a value that is no number.
class QueryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class Operator { Equal, Contains, AtLeast, AtMost, Empty, Filled };

struct Condition {
  std::string column;
  Operator op = Operator::Equal;
  std::optional<std::string> value;  // nothing for null
};

struct Order {
  std::string column;
  bool descending = false;
};

struct RowQuery {
  std::vector<Condition> where;
  std::vector<Order> order;
};

// Reads [{"column","op","value"}]; an empty text is no condition. Throws QueryError.
std::vector<Condition> ParseWhere(const std::string& json);

// Reads "A,-B"; names that hold commas as a JSON list of such words. Throws QueryError.
std::vector<Order> ParseOrder(const std::string& text);

// Reads names parted by commas, or a JSON list of names. Throws QueryError.
std::vector<std::string> ParseNames(const std::string& text);

// The column of that name. Throws QueryError.
std::size_t FindColumn(const std::vector<StoredColumn>& columns, const std::string& name);

// A piece of SQLite's SQL and the values that it is bound with.
struct Clause {
  // A value as SQLite compares it with a column of the kind.
  struct Bound {
    std::string text;
    ColumnKind kind;
  };
  std::string sql;
  std::vector<Bound> values;
};

// " WHERE …" for the conditions, or nothing. Throws QueryError.
Clause WhereClause(const std::vector<StoredColumn>& columns, const std::vector<Condition>& where);

// " ORDER BY …", by the place of the rows where nothing else tells them apart. Throws QueryError.
std::string OrderClause(const std::vector<StoredColumn>& columns, const std::vector<Order>& order);

// Binds the clause's values from the first on.
void Bind(sqlite3_stmt* statement, const Clause& clause);

// Teaches a connection the functions and orders that the clauses use.
void AddFunctions(sqlite3* db);

// What is read back of a stored cell, as the page shows it: nothing for null.
std::optional<std::string> CellOf(sqlite3_stmt* statement, int column, const ResultColumn& info);

// The name of the SQLite column at that place.
std::string ColumnName(std::size_t place);

}  // namespace ledgerwick::desk
