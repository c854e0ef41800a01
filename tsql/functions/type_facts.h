// What the catalogue tells of types and objects in numbers that clients know.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "frame/text.h"
#include "tsql/base/types.h"

namespace ledgerwick::tsql {

// A type as the server's own catalogue and ODBC describe it.
struct TypeFacts {
  std::string name;            // without a length
  std::int64_t id = 0;         // system_type_id
  std::int64_t user_id = 0;    // user_type_id
  std::int64_t bytes = 0;      // -1 for max
  std::int64_t precision = 0;  // as sys.columns tells it: 0 for text
  std::int64_t scale = 0;
  std::int64_t odbc = 0;         // ODBC's number of the type
  std::int64_t odbc_size = 0;    // ODBC's precision, or the length in characters
  std::int64_t odbc_length = 0;  // ODBC's length in bytes
  std::optional<std::int64_t> odbc_scale;
  std::optional<std::int64_t> radix;
  std::optional<std::int64_t> characters;  // of text; -1 for max
  std::int64_t old_id = 0;                 // the type in sp_columns' last column

  // The number of that name ("id", "odbc_size"), or nothing.
  std::optional<std::int64_t> Number(std::string_view name) const;
};

TypeFacts FactsOf(const Type& type);

// An int.
Type MakeInt() noexcept;

// The number of an object of that name, without regard to case: the same in every process and for
// as long as the name stays.
std::int64_t ObjectKey(TextView name);

}  // namespace ledgerwick::tsql
