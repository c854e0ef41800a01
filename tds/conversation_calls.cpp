// Calls of procedures, and statements that were prepared.
#include <algorithm>
#include <utility>

#include "tds/conversation.h"
#include "tds/literal.h"
#include "tds/server_error.h"

namespace ledgerwick::tds {
namespace {

constexpr std::size_t kMostPrepared = 4096;

Text FromAscii(std::string_view text) { return Text(text.begin(), text.end()); }

Parameter TextParameter(Text text) {
  Parameter parameter;
  parameter.type = u"nvarchar(max)";
  parameter.literal = NationalLiteral(text);
  parameter.text = std::move(text);
  return parameter;
}

// The text of the statement and the declarations of its parameters.
constexpr std::size_t kStatement = 0;
constexpr std::size_t kDeclarations = 1;
constexpr std::size_t kTexts = 2;

}  // namespace

const Parameter& Conversation::Required(const Call& call, std::size_t i, TextView name) {
  if (i < call.parameters.size()) return call.parameters[i];
  throw ServerError(201, 16,
                    u"Procedure or function '" + call.procedure + u"' expects parameter '" +
                        Text(name) + u"', which was not supplied.");
}

void Conversation::AnswerCalls(std::string_view data) {
  std::vector<Call> calls;
  try {
    calls = ParseCalls(WithoutHeaders(data), version_);
  } catch (const DatabaseError& error) {
    ResultStream results = NewStream(DoneKind::InProcedure);
    results.Error(error);
    results.EndCall(false);
  }
  for (std::size_t i = 0; i < calls.size(); ++i) {
    ResultStream results = NewStream(DoneKind::InProcedure);
    try {
      Execute(calls[i], results);
    } catch (const DatabaseError& error) {
      results.Error(error);
    }
    results.EndCall(i + 1 < calls.size());
  }
  packets_.EndAnswer();
}

void Conversation::Execute(const Call& call, ResultStream& results) {
  switch (call.system) {
    case SystemCall::None:
      CallProcedure(call, results);
      return;
    case SystemCall::ExecuteSql: {
      Prepared prepared;
      prepared.statement = Required(call, kStatement, u"@statement").text;
      if (call.parameters.size() > kDeclarations) {
        prepared.declarations = TranslateDeclarations(call.parameters[kDeclarations].text);
      }
      ExecutePrepared(call, prepared, std::min(call.parameters.size(), kTexts), results);
      return;
    }
    case SystemCall::Prepare: {
      const std::int32_t handle = Prepare(call);
      DescribePrepared(prepared_.at(handle), results);
      GiveHandle(call, handle, results);
      return;
    }
    case SystemCall::PrepareExecute: {
      constexpr std::size_t kFirst = 3;
      const std::int32_t handle = Prepare(call);
      ExecutePrepared(call, prepared_.at(handle), std::min(call.parameters.size(), kFirst),
                      results);
      GiveHandle(call, handle, results);
      return;
    }
    case SystemCall::Execute:
      ExecutePrepared(call, FindPrepared(call)->second, 1, results);
      return;
    case SystemCall::Unprepare:
      prepared_.erase(FindPrepared(call));
      results.Tokens().ReturnStatus(0);
      return;
    case SystemCall::PrepareExecuteCall:
      throw ServerError(2812, 16, u"Could not find stored procedure '" + call.procedure + u"'.");
    case SystemCall::Cursor:
    case SystemCall::CursorOpen:
    case SystemCall::CursorPrepare:
    case SystemCall::CursorExecute:
    case SystemCall::CursorPrepareExecute:
    case SystemCall::CursorUnprepare:
    case SystemCall::CursorFetch:
    case SystemCall::CursorOption:
    case SystemCall::CursorClose:
      ExecuteCursorCall(call, results);
      return;
  }
}

// The first parameters of the sp_executesql that runs it.
std::vector<Parameter> Conversation::TextsOf(const Prepared& prepared) {
  std::vector<Parameter> parameters;
  parameters.push_back(TextParameter(prepared.statement));
  if (!prepared.declarations.empty()) parameters.push_back(TextParameter(prepared.declarations));
  return parameters;
}

// Runs a text with the call's parameters from `first` on.
void Conversation::ExecutePrepared(const Call& call, const Prepared& prepared, std::size_t first,
                                   ResultStream& results) {
  std::vector<Parameter> parameters = TextsOf(prepared);
  const auto from = call.parameters.begin() + static_cast<std::ptrdiff_t>(first);
  parameters.insert(parameters.end(), from, call.parameters.end());
  const bool has_output = std::any_of(from, call.parameters.end(),
                                      [](const Parameter& parameter) { return parameter.output; });
  RunBatch(ComposeCall(u"sp_executesql", parameters, has_output), results);
  GiveOutcome(call, first, results);
}

void Conversation::CallProcedure(const Call& call, ResultStream& results) {
  RunBatch(ComposeCall(call.procedure, call.parameters, true), results);
  GiveOutcome(call, 0, results);
}

// The status and the output parameters, of those from `first` on.
void Conversation::GiveOutcome(const Call& call, std::size_t first, ResultStream& results) {
  const auto& outcome = results.outcome();
  const std::int64_t* status = outcome ? outcome->values[0].If<std::int64_t>() : nullptr;
  const std::int32_t otherwise = results.failed() ? 1 : 0;
  results.Tokens().ReturnStatus(status != nullptr ? static_cast<std::int32_t>(*status) : otherwise);
  if (!outcome) return;
  std::size_t next = 1;
  for (std::size_t i = first; i < call.parameters.size(); ++i) {
    const Parameter& parameter = call.parameters[i];
    if (!parameter.output || parameter.is_default || next >= outcome->values.size()) continue;
    results.Tokens().ReturnValue(i, parameter.name, outcome->types[next], outcome->values[next]);
    ++next;
  }
}

void Conversation::GiveHandle(const Call& call, std::int32_t handle, ResultStream& results) {
  ResultColumn column;
  column.type = u"int";
  if (call.system == SystemCall::Prepare) results.Tokens().ReturnStatus(0);
  results.Tokens().ReturnValue(0, Required(call, 0, u"@handle").name, WireTypeOf(column, version_),
                               Value(std::int64_t{handle}));
}

std::int32_t Conversation::Prepare(const Call& call) {
  Prepared prepared;
  prepared.declarations = TranslateDeclarations(Required(call, 1, u"@params").text);
  prepared.statement = Required(call, 2, u"@stmt").text;
  return Keep(std::move(prepared));
}

std::int32_t Conversation::Keep(Prepared prepared) {
  if (prepared_.size() >= kMostPrepared) {
    throw ServerError(701, 17,
                      u"This connection has prepared " + FromAscii(std::to_string(kMostPrepared)) +
                          u" statements already; release some with sp_unprepare.");
  }
  const std::int32_t handle = next_handle_++;
  prepared_.emplace(handle, std::move(prepared));
  return handle;
}

std::map<std::int32_t, Conversation::Prepared>::iterator Conversation::FindPrepared(
    const Call& call) {
  const Text& literal = Required(call, 0, u"@handle").literal;
  std::int64_t handle = 0;
  for (const char16_t c : literal) {
    if (c >= u'0' && c <= u'9' && handle < INT32_MAX) handle = handle * 10 + (c - u'0');
  }
  const auto found =
      prepared_.find(static_cast<std::int32_t>(std::min<std::int64_t>(handle, INT32_MAX)));
  if (found != prepared_.end()) return found;
  throw ServerError(8179, 16, u"Could not find prepared statement with handle " + literal + u".");
}

}  // namespace ledgerwick::tds
