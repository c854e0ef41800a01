// Functions that pass a value on or fail the statement.
#include "tsql/base/characters.h"
#include "tsql/functions/function_table.h"

namespace ledgerwick::tsql {
namespace {

// t_notnull(x, column, table, inserted): x, unless it is null. For the column that is the storage's
// row number, which SQLite would invent.
void NotNull(Call& call) {
  if (call.IsNull(0)) {
    throw errors::NullNotAllowed(ToText(call.Utf8(1)), ToText(call.Utf8(2)), call.Integer(3) != 0);
  }
  call.ReturnArgument(0);
}

// t_variable(variable): what the variable holds just now.
void ReadVariable(Call& call) { call.ReturnVariable(0); }

// t_object_id(name[, kind]): the number of the object, NULL for none
void ObjectId(Call& call) {
  if (!call.state().object_id) return call.ReturnNull();
  const std::optional<std::int64_t> id = call.state().object_id(ToText(call.Utf8(0)));
  if (!id) return call.ReturnNull();
  call.Return(*id);
}

// t_error_512(): a subquery gave more than one row.
void TooManyRows(Call&) { throw errors::MoreThanOneRow(); }

// t_newid(): another one for every row
void NewId(Call& call) { call.ReturnBytes(NewIdentifier()); }

// t_rowversion(number): the eight bytes that a row's version is kept in
void RowVersion(Call& call) {
  const std::int64_t number = call.Integer(0);
  std::string bytes;
  for (int shift = 56; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
  call.ReturnBytes(bytes);
}

constexpr FunctionSignature kFunctions[] = {
    {u"object_id", FunctionId::Scalar, 1, 2, "tt", FunctionResult::Int, ObjectId, 1,
     Purity::kStaysInPlace},
    {u"newid", FunctionId::NewId, 0, 0, "", FunctionResult::Own, NewId, 0, Purity::kStaysInPlace},
};

constexpr FunctionRow kHelpers[] = {
    {"t_rowversion", 1, 1, 1, RowVersion},
    {"t_notnull", 4, 4, 0, NotNull},
    {"t_variable", 1, 1, 0, ReadVariable, Purity::kStaysInPlace},
    {"t_error_512", 0, 0, 0, TooManyRows, Purity::kStaysInPlace},
};

}  // namespace

std::span<const FunctionSignature> CheckFunctions() { return kFunctions; }
std::span<const FunctionRow> CheckHelpers() { return kHelpers; }

}  // namespace ledgerwick::tsql
