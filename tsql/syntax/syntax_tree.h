// The syntax tree of a batch: what was written, and nothing of what it means. Nodes live in the
// batch's arena; only the parser ever changes one.
#pragma once

#include <cstdint>
#include <span>

#include "frame/text.h"
#include "tsql/base/types.h"

namespace ledgerwick::tsql {

struct Query;
struct Select;
struct Statement;

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
  Binary,    // `text`: hexadecimal digits
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
  Convert,   // CAST and CONVERT: args[0], `type`, `style`
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

struct Expr {
  ExprKind kind = ExprKind::Null;
  std::uint32_t offset = 0;
  std::uint32_t length = 0;
  TextView text;
  std::span<const Expr* const> args;
  std::int64_t integer = 0;
  const Query* query = nullptr;
  const ObjectName* qualifier = nullptr;  // of a Column and a Star; nullptr for none

  Comparison compare = Comparison::Equal;
  bool negated = false;
  bool distinct = false;  // COUNT(DISTINCT x)
  bool has_operand = false;
  bool has_else = false;
  bool national = false;    // N'text'
  bool live = false;        // a variable that the statement itself assigns: read anew for every row
  std::int32_t style = -1;  // of CONVERT; -1 where none is written
  std::int32_t slot = 0;    // of a Variable
  Type type;                // of a Variable, and what Convert converts to
};

inline bool IsQualified(const Expr& expr) noexcept {
  return expr.qualifier != nullptr && !expr.qualifier->object.text.empty();
}

struct SelectItem {
  const Expr* expr = nullptr;
  Name alias;                      // empty where none is written
  const Expr* variable = nullptr;  // that SELECT @v = expr assigns
};

struct OrderItem {
  const Expr* expr = nullptr;
  bool descending = false;
  bool is_position = false;  // written as a number alone
};

enum class FromKind : std::uint8_t { Table, Derived, Inner, Left, Right, Full, Cross };

struct From {
  FromKind kind = FromKind::Table;
  ObjectName table;
  Name alias;
  std::span<const Name> column_aliases;
  const Query* query = nullptr;  // of a derived table
  const From* left = nullptr;
  const From* right = nullptr;
  const Expr* on = nullptr;
};

struct Select {
  bool distinct = false;
  bool has_top = false;
  std::int64_t top = 0;
  const Expr* top_variable = nullptr;  // TOP (@n)
  std::span<const SelectItem> items;
  bool has_into = false;
  ObjectName into;
  const From* from = nullptr;
  const Expr* where = nullptr;
  std::span<const Expr* const> group_by;
  const Expr* having = nullptr;
  std::uint32_t offset = 0;
};

// One or more selects joined by UNION.
struct Query {
  std::span<const Select* const> selects;
  std::span<const char> keeps_duplicates;  // UNION ALL before selects[i + 1]
  std::span<const OrderItem> order_by;
  std::uint32_t offset = 0;
};

struct KeyColumn {
  Name name;
  bool descending = false;
};

// A PRIMARY KEY or UNIQUE, of a column or a whole table.
struct TableKey {
  Name name;  // empty where none is written
  bool primary = false;
  std::span<const KeyColumn> columns;
};

// What becomes of the rows that reference a row which is deleted or gets another key.
enum class ReferenceAction : std::uint8_t { NoAction, Cascade, SetNull, SetDefault };

// A CHECK, of a column or a whole table.
struct CheckRule {
  Name name;    // empty where none is written
  Name column;  // that it stands at; empty for a table's
  const Expr* condition = nullptr;
  TextView text;  // of the condition
};

// A FOREIGN KEY, of a column or a whole table.
struct ReferenceRule {
  Name name;  // empty where none is written
  std::span<const Name> columns;
  ObjectName table;                  // that is referenced
  std::span<const Name> referenced;  // its columns; empty for those of its primary key
  ReferenceAction on_delete = ReferenceAction::NoAction;
  ReferenceAction on_update = ReferenceAction::NoAction;
};

struct DefaultRule {
  Name name;  // empty where none is written
  Name column;
  const Expr* value = nullptr;
  TextView text;             // of the value
  bool with_values = false;  // rows that are there get it, too
};

// The constraints of a table, those of its columns too.
struct TableRules {
  std::span<const TableKey> keys;
  std::span<const CheckRule> checks;
  std::span<const ReferenceRule> references;
  std::span<const DefaultRule> defaults;
};

struct ColumnDefinition {
  Name name;
  Type type;  // of kind Null where the column is computed
  bool null_written = false;
  bool not_null_written = false;
  bool is_identity = false;
  bool is_row_guid = false;
  bool persisted = false;
  std::int64_t seed = 1;
  std::int64_t step = 1;
  const Expr* computed = nullptr;
  TextView computed_text;
};

struct Assignment {
  Name qualifier;  // of table.column
  Name column;
  const Expr* value = nullptr;
};

// SET @variable = value.
struct VariableAssignment {
  const Expr* variable = nullptr;
  const Expr* value = nullptr;
};

// A parameter of CREATE PROCEDURE; its slot is its variable's.
struct Parameter {
  Name name;  // with its @
  Type type;
  const Expr* default_value = nullptr;
  std::int32_t slot = 0;
  bool output = false;
};

// An argument of EXEC.
struct Argument {
  Name name;                    // with its @; empty where it is given by position
  const Expr* value = nullptr;  // a literal or a variable; none for DEFAULT
  std::uint32_t offset = 0;
  bool output = false;
};

using Statements = std::span<const Statement* const>;

enum class StatementKind : std::uint8_t {
  Select,
  Insert,
  Update,
  Delete,
  Truncate,
  CreateTable,
  AlterTable,
  CreateIndex,
  CreateView,
  Drop,
  If,
  While,
  Block,
  TryCatch,
  Break,
  Continue,
  Return,
  SetOption,
  Use,
  Print,
  Assign,
  BeginTransaction,
  CommitTransaction,
  RollbackTransaction,
  SavePoint,
  RaiseError,
  Throw,
  ExecuteText,
  ExecuteProcedure,
  Procedure,
  IdentityInsert,
  CheckIdentity,
};

// What all statements have; the kind tells which of the structs below it is part of.
struct Statement {
  StatementKind kind;
  std::uint32_t offset = 0;
  std::uint32_t length = 0;
};

// A statement of that kind.
template <StatementKind K>
struct StatementOf : Statement {
  static constexpr StatementKind kKind = K;
  StatementOf() : Statement{K} {}
};

struct SelectStatement : StatementOf<StatementKind::Select> {
  const Query* query = nullptr;
};

struct InsertStatement : StatementOf<StatementKind::Insert> {
  ObjectName target;
  std::span<const Name> columns;
  const Query* query = nullptr;                        // INSERT … SELECT
  std::span<const std::span<const Expr* const>> rows;  // VALUES; nullptr for DEFAULT
  bool default_values = false;
};

struct UpdateStatement : StatementOf<StatementKind::Update> {
  ObjectName target;
  std::span<const Assignment> assignments;
  const From* from = nullptr;
  const Expr* where = nullptr;
};

struct DeleteStatement : StatementOf<StatementKind::Delete> {
  ObjectName target;
  const From* from = nullptr;
  const Expr* where = nullptr;
};

struct TruncateStatement : StatementOf<StatementKind::Truncate> {
  ObjectName target;
};

struct CreateTableStatement : StatementOf<StatementKind::CreateTable> {
  ObjectName target;
  std::span<const ColumnDefinition> definitions;
  TableRules rules;
};

enum class AlterKind : std::uint8_t { Add, Drop, Column, Switch };

// A constraint or a column that ALTER TABLE drops.
struct DroppedPart {
  Name name;
  bool is_column = false;
  bool if_exists = false;
};

struct AlterTableStatement : StatementOf<StatementKind::AlterTable> {
  ObjectName target;
  AlterKind what = AlterKind::Add;
  std::span<const ColumnDefinition> definitions;  // that are added; the one that is changed
  TableRules rules;                               // that are added
  std::span<const DroppedPart> drops;
  std::span<const Name> switched;  // constraints; none for ALL
  bool on = false;                 // CHECK CONSTRAINT
  bool looks = false;              // WITH CHECK, or as if: the rows that are there are checked
};

// SET IDENTITY_INSERT table ON.
struct IdentityInsertStatement : StatementOf<StatementKind::IdentityInsert> {
  ObjectName target;
  bool on = false;
};

// DBCC CHECKIDENT.
struct CheckIdentityStatement : StatementOf<StatementKind::CheckIdentity> {
  ObjectName target;
  bool reseeds = true;
  const Expr* value = nullptr;  // to be the current one
  bool silent = false;          // WITH NO_INFOMSGS
};

struct CreateIndexStatement : StatementOf<StatementKind::CreateIndex> {
  ObjectName target;
  Name index;
  std::span<const KeyColumn> key_columns;
  std::span<const Name> included;
  bool unique = false;
};

struct CreateViewStatement : StatementOf<StatementKind::CreateView> {
  ObjectName target;
  std::span<const Name> columns;
  const Query* query = nullptr;
  TextView text;  // as written
};

enum class DropKind : std::uint8_t { Table, View, Index, Procedure };

struct DropStatement : StatementOf<StatementKind::Drop> {
  DropKind what = DropKind::Table;
  bool if_exists = false;
  std::span<const ObjectName> targets;
};

struct IfStatement : StatementOf<StatementKind::If> {
  const Expr* condition = nullptr;
  const Statement* then_branch = nullptr;
  const Statement* else_branch = nullptr;
};

struct WhileStatement : StatementOf<StatementKind::While> {
  const Expr* condition = nullptr;
  const Statement* body = nullptr;
};

struct BlockStatement : StatementOf<StatementKind::Block> {
  Statements body;
};

struct TryCatchStatement : StatementOf<StatementKind::TryCatch> {
  Statements tried;
  Statements handler;
};

struct BreakStatement : StatementOf<StatementKind::Break> {};
struct ContinueStatement : StatementOf<StatementKind::Continue> {};

struct ReturnStatement : StatementOf<StatementKind::Return> {
  const Expr* value = nullptr;
};

// SET NOCOUNT ON, SET DATEFORMAT dmy and the like; without an option one that changes nothing.
struct SetOptionStatement : StatementOf<StatementKind::SetOption> {
  std::span<const Name> options;
  const Expr* value = nullptr;  // of an option that has more than two positions
  bool on = false;
};

struct UseStatement : StatementOf<StatementKind::Use> {
  Name database;
};

struct PrintStatement : StatementOf<StatementKind::Print> {
  const Expr* value = nullptr;
};

// DECLARE and SET @v = value.
struct AssignStatement : StatementOf<StatementKind::Assign> {
  std::span<const VariableAssignment> variables;
};

// The name of a transaction or of a save point, as a word or in a variable; neither where none is
// written.
struct TransactionName {
  Name word;
  const Expr* variable = nullptr;
};

struct BeginTransactionStatement : StatementOf<StatementKind::BeginTransaction> {
  TransactionName name;
};
struct CommitTransactionStatement : StatementOf<StatementKind::CommitTransaction> {
  TransactionName name;  // which changes nothing
};
struct RollbackTransactionStatement : StatementOf<StatementKind::RollbackTransaction> {
  TransactionName name;
};
struct SavePointStatement : StatementOf<StatementKind::SavePoint> {
  TransactionName name;
};

struct RaiseErrorStatement : StatementOf<StatementKind::RaiseError> {
  std::span<const Expr* const> values;  // message, severity, state, arguments…
  bool with_log = false;
};

struct ThrowStatement : StatementOf<StatementKind::Throw> {
  std::span<const Expr* const> values;  // number, message, state; none to throw again
};

// EXEC ('text' + @variable …)
struct ExecuteTextStatement : StatementOf<StatementKind::ExecuteText> {
  std::span<const Expr* const> parts;
};

struct ExecuteProcedureStatement : StatementOf<StatementKind::ExecuteProcedure> {
  ObjectName target;
  const Expr* name_variable = nullptr;  // that holds the name instead
  const Expr* result = nullptr;         // the variable that receives the result
  std::span<const Argument> arguments;
};

// CREATE and ALTER PROCEDURE.
struct ProcedureStatement : StatementOf<StatementKind::Procedure> {
  ObjectName target;
  bool alters = false;
  std::span<const Parameter> parameters;
  Statements body;
  TextView text;  // the whole batch
};

// `statement` as what it is, or nullptr where it is of another kind.
template <typename T>
const T* As(const Statement& statement) noexcept {
  return statement.kind == T::kKind ? static_cast<const T*>(&statement) : nullptr;
}

// Calls `visit` with `statement` as what it is, and returns what that returns. `visit` takes every
// kind: what a new one lacks does not compile.
template <typename Visit>
decltype(auto) VisitStatement(const Statement& statement, Visit&& visit) {
  switch (statement.kind) {
    case StatementKind::Select:
      return visit(static_cast<const SelectStatement&>(statement));
    case StatementKind::Insert:
      return visit(static_cast<const InsertStatement&>(statement));
    case StatementKind::Update:
      return visit(static_cast<const UpdateStatement&>(statement));
    case StatementKind::Delete:
      return visit(static_cast<const DeleteStatement&>(statement));
    case StatementKind::Truncate:
      return visit(static_cast<const TruncateStatement&>(statement));
    case StatementKind::CreateTable:
      return visit(static_cast<const CreateTableStatement&>(statement));
    case StatementKind::AlterTable:
      return visit(static_cast<const AlterTableStatement&>(statement));
    case StatementKind::CreateIndex:
      return visit(static_cast<const CreateIndexStatement&>(statement));
    case StatementKind::CreateView:
      return visit(static_cast<const CreateViewStatement&>(statement));
    case StatementKind::Drop:
      return visit(static_cast<const DropStatement&>(statement));
    case StatementKind::If:
      return visit(static_cast<const IfStatement&>(statement));
    case StatementKind::While:
      return visit(static_cast<const WhileStatement&>(statement));
    case StatementKind::Block:
      return visit(static_cast<const BlockStatement&>(statement));
    case StatementKind::TryCatch:
      return visit(static_cast<const TryCatchStatement&>(statement));
    case StatementKind::Break:
      return visit(static_cast<const BreakStatement&>(statement));
    case StatementKind::Continue:
      return visit(static_cast<const ContinueStatement&>(statement));
    case StatementKind::Return:
      return visit(static_cast<const ReturnStatement&>(statement));
    case StatementKind::SetOption:
      return visit(static_cast<const SetOptionStatement&>(statement));
    case StatementKind::Use:
      return visit(static_cast<const UseStatement&>(statement));
    case StatementKind::Print:
      return visit(static_cast<const PrintStatement&>(statement));
    case StatementKind::Assign:
      return visit(static_cast<const AssignStatement&>(statement));
    case StatementKind::BeginTransaction:
      return visit(static_cast<const BeginTransactionStatement&>(statement));
    case StatementKind::CommitTransaction:
      return visit(static_cast<const CommitTransactionStatement&>(statement));
    case StatementKind::RollbackTransaction:
      return visit(static_cast<const RollbackTransactionStatement&>(statement));
    case StatementKind::SavePoint:
      return visit(static_cast<const SavePointStatement&>(statement));
    case StatementKind::RaiseError:
      return visit(static_cast<const RaiseErrorStatement&>(statement));
    case StatementKind::Throw:
      return visit(static_cast<const ThrowStatement&>(statement));
    case StatementKind::ExecuteText:
      return visit(static_cast<const ExecuteTextStatement&>(statement));
    case StatementKind::ExecuteProcedure:
      return visit(static_cast<const ExecuteProcedureStatement&>(statement));
    case StatementKind::Procedure:
      return visit(static_cast<const ProcedureStatement&>(statement));
    case StatementKind::IdentityInsert:
      return visit(static_cast<const IdentityInsertStatement&>(statement));
    case StatementKind::CheckIdentity:
      return visit(static_cast<const CheckIdentityStatement&>(statement));
  }
  __builtin_unreachable();
}

// What a batch, a procedure or a dynamic text consists of.
struct Batch {
  Statements statements;
  std::span<const Type> variables;  // the types of its variables, by slot
};

}  // namespace ledgerwick::tsql
