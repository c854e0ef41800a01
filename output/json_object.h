// A row as a JSON object.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/result_sink.h"

namespace ledgerwick {

// Appends `utf8` as a JSON string.
void AppendJsonString(std::string& json, std::string_view utf8);

// Turns rows of one result set into objects, the columns in order. Null is null, bits are true and
// false, numbers have the shortest digits that read back exactly, a decimal all its digits. Keys
// are UniqueNames of the columns.
class JsonObjects {
 public:
  JsonObjects() = default;
  explicit JsonObjects(std::span<const ResultColumn> columns);

  // Appends the object of `values`. With `for_terminal`, control characters that JSON lets stand
  // are escaped too.
  void Append(std::string& json, std::span<const Value> values, bool for_terminal) const;

 private:
  std::vector<std::string> keys_;  // quoted, with the colon
  std::vector<ColumnKind> kinds_;
};

}  // namespace ledgerwick
