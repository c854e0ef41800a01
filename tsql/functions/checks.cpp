// Functions that pass a value on or fail the statement.
#include "tsql/base/characters.h"
#include "tsql/functions/function_table.h"

namespace ledgerwick::tsql {
namespace {

// t_nonzero(x): x, unless it is zero: what a division may divide by.
void NonZero(Call& call) {
  const bool zero = call.IsInteger(0) ? call.Integer(0) == 0 : call.Real(0) == 0;
  if (zero) throw errors::DivideByZero();
  call.ReturnArgument(0);
}

// t_notnull(x, column, table): x, unless it is null. For the column that is the storage's row
// number, which SQLite would invent.
void NotNull(Call& call) {
  if (call.IsNull(0)) {
    throw errors::NullNotAllowed(ToText(call.Utf8(1)), ToText(call.Utf8(2)), true);
  }
  call.ReturnArgument(0);
}

// t_variable(variable): what the variable holds just now.
void ReadVariable(Call& call) { call.ReturnVariable(0); }

// t_object_id(name[, kind]): 1 for the name of an object, else NULL
void ObjectId(Call& call) {
  const bool exists =
      call.state().object_exists && call.state().object_exists(ToText(call.Utf8(0)));
  if (!exists) return call.ReturnNull();
  call.Return(std::int64_t{1});
}

// t_error_512(): a subquery gave more than one row.
void TooManyRows(Call&) { throw errors::MoreThanOneRow(); }

constexpr FunctionRow kFunctions[] = {
    {"t_nonzero", 1, 1, 1, NonZero},
    {"t_notnull", 3, 3, 0, NotNull},
    {"t_variable", 1, 1, 0, ReadVariable, Purity::kStaysInPlace},
    {"t_object_id", 1, 2, 1, ObjectId, Purity::kStaysInPlace},
    {"t_error_512", 0, 0, 0, TooManyRows, Purity::kStaysInPlace},
};

}  // namespace

std::span<const FunctionRow> CheckFunctions() { return kFunctions; }

}  // namespace ledgerwick::tsql
