#include "tsql/run/interpreter.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "tsql/base/characters.h"
#include "tsql/emit/emitter.h"
#include "tsql/plan/plan.h"
#include "tsql/storage/aggregates.h"
#include "tsql/syntax/parser.h"
#include "tsql/values/collation.h"
#include "tsql/values/convert.h"
#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {
namespace {

ColumnKind KindOf(TypeKind kind) noexcept {
  if (kind == TypeKind::Bit) return ColumnKind::Boolean;
  if (IsInteger(kind)) return ColumnKind::Integer;
  if (IsFloat(kind)) return ColumnKind::Float;
  if (IsExactFraction(kind)) return ColumnKind::Decimal;
  return IsDate(kind) ? ColumnKind::DateTime : ColumnKind::String;
}

std::vector<ResultColumn> DescribeColumns(const Query& query) {
  std::vector<ResultColumn> columns;
  columns.reserve(query.types.size());
  for (std::size_t i = 0; i < query.types.size(); ++i) {
    const Type& type = query.types[i];
    const std::string declaration = TypeName(type);
    columns.push_back({Text(query.names[i]), KindOf(type.kind),
                       Text(declaration.begin(), declaration.end()), type.scale});
  }
  return columns;
}

// A real's digits are those of its single precision: 0.1, not 0.10000000149011612.
double ReadReal(double number) {
  std::array<char, 32> digits;
  const auto end =
      std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<float>(number)).ptr;
  double shown = 0;
  std::from_chars(digits.data(), end, shown);
  return shown;
}

Value ReadValue(sqlite3_stmt* row, int column, const Type& type) {
  if (sqlite3_column_type(row, column) == SQLITE_NULL) return Null{};
  switch (KindOf(type.kind)) {
    case ColumnKind::Boolean:
    case ColumnKind::Integer:
      return std::int64_t{sqlite3_column_int64(row, column)};
    case ColumnKind::Float: {
      const double number = sqlite3_column_double(row, column);
      return type.kind == TypeKind::Real ? ReadReal(number) : Finite(number);
    }
    case ColumnKind::Decimal: {
      const std::string digits =
          FormatExact({UnitsOf(sqlite3_column_value(row, column)), type.scale});
      return Text(digits.begin(), digits.end());
    }
    case ColumnKind::DateTime:
      return DateFromDateTime(sqlite3_column_int64(row, column));
    default:
      return ToText(ColumnText(row, column));
  }
}

}  // namespace

std::string ColumnDeclaration(std::string_view name, const Type& type) {
  std::string sql = QuoteIdentifier(name) + " " + QuoteIdentifier(TypeName(type));
  if (IsText(type.kind)) sql.append(" COLLATE ").append(kCollation);
  if (!type.nullable) sql += " NOT NULL";
  return sql;
}

Interpreter::Interpreter(Storage& storage, Catalogue& catalogue)
    : storage_(storage), catalogue_(catalogue) {
  storage.functions().object_exists = [this](TextView name) { return ObjectExists(name); };
}

// For OBJECT_ID. A text that is no name names no object.
bool Interpreter::ObjectExists(TextView name) {
  Arena scratch;
  const Text drop = u"DROP TABLE " + Text(name);
  try {
    const Batch batch = ParseBatch(drop, scratch);
    return Binder(drop, scratch, catalogue_).ObjectExists(batch.statements[0]->targets[0]);
  } catch (const SqlError&) {
    return false;
  }
}

void Interpreter::Run(TextView text, ResultSink& sink) {
  Arena arena;
  sink_ = &sink;
  depth_ = 0;
  session_.BeginBatch();
  const Batch batch = ParseBatch(text, arena);
  Frame frame;
  frame.text = text;
  frame.arena = &arena;
  frame.variables = Variables(batch.variables.size());
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
  const Frame& frame = *session_.frame;
  if (error.position.line == 0) {
    error.position = PositionOf(frame.text, statement.offset);
    error.position.column = 0;
  }
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
  }
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
    if (failed_drop_ && EqualText(FromUtf8(error.message), FromUtf8(failed_drop_->message))) {
      error = failed_drop_->reason;
    }
    Locate(error, statement);
    FollowTransaction();
    if (session_.tries > 0 || !EndsHere(error)) throw;
    Tell(error);
    return Flow::Next;
  }
}

Flow Interpreter::ExecuteAt(const Statement& statement) {
  switch (statement.kind) {
    case StatementKind::If:
      return If(statement);
    case StatementKind::Block:
      return RunAll(statement.body);
    case StatementKind::While:
      return While(statement);
    case StatementKind::TryCatch:
      return TryCatch(statement);
    case StatementKind::Break:
      return Flow::Break;
    case StatementKind::Continue:
      return Flow::Continue;
    case StatementKind::Return:
      return Return(statement);
    default:
      break;
  }
  const OwnTree own(*session_.frame);
  catalogue_.Refresh();
  ExecuteSimple(own.Of(statement));
  return Flow::Next;
}

// A statement that holds no others.
void Interpreter::ExecuteSimple(Statement& statement) {
  switch (statement.kind) {
    case StatementKind::Assign:
      for (const VariableAssignment& assignment : statement.variables) {
        Assign(*assignment.variable, assignment.value);
      }
      return;
    case StatementKind::ExecuteText:
      ExecuteText(statement);
      return;
    case StatementKind::ExecuteProcedure:
      ExecuteProcedure(statement);
      return;
    case StatementKind::RaiseError:
      RaiseError(statement);
      return;
    case StatementKind::Throw:
      Throw(statement);
    case StatementKind::Select:
      SelectQuery(*statement.query);
      break;
    case StatementKind::Insert:
    case StatementKind::Update:
    case StatementKind::Delete:
      ExecuteModification(statement);
      break;
    default:
      session_.row_count = 0;
      ExecuteOther(statement);
  }
  session_.last_error = 0;
}

void Interpreter::ExecuteModification(Statement& statement) {
  if (statement.kind == StatementKind::Insert) {
    Insert(statement);
  } else if (statement.kind == StatementKind::Update) {
    Update(statement);
  } else {
    Delete(statement);
  }
}

// Statements that affect no rows.
void Interpreter::ExecuteOther(Statement& statement) {
  switch (statement.kind) {
    case StatementKind::SetOption:
      SetOption(statement);
      return;
    case StatementKind::Print:
      Print(statement);
      return;
    case StatementKind::Begin:
      BeginTransaction();
      return;
    case StatementKind::Commit:
      CommitTransaction();
      return;
    case StatementKind::Rollback:
      RollbackTransaction();
      return;
    case StatementKind::Truncate:
      Truncate(statement);
      return;
    case StatementKind::CreateTable:
      CreateTable(statement);
      return;
    case StatementKind::AlterTable:
      AlterTable(statement);
      return;
    case StatementKind::CreateIndex:
      CreateIndex(statement);
      return;
    case StatementKind::CreateView:
      CreateView(statement);
      return;
    case StatementKind::CreateProcedure:
    case StatementKind::AlterProcedure:
      CreateProcedure(statement);
      return;
    default:
      for (const ObjectName& target : statement.targets) {
        catalogue_.Refresh();
        Drop(statement, target);
      }
  }
}

void Interpreter::Affected(std::int64_t rows) {
  session_.row_count = rows;
  if (!session_.no_count) sink_->RowsAffected(rows);
}

SqliteStatement Interpreter::Prepare(const std::string& sql) {
  SqliteStatement statement = storage_.Prepare(sql);
  session_.Bind(statement.get());
  return statement;
}

std::int64_t Interpreter::Change(const std::string& sql) {
  const SqliteStatement statement = Prepare(sql);
  Transaction transaction(storage_);
  while (storage_.Step(statement.get())) {
  }
  const std::int64_t changes = sqlite3_changes64(storage_.db());
  transaction.Commit();
  return changes;
}

void Interpreter::SelectQuery(Query& query) {
  if (query.selects[0]->items[0].variable != nullptr) {
    SelectAssign(query);
    return;
  }
  Binder binder = NewBinder();
  binder.BindQuery(query);
  Plan(query);
  if (query.selects[0]->has_into) {
    SelectInto(query, binder);
  } else {
    SelectRows(query);
  }
}

void Interpreter::Plan(Query& query) {
  PlanQuery(query, *session_.frame->arena, catalogue_, storage_.options().planning);
}

void Interpreter::SelectRows(Query& query) {
  Emitter emitter;
  emitter.EmitQuery(query);
  const SqliteStatement statement = Prepare(emitter.Take());
  SendRows(statement.get(), query);
}

void Interpreter::SendRows(sqlite3_stmt* statement, const Query& query) {
  const std::vector<ResultColumn> columns = DescribeColumns(query);
  std::vector<Value> values(columns.size());
  std::int64_t count = 0;
  bool more = storage_.Step(statement);
  sink_->Columns(columns);
  try {
    for (; more; more = storage_.Step(statement), ++count) {
      if (!sink_->WantsRow()) continue;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        values[i] = ReadValue(statement, static_cast<int>(i), query.types[i]);
      }
      sink_->Row(values);
    }
  } catch (const SqlError&) {
    sink_->EndRows(count);  // the rows before the failure have been given
    throw;
  }
  sink_->EndRows(count);
  session_.row_count = count;
}

// Has the running call drop `table`, which is about to be made, in its end. Noted as the statement
// that needs no memory then.
void Interpreter::KeepTemporary(DatabaseId database, const std::string& table) {
  if (database != DatabaseId::Session) return;
  session_.frame->temporaries.push_back("DROP TABLE IF EXISTS " + table);
}

// The new table is there with all its rows or not at all. Names, types and nullability are those of
// the query's columns.
void Interpreter::SelectInto(Query& query, Binder& binder) {
  const ObjectName& into = query.selects[0]->into;
  const DatabaseId database = binder.RequireDatabase(into);
  const std::string table =
      std::string(SchemaName(database)) + "." + QuoteIdentifier(ToUtf8(into.object.text));
  std::string create = "CREATE TABLE " + table + " (";
  for (std::size_t i = 0; i < query.types.size(); ++i) {
    if (i > 0) create += ", ";
    create += ColumnDeclaration(ToUtf8(query.names[i]), query.types[i]);
  }
  Emitter emitter;
  emitter.Raw("INSERT INTO ").Raw(table).Raw(" ").EmitQuery(query);
  KeepTemporary(database, table);
  Transaction transaction(storage_);
  storage_.Execute(create + ")");
  const std::int64_t rows = Change(emitter.Take());
  transaction.Commit();
  Affected(rows);
}

}  // namespace ledgerwick::tsql
