#include "tsql/run/interpreter.h"

#include <type_traits>

#include "tsql/functions/type_facts.h"
#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {

Interpreter::Interpreter(Storage& storage, Catalogue& catalogue)
    : storage_(storage), catalogue_(catalogue), locks_(storage.beside()) {
  storage.functions().object_id = [this](TextView name) { return ObjectId(name); };
  storage.functions().fact = [this](std::string_view fact, std::string_view argument) {
    return Fact(fact, argument);
  };
}

// For OBJECT_ID. A text that is no name names no object.
std::optional<std::int64_t> Interpreter::ObjectId(TextView text) {
  Arena scratch;
  const std::optional<ObjectName> name = ParseObjectName(text, scratch);
  if (!name) return std::nullopt;
  catalogue_.Refresh();
  if (!Binder(text, scratch, catalogue_).ObjectExists(*name) && !IsConstraint(*name)) {
    return std::nullopt;
  }
  return ObjectKey(name->object.text);
}

bool Interpreter::IsConstraint(const ObjectName& name) {
  const TextView object = name.object.text;
  const auto database = catalogue_.FindDatabase(name.database.text, object);
  if (!database || *database == DatabaseId::Session) return false;
  return KeyExists(storage_, *database, object) ||
         (catalogue_.HasConstraints(*database) && ConstraintExists(storage_, *database, object));
}

void Interpreter::Run(TextView text, ResultSink& sink) {
  Arena arena;
  sink_ = &sink;
  depth_ = 0;
  session_.BeginBatch();
  const Batch batch = ParseBatch(text, arena);
  Frame frame;
  frame.text = text;
  frame.variables = Variables(batch.variables.size());
  frame.identity = session_.batch_identity;
  session_.frame = &frame;
  try {
    RunAll(batch.statements);
  } catch (const SqlError& error) {
    if (session_.ReachOf(error) == Reach::Batch) EndTransaction();
    Tell(error);
  } catch (...) {
    EndTransaction();
    throw;
  }
  if (session_.first_error) throw SqlError(*session_.first_error);
}

// What ends a batch for good takes its open transaction back.
void Interpreter::EndTransaction() {
  const Allowance::Pause pause;
  if (session_.transactions > 0) RollbackTransaction();
}

// A failure while a statement runs is told with the line that the statement begins on.
void Interpreter::Locate(SqlError& error, const Statement& statement) const {
  Frame& frame = *session_.frame;
  if (error.position.line == 0) error.position = {frame.LineAt(statement.offset), 0};
  if (error.level >= 0) return;
  error.level = frame.level;
  error.procedure = frame.procedure;
  error.in_text = frame.is_text;
}

// The batch goes on: its first error waits for the end, others are told at once.
void Interpreter::Tell(const SqlError& error) {
  session_.last_error = error.number;
  session_.row_count = 0;
  if (session_.first_error) {
    sink_->Error(ToDatabaseError(error));
  } else {
    session_.first_error = error;
    sink_->FirstError(ToDatabaseError(error));
  }
}

// What is no error and goes to the sink at once.
void Interpreter::Inform(SqlError message, const Statement& statement) {
  Locate(message, statement);
  sink_->Information(ToDatabaseError(message));
}

// True when the next statement runs: the error was the statement's alone, or that of a call which
// it has ended.
bool Interpreter::EndsHere(const SqlError& error) const {
  const Reach reach = session_.ReachOf(error);
  return reach == Reach::Statement ||
         (reach == Reach::Frame && error.level > session_.frame->level);
}

Flow Interpreter::Execute(const Statement& statement) {
  constexpr int kDeepest = 1000;  // procedures within procedures included
  try {
    const Nesting nesting(depth_, kDeepest);
    return ExecuteAt(statement);
  } catch (SqlError& error) {
    if (FailedToDrop(error, statement)) error = failed_drop_->reason;
    Locate(error, statement);
    FollowTransaction();
    if (session_.tries > 0 || !EndsHere(error)) throw;
    Tell(error);
    return Flow::Next;
  }
}

Flow Interpreter::ExecuteAt(const Statement& statement) {
  if (session_.format_only && OnlyDescribes(statement)) return Flow::Next;
  if (BeginsTransaction(statement)) BeginTransaction();
  return VisitStatement(statement, [&](const auto& s) -> Flow {
    if constexpr (std::is_void_v<decltype(Perform(s))>) {
      Perform(s);
      return Flow::Next;
    } else {
      return Perform(s);
    }
  });
}

// SET IMPLICIT_TRANSACTIONS: what reads or changes tables.
bool Interpreter::BeginsTransaction(const Statement& statement) const noexcept {
  if (!session_.implicit_transactions || session_.transactions > 0) return false;
  switch (statement.kind) {
    case StatementKind::Select:
      return As<SelectStatement>(statement)->query->selects[0]->from != nullptr;
    case StatementKind::Insert:
    case StatementKind::Update:
    case StatementKind::Delete:
    case StatementKind::Truncate:
    case StatementKind::CreateTable:
    case StatementKind::AlterTable:
    case StatementKind::CreateIndex:
    case StatementKind::CreateView:
    case StatementKind::Procedure:
    case StatementKind::Drop:
      return true;
    case StatementKind::If:
    case StatementKind::While:
    case StatementKind::Block:
    case StatementKind::TryCatch:
    case StatementKind::Break:
    case StatementKind::Continue:
    case StatementKind::Return:
    case StatementKind::SetOption:
    case StatementKind::Use:
    case StatementKind::Print:
    case StatementKind::Assign:
    case StatementKind::BeginTransaction:
    case StatementKind::CommitTransaction:
    case StatementKind::RollbackTransaction:
    case StatementKind::SavePoint:
    case StatementKind::RaiseError:
    case StatementKind::Throw:
    case StatementKind::ExecuteText:
    case StatementKind::IdentityInsert:
    case StatementKind::CheckIdentity:
    case StatementKind::ExecuteProcedure:
      return false;
  }
  return false;
}

// SET FMTONLY: true for a statement that is done with when its columns have been told. Variables,
// options, calls and control flow go on as ever.
bool Interpreter::OnlyDescribes(const Statement& statement) {
  switch (statement.kind) {
    case StatementKind::Select: {
      const Query& query = *As<SelectStatement>(statement)->query;
      const Select& first = *query.selects[0];
      if (first.items[0].variable == nullptr && !first.has_into) Describe(query);
      return true;
    }
    case StatementKind::If:
    case StatementKind::While:
    case StatementKind::Block:
    case StatementKind::TryCatch:
    case StatementKind::Return:
    case StatementKind::IdentityInsert:
    case StatementKind::SetOption:
    case StatementKind::Use:
    case StatementKind::Assign:
    case StatementKind::ExecuteText:
    case StatementKind::ExecuteProcedure:
      return false;
    case StatementKind::Insert:
    case StatementKind::Update:
    case StatementKind::Delete:
    case StatementKind::Truncate:
    case StatementKind::CreateTable:
    case StatementKind::AlterTable:
    case StatementKind::CreateIndex:
    case StatementKind::CreateView:
    case StatementKind::Procedure:
    case StatementKind::Drop:
    case StatementKind::Break:
    case StatementKind::Continue:
    case StatementKind::Print:
    case StatementKind::BeginTransaction:
    case StatementKind::CommitTransaction:
    case StatementKind::RollbackTransaction:
    case StatementKind::SavePoint:
    case StatementKind::RaiseError:
    case StatementKind::CheckIdentity:
    case StatementKind::Throw:
      return true;
  }
  return true;
}

void Interpreter::Affected(std::int64_t rows) {
  session_.row_count = rows;
  if (!session_.no_count) sink_->RowsAffected(rows);
}

// A binder for one statement, whose names are looked up as they are now.
Binder Interpreter::NewBinder(Arena& arena) {
  catalogue_.Refresh();
  return Binder(session_.frame->text, arena, catalogue_);
}

Compiler Interpreter::NewCompiler(Arena& arena) {
  return Compiler(session_.frame->text, arena, catalogue_, storage_.options().planning);
}

// Has the running call drop `table`, which is about to be made, in its end. Noted as the statement
// that needs no memory then.
void Interpreter::KeepTemporary(const std::string& table) {
  session_.frame->temporaries.push_back("DROP TABLE IF EXISTS " + table);
}

}  // namespace ledgerwick::tsql
