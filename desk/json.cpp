#include "desk/json.h"

namespace ledgerwick::desk {

Json FindingJson(const Finding& finding) {
  return {{"severity", ToUtf8(SeverityName(finding.severity))},
          {"code", ToUtf8(finding.code)},
          {"filter", finding.filter.empty() ? Json() : Json(ToUtf8(finding.filter))},
          {"text", ToUtf8(finding.what)},
          {"instead", ToUtf8(finding.remedy)},
          {"text_zh", ToUtf8(finding.what_zh)},
          {"instead_zh", ToUtf8(finding.remedy_zh)}};
}

Json ErrorJson(const DatabaseError& error, const Text& statement) {
  Json json = {{"text", ToUtf8(error.description)},
               {"number", error.native != 0 ? error.native : error.number}};
  if (error.line > 0) json["line"] = error.line;
  if (error.column > 0) json["column"] = error.column;
  if (!error.procedure.empty()) json["procedure"] = ToUtf8(error.procedure);
  if (!statement.empty()) json["statement"] = ToUtf8(statement);
  return json;
}

std::string Dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace ledgerwick::desk
