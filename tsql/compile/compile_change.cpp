// INSERT, UPDATE and DELETE in SQLite's SQL.
#include <algorithm>
#include <utility>

#include "tsql/binder/print_bound.h"
#include "tsql/compile/compile.h"
#include "tsql/emit/emitter.h"

namespace ledgerwick::tsql {
namespace {

bool HoldsQuery(const BoundExpr& expr) noexcept {
  return expr.query != nullptr ||
         std::any_of(expr.args.begin(), expr.args.end(),
                     [](const BoundExpr* arg) { return HoldsQuery(*arg); });
}

// SQLite changes the rows of one table as it finds them, and a subquery would read rows that were
// changed already. So all rows and values are found before, unless the target stands alone.
bool StandsAlone(const BoundModification& change) noexcept {
  return change.from->source == change.target &&
         (change.where == nullptr || !HoldsQuery(*change.where)) &&
         std::none_of(change.values.begin(), change.values.end(),
                      [](const BoundExpr* value) { return HoldsQuery(*value); });
}

const TableColumn& ColumnOf(const Table& table, std::int32_t column) {
  return table.columns[static_cast<std::size_t>(column)];
}

// What follows the value in the check of the storage's own row number: SQLite would make a number
// of NULL.
std::string RowNumberEnd(const TableColumn& column, const Table& table, bool insert) {
  return ", " + QuoteLiteral(ToUtf8(column.name)) + ", " + QuoteLiteral(ToUtf8(table.name)) +
         (insert ? ", 1)" : ", 0)");
}

void EmitRowNumber(Emitter& emitter, const BoundExpr& value, const TableColumn& column,
                   const Table& table, bool insert) {
  emitter.Raw("t_notnull(").EmitExpr(value);
  emitter.Raw(RowNumberEnd(column, table, insert));
}

// The value that an UPDATE gives to its column `i`.
void EmitValue(Emitter& emitter, const BoundModification& change, std::size_t i) {
  const Table& table = *change.target->table;
  const TableColumn& column = ColumnOf(table, change.columns[i]);
  if (column.is_row_number) {
    EmitRowNumber(emitter, *change.values[i], column, table, false);
  } else {
    emitter.EmitExpr(*change.values[i]);
  }
}

void EmitWhere(Emitter& emitter, const BoundExpr* where) {
  if (where == nullptr) return;
  emitter.Raw(" WHERE ");
  emitter.EmitExpr(*where);
}

}  // namespace

Compiled Compiler::CompileInsert(const InsertStatement& statement) {
  Binder binder = NewBinder();
  Compiled compiled;
  const Table& table = InsertTarget(statement, binder);
  Emitter emitter(compiled.parts);
  EmitInsert(statement, binder, table, table.sql, emitter);
  compiled.sql.push_back(emitter.Take());
  compiled.reads_schema = true;
  return compiled;
}

const Table& Compiler::InsertTarget(const InsertStatement& statement, Binder& binder) {
  const Table& table = binder.RequireTable(statement.target);
  if (table.kind != TableKind::Table) {
    throw errors::NotUpdatable(statement.target.object.text,
                               binder.At(statement.target.object.offset));
  }
  return table;
}

// The rows for `table`, inserted into `into`, which has its columns.
void Compiler::EmitInsert(const InsertStatement& statement, Binder& binder, const Table& table,
                          const std::string& into, Emitter& emitter) {
  emitter.Raw("INSERT INTO ").Raw(into);
  std::vector<std::int32_t> columns;
  if (!statement.default_values) columns = binder.BindInsertColumns(table, statement.columns);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    emitter.Raw(i > 0 ? ", " : " (").Raw(ColumnOf(table, columns[i]).sql);
  }
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const bool given =
        std::find(columns.begin(), columns.end(), static_cast<std::int32_t>(i)) != columns.end();
    if (table.columns[i].is_row_number && !given) {
      throw errors::NullNotAllowed(table.columns[i].name, table.name, true);
    }
  }
  if (statement.default_values) {
    emitter.Raw(" DEFAULT VALUES");
    return;
  }
  emitter.Raw(") ");
  if (statement.query == nullptr) {
    EmitInsertValues(statement, binder, table, columns, emitter);
  } else {
    EmitInsertQuery(statement, binder, table, columns, emitter);
  }
}

void Compiler::EmitInsertQuery(const InsertStatement& statement, Binder& binder, const Table& table,
                               const std::vector<std::int32_t>& columns, Emitter& emitter) {
  BoundQuery& query = *binder.BindQuery(*statement.query);
  const bool more = query.types.size() > columns.size();
  if (query.types.size() != columns.size()) {
    if (statement.columns.empty()) throw errors::TableValueCount(binder.At(statement.offset));
    throw errors::InsertSelectCount(more, binder.At(statement.offset));
  }
  binder.StoreColumns(query, table, columns);
  if (notes_ != nullptr) notes_->bound = PrintBound(query);
  PlanContext context = NewContext(binder);
  PlanQuery(query, context);
  // The storage would invent a row number for a null; only then is the query wrapped.
  const bool checked = std::any_of(columns.begin(), columns.end(), [&](std::int32_t column) {
    return ColumnOf(table, column).is_row_number;
  });
  if (checked) {
    emitter.Raw("SELECT ");
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const TableColumn& column = ColumnOf(table, columns[i]);
      emitter.Raw(i > 0 ? ", " : "").Raw(column.is_row_number ? "t_notnull(" : "");
      emitter.Raw("c" + std::to_string(i + 1));
      if (column.is_row_number) emitter.Raw(RowNumberEnd(column, table, true));
    }
    emitter.Raw(" FROM (");
  }
  emitter.EmitQuery(query, checked);
  emitter.Raw(checked ? ")" : "");
}

void Compiler::EmitInsertValues(const InsertStatement& statement, Binder& binder,
                                const Table& table, const std::vector<std::int32_t>& columns,
                                Emitter& emitter) {
  PlanContext context = NewContext(binder);
  emitter.Raw("VALUES ");
  for (std::size_t r = 0; r < statement.rows.size(); ++r) {
    const std::span<const Expr* const> row = statement.rows[r];
    if (row.size() != columns.size()) {
      if (statement.columns.empty()) throw errors::TableValueCount(binder.At(statement.offset));
      throw errors::InsertCount(columns.size() > row.size(), binder.At(statement.offset));
    }
    emitter.Raw(r > 0 ? ", (" : "(");
    for (std::size_t i = 0; i < row.size(); ++i) {
      const TableColumn& column = ColumnOf(table, columns[i]);
      if (i > 0) emitter.Raw(", ");
      if (row[i] == nullptr) {  // DEFAULT
        if (column.is_row_number) throw errors::NullNotAllowed(column.name, table.name, true);
        emitter.Raw(column.default_sql.empty() ? "NULL" : column.default_sql);
        continue;
      }
      BoundExpr* value = binder.BindValue(*row[i], column.type);
      PlanExpression(*value, context);
      if (column.is_row_number && value->kind != ExprKind::Integer) {
        EmitRowNumber(emitter, *value, column, table, true);
      } else {
        emitter.EmitExpr(*value);
      }
    }
    emitter.Raw(")");
  }
}

BoundModification Compiler::BindAndPlan(const ObjectName& target,
                                        std::span<const Assignment> assignments, const From* from,
                                        const Expr* where, Binder& binder) {
  BoundModification change = binder.BindModification(target, assignments, from, where);
  if (notes_ != nullptr) notes_->bound = PrintBound(change);
  PlanContext context = NewContext(binder);
  PlanModification(change, context);
  return change;
}

Compiled Compiler::CompileUpdate(const UpdateStatement& statement) {
  Binder binder = NewBinder();
  const BoundModification change =
      BindAndPlan(statement.target, statement.assignments, statement.from, statement.where, binder);
  const Table& table = *change.target->table;
  const bool alone = StandsAlone(change);
  const std::string alias = "s" + std::to_string(change.target->id);
  Compiled compiled;
  Emitter emitter(compiled.parts);
  emitter.Raw("UPDATE ").Raw(table.sql).Raw(" AS ").Raw(alone ? alias : "target");
  for (std::size_t i = 0; i < change.columns.size(); ++i) {
    emitter.Raw(i == 0 ? " SET " : ", ");
    emitter.Raw(ColumnOf(table, change.columns[i]).sql).Raw(" = ");
    if (alone) {
      EmitValue(emitter, change, i);
    } else {
      emitter.Raw("found.c" + std::to_string(i + 1));
    }
  }
  if (alone) {
    EmitWhere(emitter, change.where);
  } else {
    emitter.Raw(" FROM (SELECT ").Raw(alias).Raw("._rowid_ AS r");
    for (std::size_t i = 0; i < change.columns.size(); ++i) {
      emitter.Raw(", ");
      EmitValue(emitter, change, i);
      emitter.Raw(" AS c" + std::to_string(i + 1));
    }
    emitter.EmitFromWhere(change.from, change.where);
    emitter.Raw(") AS found WHERE target._rowid_ = found.r");
  }
  compiled.sql.push_back(emitter.Take());
  compiled.reads_schema = true;
  return compiled;
}

// A row that several rows of FROM lead to is changed once.
void Compiler::EmitChangedRows(const BoundModification& change, Emitter& emitter) {
  const std::string alias = "s" + std::to_string(change.target->id) + ".";
  emitter.Raw("INSERT OR IGNORE INTO ").Raw(kRefusedRows).Raw(" SELECT ").Raw(alias + "_rowid_");
  for (std::size_t i = 0; i < change.target->table->columns.size(); ++i) {
    const auto assigned =
        std::find(change.columns.begin(), change.columns.end(), static_cast<std::int32_t>(i));
    emitter.Raw(", ");
    if (assigned != change.columns.end()) {
      EmitValue(emitter, change, static_cast<std::size_t>(assigned - change.columns.begin()));
    } else {
      emitter.Raw(alias + change.target->table->columns[i].sql);
    }
  }
  emitter.EmitFromWhere(change.from, change.where);
}

RefusedRows Compiler::CompileRefused(const Statement& statement) {
  Binder binder = NewBinder();
  RefusedRows refused;
  Emitter emitter(refused.parts);
  if (const auto* insert = As<InsertStatement>(statement)) {
    refused.table = &InsertTarget(*insert, binder);
    EmitInsert(*insert, binder, *refused.table, kRefusedRows, emitter);
  } else if (const auto* update = As<UpdateStatement>(statement)) {
    const BoundModification change =
        BindAndPlan(update->target, update->assignments, update->from, update->where, binder);
    EmitChangedRows(change, emitter);
    refused.table = change.target->table;
    refused.update = true;
  }
  refused.sql = emitter.Take();
  return refused;
}

std::string Compiler::CompileTexts(const Table& table, std::span<const std::int32_t> columns) {
  Binder binder = NewBinder();
  Source source;
  source.id = 1;
  source.table = &table;
  std::vector<std::string> parts;
  Emitter emitter(parts);
  std::string_view before;
  for (const std::int32_t column : columns) {
    auto* expr = arena_.Make<BoundExpr>();
    expr->kind = ExprKind::Column;
    expr->source = &source;
    expr->column = column;
    expr->type = source.TypeOf(column);
    emitter.Raw(std::exchange(before, ", "));
    if (IsBinary(expr->type.kind) || expr->type.kind == TypeKind::RowVersion) {
      emitter.Raw("'0x' || hex(").EmitExpr(*expr);
      emitter.Raw(")");
      continue;
    }
    emitter.EmitExpr(
        *binder.Coerce(expr, MakeType(TypeKind::NVarChar, kMaxLength), Conversion::Cast));
  }
  return emitter.Take();
}

Compiled Compiler::CompileDelete(const DeleteStatement& statement) {
  Binder binder = NewBinder();
  const BoundModification change =
      BindAndPlan(statement.target, {}, statement.from, statement.where, binder);
  const std::string alias = "s" + std::to_string(change.target->id);
  Compiled compiled;
  Emitter emitter(compiled.parts);
  emitter.Raw("DELETE FROM ").Raw(change.target->table->sql);
  if (StandsAlone(change)) {
    emitter.Raw(" AS ").Raw(alias);
    EmitWhere(emitter, change.where);
  } else {
    emitter.Raw(" WHERE _rowid_ IN (SELECT ").Raw(alias).Raw("._rowid_");
    emitter.EmitFromWhere(change.from, change.where);
    emitter.Raw(")");
  }
  compiled.sql.push_back(emitter.Take());
  compiled.reads_schema = true;
  return compiled;
}

}  // namespace ledgerwick::tsql
