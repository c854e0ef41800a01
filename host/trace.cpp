#include "host/trace.h"

#include <nlohmann/json.hpp>

#include "frame/connection_string.h"
#include "frame/report_provider.h"

namespace ledgerwick {
namespace {

using Json = nlohmann::ordered_json;

template <typename T, typename Ask>
Outcome<T> Try(Ask ask) {
  try {
    return ask();
  } catch (const DatabaseError& error) {
    return error;
  }
}

Json ErrorJson(const DatabaseError& error) {
  return {{"error",
           {{"number", error.number},
            {"description", ToUtf8(error.description)},
            {"source", ToUtf8(error.source)},
            {"helpFile", ToUtf8(error.help_file)}}}};
}

Json OutcomeJson(const Outcome<Text>& outcome) {
  if (const auto* text = std::get_if<Text>(&outcome)) return ToUtf8(*text);
  return ErrorJson(std::get<DatabaseError>(outcome));
}
Json OutcomeJson(const Outcome<bool>& outcome) {
  if (const auto* done = std::get_if<bool>(&outcome)) return *done;
  return ErrorJson(std::get<DatabaseError>(outcome));
}

Json ValueJson(const Value& value);

Json NodeJson(const JsonNode& node) {
  if (node.kind == JsonNode::Kind::Scalar) return ValueJson(node.value);
  Json json = node.kind == JsonNode::Kind::List ? Json::array() : Json::object();
  for (const JsonNode& item : node.items) json.push_back(NodeJson(item));
  for (const JsonMember& member : node.members) json[member.key] = NodeJson(member.node);
  return json;
}

Json ValueJson(const Value& value) {
  if (const auto opaque = std::dynamic_pointer_cast<const JsonValue>(value.Opaque())) {
    return NodeJson(opaque->node);
  }
  if (value.IsEmpty() || value.IsNull()) return nullptr;
  if (const auto* b = value.If<bool>()) return *b;
  if (const auto* i = value.If<std::int64_t>()) return *i;
  if (const auto* d = value.If<double>()) return *d;
  return ToUtf8(value.ToText());
}

const char* OriginName(ConnectionOrigin origin) {
  switch (origin) {
    case ConnectionOrigin::New:
      return "new";
    case ConnectionOrigin::Host:
      return "host";
    case ConnectionOrigin::Own:
      break;
  }
  return "own";
}

// Told only where they depart from what every report gives.
void AddOptions(Json& json, std::int32_t options) {
  if (options != kOptionUnspecified) json["options"] = options;
}

struct OperationJson {
  Json operator()(const OpenOperation& o) const {
    Json json = {{"op", "open"},
                 {"connection", OriginName(o.origin)},
                 {"connectionString", ToUtf8(WithoutPasswords(o.connection_string))}};
    if (!o.user.empty()) json["user"] = ToUtf8(o.user);
    if (!o.password.empty()) json["password"] = "***";
    AddOptions(json, o.options);
    return json;
  }
  Json operator()(const ExecuteOperation& o) const {
    Json json = {{"op", "execute"}, {"sql", ToUtf8(o.sql)}, {"ignoreErrors", o.ignore_errors}};
    AddOptions(json, o.options);
    return json;
  }
  Json operator()(const RecordsetOperation& o) const {
    return {{"op", "recordset"}, {"sql", ToUtf8(o.sql)}};
  }
  Json operator()(const CommandOperation& o) const {
    Json parameters = Json::array();
    for (const CommandParameter& p : o.parameters) {
      parameters.push_back({{"name", ToUtf8(p.name)},
                            {"type", p.type},
                            {"size", p.size},
                            {"value", ToUtf8(p.value)}});
    }
    Json json = {{"op", "command"}, {"procedure", ToUtf8(o.procedure)}};
    // Told only where it departs from what every report does: a procedure, without a time limit.
    if (o.type != kCommandStoredProcedure) json["type"] = o.type;
    if (o.timeout != 0) json["timeout"] = o.timeout;
    json["parameters"] = std::move(parameters);
    AddOptions(json, o.options);
    return json;
  }
  Json operator()(const BeepOperation&) const { return {{"op", "beep"}}; }
  Json operator()(const MessageOperation& o) const {
    return {{"op", "message"},
            {"text", ToUtf8(o.text)},
            {"title", ToUtf8(o.title)},
            {"style", o.style}};
  }
  Json operator()(const CloseOperation&) const { return {{"op", "close"}}; }
};

std::vector<FilterAfter> LookAtFilters(ReferenceFilterSet* set) {
  std::vector<FilterAfter> filters;
  if (!set) return filters;
  for (std::int32_t i = 1; i <= set->Count(); ++i) {
    const std::shared_ptr<ReportFilter> item = set->Item(i);
    filters.push_back(
        {item->Name(), item->LngGrouptoken(), item->varValue(), item->strSqlString()});
  }
  return filters;
}

}  // namespace

ReportMissing::ReportMissing(const ClassInfo& info)
    : std::runtime_error("this version has no " + ToUtf8(info.report) + " (" + ToUtf8(info.name) +
                         ')') {}

Trace TraceReport(const Request& request) {
  const ClassInfo& info = *request.report;
  if (!info.factory) throw ReportMissing(info);
  Recorder recorder(request);
  const std::unique_ptr<ReportProvider> report = info.factory(recorder);
  const std::shared_ptr<ReferenceFilterSet> set = Furnish(*report, request);
  report->mconn = recorder.HostConnection();
  Trace trace;
  trace.table_name = Try<Text>([&] { return report->TempTablename(); });
  trace.result = Try<bool>([&] { return recorder.Perform(*report); });
  if (info.Has(Member::strSubTitle)) {
    trace.sub_title = Try<Text>([&] { return report->strSubTitle(); });
  }
  trace.operations = recorder.operations();
  trace.filters_after = LookAtFilters(set.get());
  return trace;
}

bool Succeeded(const Trace& trace) noexcept {
  const bool* done = std::get_if<bool>(&trace.result);
  return done != nullptr && *done && std::holds_alternative<Text>(trace.table_name) &&
         (!trace.sub_title || std::holds_alternative<Text>(*trace.sub_title));
}

std::string ToJson(const Trace& trace) {
  Json json;
  json["TempTablename"] = OutcomeJson(trace.table_name);
  json["result"] = OutcomeJson(trace.result);
  json["strSubTitle"] = trace.sub_title ? OutcomeJson(*trace.sub_title) : Json();
  json["ops"] = Json::array();
  for (const Operation& operation : trace.operations) {
    json["ops"].push_back(std::visit(OperationJson{}, operation));
  }
  json["filtersAfter"] = Json::array();
  for (const FilterAfter& filter : trace.filters_after) {
    json["filtersAfter"].push_back({{"Name", ToUtf8(filter.Name)},
                                    {"LngGrouptoken", filter.LngGrouptoken},
                                    {"varValue", ValueJson(filter.varValue)},
                                    {"strSqlString", ToUtf8(filter.strSqlString)}});
  }
  return json.dump(2) + '\n';
}

}  // namespace ledgerwick
