// Stored procedures and dynamic texts: how they are called and kept.
#include <algorithm>
#include <array>
#include <utility>

#include "tsql/base/characters.h"
#include "tsql/run/interpreter.h"
#include "tsql/storage/system_procedures.h"

namespace ledgerwick::tsql {
namespace {

constexpr TextView kExecuteSql = u"sp_executesql";

// Makes `frame` the running one while it lives. The options that it sets end with it.
class RunningFrame {
 public:
  RunningFrame(Session& session, Frame& frame)
      : session_(session),
        caller_(session.frame),
        no_count_(session.no_count),
        xact_abort_(session.xact_abort) {
    session.frame = &frame;
  }
  ~RunningFrame() {
    session_.frame = caller_;
    session_.no_count = no_count_;
    session_.xact_abort = xact_abort_;
  }
  RunningFrame(const RunningFrame&) = delete;
  RunningFrame& operator=(const RunningFrame&) = delete;

 private:
  Session& session_;
  Frame* caller_;
  bool no_count_;
  bool xact_abort_;
};

// Has names looked for in `database` while it lives.
class InDatabase {
 public:
  InDatabase(Catalogue& catalogue, DatabaseId database)
      : catalogue_(catalogue), before_(catalogue.current()) {
    if (database != before_) catalogue_.Use(database);
  }
  ~InDatabase() {
    if (catalogue_.current() != before_) catalogue_.Use(before_);
  }
  InDatabase(const InDatabase&) = delete;
  InDatabase& operator=(const InDatabase&) = delete;

 private:
  Catalogue& catalogue_;
  DatabaseId before_;
};

// A frame that `caller` calls.
Frame CalledFrame(const Frame& caller, TextView text, std::size_t variables) {
  Frame frame;
  frame.text = text;
  frame.level = caller.level + 1;
  frame.variables = Variables(variables);
  if (frame.level > kDeepestCall) throw errors::CallsTooDeep();
  return frame;
}

// What the parser says of a dynamic text counts in that text.
template <typename Parse>
auto ParseText(const Frame& caller, Parse parse) {
  try {
    return parse();
  } catch (SqlError& error) {
    error.in_text = true;
    error.level = caller.level + 1;
    throw;
  }
}

bool IsConversion(const SqlError& error) noexcept {
  switch (error.number) {
    case 235:
    case 241:
    case 242:
    case 244:
    case 245:
    case 248:
    case 8169:
      return true;
    default:
      return false;
  }
}

// The argument of each parameter, none where the default holds.
std::vector<const Argument*> MatchArguments(std::span<const Parameter> parameters,
                                            std::span<const Argument> arguments, TextView procedure,
                                            TextView text) {
  std::vector<const Argument*> matched(parameters.size());
  bool named = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const Argument& argument = arguments[i];
    std::size_t index = i;
    if (!argument.name.text.empty()) {
      named = true;
      const auto found =
          std::find_if(parameters.begin(), parameters.end(), [&](const Parameter& parameter) {
            return EqualText(parameter.name.text, argument.name.text);
          });
      if (found == parameters.end()) {
        throw errors::NoSuchParameter(argument.name.text, procedure);
      }
      index = static_cast<std::size_t>(found - parameters.begin());
    } else if (named) {
      throw errors::PositionalAfterNamed(i + 1, PositionOf(text, argument.offset));
    } else if (i >= parameters.size()) {
      throw errors::TooManyArguments(procedure);
    }
    const Parameter& parameter = parameters[index];
    if (matched[index] != nullptr) {
      throw errors::ParameterTwice(parameter.name.text, procedure);
    }
    if (argument.output && !parameter.output) throw errors::NotOutput(parameter.name.text);
    matched[index] = &argument;
  }
  return matched;
}

}  // namespace

// Temporary tables live as long as the call that makes them, and so does what SET says of dates.
void Interpreter::Call(Frame& frame, Statements body) {
  const RunningFrame running(session_, frame);
  const DateOptions dates = storage_.functions().dates;
  const auto drop_temporaries = [&] {
    SetDates(dates);
    for (const std::string& drop : frame.temporaries) storage_.Execute(drop);
  };
  try {
    if (frame.native != NativeProcedure::None) {
      frame.result = RunNative(frame);
    } else {
      RunAll(body);
    }
  } catch (...) {
    const Allowance::Pause pause;
    drop_temporaries();
    throw;
  }
  drop_temporaries();
}

// A literal as it is, a variable's value as text.
std::string Interpreter::TextOfPart(const Expr& part) {
  if (part.kind == ExprKind::String) return ToUtf8(part.text);
  const bool is_text = IsText(part.type.kind) && part.slot >= kSystemVariables;
  if (is_text) return std::string(TextOf(session_.frame->variables[part.slot]));
  return std::string(TextOf(Evaluate(part, MakeType(TypeKind::NVarChar, kMaxLength))));
}

void Interpreter::Perform(const ExecuteTextStatement& statement) {
  std::string utf8;
  for (const Expr* part : statement.parts) utf8 += TextOfPart(*part);
  const Text text = ToText(utf8);
  const Frame& caller = *session_.frame;
  Arena arena;
  const Batch batch = ParseText(caller, [&] { return ParseBatch(text, arena); });
  Frame frame = CalledFrame(caller, text, batch.variables.size());
  frame.is_text = true;
  Call(frame, batch.statements);
}

void Interpreter::Perform(const ExecuteProcedureStatement& statement) {
  const Frame& caller = *session_.frame;
  ObjectName name = statement.target;
  Arena arena;
  if (statement.name_variable != nullptr) {
    const Text text = ToText(TextOfPart(*statement.name_variable));
    const std::optional<ObjectName> named = ParseObjectName(text, arena);
    if (!named) throw errors::NoProcedure(text, {});
    name = *named;
  }
  if (EqualText(name.object.text, kExecuteSql)) {
    ExecuteSql(statement);
    AssignResult(statement, 0);
    return;
  }
  const ProcedureText* found = NewBinder(arena).FindProcedure(name);
  if (found == nullptr) throw errors::NoProcedure(FullName(name), {});
  const std::shared_ptr<Procedure> procedure = Load(*found);
  Frame frame = CalledFrame(caller, procedure->text, procedure->batch.variables.size());
  frame.procedure = ToUtf8(procedure->name);
  frame.kept = &procedure->kept;
  frame.native = found->native;
  frame.database = catalogue_.FindDatabase(name.database.text, {}).value_or(frame.database);
  // The system's own tell of the database that they are called in.
  const bool of_system = found == FindSystemProcedure(name.object.text);
  const InDatabase in_database(catalogue_, of_system && frame.database != DatabaseId::Session
                                               ? frame.database
                                               : catalogue_.current());
  const std::int64_t transactions = session_.transactions;
  const ProcedureStatement& definition = *procedure->statement;
  // A name in a variable may be another one next time.
  const void* node = statement.name_variable == nullptr ? &statement : nullptr;
  CallWithArguments(frame, node, definition.body, definition.parameters, statement.arguments,
                    procedure->name);
  AssignResult(statement, frame.result);
  if (session_.transactions != transactions) {
    throw errors::TransactionCount(transactions, session_.transactions);
  }
}

// EXEC @result = …
void Interpreter::AssignResult(const ExecuteProcedureStatement& statement, std::int64_t result) {
  if (statement.result == nullptr) return;
  Expr value;
  value.kind = ExprKind::Integer;
  value.integer = result;
  session_.frame->variables[statement.result->slot] = EvaluateOnce(value, statement.result->type);
}

// sp_executesql text[, parameters, arguments…]: a dynamic text with parameters.
void Interpreter::ExecuteSql(const ExecuteProcedureStatement& statement) {
  constexpr std::size_t kTexts = 2;
  const std::span<const Argument> arguments = statement.arguments;
  if (arguments.empty() || arguments[0].value == nullptr) {
    throw errors::ParameterMissing(kExecuteSql, u"@statement");
  }
  std::array<Text, kTexts> texts;
  for (std::size_t i = 0; i < std::min(arguments.size(), kTexts); ++i) {
    if (arguments[i].value != nullptr) texts[i] = ToText(TextOfPart(*arguments[i].value));
  }
  const Frame& caller = *session_.frame;
  Arena arena;
  const ParametrisedBatch parsed =
      ParseText(caller, [&] { return ParseBatch(texts[0], texts[1], arena); });
  Frame frame = CalledFrame(caller, texts[0], parsed.batch.variables.size());
  frame.is_text = true;
  CallWithArguments(frame, nullptr, parsed.batch.statements, parsed.parameters,
                    arguments.subspan(std::min(arguments.size(), kTexts)), kExecuteSql);
}

// The values of the parameters, read where the caller's variables are seen.
std::vector<SqliteValue> Interpreter::ArgumentValues(const void* node,
                                                     std::span<const Parameter> parameters,
                                                     std::span<const Argument* const> arguments,
                                                     TextView procedure) {
  std::vector<const Expr*> values;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const Expr* value = arguments[i] != nullptr ? arguments[i]->value : nullptr;
    if (value == nullptr) value = parameters[i].default_value;
    if (value == nullptr) throw errors::ParameterMissing(procedure, parameters[i].name.text);
    values.push_back(value);
  }
  std::vector<Type> sources;
  try {
    const auto type_of = [&](std::size_t place, const Type&) { return parameters[place].type; };
    // The parameters are those of the procedure as it is now.
    return Evaluate(node, values, type_of, &sources, true);
  } catch (const SqlError& error) {
    if (!IsConversion(error) || sources.empty()) throw;
    // The error of a parameter names the types alone.
    std::size_t i = 0;
    while (i + 1 < sources.size() &&
           (!IsText(sources[i].kind) || IsText(parameters[i].type.kind))) {
      ++i;
    }
    throw errors::ConvertDataType(KindText(sources[i].kind), KindText(parameters[i].type.kind));
  }
}

// Calls `body` and hands the OUTPUT parameters back.
void Interpreter::CallWithArguments(Frame& frame, const void* node, Statements body,
                                    std::span<const Parameter> parameters,
                                    std::span<const Argument> arguments, TextView name) {
  Frame& caller = *session_.frame;
  const auto matched = MatchArguments(parameters, arguments, name, caller.text);
  std::vector<SqliteValue> values = ArgumentValues(node, parameters, matched, name);
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    frame.variables[parameters[i].slot] = std::move(values[i]);
  }
  Call(frame, body);
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    if (matched[i] == nullptr || !matched[i]->output) continue;
    const Parameter& parameter = parameters[i];
    const Expr& receiver = *matched[i]->value;
    SqliteValue& given = frame.variables[parameter.slot];
    if (parameter.type == receiver.type) {
      caller.variables[receiver.slot] = std::move(given);
      continue;
    }
    Expr read;
    read.kind = ExprKind::Variable;
    read.slot = parameter.slot;
    read.type = parameter.type;
    const RunningFrame running(session_, frame);
    caller.variables[receiver.slot] = EvaluateOnce(read, receiver.type);
  }
}

// The procedure's syntax tree: parsed once as long as its text stays the same.
std::shared_ptr<Procedure> Interpreter::Load(const ProcedureText& stored) {
  constexpr std::size_t kMostKept = 256;
  if (const auto known = procedures_.find(stored.definition); known != procedures_.end()) {
    return known->second;
  }
  auto procedure = std::make_shared<Procedure>();
  procedure->name = stored.name;
  procedure->text = stored.definition;
  procedure->batch = ParseBatch(procedure->text, procedure->arena);
  // A foreign hand may have written anything there.
  if (procedure->batch.statements.empty()) throw errors::NoProcedure(stored.name, {});
  procedure->statement = As<ProcedureStatement>(*procedure->batch.statements[0]);
  if (procedure->statement == nullptr) throw errors::NoProcedure(stored.name, {});
  if (procedures_.size() >= kMostKept) procedures_.clear();
  procedures_.emplace(stored.definition, procedure);
  return procedure;
}

// CREATE and ALTER: the text is kept, its names are looked up when it runs.
void Interpreter::Perform(const ProcedureStatement& statement) {
  session_.row_count = 0;
  Arena arena;
  Binder binder = NewBinder(arena);
  const ObjectName& name = statement.target;
  const Position at = binder.At(name.object.offset);
  const bool alters = statement.alters;
  const ProcedureText* existing = binder.FindProcedure(name);
  if (alters && existing == nullptr) throw errors::InvalidObject(FullName(name), at);
  const DatabaseId database = alters ? existing->database : binder.RequireNewName(name);
  const std::string text = ToUtf8(statement.text);
  const std::string stored = ToUtf8(alters ? TextView(existing->name) : name.object.text);
  SaveModule(database, stored, 'P', &text);
  session_.last_error = 0;
}

}  // namespace ledgerwick::tsql
