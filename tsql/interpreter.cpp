#include "tsql/interpreter.h"

#include <algorithm>

#include "tsql/datetime.h"
#include "tsql/emitter.h"
#include "tsql/functions.h"
#include "tsql/parser.h"
#include "tsql/plan.h"

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

Value ReadValue(sqlite3_stmt* row, int column, ColumnKind kind) {
  if (sqlite3_column_type(row, column) == SQLITE_NULL) return Null{};
  switch (kind) {
    case ColumnKind::Boolean:
    case ColumnKind::Integer:
      return std::int64_t{sqlite3_column_int64(row, column)};
    case ColumnKind::Float:
    case ColumnKind::Decimal:
      return sqlite3_column_double(row, column);
    case ColumnKind::DateTime:
      return DateFromDateTime(sqlite3_column_int64(row, column));
    default:
      return TryFromUtf8(ColumnText(row, column)).value_or(Text());
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
    if (session_.transactions > 0 && session_.ReachOf(error) == Reach::Batch) {
      RollbackTransaction();
    }
    Tell(error);
  }
  if (session_.first_error) throw SqlError(*session_.first_error);
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
  const Counted nesting(depth_);
  try {
    storage_.CheckCancelled();
    if (depth_ > kDeepest) throw errors::NestedTooDeeply({});
    return ExecuteAt(statement);
  } catch (SqlError& error) {
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
  while (storage_.Step(statement.get())) {
  }
  return sqlite3_changes64(storage_.db());
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
    for (; more; more = storage_.Step(statement)) {
      for (std::size_t i = 0; i < columns.size(); ++i) {
        values[i] = ReadValue(statement, static_cast<int>(i), columns[i].kind);
      }
      sink_->Row(values);
      ++count;
    }
  } catch (const SqlError&) {
    sink_->EndRows(count);  // the rows before the failure have been given
    throw;
  }
  sink_->EndRows(count);
  session_.row_count = count;
}

// The new table is there with all its rows or not at all. Names, types and nullability are those of
// the query's columns.
void Interpreter::SelectInto(Query& query, Binder& binder) {
  const ObjectName& into = query.selects[0]->into;
  const std::string table = std::string(SchemaName(binder.RequireDatabase(into))) + "." +
                            QuoteIdentifier(ToUtf8(into.object.text));
  std::string create = "CREATE TABLE " + table + " (";
  for (std::size_t i = 0; i < query.types.size(); ++i) {
    if (i > 0) create += ", ";
    create += ColumnDeclaration(ToUtf8(query.names[i]), query.types[i]);
  }
  Emitter emitter;
  emitter.Raw("INSERT INTO ").Raw(table).Raw(" ").EmitQuery(query);
  Transaction transaction(storage_);
  storage_.Execute(create + ")");
  const std::int64_t rows = Change(emitter.Take());
  transaction.Commit();
  Affected(rows);
}

void Interpreter::Insert(Statement& statement) {
  Binder binder = NewBinder();
  const Table& table = binder.RequireTable(statement.target);
  if (table.kind != TableKind::Table) {
    throw errors::NotUpdatable(statement.target.object.text,
                               binder.At(statement.target.object.offset));
  }
  Affected(Change(InsertSql(statement, binder, table)));
}

std::string Interpreter::InsertSql(Statement& statement, Binder& binder, const Table& table) {
  if (statement.default_values) return "INSERT INTO " + table.sql + " DEFAULT VALUES";
  const std::vector<std::int32_t> columns = binder.BindInsertColumns(table, statement.columns);
  std::string sql = "INSERT INTO " + table.sql + " (";
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i > 0) sql += ", ";
    sql += table.columns[static_cast<std::size_t>(columns[i])].sql;
  }
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const bool given =
        std::find(columns.begin(), columns.end(), static_cast<std::int32_t>(i)) != columns.end();
    if (table.columns[i].is_row_number && !given) {
      throw errors::NullNotAllowed(table.columns[i].name, table.name, true);
    }
  }
  sql += ") ";
  if (statement.query == nullptr) return sql + InsertValues(statement, binder, table, columns);

  Query& query = *statement.query;
  binder.BindQuery(query);
  const bool more = query.types.size() > columns.size();
  if (query.types.size() != columns.size()) {
    if (statement.columns.empty()) throw errors::TableValueCount(binder.At(statement.offset));
    throw errors::InsertSelectCount(more, binder.At(statement.offset));
  }
  binder.StoreColumns(query, table, columns);
  Plan(query);
  Emitter emitter;
  emitter.Raw(sql);
  // The storage would invent a row number for a null; only then is the query wrapped.
  const bool checked = std::any_of(columns.begin(), columns.end(), [&](std::int32_t column) {
    return table.columns[static_cast<std::size_t>(column)].is_row_number;
  });
  if (checked) {
    emitter.Raw("SELECT ");
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const TableColumn& column = table.columns[static_cast<std::size_t>(columns[i])];
      const std::string value = "c" + std::to_string(i + 1);
      emitter.Raw(i > 0 ? ", " : "");
      emitter.Raw(column.is_row_number
                      ? "t_notnull(" + value + ", " + QuoteLiteral(ToUtf8(column.name)) + ", " +
                            QuoteLiteral(ToUtf8(table.name)) + ")"
                      : value);
    }
    emitter.Raw(" FROM (");
  }
  emitter.EmitQuery(query, checked);
  return emitter.Raw(checked ? ")" : "").Take();
}

std::string Interpreter::InsertValues(Statement& statement, Binder& binder, const Table& table,
                                      const std::vector<std::int32_t>& columns) {
  std::string sql = "VALUES ";
  for (std::size_t r = 0; r < statement.rows.size(); ++r) {
    const std::span<Expr*> row = statement.rows[r];
    if (row.size() != columns.size()) {
      if (statement.columns.empty()) throw errors::TableValueCount(binder.At(statement.offset));
      throw errors::InsertCount(columns.size() > row.size(), binder.At(statement.offset));
    }
    sql += r > 0 ? ", (" : "(";
    for (std::size_t i = 0; i < row.size(); ++i) {
      const TableColumn& column = table.columns[static_cast<std::size_t>(columns[i])];
      if (i > 0) sql += ", ";
      if (row[i] == nullptr) {  // DEFAULT
        sql += column.default_sql.empty() ? "NULL" : column.default_sql;
        continue;
      }
      const Expr* value = binder.BindValue(row[i], column.type);
      if (column.is_row_number && value->kind == ExprKind::Null) {
        throw errors::NullNotAllowed(column.name, table.name, true);
      }
      sql += EmitToString(*value);
    }
    sql += ")";
  }
  return sql;
}

void Interpreter::Update(Statement& statement) {
  Binder binder = NewBinder();
  std::vector<std::int32_t> columns;
  const Source& target = *binder.BindModification(statement, columns);
  const bool alone = statement.from->source == &target;
  const std::string alias = "s" + std::to_string(target.id);
  Emitter emitter;
  emitter.Raw("UPDATE ").Raw(target.table->sql).Raw(" AS ").Raw(alone ? alias : "target");
  for (std::size_t i = 0; i < columns.size(); ++i) {
    emitter.Raw(i == 0 ? " SET " : ", ");
    emitter.Raw(target.table->columns[static_cast<std::size_t>(columns[i])].sql).Raw(" = ");
    if (alone) {
      emitter.EmitExpr(*statement.assignments[i].value);
    } else {
      emitter.Raw("found.c" + std::to_string(i + 1));
    }
  }
  if (alone) {
    if (statement.where != nullptr) {
      emitter.Raw(" WHERE ");
      emitter.EmitExpr(*statement.where);
    }
  } else {
    emitter.Raw(" FROM (SELECT ").Raw(alias).Raw("._rowid_ AS r");
    for (std::size_t i = 0; i < columns.size(); ++i) {
      emitter.Raw(", ");
      emitter.EmitExpr(*statement.assignments[i].value);
      emitter.Raw(" AS c" + std::to_string(i + 1));
    }
    emitter.EmitFromWhere(statement.from, statement.where);
    emitter.Raw(") AS found WHERE target._rowid_ = found.r");
  }
  Affected(Change(emitter.Take()));
}

void Interpreter::Delete(Statement& statement) {
  Binder binder = NewBinder();
  std::vector<std::int32_t> columns;
  const Source& target = *binder.BindModification(statement, columns);
  const std::string alias = "s" + std::to_string(target.id);
  Emitter emitter;
  emitter.Raw("DELETE FROM ").Raw(target.table->sql);
  if (statement.from->source == &target) {
    emitter.Raw(" AS ").Raw(alias);
    if (statement.where != nullptr) {
      emitter.Raw(" WHERE ");
      emitter.EmitExpr(*statement.where);
    }
  } else {
    emitter.Raw(" WHERE _rowid_ IN (SELECT ").Raw(alias).Raw("._rowid_");
    emitter.EmitFromWhere(statement.from, statement.where);
    emitter.Raw(")");
  }
  Affected(Change(emitter.Take()));
}

void Interpreter::Truncate(Statement& statement) {
  Binder binder = NewBinder();
  const Table* table = binder.FindTable(statement.target);
  if (table == nullptr || table->kind != TableKind::Table) {
    throw errors::CannotTruncate(statement.target.object.text,
                                 binder.At(statement.target.object.offset));
  }
  storage_.Execute("DELETE FROM " + table->sql);
}

}  // namespace ledgerwick::tsql
