#include "desk/row_query.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "desk/decimal_sum.h"
#include "frame/value.h"
#include "output/result_writer.h"
#include "output/value_text.h"
#include "tsql/storage/sqlite.h"
#include "tsql/values/collation.h"

namespace ledgerwick::desk {
namespace {

using Json = nlohmann::json;

constexpr const char* kTextOrder = "desk_text";
constexpr const char* kDecimalOrder = "desk_decimal";

struct OperatorName {
  std::string_view name;
  Operator op;
};
constexpr OperatorName kOperators[] = {
    {"=", Operator::Equal},   {"contains", Operator::Contains}, {">=", Operator::AtLeast},
    {"<=", Operator::AtMost}, {"empty", Operator::Empty},       {"filled", Operator::Filled},
};

std::string_view Bytes(int size, const void* text) {
  return {static_cast<const char*>(text), static_cast<std::size_t>(size)};
}

int CompareTexts(void*, int n, const void* a, int m, const void* b) {
  try {
    return tsql::CompareCollated(Bytes(n, a), Bytes(m, b));
  } catch (const std::exception&) {
    return Bytes(n, a).compare(Bytes(m, b));  // no order for Chinese is at hand
  }
}

int CompareDigits(void*, int n, const void* a, int m, const void* b) {
  return CompareDecimals(Bytes(n, a), Bytes(m, b));
}

std::string TextOf(sqlite3_value* value, ColumnKind kind) {
  switch (kind) {
    case ColumnKind::Boolean:
      return sqlite3_value_int64(value) != 0 ? "true" : "false";
    case ColumnKind::Integer:
      return std::to_string(sqlite3_value_int64(value));
    case ColumnKind::Float:
      return ShortestNumber(sqlite3_value_double(value));
    case ColumnKind::DateTime:
      return DateText(Date{sqlite3_value_double(value)});
    case ColumnKind::Decimal:
    case ColumnKind::String:
      break;
  }
  const void* text = sqlite3_value_text(value);
  std::string bytes(Bytes(sqlite3_value_bytes(value), text));
  return kind == ColumnKind::Decimal ? ShortestDecimal(std::move(bytes)) : bytes;
}

ColumnKind KindOf(sqlite3_value* value) {
  return static_cast<ColumnKind>(sqlite3_value_int(value));
}

// desk_contains(cell, kind, needle)
void Contains(sqlite3_context* context, int, sqlite3_value** values) {
  if (sqlite3_value_type(values[0]) == SQLITE_NULL) return sqlite3_result_int(context, 0);
  const std::string text = TextOf(values[0], KindOf(values[1]));
  const std::string_view needle =
      Bytes(sqlite3_value_bytes(values[2]), sqlite3_value_text(values[2]));
  std::size_t length = 0;
  const bool found = tsql::FindCollated(text, needle, 0, length) != std::string::npos;
  sqlite3_result_int(context, found ? 1 : 0);
}

// desk_month(serial): "yyyy-mm"
void Month(sqlite3_context* context, int, sqlite3_value** values) {
  if (sqlite3_value_type(values[0]) == SQLITE_NULL) return;
  const std::string text = DateText(Date{sqlite3_value_double(values[0])}).substr(0, 7);
  sqlite3_result_text(context, text.c_str(), -1, SQLITE_TRANSIENT);
}

// desk_sum(cell, kind): exact where the column is, as a decimal's text.
struct Sum {
  DecimalSum decimal;
  FloatSum floating;
};
void SumStep(sqlite3_context* context, int, sqlite3_value** values) {
  auto** sum = static_cast<Sum**>(sqlite3_aggregate_context(context, sizeof(Sum*)));
  if (sum == nullptr) return sqlite3_result_error_nomem(context);
  if (*sum == nullptr) *sum = new Sum;
  if (sqlite3_value_type(values[0]) == SQLITE_NULL) return;
  switch (KindOf(values[1])) {
    case ColumnKind::Float:
      return (*sum)->floating.Add(sqlite3_value_double(values[0]));
    case ColumnKind::Decimal: {
      const void* text = sqlite3_value_text(values[0]);
      return (*sum)->decimal.Add(Bytes(sqlite3_value_bytes(values[0]), text));
    }
    default:
      return (*sum)->decimal.Add(sqlite3_value_int64(values[0]));
  }
}
void SumEnd(sqlite3_context* context) {
  auto** sum = static_cast<Sum**>(sqlite3_aggregate_context(context, 0));
  if (sum == nullptr || *sum == nullptr) return sqlite3_result_text(context, "0", 1, SQLITE_STATIC);
  const std::unique_ptr<Sum> owned(*sum);
  // One of the two is 0.
  std::string text = owned->floating.Text();
  if (text == "0") text = ShortestDecimal(owned->decimal.Text());
  sqlite3_result_text(context, text.c_str(), -1, SQLITE_TRANSIENT);
}

std::string Collation(ColumnKind kind) {
  if (kind == ColumnKind::Decimal) return std::string(" COLLATE ") + kDecimalOrder;
  return kind == ColumnKind::String ? std::string(" COLLATE ") + kTextOrder : std::string();
}

void CheckValue(const StoredColumn& column, const std::string& value) {
  const ColumnKind kind = column.info.kind;
  if (kind == ColumnKind::DateTime && !ParseDate(FromUtf8(value))) {
    throw QueryError("'" + value + "' is no date (yyyy-mm-dd)");
  }
  if (IsNumeric(kind) && kind != ColumnKind::Boolean && !IsDecimal(value)) {
    throw QueryError("'" + value + "' is no number, as the column " + column.name + " holds");
  }
}

void AddCondition(const StoredColumn& column, std::size_t place, const Condition& condition,
                  Clause& clause) {
  const std::string name = ColumnName(place);
  const ColumnKind kind = column.info.kind;
  const bool is_text = kind == ColumnKind::String;
  const std::string empty =
      is_text ? "(" + name + " IS NULL OR " + name + " = '')" : name + " IS NULL";
  switch (condition.op) {
    case Operator::Empty:
      clause.sql += empty;
      return;
    case Operator::Filled:
      clause.sql += "NOT " + empty;
      return;
    case Operator::Contains:
      clause.sql +=
          "desk_contains(" + name + ", " + std::to_string(static_cast<int>(kind)) + ", ?)";
      clause.values.push_back({condition.value.value_or(""), ColumnKind::String});
      return;
    case Operator::Equal:
      if (!condition.value) {
        clause.sql += name + " IS NULL";
        return;
      }
      // A text is itself alone: another letter case is another value.
      clause.sql += name + " = ?" + (is_text ? " COLLATE BINARY" : Collation(kind));
      break;
    case Operator::AtLeast:
      clause.sql += name + " >= ?" + Collation(kind);
      break;
    case Operator::AtMost:
      clause.sql += name + " <= ?" + Collation(kind);
      break;
  }
  if (!condition.value) throw QueryError("a condition on " + column.name + " lacks its value");
  CheckValue(column, *condition.value);
  clause.values.push_back({*condition.value, kind});
}

void BindNumber(sqlite3_stmt* statement, int place, const std::string& text) {
  std::int64_t integer = 0;
  const char* end = text.data() + text.size();
  if (const auto read = std::from_chars(text.data(), end, integer);
      read.ec == std::errc() && read.ptr == end) {
    sqlite3_bind_int64(statement, place, integer);
    return;
  }
  double number = 0;
  std::from_chars(text.data(), end, number);
  sqlite3_bind_double(statement, place, number);
}

Json ParseList(const std::string& text) {
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_array()) throw QueryError("'" + text + "' is no JSON list");
  return json;
}

std::string StringOf(const Json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end() || !found->is_string()) {
    throw QueryError(std::string("a condition lacks its \"") + key + '"');
  }
  return found->get<std::string>();
}

Condition ParseCondition(const Json& json) {
  if (!json.is_object()) throw QueryError("a condition must be an object");
  Condition condition;
  condition.column = StringOf(json, "column");
  const std::string name = StringOf(json, "op");
  const auto* found = std::find_if(std::begin(kOperators), std::end(kOperators),
                                   [&](const OperatorName& o) { return o.name == name; });
  if (found == std::end(kOperators)) throw QueryError("unknown comparison '" + name + "'");
  condition.op = found->op;
  if (const auto value = json.find("value"); value != json.end() && !value->is_null()) {
    condition.value = value->is_string() ? value->get<std::string>() : value->dump();
  }
  return condition;
}

}  // namespace

std::string ColumnName(std::size_t place) { return "c" + std::to_string(place); }

std::vector<Condition> ParseWhere(const std::string& json) {
  std::vector<Condition> where;
  if (json.empty()) return where;
  for (const Json& condition : ParseList(json)) where.push_back(ParseCondition(condition));
  return where;
}

std::vector<std::string> ParseNames(const std::string& text) {
  std::vector<std::string> names;
  if (text.starts_with('[')) {
    for (const Json& name : ParseList(text)) {
      if (!name.is_string()) throw QueryError("a column's name must be a string");
      names.push_back(name.get<std::string>());
    }
    return names;
  }
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t comma = std::min(text.find(',', from), text.size());
    names.push_back(text.substr(from, comma - from));
    from = comma + 1;
  }
  return names;
}

std::vector<Order> ParseOrder(const std::string& text) {
  std::vector<Order> order;
  for (std::string& name : ParseNames(text)) {
    const bool descending = name.starts_with('-');
    order.push_back({descending ? name.substr(1) : std::move(name), descending});
  }
  return order;
}

std::size_t FindColumn(const std::vector<StoredColumn>& columns, const std::string& name) {
  const auto found = std::find_if(columns.begin(), columns.end(),
                                  [&](const StoredColumn& c) { return c.name == name; });
  if (found == columns.end()) throw QueryError("the result has no column '" + name + "'");
  return static_cast<std::size_t>(found - columns.begin());
}

Clause WhereClause(const std::vector<StoredColumn>& columns, const std::vector<Condition>& where) {
  Clause clause;
  for (const Condition& condition : where) {
    clause.sql += clause.sql.empty() ? " WHERE " : " AND ";
    const std::size_t place = FindColumn(columns, condition.column);
    AddCondition(columns[place], place, condition, clause);
  }
  return clause;
}

std::string OrderClause(const std::vector<StoredColumn>& columns, const std::vector<Order>& order) {
  std::string sql = " ORDER BY ";
  for (const Order& by : order) {
    const std::size_t place = FindColumn(columns, by.column);
    sql += ColumnName(place) + Collation(columns[place].info.kind);
    sql += by.descending ? " DESC, " : ", ";
  }
  return sql + "rowid";
}

void Bind(sqlite3_stmt* statement, const Clause& clause) {
  int place = 0;
  for (const auto& [text, kind] : clause.values) {
    ++place;
    switch (kind) {
      case ColumnKind::DateTime:
        sqlite3_bind_double(statement, place, ParseDate(FromUtf8(text)).value_or(Date()).serial);
        break;
      case ColumnKind::Boolean:
        sqlite3_bind_int(statement, place, text == "true" || text == "1" ? 1 : 0);
        break;
      case ColumnKind::Integer:
      case ColumnKind::Float:
        BindNumber(statement, place, text);
        break;
      case ColumnKind::Decimal:
      case ColumnKind::String:
        tsql::CheckBound(sqlite3_bind_text(statement, place, text.data(),
                                           static_cast<int>(text.size()), SQLITE_TRANSIENT));
    }
  }
}

void AddFunctions(sqlite3* db) {
  constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
  sqlite3_create_collation_v2(db, kTextOrder, SQLITE_UTF8, nullptr, &CompareTexts, nullptr);
  sqlite3_create_collation_v2(db, kDecimalOrder, SQLITE_UTF8, nullptr, &CompareDigits, nullptr);
  sqlite3_create_function_v2(db, "desk_contains", 3, kFlags, nullptr, &Contains, nullptr, nullptr,
                             nullptr);
  sqlite3_create_function_v2(db, "desk_month", 1, kFlags, nullptr, &Month, nullptr, nullptr,
                             nullptr);
  sqlite3_create_function_v2(db, "desk_sum", 2, kFlags, nullptr, nullptr, &SumStep, &SumEnd,
                             nullptr);
}

std::optional<std::string> CellOf(sqlite3_stmt* statement, int column, const ResultColumn& info) {
  sqlite3_value* value = sqlite3_column_value(statement, column);
  if (sqlite3_value_type(value) == SQLITE_NULL) return std::nullopt;
  return TextOf(value, info.kind);
}

}  // namespace ledgerwick::desk
