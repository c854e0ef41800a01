#include "tsql/variables.h"

#include <algorithm>
#include <new>

#include "tsql/functions.h"

namespace ledgerwick::tsql {
namespace {

constexpr Type Int() {
  Type type;
  type.kind = TypeKind::Int;
  return type;
}

constexpr Type UnicodeText(std::int32_t length) {
  Type type;
  type.kind = TypeKind::NVarChar;
  type.length = length;
  return type;
}

constexpr std::int32_t kLongestMessage = 4000;
constexpr std::int32_t kLongestName = 128;

constexpr SystemVariableName kNames[] = {
    {u"@@ROWCOUNT", SystemVariable::RowCount, Int()},
    {u"@@ERROR", SystemVariable::Error, Int()},
    {u"@@TRANCOUNT", SystemVariable::TranCount, Int()},
    {u"@@NESTLEVEL", SystemVariable::NestLevel, Int()},
    {u"ERROR_MESSAGE", SystemVariable::ErrorMessage, UnicodeText(kLongestMessage)},
    {u"ERROR_NUMBER", SystemVariable::ErrorNumber, Int()},
    {u"ERROR_SEVERITY", SystemVariable::ErrorSeverity, Int()},
    {u"ERROR_STATE", SystemVariable::ErrorState, Int()},
    {u"ERROR_PROCEDURE", SystemVariable::ErrorProcedure, UnicodeText(kLongestName)},
    {u"ERROR_LINE", SystemVariable::ErrorLine, Int()},
};
static_assert(std::size(kNames) == kSystemVariables);

}  // namespace

const SystemVariableName* FindSystemVariable(TextView name) noexcept {
  const auto* const found =
      std::find_if(std::begin(kNames), std::end(kNames),
                   [&](const SystemVariableName& known) { return EqualText(known.name, name); });
  return found == std::end(kNames) ? nullptr : found;
}

void Variables::Bind(sqlite3_stmt* statement) {
  const int count = sqlite3_bind_parameter_count(statement);
  for (int i = kSystemVariables + 1; i <= count; ++i) {
    // A number that the statement leaves out has no name.
    if (sqlite3_bind_parameter_name(statement, i) == nullptr) continue;
    const SqliteValue& value = (*this)[i - 1];
    if (value) {
      CheckBound(sqlite3_bind_value(statement, i, value.get()));
    } else {
      sqlite3_bind_null(statement, i);
    }
  }
}

void Variables::BindLive(sqlite3_stmt* statement, std::int32_t slot) {
  sqlite3_bind_pointer(statement, slot + 1, &(*this)[slot], kVariablePointer, nullptr);
}

std::string_view TextOf(const SqliteValue& value) {
  if (!value) return {};
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value.get()));
  if (text == nullptr) throw std::bad_alloc();
  return {text, static_cast<std::size_t>(sqlite3_value_bytes(value.get()))};
}

std::int64_t IntegerOf(const SqliteValue& value) {
  return value ? sqlite3_value_int64(value.get()) : 0;
}

SqliteValue CopyValue(sqlite3_stmt* row, int column) {
  if (sqlite3_column_type(row, column) == SQLITE_FLOAT) Finite(sqlite3_column_double(row, column));
  sqlite3_value* value = sqlite3_column_value(row, column);
  if (sqlite3_value_type(value) == SQLITE_NULL) return nullptr;
  SqliteValue copy(sqlite3_value_dup(value));
  if (!copy) throw std::bad_alloc();
  return copy;
}

}  // namespace ledgerwick::tsql
