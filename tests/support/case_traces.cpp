#include "tests/support/case_traces.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <regex>
#include <vector>

#include "host/trace.h"

namespace ledgerwick::testing {
namespace {

using Json = nlohmann::ordered_json;

// Characters that stay before and after a difference, to show where it stands.
constexpr std::size_t kContext = 40;

// From how many on, equal characters are written as a number of them.
constexpr std::size_t kManyCharacters = 20;

// `text` with "{x*300}" as 300 characters x.
std::string Expanded(std::string text) {
  static const std::regex repeat("\\{([^{}]+)\\*([0-9]+)\\}");
  for (std::smatch m; std::regex_search(text, m, repeat);) {
    std::string run;
    for (int i = std::stoi(m[2]); i > 0; --i) run += m[1];
    text = m.prefix().str() + run + m.suffix().str();
  }
  return text;
}

// The reverse of Expanded, with line breaks made visible.
std::string Brief(TextView text) {
  std::string brief;
  for (std::size_t at = 0, count = 0; at < text.size(); at += count) {
    const std::size_t end = std::min(text.find_first_not_of(text[at], at), text.size());
    const std::string one = ToUtf8(text.substr(at, 1));
    count = end - at < kManyCharacters ? 1 : end - at;
    if (count > 1) {
      brief += "{" + one + "*" + std::to_string(count) + "}";
    } else {
      brief += one == "\r" ? "\\r" : one == "\n" ? "\\n" : one;
    }
  }
  return brief;
}

// A filter given as ["Name", "varValue", "varValue2"], from the second on as far as they are set.
Json WholeFilter(const Json& filter) {
  if (!filter.is_array()) return filter;
  static constexpr const char* kMembers[] = {"Name", "varValue", "varValue2"};
  Json whole = Json::object();
  for (std::size_t i = 0; i < filter.size(); ++i) whole[kMembers[i]] = filter[i];
  return whole;
}

Json Merged(Json request, const Json& changes) {
  for (const auto& [key, value] : changes.items()) {
    if (key == "case") continue;
    if (value.is_null() && key != "filters") {
      request.erase(key);
    } else {
      request[key] = value;
    }
  }
  if (request.contains("filters")) {
    for (Json& filter : request["filters"]) filter = WholeFilter(filter);
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
  return (front > 0 ? Elided(sql.substr(0, front)) : "") + Brief(middle) +
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
    const std::string whole = Brief(sql);
    if (!best.empty() && best.size() < whole.size() / 2) return best;
    full_.push_back(sql);
    return "#" + std::to_string(full_.size()) + ": " + whole;
  }

 private:
  std::vector<Text> full_;
};

// Writes calls: the first in full, of others what differs from it.
class CallWriter {
 public:
  std::string Write(const CommandOperation& call) {
    if (first_.procedure.empty()) {
      first_ = call;
      std::string text = "call " + ToUtf8(call.procedure) + Warning(call);
      for (const CommandParameter& p : call.parameters) text += "\n " + Line(p);
      return text;
    }
    std::string text = "call" + Warning(call);
    if (call.procedure != first_.procedure) text += " " + ToUtf8(call.procedure);
    for (std::size_t i = 0; i < call.parameters.size(); ++i) {
      const std::string line = Line(call.parameters[i]);
      if (i >= first_.parameters.size() || line != Line(first_.parameters[i])) text += line;
    }
    return text;
  }

 private:
  static std::string Warning(const CommandOperation& call) {
    return call.type == kCommandStoredProcedure && call.timeout == 0 ? "" : " NOT AS A PROCEDURE";
  }
  static std::string Line(const CommandParameter& p) {
    return " " + ToUtf8(p.name) + " " + std::to_string(p.type) + "/" + std::to_string(p.size) +
           " |" + Brief(p.value) + "|";
  }

  CommandOperation first_;
};

// What the cases of a file have written so far.
struct Writers {
  StatementWriter statements;
  CallWriter calls;
  std::vector<std::string> usual;  // the operations of the first case, as a like one is written
  std::string usual_result;
};

const char* NameOf(ConnectionOrigin origin) {
  if (origin == ConnectionOrigin::New) return "";
  return origin == ConnectionOrigin::Own ? "own " : "host's ";
}

// Told only where they depart from what every report gives.
std::string Departing(std::int32_t options) {
  return options == kOptionUnspecified ? "" : " OPTIONS " + std::to_string(options);
}

struct LineOf {
  Writers& writers;

  std::string operator()(const OpenOperation& o) const {
    return std::string("open ") + NameOf(o.origin) + ToUtf8(o.connection_string) + ToUtf8(o.user) +
           ToUtf8(o.password) + Departing(o.options);
  }
  std::string operator()(const ExecuteOperation& o) const {
    return (o.ignore_errors ? "try " : "execute ") + writers.statements.Write(o.sql) +
           Departing(o.options);
  }
  std::string operator()(const RecordsetOperation& o) const {
    return "rows of " + writers.statements.Write(o.sql);
  }
  std::string operator()(const CommandOperation& o) const {
    return writers.calls.Write(o) + Departing(o.options);
  }
  std::string operator()(const BeepOperation&) const { return "beep"; }
  std::string operator()(const MessageOperation& o) const {
    return "message: " + Brief(o.text) + " | " + ToUtf8(o.title) + " | " + std::to_string(o.style);
  }
  std::string operator()(const CloseOperation&) const { return "close"; }
};

std::string ResultOf(const Trace& trace) {
  if (const bool* built = std::get_if<bool>(&trace.result)) return *built ? "true" : "false";
  const auto& error = std::get<DatabaseError>(trace.result);
  return "error " + std::to_string(error.number) + ", " + Brief(error.description);
}

// The groups that items have been put into, and the sub-title.
std::string HeadingOf(const Trace& trace) {
  std::string groups;
  bool any = false;
  for (const FilterAfter& filter : trace.filters_after) {
    any = any || filter.LngGrouptoken != 0;
    groups += " " + ToUtf8(filter.Name) + "=" + std::to_string(filter.LngGrouptoken);
  }
  std::string heading = any ? " | groups:" + groups : "";
  if (trace.sub_title) {
    const Text& sub_title = std::get<Text>(*trace.sub_title);
    if (!sub_title.empty()) heading += " | sub-title: |" + ToUtf8(sub_title) + "|";
  }
  return heading + "\n";
}

// What the report has written into items and left there.
std::string RewrittenItems(const Trace& trace, const Request& request) {
  std::string text;
  for (std::size_t i = 0; i < trace.filters_after.size(); ++i) {
    const FilterAfter& after = trace.filters_after[i];
    const std::string name = ToUtf8(after.Name);
    ReferenceFilter before(request.filters->at(i));
    if (before.strSqlString() != after.strSqlString) {
      text += name + " := |" + Brief(after.strSqlString) + "|\n";
    }
    if (!(before.varValue() == after.varValue)) {
      text += name + " has the value |" + Brief(after.varValue.ToText()) + "|\n";
    }
  }
  return text;
}

// What of `lines` is not as in `usual`, with its number: line by line where there are equally many,
// else what stands between the first and the last that differ.
std::string Differences(const std::vector<std::string>& usual,
                        const std::vector<std::string>& lines) {
  const bool same_count = usual.size() == lines.size();
  const std::size_t shorter = std::min(usual.size(), lines.size());
  std::size_t front = 0;
  while (front < shorter && lines[front] == usual[front]) ++front;
  std::size_t back = 0;
  while (front + back < shorter &&
         lines[lines.size() - 1 - back] == usual[usual.size() - 1 - back]) {
    ++back;
  }
  std::string text;
  for (std::size_t i = front; i < lines.size() - back; ++i) {
    if (!same_count || lines[i] != usual[i]) text += std::to_string(i + 1) + ". " + lines[i] + "\n";
  }
  return text;
}

std::string TraceText(const Trace& trace, const Request& request, Writers& writers) {
  std::vector<std::string> lines;
  for (const Operation& operation : trace.operations) {
    lines.push_back(std::visit(LineOf{writers}, operation));
  }
  const std::string result = ResultOf(trace);
  std::string text = HeadingOf(trace) + Differences(writers.usual, lines);
  if (result != writers.usual_result || lines.size() != writers.usual.size()) {
    text += "result after " + std::to_string(lines.size()) + ": " + result + "\n";
  }
  if (writers.usual.empty()) {
    for (const Operation& operation : trace.operations) {
      writers.usual.push_back(std::visit(LineOf{writers}, operation));
    }
    writers.usual_result = result;
  }
  return text + RewrittenItems(trace, request);
}

}  // namespace

std::vector<std::pair<std::string, Request>> RequestsOfCases(const std::string& json,
                                                             const std::string& file_name) {
  const Json file = Json::parse(json);
  std::vector<std::pair<std::string, Request>> requests;
  for (const Json& changes : file.at("cases")) {
    const std::string merged = Expanded(Merged(file.at("request"), changes).dump());
    requests.emplace_back(changes.at("case").get<std::string>(), ParseRequest(merged, file_name));
  }
  return requests;
}

std::string TracesOfCases(const std::string& json, const std::string& file_name) {
  std::string text;
  Writers writers;
  for (const auto& [name, request] : RequestsOfCases(json, file_name)) {
    const Trace trace = TraceReport(request);
    if (text.empty()) text = "table: " + ToUtf8(std::get<Text>(trace.table_name)) + "\n";
    text += "\n== " + name + TraceText(trace, request, writers);
  }
  return text;
}

}  // namespace ledgerwick::testing
