// Names and types: resolves the syntax tree against the catalogue, applies T-SQL's rules and makes
// every conversion explicit, so that the emitter only writes down what it finds.
#pragma once

#include <vector>

#include "tsql/base/arena.h"
#include "tsql/base/errors.h"
#include "tsql/base/nesting.h"
#include "tsql/functions/function_signature.h"
#include "tsql/storage/catalogue.h"
#include "tsql/syntax/syntax_tree.h"

namespace ledgerwick::tsql {

// A table or derived table in a FROM clause.
struct Source {
  std::int32_t id = 0;           // unique in the statement
  TextView exposed;              // the name that columns are qualified with
  bool aliased = false;          // `exposed` is an alias, which hides the table's name
  const Table* table = nullptr;  // of a table
  DatabaseId database = DatabaseId::Main;
  const Query* query = nullptr;  // of a derived table or a view
  std::span<TextView> names;     // of a derived table's columns
  bool may_be_missing = false;   // on the outer side of a join: its columns may be null

  std::int32_t Count() const noexcept;
  TextView NameOf(std::int32_t column) const noexcept;
  Type TypeOf(std::int32_t column) const noexcept;
  std::int32_t Find(TextView name) const;  // -1 for none, -2 for several
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
  std::vector<Expr*> outer_columns;  // columns of enclosing scopes that were read
};

// Binds one statement. The tree, the arena and the catalogue outlive it; the batch's text serves to
// tell where an error stands.
class Binder {
 public:
  Binder(TextView batch, Arena& arena, Catalogue& catalogue)
      : batch_(batch), arena_(arena), catalogue_(catalogue) {}

  // Each throws SqlError with the position of what is wrong.
  void BindQuery(Query& query);
  void BindCondition(Expr& condition);  // of IF
  Type TypeOf(Expr*& value);            // of a value outside a query
  // Outside a query: as `target`.
  Expr* BindValue(Expr* value, Type target, Conversion conversion = Conversion::Store);

  // The columns that an INSERT fills, checked against the values' count.
  std::vector<std::int32_t> BindInsertColumns(const Table& table, std::span<const Name> columns);
  // The query's columns converted to the types of the columns that they go into.
  void StoreColumns(Query& query, const Table& table, const std::vector<std::int32_t>& columns);

  // UPDATE and DELETE: binds FROM, WHERE and the assignments, makes `statement.from` a tree that
  // the target is part of, and returns the target's source. `columns` receives the assigned
  // columns.
  Source* BindModification(Statement& statement, std::vector<std::int32_t>& columns);

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
  Expr* Coerce(Expr* expr, Type target, Conversion conversion = Conversion::Implicit);

 private:
  // Changes (bind_modification.cpp)
  Source* FindTarget(const ObjectName& name, const Scope& scope);
  std::int32_t BindAssignment(Assignment& assignment, const Statement& statement,
                              const Source& target, Scope& scope);

  // Queries (bind_query.cpp)
  void BindQueryIn(Query& query, Scope* parent, bool nested);
  void BindSelect(Select& select, Scope& scope);
  void BindFrom(From& from, Scope& scope);
  void BindTableSource(From& from, Scope& scope);
  void BindDerived(From& from, Scope& scope);
  Source* AddSource(From& from, Scope& scope, TextView exposed, bool aliased);
  void BindView(const Table& view, Source& source);
  void ExpandStars(Select& select, Scope& scope);
  void BindOrderBy(Query& query, Scope& scope);
  void BindOrderItem(OrderItem& item, const Query& query, Scope& scope);
  void CheckOrderTerm(const Query& query, const OrderItem& item) const;
  void BindUnionOrderBy(Query& query);
  bool BindOrderOrdinal(OrderItem& item, std::size_t count);
  void UnifyUnion(Query& query);
  void CheckGrouping(const Select& select, const Expr& expr, const Scope& scope, bool having,
                     bool order);
  void CheckInto(const Query& query);
  void CheckAssignments(const Query& query, const Select& select, bool nested) const;
  void FinishQuery(Query& query);
  void AddStarColumns(const Source& source, std::uint32_t offset, std::vector<SelectItem>& items);

  // Expressions (bind_expression.cpp)
  void BindPredicate(Expr& expr, Scope& scope);
  Expr* Bind(Expr* expr, Scope& scope);
  Expr* BindColumn(Expr* expr, Scope& scope);
  Source* ResolveColumn(const Expr& expr, Scope& scope, std::int32_t& column);
  void CheckRange(const Expr& number) const;
  bool QualifierMatches(const Source& source, const ObjectName& qualifier) const;
  Expr* BindArithmetic(Expr* expr, Scope& scope);
  Expr* BindCase(Expr* expr, Scope& scope);
  Expr* BindScalar(Expr* expr, Scope& scope);
  Expr* BindConvert(Expr* expr, Scope& scope);
  void BindCompare(Expr& expr, Scope& scope);
  void BindInQuery(Expr& expr, Scope& scope);
  void BindArguments(Expr& expr, Scope& scope);
  void CoerceAll(std::span<Expr*> items, Type type);
  Expr* FoldLiteral(Expr* expr, Type target);

  // Numbers (bind_literal.cpp)
  Expr* FoldExact(Expr* expr, const Type& target);
  bool BringLiterals(std::span<Expr*> args);

  // Functions (bind_function.cpp)
  Expr* BindFunction(Expr* expr, Scope& scope);
  void BindAggregate(Expr& expr, Scope& scope);
  void BindDateFunction(Expr& expr, Scope& scope);
  void BringArgument(Expr& expr, std::size_t i, char wanted);
  void TypeResult(Expr& expr, FunctionResult result);
  Expr* BindOwnRule(Expr* expr);
  void BindChoice(Expr& expr);
  Expr* BindPower(Expr* expr);
  void BindDataLength(Expr& expr);

  Position PositionOf_(std::uint32_t offset) const noexcept;

  TextView batch_;
  Arena& arena_;
  Catalogue& catalogue_;
  std::int32_t next_source_ = 1;
  int view_depth_ = 0;
  bool in_view_ = false;  // offsets then point into the view's text: errors carry no position
};

// The name as it is written, without brackets: "tempdb..x".
Text FullName(const ObjectName& name);

// Type arithmetic (type_rules.cpp).

// The type in which values of both types meet: the one of higher precedence, wide enough for both.
Type CommonType(const Type& a, const Type& b) noexcept;
// The same for a comparison, which looks at every digit: a decimal may have more than 38 here.
Type ComparisonType(const Type& a, const Type& b) noexcept;
// The result of + - * / % on two numbers of these types: the one table of precision and scale.
Type ArithmeticType(ExprKind kind, const Type& a, const Type& b) noexcept;
// A number type as decimal: int is decimal(10,0).
Type AsDecimal(const Type& type) noexcept;
Type MakeType(TypeKind kind, std::int32_t length = 0) noexcept;
// The type of a literal.
Type LiteralType(const Expr& literal);
// The name in UTF-16, for messages.
Text KindText(TypeKind kind);
// True when both bound expressions compute the same thing.
bool SameExpr(const Expr& a, const Expr& b);

}  // namespace ledgerwick::tsql
