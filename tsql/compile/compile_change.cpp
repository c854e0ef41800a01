// INSERT, UPDATE and DELETE in SQLite's SQL.
#include <algorithm>
#include <cstdint>
#include <utility>

#include "tsql/binder/print_bound.h"
#include "tsql/compile/compile.h"
#include "tsql/emit/emitter.h"

namespace ledgerwick::tsql {
namespace {

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

// What the storage is given for a column that the statement has no value for.
std::string_view AddedValue(const TableColumn& column) {
  if (column.is_identity) return "t_identity()";
  return column.default_sql.empty() ? "NULL" : std::string_view(column.default_sql);
}

void EmitWhere(Emitter& emitter, const BoundExpr* where) {
  if (where == nullptr) return;
  emitter.Raw(" WHERE ");
  emitter.EmitExpr(*where);
}

// The least and the highest number of an IDENTITY column of that type.
std::pair<std::int64_t, std::int64_t> IdentityRange(const Type& type) {
  constexpr int kIntegerDigits = 18;
  switch (type.kind) {
    case TypeKind::TinyInt:
      return {0, UINT8_MAX};
    case TypeKind::SmallInt:
      return {INT16_MIN, INT16_MAX};
    case TypeKind::Int:
      return {INT32_MIN, INT32_MAX};
    default:
      break;
  }
  if (type.kind != TypeKind::Decimal || type.precision > kIntegerDigits) {
    return {INT64_MIN, INT64_MAX};
  }
  std::int64_t limit = 1;
  for (int i = 0; i < type.precision; ++i) limit *= 10;
  return {1 - limit, limit - 1};
}

std::string UpdateIdentity(const Table& table, const std::string& last) {
  return std::string("UPDATE ") + SchemaName(table.database) + "." + kIdentityTable +
         " SET last = " + last + " WHERE tab = " + QuoteLiteral(ToUtf8(table.name));
}

}  // namespace

// It writes, though nothing new: so the right to write is had before the number is read.
std::string BeginIdentitySql(const Table& table) {
  const TableColumn& column = *std::find_if(table.columns.begin(), table.columns.end(),
                                            [](const TableColumn& c) { return c.is_identity; });
  const auto [low, high] = IdentityRange(column.type);
  const int precision = column.type.kind == TypeKind::Decimal ? column.type.precision : 0;
  // The least number has no literal.
  const std::string least = low == INT64_MIN ? "-9223372036854775807 - 1" : std::to_string(low);
  return UpdateIdentity(table, "t_identity_begin(last, seed, step, key, " +
                                   std::to_string(precision) + ", " + least + ", " +
                                   std::to_string(high) + ", " +
                                   QuoteLiteral(KindName(column.type.kind)) + ")");
}

std::string EndIdentitySql(const Table& table) {
  return UpdateIdentity(table, "t_identity_end(last)");
}

Compiled Compiler::CompileInsert(const InsertStatement& statement) {
  Binder binder = NewBinder();
  Compiled compiled;
  const Table& table = InsertTarget(statement, binder);
  Emitter emitter(compiled.parts);
  EmitInsert(statement, binder, table, table.sql, emitter);
  compiled.sql.push_back(emitter.Take());
  if (table.identity) {
    compiled.sql.insert(compiled.sql.begin(), BeginIdentitySql(table));
    compiled.sql.push_back(EndIdentitySql(table));
    compiled.counted = 1;
    compiled.gives_identity = true;
  }
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

Compiler::InsertColumns Compiler::ColumnsToInsert(const InsertStatement& statement, Binder& binder,
                                                  const Table& table) {
  InsertColumns columns;
  const Position at = binder.At(statement.target.object.offset);
  if (!statement.default_values) {
    columns.given = binder.BindInsertColumns(table, statement.columns, at);
  }
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const TableColumn& column = table.columns[i];
    const auto index = static_cast<std::int32_t>(i);
    const std::vector<std::int32_t>& given = columns.given;
    if (std::find(given.begin(), given.end(), index) != given.end()) continue;
    if (column.is_identity || column.states_default) {
      columns.added.push_back(index);
    } else if (column.is_row_number) {
      throw errors::NullNotAllowed(column.name, table.name, true);
    }
  }
  return columns;
}

// The rows for `table`, inserted into `into`, which has its columns.
void Compiler::EmitInsert(const InsertStatement& statement, Binder& binder, const Table& table,
                          const std::string& into, Emitter& emitter) {
  const InsertColumns columns = ColumnsToInsert(statement, binder, table);
  emitter.Raw("INSERT INTO ").Raw(into);
  std::string_view before = " (";
  for (const std::vector<std::int32_t>* list : {&columns.given, &columns.added}) {
    for (const std::int32_t column : *list) {
      emitter.Raw(std::exchange(before, ", ")).Raw(ColumnOf(table, column).sql);
    }
  }
  if (columns.given.empty() && columns.added.empty()) {
    emitter.Raw(" DEFAULT VALUES");
    return;
  }
  emitter.Raw(") ");
  if (statement.default_values) {
    before = "VALUES (";
    for (const std::int32_t column : columns.added) {
      emitter.Raw(std::exchange(before, ", ")).Raw(AddedValue(ColumnOf(table, column)));
    }
    emitter.Raw(")");
  } else if (statement.query == nullptr) {
    EmitInsertValues(statement, binder, table, columns, emitter);
  } else {
    EmitInsertQuery(statement, binder, table, columns, emitter);
  }
}

// More or fewer values than columns; where no columns are named, as many as the table has might be
// meant for the one that gives its numbers itself.
void Compiler::RequireCount(const InsertStatement& statement, const Binder& binder,
                            const Table& table, std::size_t columns, std::size_t values) {
  if (columns == values) return;
  const Position at = binder.At(statement.offset);
  if (statement.columns.empty() && table.identity && values == columns + 1) {
    throw errors::IdentityWithoutColumns(table.name, at);
  }
  if (statement.columns.empty()) throw errors::TableValueCount(at);
  if (statement.query != nullptr) throw errors::InsertSelectCount(values > columns, at);
  throw errors::InsertCount(columns > values, at);
}

void Compiler::EmitInsertQuery(const InsertStatement& statement, Binder& binder, const Table& table,
                               const InsertColumns& columns, Emitter& emitter) {
  BoundQuery& query = *binder.BindQuery(*statement.query);
  RequireCount(statement, binder, table, columns.given.size(), query.types.size());
  binder.StoreColumns(query, table, columns.given);
  if (notes_ != nullptr) notes_->bound = PrintBound(query);
  PlanContext context = NewContext(binder);
  PlanQuery(query, context);
  // The storage would invent a row number for a null; only then, and where columns are added, is
  // the query wrapped.
  const bool checked =
      !columns.added.empty() ||
      std::any_of(columns.given.begin(), columns.given.end(), [&](std::int32_t column) {
        return ColumnOf(table, column).is_row_number || ColumnOf(table, column).is_identity;
      });
  // Numbers are given in the order of the rows, which must stand before.
  const bool ordered = table.identity && !query.order_by.empty();
  std::string_view before = "SELECT ";
  if (checked) {
    for (std::size_t i = 0; i < columns.given.size(); ++i) {
      const TableColumn& column = ColumnOf(table, columns.given[i]);
      emitter.Raw(std::exchange(before, ", "));
      emitter.Raw(column.is_identity ? "t_identity_given(" : "");
      emitter.Raw(column.is_row_number ? "t_notnull(" : "");
      emitter.Raw("c" + std::to_string(i + 1));
      if (column.is_row_number) emitter.Raw(RowNumberEnd(column, table, true));
      emitter.Raw(column.is_identity ? ")" : "");
    }
    for (const std::int32_t column : columns.added) {
      emitter.Raw(std::exchange(before, ", ")).Raw(AddedValue(ColumnOf(table, column)));
    }
    emitter.Raw(ordered ? " FROM (WITH ordered AS MATERIALIZED (" : " FROM (");
  }
  emitter.EmitQuery(query, checked);
  if (checked) emitter.Raw(ordered ? ") SELECT * FROM ordered)" : ")");
}

// `value` for `column`, which must not be null where it is the storage's row number.
void Compiler::EmitInserted(const BoundExpr& value, const TableColumn& column, const Table& table,
                            Emitter& emitter) {
  if (column.is_identity) emitter.Raw("t_identity_given(");
  if (column.is_row_number && value.kind != ExprKind::Integer) {
    EmitRowNumber(emitter, value, column, table, true);
  } else {
    emitter.EmitExpr(value);
  }
  if (column.is_identity) emitter.Raw(")");
}

void Compiler::EmitInsertValues(const InsertStatement& statement, Binder& binder,
                                const Table& table, const InsertColumns& columns,
                                Emitter& emitter) {
  PlanContext context = NewContext(binder);
  emitter.Raw("VALUES ");
  for (std::size_t r = 0; r < statement.rows.size(); ++r) {
    const std::span<const Expr* const> row = statement.rows[r];
    RequireCount(statement, binder, table, columns.given.size(), row.size());
    emitter.Raw(r > 0 ? ", (" : "(");
    std::string_view before;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const TableColumn& column = ColumnOf(table, columns.given[i]);
      emitter.Raw(std::exchange(before, ", "));
      if (row[i] == nullptr) {  // DEFAULT
        if (column.is_row_number) throw errors::NullNotAllowed(column.name, table.name, true);
        emitter.Raw(column.default_sql.empty() ? "NULL" : column.default_sql);
        continue;
      }
      BoundExpr* value = binder.BindValue(*row[i], column.type);
      PlanExpression(*value, context);
      EmitInserted(*value, column, table, emitter);
    }
    for (const std::int32_t column : columns.added) {
      emitter.Raw(std::exchange(before, ", ")).Raw(AddedValue(ColumnOf(table, column)));
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
  emitter.Raw("INSERT OR IGNORE INTO ").Raw(kRefusedRows).Raw(" (").Raw(kRefusedRow);
  for (const TableColumn& column : change.target->table->columns) {
    if (column.computed_sql.empty()) emitter.Raw(", ").Raw(column.sql);
  }
  emitter.Raw(") SELECT ").Raw(alias + "_rowid_");
  for (std::size_t i = 0; i < change.target->table->columns.size(); ++i) {
    if (!change.target->table->columns[i].computed_sql.empty()) continue;
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
    refused.gives_identity = refused.table->identity.has_value();
  } else if (const auto* update = As<UpdateStatement>(statement)) {
    const BoundModification change =
        BindAndPlan(update->target, update->assignments, update->from, update->where, binder);
    EmitChangedRows(change, emitter);
    refused.table = change.target->table;
    refused.update = true;
  } else if (const auto* removal = As<DeleteStatement>(statement)) {
    const BoundModification change =
        BindAndPlan(removal->target, {}, removal->from, removal->where, binder);
    EmitChangedRows(change, emitter);
    refused.table = change.target->table;
    refused.removes = true;
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
