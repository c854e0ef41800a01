// The one way from T-SQL to SQLite's SQL: binds, plans and writes a statement.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "frame/text.h"
#include "tsql/base/arena.h"
#include "tsql/base/planning.h"
#include "tsql/binder/binder.h"
#include "tsql/emit/emitter.h"
#include "tsql/plan/plan.h"
#include "tsql/storage/catalogue.h"

namespace ledgerwick::tsql {

// What a statement comes to. It points to nothing: it holds as long as the schema stays the same,
// or for good where it does not read the schema.
struct Compiled {
  // To be run in this order. Rows and their count are those of the last that has any, but for
  // SELECT @v = …
  std::vector<std::string> sql;
  // What the deep expressions in them are evaluated by (statement_parts.h).
  std::vector<std::string> parts;
  std::vector<Type> types;  // of the result's columns; of the values as they are written
  std::vector<Text> names;  // of the result's columns
  std::vector<std::size_t> identities;  // those of them that are a table's IDENTITY column
  // The variables that SELECT @v = … assigns, in the order of the columns; each of `sql` has as
  // many.
  std::vector<std::int32_t> assigned;
  std::string temporary;    // the session's table, as SQLite has it, that SELECT INTO makes
  std::size_t counted = 0;  // which of `sql` tells how many rows were changed
  bool gives_identity = false;
  bool reads_schema = false;
};

// The rows that INSERT or UPDATE would make, or DELETE take away, as a statement that puts them
// into kRefusedRows, with the numbers of rows that are there in kRefusedRow.
struct RefusedRows {
  std::string sql;
  std::vector<std::string> parts;  // as Compiled has them
  const Table* table = nullptr;    // the catalogue's; nothing for other statements
  bool update = false;
  bool removes = false;
  bool gives_identity = false;
};

inline constexpr const char* kRefusedRows = "temp.ledgerwick_refused";
inline constexpr const char* kRefusedRow = "ledgerwick_row";

// What was found out on the way, for who asks.
struct CompileNotes {
  std::string bound;  // the bound tree, readable
  PlanNotes plan;
};

// Compiles statements of one text. Every member throws SqlError with the position of what is wrong.
class Compiler {
 public:
  // All of them outlive it; what is bound lives in `arena`; `notes` may be nullptr.
  Compiler(TextView text, Arena& arena, Catalogue& catalogue, Planning planning,
           CompileNotes* notes = nullptr)
      : text_(text), arena_(arena), catalogue_(catalogue), planning_(planning), notes_(notes) {}

  // SELECT, INSERT, UPDATE and DELETE; nothing for statements that are run in another way.
  Compiled Compile(const Statement& statement);

  Compiled CompileQuery(const Query& query);

  // A row with 1 where the condition holds, else 0.
  Compiled CompileCondition(const Expr& condition);

  // A row with the values, each as the type that `type_of` gives for its place and its own type.
  using TypeOf = std::function<Type(std::size_t place, const Type& own)>;
  Compiled CompileValues(std::span<const Expr* const> values, const TypeOf& type_of);

  // A constant as it stands in a declaration.
  std::string CompileDefault(const Expr& value, const Type& type);

  // A condition on a row of `table`, in names of columns with NEW in front.
  std::string CompileCheck(const Expr& condition, const Table& table);

  // The value of a computed column of `table`, in names of columns; its type goes to `type`.
  std::string CompileComputed(const Expr& value, const Table& table, Type& type);

  // The value of `column` of a row of `table` as `type`, in names of columns.
  std::string CompileConversion(const Table& table, std::int32_t column, const Type& type);

  // For when the storage has refused what Compile gave for `statement` (run/refused_rows.cpp).
  RefusedRows CompileRefused(const Statement& statement);

  // The texts of the columns as messages have them, of a row of `table` under the name s1: the
  // select list alone.
  std::string CompileTexts(const Table& table, std::span<const std::int32_t> columns);

  // The SQL of the query alone, whatever becomes of its rows.
  std::string QuerySql(const Query& query);

 private:
  Compiled CompileInsert(const InsertStatement& statement);
  const Table& InsertTarget(const InsertStatement& statement, Binder& binder);
  void EmitInsert(const InsertStatement& statement, Binder& binder, const Table& table,
                  const std::string& into, Emitter& emitter);
  // The columns that an INSERT fills: those that the statement gives values for, and behind them
  // those whose value the storage would not find by itself.
  struct InsertColumns {
    std::vector<std::int32_t> given;
    std::vector<std::int32_t> added;
  };
  InsertColumns ColumnsToInsert(const InsertStatement& statement, Binder& binder,
                                const Table& table);
  void EmitInsertQuery(const InsertStatement& statement, Binder& binder, const Table& table,
                       const InsertColumns& columns, Emitter& emitter);
  void EmitInsertValues(const InsertStatement& statement, Binder& binder, const Table& table,
                        const InsertColumns& columns, Emitter& emitter);
  static void RequireCount(const InsertStatement& statement, const Binder& binder,
                           const Table& table, std::size_t columns, std::size_t values);
  void EmitInserted(const BoundExpr& value, const TableColumn& column, const Table& table,
                    Emitter& emitter);
  Compiled CompileUpdate(const UpdateStatement& statement);
  Compiled CompileDelete(const DeleteStatement& statement);
  void EmitChangedRows(const BoundModification& change, Emitter& emitter);
  Compiled CompileAssignment(const BoundQuery& query);
  Compiled CompileInto(const ObjectName& into, const BoundQuery& query, Binder& binder);

  Binder NewBinder() { return Binder(text_, arena_, catalogue_); }
  PlanContext NewContext(const Binder& binder) {
    return {arena_, catalogue_, planning_, binder.next_source(),
            notes_ != nullptr ? &notes_->plan : nullptr};
  }
  BoundQuery& BindAndPlan(const Query& query, Binder& binder);
  BoundModification BindAndPlan(const ObjectName& target, std::span<const Assignment> assignments,
                                const From* from, const Expr* where, Binder& binder);

  TextView text_;
  Arena& arena_;
  Catalogue& catalogue_;
  Planning planning_;
  CompileNotes* notes_;
};

// The SQLite SQL of every query in `batch` (SELECT, also with INTO: the query alone), bound against
// `catalogue` and rewritten as `planning` allows. Other statements are parsed and passed over.
// Throws SqlError.
std::vector<std::string> CompileQueries(TextView batch, Catalogue& catalogue,
                                        Planning planning = Planning::Usual);

// The statements that have SQLite give the rows of `table` ("x" in `database`) the database's next
// version in `column` when they are inserted and when they are changed: some before the table is
// filled, some after that. They are triggers, so that nothing that writes rows can forget it.
struct RowVersionSql {
  std::vector<std::string> before;
  std::vector<std::string> after;
};
RowVersionSql RowVersionSqlOf(DatabaseId database, const std::string& table,
                              const std::string& column);

// The statements before and behind an INSERT into `table`, which has an IDENTITY column.
std::string BeginIdentitySql(const Table& table);
std::string EndIdentitySql(const Table& table);

// The declaration of a column in SQLite, with its collation and nullability.
std::string ColumnDeclaration(std::string_view name, const Type& type);

}  // namespace ledgerwick::tsql
