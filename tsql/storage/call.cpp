#include "tsql/functions/call.h"

#include <sqlite3.h>

#include <new>

#include "tsql/storage/aggregates.h"
#include "tsql/storage/sqlite_value.h"
#include "tsql/values/convert.h"

namespace ledgerwick::tsql {

bool Call::IsNull(std::size_t i) const { return sqlite3_value_type(arguments_[i]) == SQLITE_NULL; }
bool Call::IsInteger(std::size_t i) const {
  return sqlite3_value_type(arguments_[i]) == SQLITE_INTEGER;
}
bool Call::IsText(std::size_t i) const { return sqlite3_value_type(arguments_[i]) == SQLITE_TEXT; }
bool Call::IsBytes(std::size_t i) const { return sqlite3_value_type(arguments_[i]) == SQLITE_BLOB; }

std::int64_t Call::Integer(std::size_t i) const { return sqlite3_value_int64(arguments_[i]); }
double Call::Real(std::size_t i) const { return Finite(sqlite3_value_double(arguments_[i])); }

std::string_view Call::Bytes(std::size_t i) const {
  const auto* bytes = static_cast<const char*>(sqlite3_value_blob(arguments_[i]));
  const auto size = static_cast<std::size_t>(sqlite3_value_bytes(arguments_[i]));
  if (bytes == nullptr && size > 0) throw std::bad_alloc();
  return {bytes == nullptr ? "" : bytes, size};
}

AnyValue Call::Any(std::size_t i) const { return AnyOf(arguments_[i]); }

std::string_view Call::Utf8(std::size_t i) const {
  // As a blob it need not be zero-terminated, for which SQLite would copy most columns.
  if (IsText(i)) return Bytes(i);
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

Int128 Call::Units(std::size_t i) const noexcept { return UnitsOf(arguments_[i]); }

const KeptBetweenCalls* Call::Kept(int i) const {
  return static_cast<const KeptBetweenCalls*>(sqlite3_get_auxdata(context_, i));
}

void Call::Keep(int i, std::unique_ptr<KeptBetweenCalls> kept) {
  sqlite3_set_auxdata(context_, i, kept.release(), [](void* data) {
    std::default_delete<KeptBetweenCalls>()(static_cast<KeptBetweenCalls*>(data));
  });
}

void Call::Return(std::int64_t number) { sqlite3_result_int64(context_, number); }
void Call::Return(double number) { sqlite3_result_double(context_, Finite(number)); }
void Call::ReturnNull() { sqlite3_result_null(context_); }
void Call::ReturnArgument(std::size_t i) { sqlite3_result_value(context_, arguments_[i]); }

void Call::ReturnVariable(std::size_t i) {
  const auto* variable =
      static_cast<const SqliteValue*>(sqlite3_value_pointer(arguments_[i], kVariablePointer));
  if (variable == nullptr || !*variable) return ReturnNull();
  sqlite3_result_value(context_, variable->get());
}

void Call::ReturnUnits(Int128 units, int precision) noexcept {
  tsql::ReturnUnits(context_, units, precision);
}

void Call::ReturnBytes(std::span<const unsigned char> bytes) {
  sqlite3_result_blob(context_, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
}
void Call::ReturnBytes(std::string_view bytes) {
  sqlite3_result_blob64(context_, bytes.data() == nullptr ? "" : bytes.data(), bytes.size(),
                        SQLITE_TRANSIENT);
}

}  // namespace ledgerwick::tsql
