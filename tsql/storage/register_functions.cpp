#include "tsql/storage/register_functions.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <string>

#include "tsql/functions/function_table.h"
#include "tsql/storage/aggregates.h"
#include "tsql/storage/statement_parts.h"
#include "tsql/storage/unique_keys.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
namespace {

// What a registered function finds behind its context.
struct Registration {
  int null_arguments;
  void (*function)(Call& call);
  FunctionState* state;
};

// Exceptions must not pass through SQLite.
void Invoke(sqlite3_context* context, int count, sqlite3_value** values) {
  const auto& registration = *static_cast<Registration*>(sqlite3_user_data(context));
  for (int i = 0; i < std::min(registration.null_arguments, count); ++i) {
    if (sqlite3_value_type(values[i]) == SQLITE_NULL) return;  // the result is NULL already
  }
  try {
    Call call(context, {values, static_cast<std::size_t>(count)}, *registration.state);
    registration.function(call);
  } catch (SqlError& error) {
    sqlite3_result_error(context, error.message.data(), static_cast<int>(error.message.size()));
    registration.state->Keep(std::move(error));
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& error) {
    sqlite3_result_error(context, error.what(), -1);
  }
}

// A collation has no way to fail.
int Collate(void* state, int size_a, const void* a, int size_b, const void* b) noexcept {
  try {
    return CompareCollated({static_cast<const char*>(a), static_cast<std::size_t>(size_a)},
                           {static_cast<const char*>(b), static_cast<std::size_t>(size_b)});
  } catch (...) {
    static_cast<FunctionState*>(state)->order_failure = std::current_exception();
    return 0;
  }
}

void Check(sqlite3* db, int result) {
  if (result == SQLITE_OK) return;
  throw errors::Storage(sqlite3_errmsg(db));
}

void Register(sqlite3* db, const FunctionRow& row, FunctionState& state) {
  const int flags =
      SQLITE_UTF8 | SQLITE_INNOCUOUS | (row.purity == Purity::kPure ? SQLITE_DETERMINISTIC : 0);
  for (int count = row.least_arguments; count <= row.most_arguments; ++count) {
    auto registration =
        std::make_unique<Registration>(Registration{row.null_arguments, row.function, &state});
    // SQLite destroys the registration, also when it refuses the function.
    Check(db, sqlite3_create_function_v2(db, row.name, count, flags, registration.release(), Invoke,
                                         nullptr, nullptr, [](void* data) {
                                           std::default_delete<Registration>()(
                                               static_cast<Registration*>(data));
                                         }));
  }
}

}  // namespace

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
  Check(db, sqlite3_create_collation_v2(db, kCollation, SQLITE_UTF8, &state, Collate, nullptr));
  for (const auto table : {CheckHelpers(), ConversionHelpers(), ExactHelpers(), NumberHelpers(),
                           SessionHelpers(), TextHelpers(), KeyFunctions(), IdentityHelpers()}) {
    for (const FunctionRow& row : table) Register(db, row, state);
  }
  for (const auto table : {CheckFunctions(), ConversionFunctions(), DateFunctions(),
                           NumberFunctions(), SessionFunctions(), TextFunctions()}) {
    for (const FunctionSignature& function : table) {
      if (function.implementation == nullptr) continue;
      const std::string name = "t_" + ToUtf8(function.name);
      Register(db,
               {name.c_str(), function.least, function.most + function.added_arguments,
                function.null_arguments, function.implementation, function.purity},
               state);
    }
  }
  Check(db, RegisterSums(db, state));
  Check(db, RegisterGrouping(db, state));
  Check(db, RegisterParts(db));
}

}  // namespace ledgerwick::tsql
