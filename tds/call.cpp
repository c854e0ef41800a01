#include "tds/call.h"

#include "tds/literal.h"

#include <algorithm>
#include <array>
#include <string>

namespace ledgerwick::tds {
namespace {

constexpr std::array<TextView, 16> kSystemCalls = {
    u"",
    u"sp_cursor",
    u"sp_cursoropen",
    u"sp_cursorprepare",
    u"sp_cursorexecute",
    u"sp_cursorprepexec",
    u"sp_cursorunprepare",
    u"sp_cursorfetch",
    u"sp_cursoroption",
    u"sp_cursorclose",
    u"sp_executesql",
    u"sp_prepare",
    u"sp_execute",
    u"sp_prepexec",
    u"sp_prepexecrpc",
    u"sp_unprepare",
};

SystemCall SystemCallOf(TextView name) noexcept {
  for (std::size_t i = 1; i < kSystemCalls.size(); ++i) {
    if (EqualText(kSystemCalls[i], name)) return static_cast<SystemCall>(i);
  }
  return SystemCall::None;
}

// What stands between two calls.
bool IsSeparator(std::uint8_t byte, Version version) noexcept {
  constexpr std::uint8_t kOld = 0x80;
  constexpr std::uint8_t kNew = 0xFF;
  constexpr std::uint8_t kNotExecuted = 0xFE;
  return version == Version::V71 ? byte == kOld : byte == kNew || byte == kNotExecuted;
}

Text Number(std::size_t number) {
  const std::string digits = std::to_string(number);
  return Text(digits.begin(), digits.end());
}

// What is written into a batch must be a variable's name and nothing else.
void CheckName(TextView name) {
  const bool is_name = name.size() > 1 && name[0] == u'@' &&
                       std::all_of(name.begin() + 1, name.end(), [](char16_t c) {
                         return c == u'_' || c == u'@' || c == u'#' || c == u'$' ||
                                (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') ||
                                (c >= u'a' && c <= u'z') || c >= 0x80;
                       });
  if (!is_name) throw ProtocolError("a parameter has a name that is none");
}

// The variable that parameter `i` is handed over in.
Text VariableOf(std::size_t i) { return u"@_p" + Number(i); }

}  // namespace

std::vector<Call> ParseCalls(std::string_view message, Version version) {
  constexpr std::uint16_t kByNumber = 0xFFFF;
  std::vector<Call> calls;
  for (std::string_view rest = message; !rest.empty();) {
    ByteReader reader(rest);
    Call call;
    const std::uint16_t length = reader.U16();
    if (length == kByNumber) {
      const std::uint16_t number = reader.U16();
      if (number == 0 || number >= kSystemCalls.size()) {
        throw ProtocolError("no procedure has the number " + std::to_string(number));
      }
      call.system = static_cast<SystemCall>(number);
      call.procedure = kSystemCalls[number];
    } else {
      call.procedure = reader.Units(length);
      call.system = SystemCallOf(call.procedure);
    }
    reader.U16();  // options, which ask for no more than less metadata
    for (;;) {
      if (reader.AtEnd()) {
        rest = {};
        break;
      }
      const std::string_view here = rest.substr(rest.size() - reader.left());
      if (IsSeparator(static_cast<std::uint8_t>(here[0]), version)) {
        rest = here.substr(1);
        break;
      }
      call.parameters.push_back(ReadParameter(reader));
    }
    calls.push_back(std::move(call));
  }
  return calls;
}

Text ComposeCall(TextView procedure, const std::vector<Parameter>& parameters, bool with_outcome) {
  Text batch = u"DECLARE @_p sysname = " + NationalLiteral(procedure) + u", @_r int";
  Text arguments;
  Text outcome = u" SELECT @_r AS [" + Text(kOutcome) + u"]";
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const Parameter& parameter = parameters[i];
    const Text variable = VariableOf(i);
    arguments += i == 0 ? u" " : u", ";
    if (!parameter.name.empty()) {
      CheckName(parameter.name);
      arguments.append(parameter.name).append(u" = ");
    }
    if (parameter.is_default) {
      arguments += u"DEFAULT";
      continue;
    }
    batch.append(u", ").append(variable).append(u" ").append(parameter.type);
    batch.append(u" = ").append(parameter.literal);
    arguments += variable;
    if (!parameter.output) continue;
    arguments += u" OUTPUT";
    outcome.append(u", ").append(variable);
  }
  batch.append(u" EXEC @_r = @_p").append(arguments);
  if (with_outcome) batch += outcome;
  return batch;
}

}  // namespace ledgerwick::tds
