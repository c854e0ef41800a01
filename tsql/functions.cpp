#include "tsql/functions.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <memory>
#include <new>

#include "tsql/collation.h"
#include "tsql/function_table.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::int32_t kEngineSeverity = 17;

// What a registered function finds behind its context.
struct Registration {
  const FunctionRow* row;
  FunctionState* state;
};

// Exceptions must not pass through SQLite.
void Invoke(sqlite3_context* context, int count, sqlite3_value** values) {
  const auto& registration = *static_cast<Registration*>(sqlite3_user_data(context));
  const FunctionRow& row = *registration.row;
  for (int i = 0; i < std::min(row.null_arguments, count); ++i) {
    if (sqlite3_value_type(values[i]) == SQLITE_NULL) return;  // the result is NULL already
  }
  try {
    Call call(context, {values, static_cast<std::size_t>(count)}, *registration.state);
    row.function(call);
  } catch (SqlError& error) {
    sqlite3_result_error(context, error.message.data(), static_cast<int>(error.message.size()));
    registration.state->Keep(std::move(error));
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& error) {
    sqlite3_result_error(context, error.what(), -1);
  }
}

int Collate(void*, int size_a, const void* a, int size_b, const void* b) {
  return CompareCollated({static_cast<const char*>(a), static_cast<std::size_t>(size_a)},
                         {static_cast<const char*>(b), static_cast<std::size_t>(size_b)});
}

void Check(sqlite3* db, int result) {
  if (result == SQLITE_OK) return;
  throw SqlError(result, kEngineSeverity, sqlite3_errmsg(db));
}

void Register(sqlite3* db, const FunctionRow& row, FunctionState& state) {
  const int flags =
      SQLITE_UTF8 | SQLITE_INNOCUOUS | (row.purity == Purity::kPure ? SQLITE_DETERMINISTIC : 0);
  for (int count = row.least_arguments; count <= row.most_arguments; ++count) {
    auto registration = std::make_unique<Registration>(Registration{&row, &state});
    // SQLite destroys the registration, also when it refuses the function.
    Check(db, sqlite3_create_function_v2(db, row.name, count, flags, registration.release(), Invoke,
                                         nullptr, nullptr, [](void* data) {
                                           std::default_delete<Registration>()(
                                               static_cast<Registration*>(data));
                                         }));
  }
}

}  // namespace

double Finite(double number) {
  if (!std::isfinite(number)) throw errors::Overflow(u"float");
  return number;
}

std::string_view Call::Utf8(std::size_t i) const {
  if (IsText(i)) {
    // As a blob it need not be zero-terminated, for which SQLite would copy most columns.
    const auto* bytes = static_cast<const char*>(sqlite3_value_blob(arguments_[i]));
    const auto size = static_cast<std::size_t>(sqlite3_value_bytes(arguments_[i]));
    if (bytes == nullptr && size > 0) throw std::bad_alloc();
    return {bytes == nullptr ? "" : bytes, size};
  }
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(arguments_[i]));
  if (text == nullptr) throw std::bad_alloc();
  return {text, static_cast<std::size_t>(sqlite3_value_bytes(arguments_[i]))};
}

const char* Call::Name(std::size_t i) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(arguments_[i]));
  return text == nullptr ? "" : text;
}

void Call::Return(std::string_view text) {
  sqlite3_result_text64(context_, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

// No other switch turns these off:
// - SQLite 3.40 looks a text up in a Bloom filter by its length before it compares by the
// collation,
//   and so misses texts that are equal but for their trailing blanks.
// - It computes a constant once, and looks each one up among all before it: minutes for 64,000.
void ChooseOptimizations(sqlite3* db, std::size_t text_size) noexcept {
  constexpr int kBloomFilters = 0x00080000;
  constexpr int kConstantsOnce = 0x00000008;
  constexpr std::size_t kLarge = std::size_t{64} << 10;
  sqlite3_test_control(SQLITE_TESTCTRL_OPTIMIZATIONS, db,
                       text_size < kLarge ? kBloomFilters : kBloomFilters | kConstantsOnce);
}

void RegisterFunctions(sqlite3* db, FunctionState& state) {
  ChooseOptimizations(db, 0);
  Check(db, sqlite3_create_collation_v2(db, kCollation, SQLITE_UTF8, nullptr, Collate, nullptr));
  for (const auto table : {CheckFunctions(), ConversionFunctions(), DateFunctions(),
                           ExactFunctions(), NumberFunctions(), TextFunctions()}) {
    for (const FunctionRow& row : table) Register(db, row, state);
  }
  Check(db, RegisterSums(db, state));
  Check(db, RegisterGrouping(db, state));
}

}  // namespace ledgerwick::tsql
