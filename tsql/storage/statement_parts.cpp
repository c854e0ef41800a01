#include "tsql/storage/statement_parts.h"

#include <memory>
#include <new>

#include "tsql/base/allowance.h"
#include "tsql/storage/sqlite_value.h"

namespace ledgerwick::tsql {
namespace {

constexpr const char* kPartsPointer = "ledgerwick parts";
constexpr const char* kBundlePointer = "ledgerwick values";
constexpr std::size_t kFirstValue = 2;  // among the arguments; also the part's first parameter

using Bundle = std::vector<SqliteValue>;

void CallPart(sqlite3_context* context, int count, sqlite3_value** arguments) {
  auto* parts = static_cast<StatementParts*>(sqlite3_value_pointer(arguments[0], kPartsPointer));
  if (parts == nullptr) return sqlite3_result_error_code(context, SQLITE_MISUSE);
  parts->Evaluate(context, {arguments, static_cast<std::size_t>(count)});
}

void MakeBundle(sqlite3_context* context, int count, sqlite3_value** arguments) {
  try {
    auto bundle = std::make_unique<Bundle>();
    for (sqlite3_value* value : std::span(arguments, static_cast<std::size_t>(count))) {
      bundle->emplace_back(sqlite3_value_dup(value));
      if (bundle->back() == nullptr) throw std::bad_alloc();
    }
    sqlite3_result_pointer(context, bundle.release(), kBundlePointer, [](void* data) {
      std::default_delete<Bundle>()(static_cast<Bundle*>(data));
    });
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  }
}

// Runs a part once, and leaves it ready for its next call.
class Run {
 public:
  explicit Run(sqlite3_stmt* part) noexcept : part_(part) {}
  ~Run() {
    if (part_ == nullptr) return;
    sqlite3_reset(part_);
    sqlite3_clear_bindings(part_);
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // Gives the next parameters the values of `argument`. Returns SQLite's result.
  int Bind(sqlite3_value* argument) noexcept {
    const auto* bundle =
        static_cast<const Bundle*>(sqlite3_value_pointer(argument, kBundlePointer));
    if (bundle == nullptr) return sqlite3_bind_value(part_, next_++, argument);
    int result = SQLITE_OK;
    for (const SqliteValue& value : *bundle) {
      if (result == SQLITE_OK) result = sqlite3_bind_value(part_, next_++, value.get());
    }
    return result;
  }

 private:
  sqlite3_stmt* part_;
  int next_ = kFirstValue;
};

}  // namespace

StatementParts::StatementParts(std::span<const std::string> texts)
    : texts_(texts), prepared_(texts.size()) {}

void StatementParts::Bind(sqlite3_stmt* statement, int index) {
  sqlite3_bind_pointer(statement, index, this, kPartsPointer, nullptr);
}

int StatementParts::Prepare(sqlite3* db, std::size_t part) noexcept {
  if (prepared_[part] != nullptr) return SQLITE_OK;
  const Allowance::Preparing preparing;
  const std::string& sql = texts_[part];
  sqlite3_stmt* statement = nullptr;
  const int result =
      sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size() + 1), &statement, nullptr);
  prepared_[part].reset(statement);
  return result;
}

void StatementParts::Evaluate(sqlite3_context* context,
                              std::span<sqlite3_value*> arguments) noexcept {
  sqlite3* const db = sqlite3_context_db_handle(context);
  const auto part = static_cast<std::size_t>(sqlite3_value_int64(arguments[1]));
  int result = Prepare(db, part);
  sqlite3_stmt* const statement = prepared_[part].get();
  Run run(statement);
  if (result == SQLITE_OK) Bind(statement, 1);
  for (sqlite3_value* value : arguments.subspan(kFirstValue)) {
    if (result == SQLITE_OK) result = run.Bind(value);
  }
  if (result == SQLITE_OK) result = sqlite3_step(statement);
  if (result == SQLITE_ROW) {
    return sqlite3_result_value(context, sqlite3_column_value(statement, 0));
  }
  if (result == SQLITE_NOMEM) return sqlite3_result_error_nomem(context);
  sqlite3_result_error(context, sqlite3_errmsg(db), -1);
  sqlite3_result_error_code(context, result);
}

int RegisterParts(sqlite3* db) noexcept {
  const int result = sqlite3_create_function_v2(db, "t_part", -1, SQLITE_UTF8, nullptr, CallPart,
                                                nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) return result;
  return sqlite3_create_function_v2(db, "t_bundle", -1, SQLITE_UTF8, nullptr, MakeBundle, nullptr,
                                    nullptr, nullptr);
}

}  // namespace ledgerwick::tsql
