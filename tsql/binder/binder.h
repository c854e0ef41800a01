// Names and types: resolves the syntax tree against the catalogue, applies T-SQL's rules and makes
// every conversion explicit, so that what follows decides nothing about T-SQL any more.
#pragma once

#include <vector>

#include "tsql/base/arena.h"
#include "tsql/base/errors.h"
#include "tsql/base/name_map.h"
#include "tsql/base/nesting.h"
#include "tsql/binder/bound_tree.h"
#include "tsql/binder/type_rules.h"
#include "tsql/storage/catalogue.h"
#include "tsql/syntax/syntax_tree.h"

namespace ledgerwick::tsql {

// A column that a name stands for.
struct ResolvedColumn {
  Source* source = nullptr;  // nullptr for none
  std::int32_t column = 0;
};

// What is visible where an expression stands.
struct Scope {
  enum class Clause { Other, Where, GroupBy, Having, Select, OrderBy, On };

  Scope* parent = nullptr;
  std::vector<Source*> sources;
  std::size_t first_visible = 0;  // an ON sees the tables of its own join only
  Clause clause = Clause::Other;
  bool in_aggregate = false;
  bool has_aggregate = false;
  std::vector<BoundExpr*> outer_columns;  // columns of enclosing scopes that were read
  // What names without a qualifier stand for, as of when all sources are known.
  NameMap<ResolvedColumn, TextView> unqualified;
};

// Binds one statement. The syntax tree, the arena and the catalogue outlive what it makes; the
// batch's text serves to tell where an error stands.
class Binder {
 public:
  Binder(TextView batch, Arena& arena, Catalogue& catalogue)
      : batch_(batch), arena_(arena), catalogue_(catalogue) {}

  // Each throws SqlError with the position of what is wrong. The items of SELECT @v = … have the
  // types of their variables.
  BoundQuery* BindQuery(const Query& query);
  BoundQuery* BindViewQuery(const Query& query);    // of CREATE VIEW
  BoundExpr* BindCondition(const Expr& condition);  // of IF
  BoundExpr* BindExpression(const Expr& value);     // outside a query
  // The same as `target`.
  BoundExpr* BindValue(const Expr& value, const Type& target,
                       Conversion conversion = Conversion::Store);

  // A condition on, and a value of, the row `row` of a table, as its declaration has them: without
  // a subquery or an aggregate.
  BoundExpr* BindRowCondition(const Expr& condition, Source& row);
  BoundExpr* BindRowValue(const Expr& value, Source& row);

  // The columns that an INSERT fills: without a list all but computed ones and the IDENTITY column.
  std::vector<std::int32_t> BindInsertColumns(const Table& table, std::span<const Name> columns,
                                              Position at);
  // The query's columns converted to the types of the columns that they go into.
  void StoreColumns(BoundQuery& query, const Table& table,
                    const std::vector<std::int32_t>& columns);

  // UPDATE and DELETE: binds FROM, WHERE and the assignments.
  BoundModification BindModification(const ObjectName& target,
                                     std::span<const Assignment> assignments, const From* from,
                                     const Expr* where);

  // The number that no table or derived table of the statement has yet.
  std::int32_t next_source() const noexcept { return next_source_; }

  // True when anything was looked up in the catalogue, or a date was read as the session reads it.
  bool reads_schema() const noexcept { return reads_schema_; }

  // The table or view of that name. Throws 208 when there is none.
  const Table& RequireTable(const ObjectName& name);
  // As it stands in messages and lookups.
  const Table* FindTable(const ObjectName& name);
  const ProcedureText* FindProcedure(const ObjectName& name);
  bool ObjectExists(const ObjectName& name);  // of whatever kind
  DatabaseId RequireDatabase(const ObjectName& name);

  // The database that an object of this name can be made in. Throws 2714 where there is one, 262
  // for the database's own names, and what RequireDatabase throws.
  DatabaseId RequireNewName(const ObjectName& name);
  Position At(std::uint32_t offset) const noexcept { return PositionOf_(offset); }

  // `expr` as `target`: itself, a literal of that type, or a conversion around it.
  BoundExpr* Coerce(BoundExpr* expr, const Type& target,
                    Conversion conversion = Conversion::Implicit);

 private:
  // `expr`; where it is a literal with characters that `target`, a char or varchar, lacks, one of
  // nvarchar, so that its conversion takes them from it. Coerce does so unless it is Implicit.
  BoundExpr* WithAllCharacters(BoundExpr* expr, const Type& target);

  // A column of a select list that stands in a star, or what else is written there.
  struct WrittenItem {
    const SelectItem* item = nullptr;
    BoundExpr* column = nullptr;  // of a star
  };

  // Changes (bind_modification.cpp)
  Source* FindTarget(const ObjectName& name, const Scope& scope);
  void BindAssignment(const Assignment& assignment, const ObjectName& target,
                      BoundModification& modification, Scope& scope);

  // Queries (bind_query.cpp)
  BoundQuery* BindQueryIn(const Query& query, Scope* parent, bool nested);
  BoundSelect* BindSelect(const Select& select, Scope& scope);
  BoundItem BindItem(const WrittenItem& written, bool has_into, Scope& scope);
  std::vector<WrittenItem> ExpandStars(const Select& select, const Scope& scope);
  void BindOrderBy(const Query& query, BoundQuery& bound, Scope& scope);
  BoundOrder BindOrderItem(const OrderItem& item, std::size_t place, const BoundSelect& select,
                           Scope& scope);
  BoundOrder BindUnionOrderItem(const OrderItem& item, std::size_t place,
                                std::span<const BoundItem> items) const;
  bool BindOrderOrdinal(const OrderItem& item, std::size_t count, BoundOrder& bound) const;
  template <typename Tree>
  void CheckOrderTerm(const Tree& expr, std::size_t place) const;
  void UnifyUnion(const Query& query, BoundQuery& bound);
  void CheckGrouping(const BoundSelect& select, const BoundExpr& expr, const Scope& scope,
                     bool having, bool order);
  void CheckInto(const Query& query, const BoundQuery& bound);
  void CheckAssignments(const Query& query, const Select& select, bool nested) const;
  void FinishQuery(BoundQuery& query);

  // FROM (bind_from.cpp)
  BoundFrom* BindFrom(const From& from, Scope& scope);
  BoundFrom* BindTableSource(const ObjectName& name, const Name& alias, Scope& scope);
  BoundFrom* BindDerived(const From& from, Scope& scope);
  BoundFrom* AddSource(Scope& scope, TextView exposed, bool aliased);
  void BindView(const Table& view, Source& source);
  void AddStarColumns(const Source& source, std::uint32_t offset, std::vector<WrittenItem>& items);

  // Expressions (bind_expression.cpp), conversions (bind_conversion.cpp)
  BoundExpr* BindPredicate(const Expr& expr, Scope& scope);
  BoundExpr* Bind(const Expr& expr, Scope& scope);
  BoundExpr* NewExpr(const Expr& expr);
  BoundExpr* BindColumn(const Expr& expr, Scope& scope);
  ResolvedColumn ResolveColumn(const Expr& expr, Scope& scope);
  ResolvedColumn FindColumn(const Expr& expr, const Scope& scope) const;
  void CheckRange(const Expr& number) const;
  bool QualifierMatches(const Source& source, const ObjectName& qualifier) const;
  BoundExpr* BindArithmetic(const Expr& expr, Scope& scope);
  BoundExpr* BindCase(const Expr& expr, Scope& scope);
  BoundExpr* BindScalar(const Expr& expr, Scope& scope);
  BoundExpr* BindConvert(const Expr& expr, Scope& scope);
  BoundExpr* BindCompare(const Expr& expr, Scope& scope);
  BoundExpr* BindInQuery(const Expr& expr, Scope& scope);
  BoundExpr* BindDateArithmetic(BoundExpr* expr, TextView what);
  void RequireComparable(const BoundExpr& expr, const Type& common) const;
  void RequireConversion(const BoundExpr& expr, const Type& target, Conversion conversion) const;
  // A node for `expr` with its arguments.
  BoundExpr* BindArguments(const Expr& expr, Scope& scope);
  void CoerceAll(std::span<BoundExpr*> items, const Type& type);
  BoundExpr* FoldLiteral(BoundExpr* expr, Type target, Conversion conversion);
  BoundExpr* FoldAny(const BoundExpr& literal, const Type& target, Conversion conversion);

  // Numbers (bind_literal.cpp)
  BoundExpr* FoldExact(BoundExpr* expr, const Type& target);
  bool BringLiterals(std::span<BoundExpr*> args);

  // Functions (bind_function.cpp)
  BoundExpr* BindFunction(const Expr& expr, Scope& scope);
  BoundExpr* BindAggregate(const Expr& expr, const FunctionSignature& known, Scope& scope);
  BoundExpr* BindDateFunction(const Expr& expr, const FunctionSignature& known, Scope& scope);
  void BringArgument(BoundExpr& expr, std::size_t i, char wanted);
  void TypeResult(BoundExpr& expr, FunctionResult result);
  BoundExpr* BindOwnRule(BoundExpr* expr);
  void BindChoice(BoundExpr& expr);
  BoundExpr* BindNullIf(BoundExpr* expr);
  BoundExpr* TextLiteral(TextView text);
  void AddType(BoundExpr& expr, const Type& type);
  BoundExpr* BindPower(BoundExpr* expr);
  void BindDataLength(BoundExpr& expr);
  void BindReplicate(BoundExpr& expr);

  // How the session reads dates. What was read so holds as long as the catalogue's version.
  const DateOptions& Dates() noexcept {
    reads_schema_ = true;
    return catalogue_.dates();
  }

  Position PositionOf_(std::uint32_t offset) const noexcept;

  TextView batch_;
  Arena& arena_;
  Catalogue& catalogue_;
  std::int32_t next_source_ = 1;
  bool reads_schema_ = false;
  int view_depth_ = 0;
  bool creates_view_ = false;
  bool in_view_ = false;  // offsets then point into the view's text: errors carry no position
};

// The name as it is written, without brackets: "tempdb..x".
Text FullName(const ObjectName& name);

}  // namespace ledgerwick::tsql
