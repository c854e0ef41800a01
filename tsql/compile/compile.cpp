#include "tsql/compile/compile.h"

#include "tsql/binder/print_bound.h"
#include "tsql/emit/emitter.h"
#include "tsql/storage/constraints.h"
#include "tsql/syntax/parser.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {

RowVersionSql RowVersionSqlOf(DatabaseId database, const std::string& table,
                              const std::string& column) {
  const std::string schema = SchemaName(database);
  const std::string counter = schema + "." + kRowVersionTable;
  const std::string name = QuoteIdentifier(column);
  RowVersionSql sql;
  sql.before = {
      "CREATE TABLE IF NOT EXISTS " + counter + " (value INTEGER NOT NULL)",
      "INSERT INTO " + counter + " SELECT 2000 WHERE NOT EXISTS (SELECT 1 FROM " + counter + ")"};
  for (const std::string event : {"INSERT", "UPDATE"}) {
    // What the trigger itself changes is the version alone.
    const std::string when = event == "UPDATE" ? " WHEN NEW." + name + " IS OLD." + name : "";
    sql.after.push_back("CREATE TRIGGER " + schema + "." + QuoteIdentifier(table + "." + event) +
                        " AFTER " + event + " ON " + QuoteIdentifier(table) + when +
                        " BEGIN UPDATE " + kRowVersionTable + " SET value = value + 1; UPDATE " +
                        QuoteIdentifier(table) + " SET " + name +
                        " = (SELECT t_rowversion(value) FROM " + kRowVersionTable +
                        ") WHERE _rowid_ = NEW._rowid_; END");
  }
  return sql;
}

std::string ColumnDeclaration(std::string_view name, const Type& type) {
  std::string sql = QuoteIdentifier(name) + " " + QuoteIdentifier(TypeName(type));
  // Until a trigger sets it.
  if (type.kind == TypeKind::RowVersion) sql += " DEFAULT (X'0000000000000000')";
  if (IsText(type.kind)) sql.append(" COLLATE ").append(kCollation);
  if (!type.nullable) sql += " NOT NULL";
  return sql;
}

Compiled Compiler::Compile(const Statement& statement) {
  if (const auto* select = As<SelectStatement>(statement)) return CompileQuery(*select->query);
  if (const auto* insert = As<InsertStatement>(statement)) return CompileInsert(*insert);
  if (const auto* update = As<UpdateStatement>(statement)) return CompileUpdate(*update);
  if (const auto* drop = As<DeleteStatement>(statement)) return CompileDelete(*drop);
  return {};
}

BoundQuery& Compiler::BindAndPlan(const Query& query, Binder& binder) {
  BoundQuery& bound = *binder.BindQuery(query);
  if (notes_ != nullptr) notes_->bound = PrintBound(bound);
  PlanContext context = NewContext(binder);
  PlanQuery(bound, context);
  return bound;
}

namespace {

std::vector<std::size_t> IdentitiesOf(const BoundSelect& select) {
  std::vector<std::size_t> identities;
  for (std::size_t i = 0; i < select.items.size(); ++i) {
    const BoundExpr& expr = *select.items[i].expr;
    if (expr.kind != ExprKind::Column || expr.source->query != nullptr) continue;
    const Table& table = *expr.source->table;
    if (table.columns[static_cast<std::size_t>(expr.column)].is_identity) identities.push_back(i);
  }
  return identities;
}

}  // namespace

std::string Compiler::QuerySql(const Query& query) {
  Binder binder = NewBinder();
  std::vector<std::string> parts;
  Emitter emitter(parts);
  emitter.EmitQuery(BindAndPlan(query, binder));
  return emitter.Take();
}

Compiled Compiler::CompileQuery(const Query& query) {
  Binder binder = NewBinder();
  const BoundQuery& bound = BindAndPlan(query, binder);
  Compiled compiled;
  if (bound.selects[0]->items[0].variable != 0) {
    compiled = CompileAssignment(bound);
  } else if (bound.selects[0]->has_into) {
    compiled = CompileInto(query.selects[0]->into, bound, binder);
  } else {
    Emitter emitter(compiled.parts);
    emitter.EmitQuery(bound);
    compiled.sql.push_back(emitter.Take());
    compiled.types.assign(bound.types.begin(), bound.types.end());
    compiled.names.assign(bound.names.begin(), bound.names.end());
    if (bound.selects.size() == 1) compiled.identities = IdentitiesOf(*bound.selects[0]);
  }
  compiled.reads_schema = binder.reads_schema();
  return compiled;
}

// SELECT @v = …: every row assigns in its turn. Without a table there is one row, whose items see
// what those before them assigned.
Compiled Compiler::CompileAssignment(const BoundQuery& query) {
  const BoundSelect& select = *query.selects[0];
  const bool in_turn = select.from == nullptr && select.where == nullptr && !select.grouped;
  Compiled compiled;
  for (const BoundItem& item : select.items) {
    compiled.assigned.push_back(item.variable);
    if (!in_turn) continue;
    Emitter emitter(compiled.parts);
    emitter.Raw("SELECT ").EmitExpr(*item.expr);
    compiled.sql.push_back(emitter.Take());
  }
  if (in_turn) return compiled;
  Emitter emitter(compiled.parts);
  emitter.EmitQuery(query);
  compiled.sql.push_back(emitter.Take());
  return compiled;
}

// Names, types and nullability of the new table are those of the query's columns.
Compiled Compiler::CompileInto(const ObjectName& into, const BoundQuery& query, Binder& binder) {
  const DatabaseId database = binder.RequireDatabase(into);
  const std::string table =
      std::string(SchemaName(database)) + "." + QuoteIdentifier(ToUtf8(into.object.text));
  std::string create = "CREATE TABLE " + table + " (";
  for (std::size_t i = 0; i < query.types.size(); ++i) {
    if (i > 0) create += ", ";
    create += ColumnDeclaration(ToUtf8(query.names[i]), query.types[i]);
  }
  Compiled compiled;
  Emitter emitter(compiled.parts);
  emitter.Raw("INSERT INTO ").Raw(table).Raw(" ").EmitQuery(query);
  RowVersionSql versions;
  for (std::size_t i = 0; i < query.types.size(); ++i) {
    if (query.types[i].kind != TypeKind::RowVersion) continue;
    versions = RowVersionSqlOf(database, ToUtf8(into.object.text), ToUtf8(query.names[i]));
  }
  compiled.sql = std::move(versions.before);
  if (catalogue_.HasConstraints(database)) {
    // What a table of that name has left, which went with a call or a transaction.
    const std::vector<std::string> forget = ForgetTable(database, into.object.text);
    compiled.sql.insert(compiled.sql.end(), forget.begin(), forget.end());
  }
  compiled.sql.push_back(create + ")");
  compiled.sql.push_back(emitter.Take());
  compiled.sql.insert(compiled.sql.end(), versions.after.begin(), versions.after.end());
  if (database == DatabaseId::Session) compiled.temporary = table;
  return compiled;
}

Compiled Compiler::CompileCondition(const Expr& condition) {
  Binder binder = NewBinder();
  BoundExpr* bound = binder.BindCondition(condition);
  PlanContext context = NewContext(binder);
  PlanExpression(*bound, context);
  Compiled compiled;
  Emitter emitter(compiled.parts);
  emitter.Raw("SELECT CASE WHEN ").EmitExpr(*bound);
  compiled.sql.push_back(emitter.Raw(" THEN 1 ELSE 0 END").Take());
  compiled.reads_schema = binder.reads_schema();
  return compiled;
}

Compiled Compiler::CompileValues(std::span<const Expr* const> values, const TypeOf& type_of) {
  Binder binder = NewBinder();
  Compiled compiled;
  std::vector<BoundExpr*> bound;
  for (const Expr* value : values) {
    bound.push_back(binder.BindExpression(*value));
    const Type own = bound.back()->type;
    compiled.types.push_back(own);
    bound.back() = binder.Coerce(bound.back(), type_of(bound.size() - 1, own));
  }
  PlanContext context = NewContext(binder);
  Emitter emitter(compiled.parts);
  for (BoundExpr* value : bound) {
    PlanExpression(*value, context);
    emitter.Raw(value == bound.front() ? "SELECT " : ", ").EmitExpr(*value);
  }
  compiled.sql.push_back(emitter.Take());
  compiled.reads_schema = binder.reads_schema();
  return compiled;
}

std::string Compiler::CompileDefault(const Expr& value, const Type& type) {
  std::vector<std::string> parts;
  Emitter emitter(parts);
  emitter.EmitExpr(*NewBinder().BindValue(value, type));
  return emitter.Take();
}

std::string Compiler::CompileCheck(const Expr& condition, const Table& table) {
  Source row;
  row.id = kNewRow;
  row.table = &table;
  row.exposed = table.name;
  std::vector<std::string> parts;
  Emitter emitter(parts);
  BoundExpr* bound = NewBinder().BindRowCondition(condition, row);
  emitter.EmitExpr(*bound);
  return emitter.Take();
}

std::string Compiler::CompileComputed(const Expr& value, const Table& table, Type& type) {
  Source row;
  row.id = kOwnRow;
  row.table = &table;
  row.exposed = table.name;
  std::vector<std::string> parts;
  Emitter emitter(parts);
  const BoundExpr& bound = *NewBinder().BindRowValue(value, row);
  type = bound.type;
  emitter.EmitExpr(bound);
  return emitter.Take();
}

std::string Compiler::CompileConversion(const Table& table, std::int32_t column, const Type& type) {
  Source row;
  row.id = kOwnRow;
  row.table = &table;
  auto* expr = arena_.Make<BoundExpr>();
  expr->kind = ExprKind::Column;
  expr->source = &row;
  expr->column = column;
  expr->type = row.TypeOf(column);
  std::vector<std::string> parts;
  Emitter emitter(parts);
  emitter.EmitExpr(*NewBinder().Coerce(expr, type, Conversion::Store));
  return emitter.Take();
}

std::vector<std::string> CompileQueries(TextView batch, Catalogue& catalogue, Planning planning) {
  Arena arena;
  std::vector<std::string> queries;
  for (const Statement* statement : ParseBatch(batch, arena).statements) {
    const auto* select = As<SelectStatement>(*statement);
    if (select == nullptr) continue;
    catalogue.Refresh();
    queries.push_back(Compiler(batch, arena, catalogue, planning).QuerySql(*select->query));
  }
  return queries;
}

}  // namespace ledgerwick::tsql
