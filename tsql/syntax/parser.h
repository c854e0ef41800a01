// Tokens to a syntax tree. A construct that the dialect lacks is error 102 or 156 at its first
// token.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <span>
#include <vector>

#include "tsql/base/arena.h"
#include "tsql/base/name_map.h"
#include "tsql/base/nesting.h"
#include "tsql/syntax/lexer.h"
#include "tsql/syntax/syntax_tree.h"
#include "tsql/syntax/system_variables.h"

namespace ledgerwick::tsql {

// What `batch` consists of; its text and `arena` outlive the result. Throws SqlError with the
// position of what could not be read.
Batch ParseBatch(TextView batch, Arena& arena);

// The name of an object that is the whole of `text`: one to three parts, bare, in brackets or in
// quotes ("tempdb..[a.b]"), blanks around each. Nothing for a text that is no name. The name lives
// in `arena`.
std::optional<ObjectName> ParseObjectName(TextView text, Arena& arena);

// A text with parameters, as sp_executesql takes it.
struct ParametrisedBatch {
  std::span<const Parameter> parameters;
  Batch batch;
};

// The same with the parameters that `parameters` ("@a int, @b varchar(10) OUTPUT") declares.
ParametrisedBatch ParseBatch(TextView batch, TextView parameters, Arena& arena);

// The binary operators of either precedence that symbols stand for; Null for other symbols.
ExprKind AdditiveOf(Symbol symbol) noexcept;
ExprKind MultiplicativeOf(Symbol symbol) noexcept;

// The grammar, one member for each rule: statements in parse_statement.cpp, the schema's in
// parse_ddl.cpp, control flow in parse_control.cpp, variables and procedures in
// parse_procedure.cpp, queries in parse_query.cpp, expressions in parse_expression.cpp.
class Parser {
 public:
  Parser(TextView batch, Arena& arena);

  Batch ParseAll();

  // The whole text as a list of parameters; declares them.
  std::span<const Parameter> ParseParameters();

  // Goes on with `batch`; what is declared stays.
  void Restart(TextView batch);

 private:
  // Tokens
  const Token& Current() const noexcept { return tokens_[at_]; }
  const Token& Ahead(std::size_t n) const noexcept;
  void Advance() noexcept { ++at_; }
  bool Is(Keyword keyword) const noexcept { return Current().keyword == keyword; }
  bool Is(Symbol symbol) const noexcept { return Current().symbol == symbol; }
  bool IsWord(TextView word) const noexcept;  // an identifier that is no reserved word
  bool Accept(Keyword keyword) noexcept;
  bool Accept(Symbol symbol) noexcept;
  bool AcceptWord(TextView word) noexcept;
  void Expect(Keyword keyword);
  void Expect(Symbol symbol);
  [[noreturn]] void Fail() const;  // at the current token
  bool IsName() const noexcept;
  Name ExpectName();
  std::int64_t ExpectInteger();
  Position At(std::uint32_t offset) const noexcept { return PositionOf(batch_, offset); }

  // Statements
  Statement* ParseStatement();
  Statement* StatementRule();
  Statement* SelectRule();
  Statement* Print();
  template <typename T>
  T* NewStatement() {
    T* statement = arena_.Make<T>();
    statement->offset = Current().offset;
    return statement;
  }
  Statement* Block();
  Statement* If();
  Statement* Insert();
  Statement* Update();
  Statement* Delete();
  Statement* Truncate();
  Statement* Create();
  Statement* Alter();
  Statement* CreateTable();
  Statement* CreateIndex(bool unique);
  Statement* CreateView();
  Statement* Drop();
  Statement* SetOption();
  bool AcceptIsolationLevel();
  Statement* Use();

  // Variables, control flow and procedures
  Statements BlockStatements();
  Statement* Declare();
  Statement* SetVariable();
  Statement* While();
  Statement* Return();
  Statement* BeginRule();
  Statement* TryCatch();
  TransactionName TransactionNameRule();
  template <typename T>
  Statement* TransactionRule() {
    T* statement = NewStatement<T>();
    statement->name = TransactionNameRule();
    return statement;
  }
  Statement* SavePoint();
  Statement* RaiseError();
  Statement* Throw();
  Statement* Execute();
  Statement* ExecuteText();
  Statement* ExecuteProcedure();
  Statement* LoopControl();
  Statement* Procedure(bool alters);
  bool AtProcedure() const noexcept;
  Argument ArgumentRule();
  Parameter ParameterRule();
  std::span<const Parameter> Parameters();
  Expr* Constant();
  Expr* VariableRule();
  Expr* FactRule(const SessionFactName& fact, const Name& name);
  Expr* AssignedVariable();
  void RequireAssignable(const Expr& variable) const;
  Expr* AssignedValue(const Expr& variable);
  void RequireNoVariables(std::size_t uses_before, TextView statement) const;
  bool AtAssignment() const noexcept;
  std::int32_t DeclareVariable(const Name& name, const Type& type);
  Name ExpectVariable();

  // Tables (parse_table.cpp)
  struct Rules;
  Statement* AlterTable();
  void AlterAdd(AlterTableStatement& statement);
  void AlterDrop(AlterTableStatement& statement);
  void AlterColumn(AlterTableStatement& statement);
  void SwitchConstraints(AlterTableStatement& statement);
  ColumnDefinition Definition(TextView statement, Rules& rules);
  void Computed(ColumnDefinition& definition, TextView statement);
  bool ColumnProperty(ColumnDefinition& definition);
  bool ColumnRule(ColumnDefinition& definition, TextView statement, Rules& rules);
  void Identity(ColumnDefinition& definition);
  std::int64_t SignedInteger();
  void Collation();
  bool AtTableRule() const noexcept;
  void TableRule(TextView statement, Rules& rules);
  void KeyRule(Name name, const Name* column, Rules& rules);
  void CheckOf(Name name, Name column, TextView statement, Rules& rules);
  void ReferenceOf(Name name, std::span<const Name> columns, Rules& rules);
  void DefaultOf(Name name, Name column, TextView statement, Rules& rules);
  TableRules Copy(const Rules& rules);
  void NotForReplication();
  void StorageOptions();
  void IndexOption();
  std::span<const KeyColumn> KeyColumns();
  TextView TextFrom(std::uint32_t offset) const noexcept;
  Statement* IdentityInsert();
  Statement* Dbcc();
  void SkipTableHints();
  std::span<const Name> NameList();

  // Queries
  Query* ParseQuery();
  Select* ParseSelect();
  Select* SelectOrParenthesised();
  SelectItem Item();
  void MarkLive(const Select& select, std::size_t uses_before);
  std::span<const OrderItem> OrderBy();
  From* FromList();
  From* JoinTree();
  From* JoinOperand();
  bool AtDerivedTable() const;
  bool AtJoin(FromKind& kind);
  ObjectName ObjectNameRule();
  Name Alias();

  // Expressions
  Expr* Condition();  // a predicate
  Expr* Value();      // anything but a predicate
  Expr* Disjunction();
  Expr* Conjunction();
  Expr* Negation();
  Expr* Relation();
  Expr* Additive();
  Expr* Multiplicative();
  Expr* Unary();
  Expr* Primary();
  Expr* Parenthesised();
  Expr* Literal();
  Expr* NameExpression();
  Expr* Call(Name name);
  Expr* Cast();
  Expr* ConvertCall();
  Expr* Case();
  Expr* LikeRule(Expr* value, bool negated);
  Expr* BetweenRule(Expr* value, bool negated);
  Expr* InRule(Expr* value, bool negated);
  Type TypeRule();
  Expr* NewExpr(ExprKind kind, std::uint32_t offset);
  Expr* NewExpr(ExprKind kind, std::initializer_list<Expr*> args);
  Expr* RequireValue(Expr* expr);
  Expr* RequireCondition(Expr* expr);
  void Finish(Expr* expr) const noexcept;  // sets the length up to the last token read

  TextView batch_;
  Arena& arena_;
  std::pmr::vector<Token> tokens_;
  std::size_t at_ = 0;
  int depth_ = 0;  // of what nests
  NameMap<std::int32_t, TextView> variable_slots_;
  std::vector<Type> variable_types_;
  std::vector<Expr*> variable_uses_;  // in the order in which they stand
  int loops_ = 0;                     // WHILEs around the current token
  bool in_procedure_ = false;
};

}  // namespace ledgerwick::tsql
