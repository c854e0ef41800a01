// Variables, control flow, errors raised and caught, transactions.
#include <algorithm>
#include <charconv>
#include <chrono>

#include "tsql/base/characters.h"
#include "tsql/run/interpreter.h"
#include "tsql/values/format_message.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::int32_t kLeastError = 11;  // a lower severity is information
constexpr std::int32_t kUser = 16;
constexpr std::int32_t kMostUnlogged = 18;  // severities above go to the server's log
constexpr std::int32_t kFirstUserNumber = 50000;

// Takes the innermost caught error away when its CATCH ends.
class Caught {
 public:
  Caught(std::vector<SqlError>& caught, const SqlError& error) : caught_(caught) {
    caught_.push_back(error);
  }
  ~Caught() { caught_.pop_back(); }
  Caught(const Caught&) = delete;
  Caught& operator=(const Caught&) = delete;

 private:
  std::vector<SqlError>& caught_;
};

// While it lives, the frame's statements are kept for the next time.
class Repeating {
 public:
  explicit Repeating(Frame& frame) : frame_(frame), before_(frame.kept) {
    if (frame.kept == nullptr) frame.kept = &own_;
  }
  ~Repeating() { frame_.kept = before_; }
  Repeating(const Repeating&) = delete;
  Repeating& operator=(const Repeating&) = delete;

 private:
  Frame& frame_;
  StatementCache* before_;
  StatementCache own_;
};

MessageArgument ArgumentOf(const SqliteValue& value) {
  if (!value) return {};
  if (sqlite3_value_type(value.get()) == SQLITE_TEXT) return TextOf(value);
  return IntegerOf(value);
}

// Options of a session that are not to be set otherwise: whoever does wants other rows.
struct FixedOption {
  TextView name;
  bool on;
};
constexpr FixedOption kFixedOptions[] = {
    {u"ANSI_DEFAULTS", true}, {u"ANSI_NULLS", true},          {u"ANSI_NULL_DFLT_ON", true},
    {u"ANSI_WARNINGS", true}, {u"NUMERIC_ROUNDABORT", false}, {u"CONCAT_NULL_YIELDS_NULL", true},
};

Text Setting(TextView option, bool on) { return Text(option) + (on ? u" ON" : u" OFF"); }

}  // namespace

Flow Interpreter::RunAll(Statements statements) {
  for (const Statement* statement : statements) {
    const Flow flow = Execute(*statement);
    if (flow != Flow::Next) return flow;
  }
  return Flow::Next;
}

Flow Interpreter::Perform(const IfStatement& statement) {
  if (session_.format_only) {
    Execute(*statement.then_branch);
    return statement.else_branch != nullptr ? Execute(*statement.else_branch) : Flow::Next;
  }
  if (Holds(*statement.condition)) return Execute(*statement.then_branch);
  return statement.else_branch != nullptr ? Execute(*statement.else_branch) : Flow::Next;
}

Flow Interpreter::Perform(const WhileStatement& statement) {
  const Repeating repeating(*session_.frame);
  if (session_.format_only) {
    Execute(*statement.body);
    return Flow::Next;
  }
  while (Holds(*statement.condition)) {
    // The storage itself looks at long statements only.
    storage_.CheckCancelled();
    storage_.ShowProgress();
    const Flow flow = Execute(*statement.body);
    if (flow == Flow::Break) break;
    if (flow == Flow::Return) return flow;
  }
  return Flow::Next;
}

Flow Interpreter::Perform(const TryCatchStatement& statement) {
  SqlError caught = errors::Cancelled();
  try {
    const Counted trying(session_.tries);
    return RunAll(statement.tried);
  } catch (const SqlError& error) {
    if (session_.PassesCatch(error, session_.frame->level)) throw;
    caught = error;
  }
  const Caught scope(session_.caught, caught);
  session_.last_error = caught.number;
  return RunAll(statement.handler);
}

Flow Interpreter::Perform(const ReturnStatement& statement) {
  if (statement.value != nullptr) {
    session_.frame->result = IntegerOf(Evaluate(*statement.value, MakeType(TypeKind::Int)));
  }
  return Flow::Return;
}

void Interpreter::Perform(const AssignStatement& statement) {
  for (const VariableAssignment& assignment : statement.variables) {
    const Expr& variable = *assignment.variable;
    session_.frame->variables[variable.slot] = Evaluate(*assignment.value, variable.type);
    session_.row_count = 1;
    session_.last_error = 0;
  }
}

void Interpreter::Perform(const PrintStatement& statement) {
  session_.row_count = 0;
  // Bytes are shown as the characters of varchar, whose bytes they are.
  const auto type_of = [](std::size_t, const Type& own) {
    return MakeType(IsBinary(own.kind) ? TypeKind::VarChar : TypeKind::NVarChar, kLongestBytes);
  };
  const Expr* const values[] = {statement.value};
  const std::vector<SqliteValue> texts = Evaluate(statement.value, values, type_of);
  Inform(errors::Information(0, std::string(TextOf(texts[0]))), statement);
  session_.last_error = 0;
}

// What was bound under other options is stale.
void Interpreter::SetDates(const DateOptions& dates) {
  if (storage_.functions().dates == dates) return;
  storage_.functions().dates = dates;
  catalogue_.Forget();
}

// SET DATEFIRST, DATEFORMAT and LANGUAGE.
void Interpreter::SetDateOption(TextView name, const Expr& value, const Statement& statement) {
  DateOptions dates = storage_.functions().dates;
  if (EqualText(name, u"DATEFIRST")) {
    const std::int64_t day = IntegerOf(Evaluate(value, MakeType(TypeKind::Int)));
    if (day < 1 || day > 7) throw errors::FirstDayOutOfRange(day);
    dates.first_weekday = static_cast<int>(day);
    return SetDates(dates);
  }
  const Text word = ToText(TextOf(Evaluate(value, MakeType(TypeKind::NVarChar, kLongestName))));
  if (EqualText(name, u"DATEFORMAT")) {
    dates.order = DateOrderByName(word);
    return SetDates(dates);
  }
  SetDates(OptionsOf(LanguageByName(word)));
  constexpr std::int32_t kChanged = 5703;
  const TextView language = LanguageName(storage_.functions().dates.language);
  Inform(errors::Information(kChanged, "Changed language setting to " + ToUtf8(language) + "."),
         statement);
}

void Interpreter::Perform(const SetOptionStatement& statement) {
  if (statement.value != nullptr) SetValue(statement.options[0].text, *statement.value, statement);
  for (const Name& name : statement.options) {
    for (const FixedOption& fixed : kFixedOptions) {
      if (statement.on == fixed.on || !EqualText(name.text, fixed.name)) continue;
      throw errors::OptionNotSupported(Setting(fixed.name, statement.on),
                                       Setting(fixed.name, fixed.on),
                                       PositionOf(session_.frame->text, name.offset));
    }
  }
  for (const Name& name : statement.options) {
    if (EqualText(name.text, u"NOCOUNT")) session_.no_count = statement.on;
    if (EqualText(name.text, u"XACT_ABORT")) session_.xact_abort = statement.on;
    if (EqualText(name.text, u"FMTONLY")) session_.format_only = statement.on;
    if (EqualText(name.text, u"IMPLICIT_TRANSACTIONS")) {
      session_.implicit_transactions = statement.on;
    }
  }
  session_.row_count = 0;
  session_.last_error = 0;
}

// What an option is set to that has more than two positions.
void Interpreter::SetValue(TextView option, const Expr& expr, const Statement& statement) {
  if (EqualText(option, u"DATEFIRST") || EqualText(option, u"DATEFORMAT") ||
      EqualText(option, u"LANGUAGE")) {
    return SetDateOption(option, expr, statement);
  }
  const std::string value = TextOfPart(expr);
  std::int64_t number = 0;
  std::from_chars(value.data(), value.data() + value.size(), number);
  if (EqualText(option, u"ROWCOUNT")) session_.row_limit = std::max<std::int64_t>(number, 0);
  if (EqualText(option, u"TEXTSIZE")) session_.text_size = std::to_string(number);
  if (EqualText(option, u"LOCK_TIMEOUT")) {
    session_.lock_timeout = std::to_string(number);
    storage_.SetLockWait(number < 0 ? std::nullopt
                                    : std::optional(std::chrono::milliseconds(number)));
  }
}

void Interpreter::Perform(const UseStatement& statement) {
  constexpr std::int32_t kChanged = 5701;
  const Name& name = statement.database;
  session_.row_count = 0;
  const std::optional<DatabaseId> database = catalogue_.FindDatabase(name.text, {});
  if (!database) {
    throw errors::NoDatabase(name.text, PositionOf(session_.frame->text, name.offset));
  }
  catalogue_.Use(*database);
  const std::string now = ToUtf8(catalogue_.NameOf(*database));
  Inform(errors::Information(kChanged, "Changed database context to '" + now + "'."), statement);
}

void Interpreter::Perform(const RaiseErrorStatement& statement) {
  const auto type_of = [](std::size_t place, const Type& own) {
    const bool number = place == 1 || place == 2 || IsInteger(own.kind);
    return number ? MakeType(TypeKind::BigInt) : MakeType(TypeKind::NVarChar, kMaxLength);
  };
  std::vector<Type> types;
  const std::vector<SqliteValue> values = Evaluate(&statement, statement.values, type_of, &types);
  const auto severity = static_cast<std::int32_t>(IntegerOf(values[1]));
  const auto state = static_cast<std::int32_t>(IntegerOf(values[2]));
  if (severity > kMostUnlogged && !statement.with_log) {
    throw errors::SeverityWithoutLog(PositionOf(session_.frame->text, statement.offset));
  }
  if (IsInteger(types[0].kind)) {
    throw errors::NoSuchMessage(static_cast<std::int32_t>(IntegerOf(values[0])), severity, state);
  }
  std::vector<MessageArgument> arguments;
  for (const SqliteValue& value : std::span(values).subspan(3)) {
    arguments.push_back(ArgumentOf(value));
  }
  const std::string message = FormatMessage(TextOf(values[0]), arguments);
  if (severity >= kLeastError) throw errors::Raised(kFirstUserNumber, severity, state, message);
  Inform(errors::Raised(kFirstUserNumber, severity, state, message), statement);
  session_.last_error = 0;
  session_.row_count = 0;
}

void Interpreter::Perform(const ThrowStatement& statement) {
  if (statement.values.empty()) {
    if (session_.caught.empty()) throw errors::ThrowOutsideCatch();
    SqlError again = session_.caught.back();
    again.thrown = true;
    throw again;
  }
  const std::int64_t number = IntegerOf(Evaluate(*statement.values[0], MakeType(TypeKind::BigInt)));
  if (number < kFirstUserNumber || number > INT32_MAX) throw errors::ThrowNumber(number);
  const SqliteValue message =
      Evaluate(*statement.values[1], MakeType(TypeKind::NVarChar, kMaxLength));
  const std::int64_t state = IntegerOf(Evaluate(*statement.values[2], MakeType(TypeKind::TinyInt)));
  SqlError error = errors::Raised(static_cast<std::int32_t>(number), kUser,
                                  static_cast<std::int32_t>(state), std::string(TextOf(message)));
  error.thrown = true;
  throw error;
}

// A transaction takes the right to write at once: one that read first could lose it to another
// process for good.
void Interpreter::Perform(const BeginTransactionStatement& statement) {
  session_.row_count = 0;
  const bool outermost = session_.transactions == 0;
  BeginTransaction();
  if (outermost) session_.transaction_name = NameOf(statement.name);
  session_.last_error = 0;
}

void Interpreter::BeginTransaction() {
  if (session_.transactions == 0) {
    // Who may not write takes nobody's turn.
    storage_.Execute(storage_.options().read_only ? "BEGIN" : "BEGIN IMMEDIATE");
  }
  ++session_.transactions;
}

void Interpreter::Perform(const CommitTransactionStatement&) {
  session_.row_count = 0;
  if (session_.transactions == 0) throw errors::NoTransaction(true);
  if (session_.transactions == 1) {
    storage_.Execute("COMMIT");
    TransactionEnded();
  } else {
    --session_.transactions;
  }
  session_.last_error = 0;
}

// Of names the first 32 characters count, and their case.
std::string Interpreter::NameOf(const TransactionName& name) {
  constexpr std::size_t kLongest = 32;
  const Text text =
      name.variable != nullptr ? ToText(TextOfPart(*name.variable)) : Text(name.word.text);
  return ToUtf8(TextView(text).substr(0, kLongest));
}

void Interpreter::Perform(const SavePointStatement& statement) {
  session_.row_count = 0;
  if (session_.transactions == 0) throw errors::SaveOutsideTransaction();
  std::vector<std::string>& points = session_.save_points;
  points.push_back(NameOf(statement.name));
  try {
    storage_.Execute("SAVEPOINT point_" + std::to_string(points.size()));
  } catch (...) {
    points.pop_back();
    throw;
  }
  session_.last_error = 0;
}

void Interpreter::Perform(const RollbackTransactionStatement& statement) {
  session_.row_count = 0;
  const std::string name = NameOf(statement.name);
  if (name.empty() || session_.transactions == 0) {
    RollbackTransaction();
  } else {
    RollbackTo(name);
  }
  session_.last_error = 0;
}

// To the save point of that name that was made last, which stays; else to where the transaction of
// that name began.
void Interpreter::RollbackTo(const std::string& name) {
  std::vector<std::string>& points = session_.save_points;
  const auto point = std::find(points.rbegin(), points.rend(), name);
  if (point != points.rend()) {
    points.erase(point.base(), points.end());
    storage_.Execute("ROLLBACK TO point_" + std::to_string(points.size()));
    catalogue_.Forget();
  } else if (name == session_.transaction_name) {
    RollbackTransaction();
  } else {
    throw errors::NoSavePoint(name);
  }
}

void Interpreter::RollbackTransaction() {
  if (session_.transactions == 0) throw errors::NoTransaction(false);
  storage_.Execute("ROLLBACK");
  TransactionEnded();
  catalogue_.Forget();
}

// After some failures the storage has rolled the transaction back by itself.
void Interpreter::FollowTransaction() {
  if (session_.transactions == 0 || sqlite3_get_autocommit(storage_.db()) == 0) return;
  TransactionEnded();
  catalogue_.Forget();
}

void Interpreter::TransactionEnded() {
  session_.transactions = 0;
  session_.transaction_name.clear();
  session_.save_points.clear();
  locks_.ReleaseTransaction();
}

}  // namespace ledgerwick::tsql
