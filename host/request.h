// A request: one use of one report, as a JSON file describes it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "component/class_table.h"
#include "frame/text.h"
#include "frame/value.h"
#include "host/json_document.h"

namespace ledgerwick {

// One filter of the dialogue, as the user filled it in.
struct FilterItem {
  Text Name;
  Text strcaption;
  Value varValue;
  Value varValue2;
  std::optional<Text> strSqlString;  // absent: the host words it from Name and the values
};

// A list or an object that stands in a request as a filter's value: no report can read it.
struct JsonValue final : OpaqueValue {
  explicit JsonValue(JsonNode value) : node(std::move(value)) {}

  JsonNode node;
};

// What the host's login object has; an absent member is error 438 for whoever asks.
struct LoginMembers {
  std::optional<Value> CurDate;
  std::optional<Value> cAcc_Id;
};

// A row of a canned recordset: columns and their values.
using CannedRow = std::vector<std::pair<Text, Value>>;

// The rows that the recorder gives for every query that contains `match`.
struct CannedRecordset {
  Text match;
  std::vector<CannedRow> rows;
};

// The recorder's operation that fails, counted from 0, and its error.
struct PlannedFailure {
  std::int64_t index = 0;
  std::int32_t number = 0;
  Text description;
};

struct Request {
  const ClassInfo* report = nullptr;  // never null after ParseRequest
  Text ReportTitle;
  std::optional<Text> machine;  // replaces the computer's name
  Text connectionString;
  std::optional<std::vector<FilterItem>> filters{std::in_place};  // nullopt: no filter set
  std::optional<LoginMembers> login;
  std::vector<CannedRecordset> recordsets;
  std::optional<PlannedFailure> fail_at;
};

// Reads a request. `file_name` stands in messages. Throws FileError with the position of whatever
// is wrong: syntax, an unknown or doubled key, a value of the wrong type, an unknown class, a login
// date that the calendar does not have.
Request ParseRequest(std::string_view utf8, std::string_view file_name);

// True when `name` begins like the name by which hosts create a class, "Ledgerwick.".
bool HasProgIdPrefix(TextView name) noexcept;

// The class of that name, with or without "Ledgerwick." before it, letter case aside; or nullptr.
const ClassInfo* FindReportClass(TextView name) noexcept;

// The names of all report classes.
std::vector<std::string> ClassNames();

// "unknown class "x"; did you mean "y"?" for a name that no class has.
std::string UnknownClassMessage(std::string_view name);

}  // namespace ledgerwick
