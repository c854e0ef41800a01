#include "tsql/interpreter.h"

#include <algorithm>

#include "tsql/datetime.h"
#include "tsql/emitter.h"
#include "tsql/functions.h"
#include "tsql/parser.h"

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

void Interpreter::Run(TextView batch, ResultSink& sink) {
  Arena arena;
  batch_ = batch;
  arena_ = &arena;
  sink_ = &sink;
  for (Statement* statement : ParseBatch(batch, arena)) Execute(*statement);
}

// A failure while a statement runs is told with the line that the statement begins on.
void Interpreter::Execute(Statement& statement) {
  try {
    ExecuteAt(statement);
  } catch (SqlError& error) {
    if (error.position.line == 0) {
      error.position = PositionOf(batch_, statement.offset);
      error.position.column = 0;
    }
    throw;
  }
}

void Interpreter::ExecuteAt(Statement& statement) {
  switch (statement.kind) {
    case StatementKind::If:
      If(statement);
      return;
    case StatementKind::Block:
      for (Statement* inner : statement.body) Execute(*inner);
      return;
    case StatementKind::SetOption:
      return;
    case StatementKind::Print:
      Print(statement);
      return;
    default:
      break;
  }
  catalogue_.Refresh();
  switch (statement.kind) {
    case StatementKind::Select: {
      Binder binder = NewBinder();
      binder.BindQuery(*statement.query);
      if (statement.query->selects[0]->has_into) {
        SelectInto(*statement.query, binder);
      } else {
        SelectRows(*statement.query);
      }
      return;
    }
    case StatementKind::Insert:
      Insert(statement);
      return;
    case StatementKind::Update:
      Update(statement);
      return;
    case StatementKind::Delete:
      Delete(statement);
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
    default:
      for (const ObjectName& target : statement.targets) {
        catalogue_.Refresh();
        Drop(target, statement.kind);
      }
  }
}

// A condition that is unknown does not hold. Its query ends here: an open one would keep the branch
// from changing the tables that it reads.
bool Interpreter::Holds(const Expr& condition) {
  const SqliteStatement row =
      storage_.Prepare("SELECT CASE WHEN " + EmitToString(condition) + " THEN 1 ELSE 0 END");
  return storage_.Step(row.get()) && sqlite3_column_int(row.get(), 0) != 0;
}

void Interpreter::If(Statement& statement) {
  catalogue_.Refresh();
  NewBinder().BindCondition(*statement.where);
  if (Holds(*statement.where)) {
    Execute(*statement.then_branch);
  } else if (statement.else_branch != nullptr) {
    Execute(*statement.else_branch);
  }
}

void Interpreter::Print(Statement& statement) {
  constexpr std::int32_t kLongest = 8000;
  catalogue_.Refresh();
  const Expr* value = NewBinder().BindValue(statement.value, MakeType(TypeKind::VarChar, kLongest));
  const SqliteStatement row = storage_.Prepare("SELECT " + EmitToString(*value));
  if (storage_.Step(row.get())) {
    sink_->Message(TryFromUtf8(ColumnText(row.get(), 0)).value_or(Text()));
  }
}

void Interpreter::SelectRows(Query& query) {
  Emitter emitter;
  emitter.EmitQuery(query);
  const SqliteStatement statement = storage_.Prepare(emitter.Take());
  SendRows(statement.get(), query);
}

void Interpreter::SendRows(sqlite3_stmt* statement, const Query& query) {
  const std::vector<ResultColumn> columns = DescribeColumns(query);
  std::vector<Value> values(columns.size());
  std::int64_t count = 0;
  bool more = storage_.Step(statement);
  sink_->Columns(columns);
  for (; more; more = storage_.Step(statement)) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      values[i] = ReadValue(statement, static_cast<int>(i), columns[i].kind);
    }
    sink_->Row(values);
    ++count;
  }
  sink_->EndRows(count);
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
  const std::int64_t rows = storage_.Execute(emitter.Take());
  transaction.Commit();
  sink_->RowsAffected(rows);
}

void Interpreter::Insert(Statement& statement) {
  Binder binder = NewBinder();
  const Table& table = binder.RequireTable(statement.target);
  if (table.kind != TableKind::Table) {
    throw errors::NotUpdatable(statement.target.object.text,
                               binder.At(statement.target.object.offset));
  }
  sink_->RowsAffected(storage_.Execute(InsertSql(statement, binder, table)));
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
  sink_->RowsAffected(storage_.Execute(emitter.Take()));
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
  sink_->RowsAffected(storage_.Execute(emitter.Take()));
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
