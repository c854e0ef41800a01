#include "odbc/diagnostics.h"

#include <optional>
#include <string>
#include <utility>

namespace ledgerwick::odbc {
namespace {

constexpr const char16_t* kSource = u"ODBC";

// What drivers for SQL Server tell beyond the standard, where they do.
constexpr SQLSMALLINT kServerState = -1150;
constexpr SQLSMALLINT kSeverity = -1151;
constexpr SQLSMALLINT kProcedure = -1153;
constexpr SQLSMALLINT kLine = -1154;

constexpr std::int32_t kLeastResourceSeverity = 17;

std::int32_t NumberField(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT record,
                         SQLSMALLINT field) {
  // Told the room in bytes, since not every driver takes the standard's word for "a number".
  SQLINTEGER number[2] = {};
  SQLSMALLINT length = 0;
  const SQLRETURN result =
      SQLGetDiagFieldW(type, handle, record, field, number, sizeof number, &length);
  return Succeeded(result) && number[0] > 0 ? number[0] : 0;
}

std::optional<Text> TextField(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT record,
                              SQLSMALLINT field) {
  char16_t text[300] = {};
  SQLSMALLINT length = 0;
  if (!Succeeded(SQLGetDiagFieldW(type, handle, record, field, text, sizeof text, &length))) {
    return std::nullopt;
  }
  return Text(TextView(text, std::char_traits<char16_t>::length(text)));
}

// The number by which ADO would tell the error: by the server's number where it decides, as the
// embedded database does it, else by the standard's class of errors.
std::int32_t ResultCode(const Diagnostic& diagnostic) {
  static constexpr struct {
    std::int32_t native;
    std::int32_t code;
  } kCodes[] = {
      {208, kErrorNoTable},     {3701, kErrorNoTable},    {220, kErrorArithmetic},
      {232, kErrorArithmetic},  {244, kErrorArithmetic},  {248, kErrorArithmetic},
      {517, kErrorArithmetic},  {535, kErrorArithmetic},  {3623, kErrorArithmetic},
      {8115, kErrorArithmetic}, {8134, kErrorArithmetic}, {8152, kErrorArithmetic},
      {2628, kErrorArithmetic}, {234, kErrorConversion},  {235, kErrorConversion},
      {241, kErrorConversion},  {242, kErrorConversion},  {245, kErrorConversion},
      {8114, kErrorConversion}, {515, kErrorIntegrity},   {547, kErrorIntegrity},
      {2601, kErrorIntegrity},  {2627, kErrorIntegrity},
  };
  for (const auto& [native, code] : kCodes) {
    if (native == diagnostic.native) return code;
  }
  if (diagnostic.severity >= kLeastResourceSeverity || diagnostic.IsConnectionFailure() ||
      diagnostic.state.starts_with(u"HY") || diagnostic.state.starts_with(u"IM")) {
    return kErrorFailed;
  }
  return kErrorSyntaxOrAccess;
}

}  // namespace

std::vector<Diagnostic> ReadDiagnostics(SQLSMALLINT type, SQLHANDLE handle) {
  std::vector<Diagnostic> diagnostics;
  Text message(1024, u'\0');
  for (SQLSMALLINT record = 1; handle != nullptr; ++record) {
    char16_t state[6] = {};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    const auto room = static_cast<SQLSMALLINT>(message.size());
    const SQLRETURN result = SQLGetDiagRecW(type, handle, record, Wide(state), &native,
                                            Wide(message.data()), room, &length);
    if (!Succeeded(result)) break;
    if (length >= room && room < 16384) {
      message.resize(16384);
      --record;  // once more, whole
      continue;
    }
    Diagnostic& diagnostic = diagnostics.emplace_back();
    diagnostic.state = state;
    diagnostic.native = native;
    diagnostic.text = WithoutPrefixes(message.c_str());
    diagnostic.severity = NumberField(type, handle, record, kSeverity);
    diagnostic.server_state = NumberField(type, handle, record, kServerState);
    diagnostic.line = NumberField(type, handle, record, kLine);
    const std::optional<Text> procedure = TextField(type, handle, record, kProcedure);
    diagnostic.knows_procedure = procedure.has_value();
    diagnostic.procedure = procedure.value_or(Text());
    // FreeTDS has the severity where others have the state, and tells no state.
    if (diagnostic.severity == 0) std::swap(diagnostic.severity, diagnostic.server_state);
  }
  return diagnostics;
}

Text WithoutPrefixes(TextView message) {
  // A server's own text may begin with a bracket, too: its name is where the prefixes end.
  constexpr TextView kServer = u"[SQL Server]";
  TextView rest = message;
  while (rest.starts_with(u'[')) {
    const std::size_t end = rest.find(u']');
    if (end == TextView::npos) break;
    const bool is_server = rest.substr(0, end + 1) == kServer;
    rest.remove_prefix(end + 1);
    if (is_server) break;
  }
  return Text(rest);
}

DatabaseError ToError(const Diagnostic& diagnostic) {
  DatabaseError error(ResultCode(diagnostic), kSource, diagnostic.text);
  error.native = diagnostic.native;
  error.severity = diagnostic.severity;
  if (diagnostic.server_state > 0) error.state = diagnostic.server_state;
  error.line = diagnostic.line;
  error.procedure = diagnostic.procedure;
  return error;
}

}  // namespace ledgerwick::odbc
