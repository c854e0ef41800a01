#include "desk/row_store.h"

#include <algorithm>
#include <cmath>

#include "output/json_object.h"
#include "output/unique_names.h"
#include "output/value_text.h"

namespace ledgerwick::desk {
namespace {

constexpr std::int64_t kRowsBetweenCalls = 2048;
constexpr std::int64_t kMeasuredRows = 1000;  // whose floats tell how many digits a column has
constexpr int kMostDigits = 6;                // behind the point of a float
constexpr std::size_t kMostViews = 4;

[[noreturn]] void Fail(sqlite3* db) {
  const int code = sqlite3_errcode(db) & 0xFF;
  if (code == SQLITE_INTERRUPT) throw std::runtime_error("stopped");
  throw std::runtime_error(std::string("the rows' file: ") + sqlite3_errmsg(db));
}

tsql::SqliteHandle Open(const std::string& name, int flags) {
  tsql::ConfigureSqlite();
  sqlite3* db = nullptr;
  const int result = sqlite3_open_v2(name.c_str(), &db, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  tsql::SqliteHandle handle(db);
  if (result != SQLITE_OK) Fail(db);
  return handle;
}

void Run(sqlite3* db, const std::string& sql) {
  if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) Fail(db);
}

tsql::SqliteStatement Compile(sqlite3* db, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) Fail(db);
  return tsql::SqliteStatement(statement);
}

std::string Names(std::size_t count) {
  std::string names;
  for (std::size_t i = 0; i < count; ++i) names += (i > 0 ? ", " : "") + ColumnName(i);
  return names;
}

// A stored cell as it came from the database.
Value ValueOf(sqlite3_stmt* statement, int column, ColumnKind kind) {
  if (sqlite3_column_type(statement, column) == SQLITE_NULL) return Null{};
  switch (kind) {
    case ColumnKind::Boolean:
    case ColumnKind::Integer:
      return Value(std::int64_t{sqlite3_column_int64(statement, column)});
    case ColumnKind::Float:
      return Value(sqlite3_column_double(statement, column));
    case ColumnKind::DateTime:
      return Value(Date{sqlite3_column_double(statement, column)});
    case ColumnKind::Decimal:
    case ColumnKind::String:
      break;
  }
  return Value(FromUtf8(tsql::ColumnText(statement, column)));
}

void AppendCell(std::string& json, const std::optional<std::string>& cell) {
  if (cell) {
    AppendJsonString(json, *cell);
  } else {
    json += "null";
  }
}

std::string KindText(const StoredColumn& column) {
  return std::to_string(static_cast<int>(column.info.kind));
}

int DigitsBehindPoint(double number) {
  const std::string text = ShortestNumber(number);
  const std::size_t point = text.find('.');
  if (point == std::string::npos) return 0;
  return std::min(kMostDigits, static_cast<int>(text.size() - point - 1));
}

// A text that tells queries apart.
std::string KeyOf(const Clause& where, const std::string& order) {
  std::string key = where.sql + order;
  for (const auto& value : where.values) {
    key += '\0' + std::to_string(value.text.size()) + ':' + value.text;
  }
  return key;
}

}  // namespace

RowStoreWriter::RowStoreWriter(const std::filesystem::path& path, std::int64_t most_rows,
                               std::function<void(std::int64_t)> on_rows)
    : db_(Open(path.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)),
      most_rows_(most_rows),
      on_rows_(std::move(on_rows)) {
  // A file that is lost with its process needs no journal and need not reach the disk.
  Run(db_.get(),
      "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA locking_mode = EXCLUSIVE; "
      "PRAGMA page_size = 16384; BEGIN");
}

void RowStoreWriter::Columns(std::span<const ResultColumn> columns) {
  const std::vector<std::string> names = UniqueNames(columns);
  columns_.clear();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    StoredColumn& column = columns_.emplace_back(StoredColumn{columns[i], names[i]});
    if (columns[i].kind == ColumnKind::Decimal) column.digits = columns[i].scale;
  }
  texts_.resize(columns.size());
  std::string marks;
  for (std::size_t i = 0; i < columns.size(); ++i) marks += i > 0 ? ", ?" : "?";
  Run(db_.get(), "CREATE TABLE rows (" + Names(columns.size()) + ")");
  insert_ = Compile(db_.get(), "INSERT INTO rows VALUES (" + marks + ")");
}

void RowStoreWriter::Bind(std::size_t column, const Value& value) {
  sqlite3_stmt* statement = insert_.get();
  const int place = static_cast<int>(column) + 1;
  StoredColumn& stored = columns_[column];
  if (const auto* integer = value.If<std::int64_t>()) {
    stored.empty = false;
    sqlite3_bind_int64(statement, place, *integer);
  } else if (const auto* number = value.If<double>()) {
    stored.empty = false;
    if (count_ < kMeasuredRows) stored.digits = std::max(stored.digits, DigitsBehindPoint(*number));
    sqlite3_bind_double(statement, place, *number);
  } else if (const auto* date = value.If<Date>()) {
    stored.empty = false;
    sqlite3_bind_double(statement, place, date->serial);
  } else if (const auto* text = value.If<Text>()) {
    if (!text->empty()) stored.empty = false;
    std::string& utf8 = texts_[column];  // stays until the row is written
    utf8 = ToUtf8(*text);
    tsql::CheckBound(sqlite3_bind_text(statement, place, utf8.data(), static_cast<int>(utf8.size()),
                                       SQLITE_STATIC));
  } else {
    sqlite3_bind_null(statement, place);
  }
}

void RowStoreWriter::Row(std::span<const Value> values) {
  if (count_ >= most_rows_) {
    throw TooManyRows("the result has more than " + std::to_string(most_rows_) +
                      " rows, as many as a run may keep; narrow the filters, or start the desk "
                      "with a larger --max-rows");
  }
  for (std::size_t i = 0; i < values.size(); ++i) Bind(i, values[i]);
  if (sqlite3_step(insert_.get()) != SQLITE_DONE) Fail(db_.get());
  sqlite3_reset(insert_.get());
  ++count_;
  if (on_rows_ && count_ % kRowsBetweenCalls == 0) on_rows_(count_);
}

std::vector<StoredColumn> RowStoreWriter::Finish() {
  insert_.reset();
  Run(db_.get(), "COMMIT");
  db_.reset();
  return std::move(columns_);
}

RowStore::RowStore(const std::filesystem::path& path, std::vector<StoredColumn> columns,
                   std::int64_t count)
    : columns_(std::move(columns)),
      count_(count),
      db_(Open("file:" + path.string() + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI)) {
  Run(db_.get(), "SELECT COUNT(*) FROM sqlite_schema");
  std::filesystem::remove(path);
  Run(db_.get(), "PRAGMA temp_store = FILE; PRAGMA cache_size = -16000");
  AddFunctions(db_.get());
}

tsql::SqliteStatement RowStore::Prepare(const std::string& sql) { return Compile(db_.get(), sql); }

bool RowStore::Step(sqlite3_stmt* statement) {
  const int result = sqlite3_step(statement);
  if (result != SQLITE_ROW && result != SQLITE_DONE) Fail(db_.get());
  return result == SQLITE_ROW;
}

const RowStore::View& RowStore::FindView(const RowQuery& query) {
  const Clause where = WhereClause(columns_, query.where);
  const std::string order = OrderClause(columns_, query.order);
  const std::string key = KeyOf(where, order);
  const auto found =
      std::find_if(views_.begin(), views_.end(), [&](const View& v) { return v.query == key; });
  if (found != views_.end()) {
    views_.splice(views_.begin(), views_, found);
    return views_.front();
  }
  if (views_.size() == kMostViews) {
    Run(db_.get(), "DROP TABLE temp." + views_.back().table);
    views_.pop_back();
  }
  View view{key, "view" + std::to_string(next_view_++)};
  Run(db_.get(), "CREATE TEMP TABLE " + view.table + " (n INTEGER PRIMARY KEY, r INTEGER)");
  const auto fill =
      Prepare("INSERT INTO temp." + view.table + " (r) SELECT rowid FROM rows" + where.sql + order);
  Bind(fill.get(), where);
  try {
    Step(fill.get());
  } catch (...) {
    sqlite3_exec(db_.get(), ("DROP TABLE temp." + view.table).c_str(), nullptr, nullptr, nullptr);
    throw;
  }
  view.count = sqlite3_changes64(db_.get());
  views_.push_front(std::move(view));
  return views_.front();
}

tsql::SqliteStatement RowStore::Select(const RowQuery& query, std::int64_t from, std::int64_t count,
                                       std::int64_t& total) {
  std::string sql = "SELECT " + Names(columns_.size());
  if (query.where.empty() && query.order.empty()) {
    total = count_;
    sql += " FROM rows WHERE rowid > ?1 AND rowid <= ?2 ORDER BY rowid";
  } else {
    const View& view = FindView(query);
    total = view.count;
    sql += " FROM temp." + view.table +
           " CROSS JOIN rows ON rows.rowid = r WHERE n > ?1 AND n <= ?2 ORDER BY n";
  }
  const std::int64_t last = count > total - from ? total : from + count;
  tsql::SqliteStatement statement = Prepare(sql);
  sqlite3_bind_int64(statement.get(), 1, from);
  sqlite3_bind_int64(statement.get(), 2, last);
  return statement;
}

Window RowStore::Rows(const RowQuery& query, std::int64_t from, std::int64_t count) {
  const std::lock_guard lock(mutex_);
  Window window;
  const auto statement = Select(query, from, count, window.total);
  window.rows = "[";
  while (Step(statement.get())) {
    window.rows += window.rows.size() > 1 ? ",\n[" : "[";
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (i > 0) window.rows += ',';
      AppendCell(window.rows, CellOf(statement.get(), static_cast<int>(i), columns_[i].info));
    }
    window.rows += ']';
  }
  window.rows += ']';
  return window;
}

std::vector<std::pair<std::string, std::string>> RowStore::Totals(
    const std::vector<Condition>& where) {
  std::vector<std::pair<std::string, std::string>> totals;
  std::string sums;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (!IsNumeric(columns_[i].info.kind) || columns_[i].info.kind == ColumnKind::Boolean) continue;
    sums += (sums.empty() ? "desk_sum(" : ", desk_sum(") + ColumnName(i) + ", " +
            KindText(columns_[i]) + ")";
    totals.emplace_back(columns_[i].name, "0");
  }
  if (totals.empty()) return totals;
  const Clause clause = WhereClause(columns_, where);
  const std::lock_guard lock(mutex_);
  const auto statement = Prepare("SELECT " + sums + " FROM rows" + clause.sql);
  Bind(statement.get(), clause);
  Step(statement.get());
  for (std::size_t i = 0; i < totals.size(); ++i) {
    totals[i].second = tsql::ColumnText(statement.get(), static_cast<int>(i));
  }
  return totals;
}

std::string RowStore::Values(const std::string& column, const std::string& contains,
                             std::int64_t limit) {
  const std::size_t place = FindColumn(columns_, column);
  std::vector<Condition> where;
  if (!contains.empty()) where.push_back({column, Operator::Contains, contains});
  const Clause clause = WhereClause(columns_, where);
  const std::string name = ColumnName(place);
  const std::lock_guard lock(mutex_);
  const auto statement =
      Prepare("SELECT " + name + ", COUNT(*) FROM rows" + clause.sql + " GROUP BY " + name +
              OrderClause(columns_, {{column, false}}) + " LIMIT " + std::to_string(limit));
  Bind(statement.get(), clause);
  std::string json = "[";
  while (Step(statement.get())) {
    json += json.size() > 1 ? ",{\"value\":" : "{\"value\":";
    AppendCell(json, CellOf(statement.get(), 0, columns_[place].info));
    json += ",\"count\":" + std::to_string(sqlite3_column_int64(statement.get(), 1)) + '}';
  }
  return json + ']';
}

std::pair<std::string, std::int64_t> RowStore::Groups(const std::string& category, bool month,
                                                      const std::vector<std::string>& values,
                                                      const std::vector<Condition>& where,
                                                      std::int64_t limit) {
  const std::size_t place = FindColumn(columns_, category);
  ResultColumn info = columns_[place].info;
  std::string by = ColumnName(place);
  if (month && info.kind == ColumnKind::DateTime) {
    by = "desk_month(" + by + ")";
    info.kind = ColumnKind::String;
  }
  std::string sums;
  for (const std::string& name : values) {
    const std::size_t at = FindColumn(columns_, name);
    if (!IsNumeric(columns_[at].info.kind)) throw QueryError(name + " holds no numbers to add up");
    sums += ", desk_sum(" + ColumnName(at) + ", " + KindText(columns_[at]) + ") AS s" +
            std::to_string(at);
  }
  const Clause clause = WhereClause(columns_, where);
  // Dates in their order, everything else by its weight.
  const bool by_weight = columns_[place].info.kind != ColumnKind::DateTime && !values.empty();
  const std::string order = by_weight ? "abs(CAST(s" +
                                            std::to_string(FindColumn(columns_, values.front())) +
                                            " AS REAL)) DESC, k"
                                      : "k";
  const std::lock_guard lock(mutex_);
  const auto statement = Prepare("SELECT " + by + " AS k" + sums + " FROM rows" + clause.sql +
                                 " GROUP BY k ORDER BY " + order);
  Bind(statement.get(), clause);
  std::string json = "[";
  std::int64_t groups = 0;
  for (; Step(statement.get()); ++groups) {
    if (groups >= limit) continue;
    json += groups > 0 ? ",[" : "[";
    AppendCell(json, CellOf(statement.get(), 0, info));
    for (std::size_t i = 0; i < values.size(); ++i) {
      json += ',';
      AppendJsonString(json, tsql::ColumnText(statement.get(), static_cast<int>(i) + 1));
    }
    json += ']';
  }
  return {json + ']', std::max<std::int64_t>(0, groups - limit)};
}

void RowStore::Read(const RowQuery& query, ResultSink& sink) {
  const std::lock_guard lock(mutex_);
  std::vector<ResultColumn> columns;
  for (const StoredColumn& column : columns_) columns.push_back(column.info);
  std::int64_t total = 0;
  const auto statement = Select(query, 0, count_, total);
  sink.Columns(columns);
  std::vector<Value> values(columns.size());
  while (Step(statement.get())) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      values[i] = ValueOf(statement.get(), static_cast<int>(i), columns[i].kind);
    }
    sink.Row(values);
  }
  sink.EndRows(total);
}

}  // namespace ledgerwick::desk
