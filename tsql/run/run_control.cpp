// Variables, control flow, errors raised and caught, transactions.
#include <algorithm>

#include "tsql/base/characters.h"
#include "tsql/emit/emitter.h"
#include "tsql/run/interpreter.h"
#include "tsql/values/format_message.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::int32_t kLeastError = 11;  // a lower severity is information
constexpr std::int32_t kUser = 16;
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

// While it lives, the frame's statements may run again.
class Repeating {
 public:
  explicit Repeating(Frame& frame) : frame_(frame), before_(frame.runs_again) {
    frame.runs_again = true;
  }
  ~Repeating() { frame_.runs_again = before_; }
  Repeating(const Repeating&) = delete;
  Repeating& operator=(const Repeating&) = delete;

 private:
  Frame& frame_;
  bool before_;
};

MessageArgument ArgumentOf(const SqliteValue& value) {
  if (!value) return {};
  if (sqlite3_value_type(value.get()) == SQLITE_TEXT) return TextOf(value);
  return IntegerOf(value);
}

}  // namespace

Flow Interpreter::RunAll(std::span<Statement* const> statements) {
  for (const Statement* statement : statements) {
    const Flow flow = Execute(*statement);
    if (flow != Flow::Next) return flow;
  }
  return Flow::Next;
}

// A condition that is unknown does not hold. Its query ends here: an open one would keep the branch
// from changing the tables that it reads.
bool Interpreter::Holds(const Expr& condition) {
  const OwnTree own(*session_.frame);
  Expr& bound = own.Of(condition);
  catalogue_.Refresh();
  NewBinder().BindCondition(bound);
  const SqliteStatement row =
      Prepare("SELECT CASE WHEN " + EmitToString(bound) + " THEN 1 ELSE 0 END");
  const bool holds = storage_.Step(row.get()) && sqlite3_column_int(row.get(), 0) != 0;
  session_.row_count = 0;
  session_.last_error = 0;
  return holds;
}

Flow Interpreter::If(const Statement& statement) {
  if (Holds(*statement.where)) return Execute(*statement.then_branch);
  return statement.else_branch != nullptr ? Execute(*statement.else_branch) : Flow::Next;
}

Flow Interpreter::While(const Statement& statement) {
  const Repeating repeating(*session_.frame);
  while (Holds(*statement.where)) {
    // The storage itself looks at long statements only.
    storage_.CheckCancelled();
    storage_.ShowProgress();
    const Flow flow = Execute(*statement.then_branch);
    if (flow == Flow::Break) break;
    if (flow == Flow::Return) return flow;
  }
  return Flow::Next;
}

Flow Interpreter::TryCatch(const Statement& statement) {
  SqlError caught = errors::Cancelled();
  try {
    const Counted trying(session_.tries);
    return RunAll(statement.then_branch->body);
  } catch (const SqlError& error) {
    if (session_.PassesCatch(error, session_.frame->level)) throw;
    caught = error;
  }
  const Caught scope(session_.caught, caught);
  session_.last_error = caught.number;
  return RunAll(statement.else_branch->body);
}

Flow Interpreter::Return(const Statement& statement) {
  if (statement.value != nullptr) {
    const OwnTree own(*session_.frame);
    session_.frame->result =
        IntegerOf(Evaluate(&own.Of(*statement.value), MakeType(TypeKind::Int)));
  }
  return Flow::Return;
}

// The values of bound expressions, read at one time.
std::vector<SqliteValue> Interpreter::Evaluate(std::span<Expr* const> bound) {
  std::vector<SqliteValue> values;
  if (bound.empty()) return values;
  Emitter emitter;
  for (std::size_t i = 0; i < bound.size(); ++i) {
    emitter.Raw(i == 0 ? "SELECT " : ", ").EmitExpr(*bound[i]);
  }
  const SqliteStatement row = Prepare(emitter.Take());
  storage_.Step(row.get());
  for (std::size_t i = 0; i < bound.size(); ++i) {
    values.push_back(CopyValue(row.get(), static_cast<int>(i)));
  }
  return values;
}

// What `value` is as `type`, cut off where it is longer.
SqliteValue Interpreter::Evaluate(Expr* value, const Type& type) {
  Expr* bound = NewBinder().BindValue(value, type, Conversion::Implicit);
  return std::move(Evaluate(std::span<Expr* const>(&bound, 1))[0]);
}

void Interpreter::Assign(const Expr& variable, Expr* value) {
  session_.frame->variables[variable.slot] = Evaluate(value, variable.type);
  session_.row_count = 1;
  session_.last_error = 0;
}

// SELECT @v = …: every row assigns in its turn, so that the last one stays; without a row the
// variables keep what they have.
void Interpreter::SelectAssign(Query& query) {
  Binder binder = NewBinder();
  binder.BindQuery(query);
  Select& select = *query.selects[0];
  for (SelectItem& item : select.items) {
    item.expr = binder.Coerce(item.expr, item.variable->type);
  }
  Variables& variables = session_.frame->variables;
  std::int64_t count = 0;
  // Without a table there is one row, whose items see what those before them assigned.
  const bool in_turn = select.from == nullptr && select.where == nullptr && !select.grouped;
  const std::size_t step = in_turn ? 1 : select.items.size();
  for (std::size_t first = 0; first < select.items.size(); first += step) {
    Emitter emitter;
    if (in_turn) {
      emitter.Raw("SELECT ").EmitExpr(*select.items[first].expr);
    } else {
      emitter.EmitQuery(query);
    }
    const SqliteStatement row = Prepare(emitter.Take());
    for (const SelectItem& item : select.items) {
      variables.BindLive(row.get(), item.variable->slot);
    }
    for (count = 0; storage_.Step(row.get()); ++count) {
      for (std::size_t i = 0; i < step; ++i) {
        variables[select.items[first + i].variable->slot] =
            CopyValue(row.get(), static_cast<int>(i));
      }
    }
  }
  session_.row_count = count;
}

void Interpreter::Print(Statement& statement) {
  constexpr std::int32_t kLongest = 8000;
  const SqliteValue text = Evaluate(statement.value, MakeType(TypeKind::VarChar, kLongest));
  sink_->Message(ToText(TextOf(text)));
}

void Interpreter::SetOption(const Statement& statement) {
  for (const Name& name : statement.columns) {
    if (EqualText(name.text, u"NOCOUNT")) session_.no_count = statement.on;
    if (EqualText(name.text, u"XACT_ABORT")) session_.xact_abort = statement.on;
  }
}

void Interpreter::RaiseError(Statement& statement) {
  Binder binder = NewBinder();
  for (std::size_t i = 0; i < statement.values.size(); ++i) {
    Expr*& value = statement.values[i];
    const bool number = i == 1 || i == 2 || IsInteger(binder.TypeOf(value).kind);
    const Type type =
        number ? MakeType(TypeKind::BigInt) : MakeType(TypeKind::NVarChar, kMaxLength);
    value = binder.BindValue(value, type, Conversion::Implicit);
  }
  const std::vector<SqliteValue> values = Evaluate(statement.values);
  const auto severity = static_cast<std::int32_t>(IntegerOf(values[1]));
  const auto state = static_cast<std::int32_t>(IntegerOf(values[2]));
  if (IsInteger(statement.values[0]->type.kind)) {
    throw errors::NoSuchMessage(static_cast<std::int32_t>(IntegerOf(values[0])), severity, state);
  }
  std::vector<MessageArgument> arguments;
  for (const SqliteValue& value : std::span(values).subspan(3)) {
    arguments.push_back(ArgumentOf(value));
  }
  const std::string message = FormatMessage(TextOf(values[0]), arguments);
  if (severity >= kLeastError) throw errors::Raised(kFirstUserNumber, severity, state, message);
  sink_->Message(ToText(message));
  session_.last_error = 0;
  session_.row_count = 0;
}

void Interpreter::Throw(Statement& statement) {
  if (statement.values.empty()) {
    if (session_.caught.empty()) throw errors::ThrowOutsideCatch();
    SqlError again = session_.caught.back();
    again.thrown = true;
    throw again;
  }
  const std::int64_t number = IntegerOf(Evaluate(statement.values[0], MakeType(TypeKind::BigInt)));
  if (number < kFirstUserNumber || number > INT32_MAX) throw errors::ThrowNumber(number);
  const SqliteValue message =
      Evaluate(statement.values[1], MakeType(TypeKind::NVarChar, kMaxLength));
  const std::int64_t state = IntegerOf(Evaluate(statement.values[2], MakeType(TypeKind::TinyInt)));
  SqlError error = errors::Raised(static_cast<std::int32_t>(number), kUser,
                                  static_cast<std::int32_t>(state), std::string(TextOf(message)));
  error.thrown = true;
  throw error;
}

// A transaction takes the right to write at once: one that read first could lose it to another
// process for good.
void Interpreter::BeginTransaction() {
  if (session_.transactions == 0) storage_.Execute("BEGIN IMMEDIATE");
  ++session_.transactions;
}

void Interpreter::CommitTransaction() {
  if (session_.transactions == 0) throw errors::NoTransaction(true);
  if (session_.transactions == 1) storage_.Execute("COMMIT");
  --session_.transactions;
}

void Interpreter::RollbackTransaction() {
  if (session_.transactions == 0) throw errors::NoTransaction(false);
  storage_.Execute("ROLLBACK");
  session_.transactions = 0;
  catalogue_.Forget();
}

// After some failures the storage has rolled the transaction back by itself.
void Interpreter::FollowTransaction() {
  if (session_.transactions == 0 || sqlite3_get_autocommit(storage_.db()) == 0) return;
  session_.transactions = 0;
  catalogue_.Forget();
}

}  // namespace ledgerwick::tsql
