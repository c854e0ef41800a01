// The syntax tree of a batch. Nodes live in the batch's arena; the binder fills in the fields that
// it owns and wraps expressions in conversions, the emitter reads them.
#pragma once

#include <cstdint>
#include <span>

#include "frame/text.h"
#include "tsql/base/types.h"

namespace ledgerwick::tsql {

struct Query;
struct Select;
struct Source;

// A name as written, without brackets.
struct Name {
  TextView text;
  std::uint32_t offset = 0;
};

// db.schema.object; the parts that are not written are empty.
struct ObjectName {
  Name database;
  Name schema;
  Name object;
};

enum class ExprKind : std::uint8_t {
  Null,
  Integer,   // `integer`
  Number,    // a decimal or float literal: `text`
  String,    // `text`
  Column,    // `qualifier`, `text`
  Star,      // * or qualifier.* in a select list, * in COUNT(*)
  Variable,  // `slot`, and its type, which the parser knows; live
  Negate,
  BitNot,
  Add,
  Subtract,
  Multiply,
  Divide,
  Modulo,
  BitAnd,
  BitOr,
  BitXor,
  Case,      // args: [operand], when, then, …, [else]; has_operand, has_else
  Convert,   // CAST and CONVERT: args[0], `type`, `style`; and what the binder inserts
  Function,  // `text`, args
  Scalar,    // (query)
  // Predicates:
  Compare,  // `compare`
  And,      // of all args
  Or,       // of all args
  Not,
  IsNull,   // negated
  Like,     // value, pattern, [escape]; negated
  Between,  // value, low, high; negated
  InList,   // value, items…; negated
  InQuery,  // args[0], query; negated
  Exists,   // query
};

constexpr bool IsPredicate(ExprKind kind) noexcept { return kind >= ExprKind::Compare; }

enum class Comparison : std::uint8_t { Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual };

// The functions that the binder knows; Unknown before binding.
enum class FunctionId : std::uint8_t {
  Unknown,
  Count,
  Sum,
  Min,
  Max,
  Avg,     // the aggregates come first
  Scalar,  // a function of the storage's that needs no care
  IsNull,
  Coalesce,
  NullIf,
  Left,  // and RIGHT
  Str,
  Abs,
  Power,
  DataLength,
  QuoteName,
  DateDiff,
  DateAdd,
  DatePart,
  Year,  // MONTH and DAY
  GetDate,
};

constexpr bool IsAggregate(FunctionId id) noexcept {
  return id >= FunctionId::Count && id <= FunctionId::Avg;
}

// How the binder's conversions behave: Cast cuts text off, Store refuses what does not fit.
enum class Conversion : std::uint8_t { Implicit, Cast, Store };

struct Expr {
  ExprKind kind = ExprKind::Null;
  std::uint32_t offset = 0;
  std::uint32_t length = 0;
  TextView text;
  std::span<Expr*> args;
  std::int64_t integer = 0;
  Query* query = nullptr;
  ObjectName qualifier;

  Comparison compare = Comparison::Equal;
  bool negated = false;
  bool distinct = false;  // COUNT(DISTINCT x)
  bool has_operand = false;
  bool has_else = false;
  bool national = false;  // N'text'
  bool has_style = false;
  bool live = false;  // a variable that the statement itself assigns: read anew for every row
  Conversion conversion = Conversion::Implicit;
  std::int32_t style = 0;
  std::int32_t slot = 0;  // of a Variable

  // The binder's: the type of the value, and what names stand for.
  Type type;
  FunctionId function = FunctionId::Unknown;
  Source* source = nullptr;    // of a Column
  std::int32_t column = 0;     // in the source
  bool has_aggregate = false;  // an aggregate of the enclosing select stands inside
  bool unindexed = false;      // the planner's: rows are not to be found by an index on this column
};

struct SelectItem {
  Expr* expr = nullptr;
  Name alias;                // empty where none is written
  Expr* variable = nullptr;  // that SELECT @v = expr assigns

  // The binder's: the column's name in the result.
  TextView name;
};

struct OrderItem {
  Expr* expr = nullptr;
  bool descending = false;
  bool is_position = false;  // written as a number alone

  std::int32_t ordinal = 0;  // the binder's: the select item that it names, from 1; 0 for none
};

enum class FromKind : std::uint8_t { Table, Derived, Inner, Left, Right, Full, Cross };

struct From {
  FromKind kind = FromKind::Table;
  ObjectName table;
  Name alias;
  std::span<Name> column_aliases;
  Query* query = nullptr;  // of a derived table
  From* left = nullptr;
  From* right = nullptr;
  Expr* on = nullptr;

  Source* source = nullptr;  // the binder's, of a table and a derived table
};

struct Select {
  bool distinct = false;
  bool has_top = false;
  std::int64_t top = 0;
  Expr* top_variable = nullptr;  // TOP (@n)
  std::span<SelectItem> items;
  bool has_into = false;
  ObjectName into;
  From* from = nullptr;
  Expr* where = nullptr;
  std::span<Expr*> group_by;
  Expr* having = nullptr;
  std::uint32_t offset = 0;

  bool grouped = false;  // the binder's: GROUP BY, HAVING or an aggregate
  // The planner's, of a derived table: its columns are keys and then sums and counts, and it is
  // grouped by hashing.
  bool hashed = false;
};

// One or more selects joined by UNION.
struct Query {
  std::span<Select*> selects;
  std::span<char> keeps_duplicates;  // UNION ALL before selects[i + 1]
  std::span<OrderItem> order_by;
  std::uint32_t offset = 0;

  // The binder's.
  std::span<Type> types;           // of the result's columns
  std::span<TextView> names;       // of the result's columns; empty where there is none
  std::span<Expr*> outer_columns;  // the columns of enclosing queries that the query reads
  std::int32_t next_source = 0;    // of a statement's query: the number of the next source
};

struct ColumnDefinition {
  Name name;
  Type type;
  Expr* default_value = nullptr;
  bool primary_key = false;
  bool unique = false;
};

struct KeyColumn {
  Name name;
  bool descending = false;
};

// A PRIMARY KEY or UNIQUE of a whole table.
struct TableKey {
  bool primary = false;
  std::span<KeyColumn> columns;
};

struct Assignment {
  Name qualifier;  // of table.column
  Name column;
  Expr* value = nullptr;
};

enum class StatementKind : std::uint8_t {
  Select,
  Insert,
  Update,
  Delete,
  Truncate,
  CreateTable,
  CreateIndex,
  CreateView,
  AlterTable,
  DropTable,
  DropView,
  DropIndex,
  If,
  Block,
  SetOption,  // SET NOCOUNT ON and the like
  Print,
  Assign,  // DECLARE and SET @v = value
  While,
  Break,
  Continue,
  Return,
  TryCatch,
  Begin,  // of a transaction
  Commit,
  Rollback,
  RaiseError,
  Throw,
  ExecuteText,  // EXEC ('text')
  ExecuteProcedure,
  CreateProcedure,
  AlterProcedure,
  DropProcedure,
};

// SET @variable = value.
struct VariableAssignment {
  Expr* variable = nullptr;
  Expr* value = nullptr;
};

// A parameter of CREATE PROCEDURE; its slot is its variable's.
struct Parameter {
  Name name;  // with its @
  Type type;
  Expr* default_value = nullptr;
  std::int32_t slot = 0;
  bool output = false;
};

// An argument of EXEC.
struct Argument {
  Name name;              // with its @; empty where it is given by position
  Expr* value = nullptr;  // a literal or a variable; none for DEFAULT
  std::uint32_t offset = 0;
  bool output = false;
};

// One statement. Which members count depends on the kind.
struct Statement {
  StatementKind kind = StatementKind::Select;
  std::uint32_t offset = 0;
  std::uint32_t length = 0;

  Query* query = nullptr;            // Select; Insert … SELECT; the body of CREATE VIEW
  ObjectName target;                 // Insert, Update, Delete, Truncate, Create…
  std::span<ObjectName> targets;     // Drop…
  std::span<Name> columns;           // Insert; CREATE VIEW; the names of SetOption
  std::span<std::span<Expr*>> rows;  // Insert … VALUES
  bool default_values = false;
  std::span<Assignment> assignments;        // Update
  From* from = nullptr;                     // Update, Delete
  Expr* where = nullptr;                    // Update, Delete; the condition of If and While
  std::span<ColumnDefinition> definitions;  // CreateTable, AlterTable
  std::span<TableKey> keys;                 // CreateTable
  Name index;                               // CreateIndex
  std::span<KeyColumn> key_columns;         // CreateIndex
  bool unique = false;                      // CreateIndex
  Statement* then_branch = nullptr;         // If; the body of While; the tried block
  Statement* else_branch = nullptr;         // If; the block that catches
  std::span<Statement*> body;               // Block, CreateProcedure
  Expr* value = nullptr;                    // Print, Return
  TextView text;                            // CreateView, CreateProcedure: as written
  bool on = false;                          // SetOption
  bool if_exists = false;                   // Drop…
  std::span<VariableAssignment> variables;  // Assign
  std::span<Expr*> values;          // ExecuteText: its parts; RaiseError, Throw: their arguments
  std::span<Parameter> parameters;  // CreateProcedure
  std::span<Argument> arguments;    // ExecuteProcedure
  Expr* result = nullptr;           // ExecuteProcedure: the variable that receives the result
  Expr* name_variable = nullptr;    // ExecuteProcedure: the variable that holds the name
};

// What a batch, a procedure or a dynamic text consists of.
struct Batch {
  std::span<Statement*> statements;
  std::span<Type> variables;  // the types of its variables, by slot
};

}  // namespace ledgerwick::tsql
