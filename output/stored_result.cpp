#include "output/stored_result.h"

#include <sqlite3.h>

#include <algorithm>
#include <functional>

#include "output/unique_names.h"
#include "output/value_text.h"

namespace ledgerwick {
namespace {

struct Closer {
  void operator()(sqlite3* db) const noexcept { sqlite3_close_v2(db); }
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

bool IsDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// A number as people write it: no exponent, no zero in front of another digit.
bool IsPlainNumber(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  const std::string_view whole = text.substr(0, point);
  if (!IsDigits(whole) || (whole.size() > 1 && whole.front() == '0')) return false;
  return point == std::string_view::npos || IsDigits(text.substr(point + 1));
}

bool HasPoint(std::string_view text) { return text.find('.') != std::string_view::npos; }

StoredResult::Cell CellOf(sqlite3_stmt* statement, int column) {
  if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
}

std::string NameOf(std::size_t column) { return "c" + std::to_string(column); }

}  // namespace

struct StoredResult::Storage {
  std::unique_ptr<sqlite3, Closer> db;
  Statement insert;

  void Check(int result) const {
    if (result == SQLITE_OK || result == SQLITE_ROW || result == SQLITE_DONE) return;
    throw OutputError("cannot keep a result in the folder for temporary files (TMPDIR): " +
                      std::string(sqlite3_errmsg(db.get())));
  }
  void Execute(const std::string& sql) const {
    Check(sqlite3_exec(db.get(), sql.c_str(), nullptr, nullptr, nullptr));
  }
  Statement Prepare(const std::string& sql) const {
    sqlite3_stmt* statement = nullptr;
    Check(sqlite3_prepare_v2(db.get(), sql.c_str(), static_cast<int>(sql.size()), &statement,
                             nullptr));
    return Statement(statement);
  }
  // The text outlives the statement's next step.
  void Bind(sqlite3_stmt* statement, int at, const Cell& cell) const {
    Check(cell ? sqlite3_bind_text64(statement, at, cell->data(), cell->size(), SQLITE_STATIC,
                                     SQLITE_UTF8)
               : sqlite3_bind_null(statement, at));
  }
};

namespace {

class StoredCursor final : public StoredResult::Cursor {
 public:
  // `check` throws for a result code that is an error.
  StoredCursor(Statement statement, std::function<void(int)> check)
      : statement_(std::move(statement)),
        check_(std::move(check)),
        row_(static_cast<std::size_t>(sqlite3_column_count(statement_.get())) - 1) {}

  bool Next() override {
    const int result = sqlite3_step(statement_.get());
    check_(result);
    if (result != SQLITE_ROW) return false;
    for (std::size_t i = 0; i < row_.size(); ++i) {
      row_[i] = CellOf(statement_.get(), static_cast<int>(i) + 1);
    }
    return true;
  }
  std::int64_t number() const override { return sqlite3_column_int64(statement_.get(), 0); }
  const StoredResult::Row& row() const override { return row_; }

 private:
  Statement statement_;
  std::function<void(int)> check_;
  StoredResult::Row row_;
};

}  // namespace

StoredResult::StoredResult() : storage_(std::make_unique<Storage>()) {
  sqlite3* db = nullptr;
  // A database without a name is a file of its own that nobody else sees.
  const int opened = sqlite3_open_v2("", &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  storage_->db.reset(db);
  storage_->Check(opened);
  storage_->Execute(
      "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA temp_store = FILE; "
      "PRAGMA cache_size = -4000; BEGIN; CREATE TABLE r (n INTEGER PRIMARY KEY)");
}

StoredResult::~StoredResult() = default;
StoredResult::StoredResult(StoredResult&&) noexcept = default;
StoredResult& StoredResult::operator=(StoredResult&&) noexcept = default;

std::size_t StoredResult::AddColumn(const std::string& name, bool is_number) {
  storage_->insert.reset();
  storage_->Execute("ALTER TABLE r ADD COLUMN " + NameOf(columns_.size()) + " TEXT");
  columns_.push_back({name, is_number});
  return columns_.size() - 1;
}

void StoredResult::AddRow(const Row& row) {
  if (!storage_->insert) {
    std::string sql = "INSERT INTO r VALUES (?";
    for (std::size_t i = 0; i < columns_.size(); ++i) sql += ", ?";
    storage_->insert = storage_->Prepare(sql + ")");
  }
  sqlite3_stmt* insert = storage_->insert.get();
  Row shortened(row.size());
  storage_->Check(sqlite3_bind_int64(insert, 1, ++rows_));
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const int at = static_cast<int>(i) + 2;
    if (i >= row.size() || !row[i]) {
      storage_->Bind(insert, at, std::nullopt);
      continue;
    }
    Column& column = columns_[i];
    const bool is_plain = IsPlainNumber(*row[i]);
    if (!is_plain) column.has_words = true;
    if (!is_plain || !HasPoint(*row[i])) {
      storage_->Bind(insert, at, row[i]);
      continue;
    }
    shortened[i] = ShortestDecimal(*row[i]);
    const bool is_long = *shortened[i] != *row[i];
    column.has_fraction = true;
    column.has_short_fraction = column.has_short_fraction || HasPoint(*shortened[i]);
    if (is_long && !column.is_number) column.has_long_numbers = true;
    storage_->Bind(insert, at, column.is_number ? shortened[i] : row[i]);
  }
  storage_->Check(sqlite3_step(insert));
  storage_->Check(sqlite3_reset(insert));
}

void StoredResult::ShortenNumbers(const std::vector<std::size_t>& columns) {
  std::string changes;
  for (const std::size_t column : columns) {
    if (!columns_[column].has_long_numbers) continue;
    const std::string name = NameOf(column);
    changes.append(changes.empty() ? "" : ", ").append(name + " = shorten(" + name + ")");
    columns_[column].has_long_numbers = false;
  }
  if (changes.empty()) return;
  const auto shorten = [](sqlite3_context* context, int, sqlite3_value** values) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
    const std::string_view value(text == nullptr ? "" : text,
                                 static_cast<std::size_t>(sqlite3_value_bytes(values[0])));
    if (!IsPlainNumber(value)) return sqlite3_result_value(context, values[0]);
    const std::string digits = ShortestDecimal(std::string(value));
    sqlite3_result_text(context, digits.data(), static_cast<int>(digits.size()), SQLITE_TRANSIENT);
  };
  storage_->Check(sqlite3_create_function_v2(storage_->db.get(), "shorten", 1,
                                             SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, shorten,
                                             nullptr, nullptr, nullptr));
  storage_->Execute("UPDATE r SET " + changes);
}

std::unique_ptr<StoredResult::Cursor> StoredResult::Open(const std::vector<std::size_t>& columns,
                                                         const std::string& rest) const {
  std::string sql = "SELECT n";
  for (const std::size_t column : columns) sql += ", " + NameOf(column);
  return std::make_unique<StoredCursor>(storage_->Prepare(sql + " FROM r" + rest),
                                        [storage = storage_.get()](int r) { storage->Check(r); });
}

std::unique_ptr<StoredResult::Cursor> StoredResult::Read(const std::vector<std::size_t>& columns,
                                                         std::int64_t number) const {
  return Open(columns, number == 0 ? " ORDER BY n" : " WHERE n = " + std::to_string(number));
}

std::unique_ptr<StoredResult::Cursor> StoredResult::ReadSorted(
    const std::vector<std::size_t>& columns, std::size_t keys) const {
  std::string order;
  for (std::size_t i = 0; i < keys; ++i) order += NameOf(columns[i]) + ", ";
  return Open(columns, " ORDER BY " + order + "n");
}

void ResultCollector::Columns(std::span<const ResultColumn> columns) {
  columns_.assign(columns.begin(), columns.end());
  const std::vector<std::string> names = UniqueNames(columns);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    result_.AddColumn(names[i], IsNumeric(columns[i].kind));
  }
}

void ResultCollector::Row(std::span<const Value> values) {
  row_.clear();
  for (std::size_t i = 0; i < values.size(); ++i) {
    StoredResult::Cell& cell = row_.emplace_back();
    if (!values[i].IsNull()) cell = CellText(values[i], columns_[i]);
  }
  result_.AddRow(row_);
}

}  // namespace ledgerwick
