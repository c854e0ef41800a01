// What a statement means: the tree that the binder makes of the syntax tree, in the same arena.
// Names stand for columns, every expression has its type, and every conversion is written out. The
// planner rewrites it, the emitter writes it down.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "frame/text.h"
#include "tsql/base/types.h"
#include "tsql/functions/function_signature.h"
#include "tsql/storage/catalogue.h"
#include "tsql/syntax/syntax_tree.h"

namespace ledgerwick::tsql {

struct BoundQuery;

// The ids of a row that no FROM clause gives: the one that a trigger sees, and the one that an
// expression of the table's own declaration stands in.
inline constexpr std::int32_t kNewRow = -1;
inline constexpr std::int32_t kOwnRow = -2;

// A table, a view or a derived table in a FROM clause. It points into the catalogue, which must not
// be refreshed while the tree is in use.
struct Source {
  std::int32_t id = 0;           // unique in the statement
  TextView exposed;              // the name that columns are qualified with
  bool aliased = false;          // `exposed` is an alias, which hides the table's name
  const Table* table = nullptr;  // of a table and a view
  DatabaseId database = DatabaseId::Main;
  BoundQuery* query = nullptr;      // of a derived table and a view
  std::span<const TextView> names;  // of their columns
  bool may_be_missing = false;      // on the outer side of a join: its columns may be null
  // The planner's, of a derived table: it stands in a WITH before the statement.
  bool hoisted = false;

  std::int32_t Count() const noexcept;
  TextView NameOf(std::int32_t column) const noexcept;
  Type TypeOf(std::int32_t column) const noexcept;
  std::int32_t Find(TextView name) const;  // -1 for none, -2 for several
};

// How a conversion behaves: Cast cuts text off, Store refuses what does not fit.
enum class Conversion : std::uint8_t { Implicit, Cast, Store };

struct BoundExpr;

// An expression that is evaluated by a statement of its own, because it nests too deeply where it
// stands: what it takes from there, each once: columns, variables and aggregates.
struct BoundPart {
  std::span<const BoundExpr*> inputs;
};

// The kinds are those of the syntax tree; Star stands in COUNT(*) alone, Convert also for the
// conversions that nobody wrote.
struct BoundExpr {
  ExprKind kind = ExprKind::Null;
  std::uint32_t offset = 0;  // in the text, of what it was made from
  TextView text;             // of a literal; the name of a function
  std::span<BoundExpr*> args;
  std::int64_t integer = 0;
  BoundQuery* query = nullptr;
  const Source* source = nullptr;   // of a Column
  const BoundPart* part = nullptr;  // the planner's: the expression is a part
  std::int32_t column = 0;          // in the source
  std::int32_t slot = 0;            // of a Variable
  std::int32_t style = -1;          // of a Convert; -1 where none is written
  Type type;                        // of the value
  FunctionId function = FunctionId::Unknown;
  Conversion conversion = Conversion::Implicit;
  Comparison compare = Comparison::Equal;
  bool negated = false;
  bool distinct = false;
  bool has_operand = false;
  bool has_else = false;
  bool live = false;           // a variable that is read anew for every row
  bool has_aggregate = false;  // an aggregate of the enclosing select stands inside
  bool unindexed = false;      // the planner's: rows are not to be found by an index on this column
};

struct BoundItem {
  BoundExpr* expr = nullptr;
  TextView name;              // the column's in the result; empty where there is none
  std::int32_t variable = 0;  // the slot that SELECT @v = … assigns; 0 for none
};

struct BoundOrder {
  BoundExpr* expr = nullptr;
  bool descending = false;
  std::int32_t ordinal = 0;  // the select item that it names, from 1; 0 for none
};

// RIGHT JOIN is a LEFT JOIN turned round, CROSS JOIN an inner one without a condition.
enum class BoundFromKind : std::uint8_t { Source, Inner, Left, Full };

struct BoundFrom {
  BoundFromKind kind = BoundFromKind::Source;
  Source* source = nullptr;
  BoundFrom* left = nullptr;
  BoundFrom* right = nullptr;
  BoundExpr* on = nullptr;
};

struct BoundSelect {
  bool distinct = false;
  bool has_top = false;
  bool has_into = false;
  bool grouped = false;  // GROUP BY, HAVING or an aggregate
  // The planner's, of a derived table: its columns are keys and then sums and counts, and it is
  // grouped by hashing.
  bool hashed = false;
  std::int64_t top = 0;
  BoundExpr* top_variable = nullptr;  // TOP (@n)
  std::span<BoundItem> items;
  BoundFrom* from = nullptr;
  BoundExpr* where = nullptr;
  std::span<BoundExpr*> group_by;
  BoundExpr* having = nullptr;
};

// One or more selects joined by UNION.
struct BoundQuery {
  std::span<BoundSelect*> selects;
  std::span<const char> keeps_duplicates;  // UNION ALL before selects[i + 1]
  std::span<BoundOrder> order_by;
  std::span<Type> types;                // of the result's columns
  std::span<TextView> names;            // of the result's columns; empty where there is none
  std::span<BoundExpr*> outer_columns;  // the columns of enclosing queries that the query reads
};

// UPDATE and DELETE.
struct BoundModification {
  const Source* target = nullptr;
  BoundFrom* from = nullptr;  // the target is part of it
  BoundExpr* where = nullptr;
  std::vector<std::int32_t> columns;  // that are assigned
  std::vector<BoundExpr*> values;     // what they are assigned, converted to their types
};

// How many arguments one call of SQLite's takes from us; it takes 127.
inline constexpr std::size_t kMostCallArguments = 100;

using Sources = std::vector<const Source*>;

bool Has(std::span<const Source* const> sources, const Source* source) noexcept;

// The sources of `from`, appended in the order in which they stand.
void CollectSources(const BoundFrom& from, Sources& sources);

// True when `expr` reads a column of `sources`. A subquery counts by the columns that it reads from
// outside.
bool Reads(const BoundExpr& expr, std::span<const Source* const> sources);
bool Reads(const BoundExpr& expr, const Source& source);

// True for COUNT, SUM, MIN, MAX and AVG.
bool IsAggregate(const BoundExpr& expr) noexcept;

// True when a subquery stands in `expr`.
bool HoldsQuery(const BoundExpr& expr) noexcept;

// SameExpr of two of one kind that are no columns.
bool SameTree(const BoundExpr& a, const BoundExpr& b);

// True when both compute the same thing.
inline bool SameExpr(const BoundExpr& a, const BoundExpr& b) {
  if (a.kind != b.kind) return false;
  if (a.kind == ExprKind::Column) return a.source == b.source && a.column == b.column;
  return SameTree(a, b);
}

// True for a number other than 0 that is written in the statement.
bool IsNonZeroLiteral(const BoundExpr& expr) noexcept;

}  // namespace ledgerwick::tsql
