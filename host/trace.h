// Performs a report against the recorder and prints what it did.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "frame/error.h"
#include "host/recorder.h"
#include "host/reference_host.h"
#include "host/request.h"

namespace ledgerwick {

// The class is known, but this version has no such report.
class ReportMissing : public std::runtime_error {
 public:
  explicit ReportMissing(const ClassInfo& info);
};

// What a member gave, or the error that it raised.
template <typename T>
using Outcome = std::variant<T, DatabaseError>;

// A filter item as the report left it.
struct FilterAfter {
  Text Name;
  std::int32_t LngGrouptoken = 0;
  Value varValue;
  Text strSqlString;
};

// What a report did.
struct Trace {
  Outcome<Text> table_name;
  Outcome<bool> result;
  std::optional<Outcome<Text>> sub_title;  // absent where the class has none
  std::vector<Operation> operations;
  std::vector<FilterAfter> filters_after;
};

// Asks the report for its table's name, has it build the table, and asks for the subtitle where the
// class has one. Throws ReportMissing.
Trace TraceReport(const Request& request);

// True when the report said that it has built its table and raised no error.
bool Succeeded(const Trace& trace) noexcept;

// The trace as JSON in UTF-8, with a line break at the end.
std::string ToJson(const Trace& trace);

}  // namespace ledgerwick
