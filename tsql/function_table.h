// What the sources of the registered functions share: how a function looks and how it is called.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <span>
#include <string_view>

#include "tsql/exact.h"
#include "tsql/functions.h"

namespace ledgerwick::tsql {

// The arguments and the result of one call.
class Call {
 public:
  Call(sqlite3_context* context, std::span<sqlite3_value*> arguments, FunctionState& state)
      : context_(context), arguments_(arguments), state_(state) {}

  std::size_t size() const { return arguments_.size(); }
  bool IsNull(std::size_t i) const { return TypeOf(i) == SQLITE_NULL; }
  bool IsInteger(std::size_t i) const { return TypeOf(i) == SQLITE_INTEGER; }
  bool IsText(std::size_t i) const { return TypeOf(i) == SQLITE_TEXT; }

  // The argument; a view lives until the call ends.
  std::int64_t Integer(std::size_t i) const { return sqlite3_value_int64(arguments_[i]); }
  double Real(std::size_t i) const { return Finite(sqlite3_value_double(arguments_[i])); }
  std::string_view Utf8(std::size_t i) const;

  sqlite3_value* Argument(std::size_t i) const { return arguments_[i]; }

  // The same, zero-terminated: the names of types and date parts that the emitter writes.
  const char* Name(std::size_t i) const;

  // What was bound as a pointer of that type, or nullptr.
  void* Pointer(std::size_t i, const char* type) const {
    return sqlite3_value_pointer(arguments_[i], type);
  }

  void Return(std::int64_t number) { sqlite3_result_int64(context_, number); }
  void Return(double number) { sqlite3_result_double(context_, Finite(number)); }
  void Return(std::string_view text);
  void ReturnNull() { sqlite3_result_null(context_); }
  void ReturnArgument(std::size_t i) { sqlite3_result_value(context_, arguments_[i]); }

  sqlite3_context* context() const { return context_; }
  FunctionState& state() const { return state_; }

 private:
  int TypeOf(std::size_t i) const { return sqlite3_value_type(arguments_[i]); }

  sqlite3_context* context_;
  std::span<sqlite3_value*> arguments_;
  FunctionState& state_;
};

// When a function may be evaluated.
enum class Purity {
  kPure,         // the same arguments give the same result
  kStaysInPlace  // never moved out of the branch that it stands in, never evaluated only once
};

// A registered function. It throws SqlError; the caller turns that into the statement's error.
struct FunctionRow {
  const char* name;
  int least_arguments;
  int most_arguments;
  // That many arguments in front are checked: when one of them is NULL, so is the result.
  int null_arguments;
  void (*function)(Call& call);
  Purity purity = Purity::kPure;
};

std::span<const FunctionRow> CheckFunctions();
std::span<const FunctionRow> ConversionFunctions();
std::span<const FunctionRow> DateFunctions();
std::span<const FunctionRow> ExactFunctions();
std::span<const FunctionRow> NumberFunctions();
std::span<const FunctionRow> TextFunctions();

// The units of a decimal or of money as the storage keeps them, and the other way round.
// `precision` is the type's (exact.h).
Int128 UnitsOf(sqlite3_value* value) noexcept;
void ReturnUnits(sqlite3_context* context, Int128 units, int precision) noexcept;

// The integer type of that name.
TypeKind TypeOfInteger(const char* name);

// Calls `work`, which gives an aggregate its result; what it throws becomes the statement's error.
// The function's user data is its FunctionState.
template <typename Work>
void RaiseInStatement(sqlite3_context* context, Work&& work) noexcept {
  try {
    work();
  } catch (SqlError& error) {
    sqlite3_result_error(context, error.message.data(), static_cast<int>(error.message.size()));
    static_cast<FunctionState*>(sqlite3_user_data(context))->Keep(std::move(error));
  } catch (const std::exception&) {
    sqlite3_result_error_nomem(context);
  }
}

// Registers the aggregates of decimals and money. Returns SQLite's result. `state` outlives `db`.
int RegisterSums(sqlite3* db, FunctionState& state);

// Registers the aggregate t_group and the table t_groups. Returns SQLite's result. `state` outlives
// `db`.
int RegisterGrouping(sqlite3* db, FunctionState& state);

}  // namespace ledgerwick::tsql
