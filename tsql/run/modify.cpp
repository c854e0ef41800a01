// INSERT, UPDATE, DELETE and TRUNCATE.
#include <algorithm>

#include "tsql/emit/emitter.h"
#include "tsql/run/interpreter.h"

namespace ledgerwick::tsql {
namespace {

bool HoldsQuery(const Expr& expr) noexcept {
  return expr.query != nullptr || std::any_of(expr.args.begin(), expr.args.end(),
                                              [](const Expr* arg) { return HoldsQuery(*arg); });
}

// SQLite changes the rows of one table as it finds them, and a subquery would read rows that were
// changed already. So all rows and values are found before.
bool AsksTables(const Statement& statement) noexcept {
  return (statement.where != nullptr && HoldsQuery(*statement.where)) ||
         std::any_of(statement.assignments.begin(), statement.assignments.end(),
                     [](const Assignment& a) { return HoldsQuery(*a.value); });
}

}  // namespace

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
  const bool alone = statement.from->source == &target && !AsksTables(statement);
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
  if (statement.from->source == &target && !AsksTables(statement)) {
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
