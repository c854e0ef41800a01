#include "tests/inventory/case_traces.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "host/trace.h"

namespace ledgerwick::testing {
namespace {

using Json = nlohmann::ordered_json;

// Characters that stay before and after a difference, to show where it stands.
constexpr std::size_t kContext = 40;

Json Merged(Json request, const Json& changes) {
  for (const auto& [key, value] : changes.items()) {
    if (key == "case") continue;
    if (value.is_null() && key != "filters") {
      request.erase(key);
    } else {
      request[key] = value;
    }
  }
  return request;
}

std::string Elided(TextView text) { return "[" + std::to_string(text.size()) + "]"; }

// `sql` with what it has in common with `model` at both ends as a number of characters.
std::string Against(TextView model, TextView sql) {
  const auto common = [](auto a, auto a_end, auto b, auto b_end) {
    return static_cast<std::size_t>(std::mismatch(a, a_end, b, b_end).first - a);
  };
  std::size_t front = common(sql.begin(), sql.end(), model.begin(), model.end());
  front = front > kContext ? front - kContext : 0;
  const TextView sql_rest = sql.substr(front);
  const TextView model_rest = model.substr(front);
  std::size_t back =
      common(sql_rest.rbegin(), sql_rest.rend(), model_rest.rbegin(), model_rest.rend());
  back = back > kContext ? back - kContext : 0;
  const TextView middle = sql_rest.substr(0, sql_rest.size() - back);
  return (front > 0 ? Elided(sql.substr(0, front)) : "") + ToUtf8(middle) +
         (back > 0 ? Elided(sql_rest.substr(middle.size())) : "");
}

// Writes statements: the first of its kind in full with a number, what is like it by its difference
// from that number.
class StatementWriter {
 public:
  std::string Write(const Text& sql) {
    std::string best;
    for (std::size_t i = 0; i < full_.size(); ++i) {
      const std::string number = "#" + std::to_string(i + 1);
      if (full_[i] == sql) return number;
      const std::string difference = number + " " + Against(full_[i], sql);
      if (best.empty() || difference.size() < best.size()) best = difference;
    }
    const std::string whole = ToUtf8(sql);
    if (!best.empty() && best.size() < whole.size() / 2) return best;
    full_.push_back(sql);
    return "#" + std::to_string(full_.size()) + ": " + whole;
  }

 private:
  std::vector<Text> full_;
};

std::string LineOf(const Operation& operation, StatementWriter& statements) {
  if (const auto* execute = std::get_if<ExecuteOperation>(&operation)) {
    return (execute->ignore_errors ? "try " : "execute ") + statements.Write(execute->sql);
  }
  if (const auto* rows = std::get_if<RecordsetOperation>(&operation)) {
    return "rows of " + statements.Write(rows->sql);
  }
  if (const auto* open = std::get_if<OpenOperation>(&operation)) {
    return (open->origin == ConnectionOrigin::Own ? "open own " : "open ") +
           ToUtf8(open->connection_string);
  }
  if (const auto* message = std::get_if<MessageOperation>(&operation)) {
    return "message: " + ToUtf8(message->text) + " | " + ToUtf8(message->title) + " | " +
           std::to_string(message->style);
  }
  return std::holds_alternative<CloseOperation>(operation) ? "close" : "another operation";
}

std::string ResultOf(const Trace& trace) {
  if (const bool* built = std::get_if<bool>(&trace.result)) return *built ? "true" : "false";
  const auto& error = std::get<DatabaseError>(trace.result);
  return "error " + std::to_string(error.number) + ", " + ToUtf8(error.description);
}

std::string TraceText(const Trace& trace, StatementWriter& statements) {
  std::string text;
  for (const Operation& operation : trace.operations) text += LineOf(operation, statements) + "\n";
  text += "result: " + ResultOf(trace) + "\n";
  if (trace.filters_after.empty()) return text;
  text += "groups:";
  for (const FilterAfter& filter : trace.filters_after) {
    text += " " + ToUtf8(filter.Name) + "=" + std::to_string(filter.LngGrouptoken);
  }
  return text + "\n";
}

}  // namespace

std::string TracesOfCases(const std::string& json, const std::string& file_name) {
  const Json file = Json::parse(json);
  std::string text;
  StatementWriter statements;
  for (const Json& changes : file.at("cases")) {
    const std::string request = Merged(file.at("request"), changes).dump();
    const Trace trace = TraceReport(ParseRequest(request, file_name));
    if (text.empty()) text = "table: " + ToUtf8(std::get<Text>(trace.table_name)) + "\n";
    text += "\n== " + changes.at("case").get<std::string>() + "\n" + TraceText(trace, statements);
  }
  return text;
}

}  // namespace ledgerwick::testing
