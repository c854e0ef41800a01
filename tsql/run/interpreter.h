// Runs the statements of a batch one after another, each compiled when its turn comes.
#pragma once

#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "frame/result_sink.h"
#include "tsql/base/explanation.h"
#include "tsql/base/nesting.h"
#include "tsql/binder/binder.h"
#include "tsql/compile/compile.h"
#include "tsql/run/session.h"
#include "tsql/run/statement_cache.h"
#include "tsql/storage/application_locks.h"
#include "tsql/storage/constraints.h"
#include "tsql/storage/storage.h"
#include "tsql/storage/unique_keys.h"
#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {

// Counts one more while it lives.
class Counted {
 public:
  explicit Counted(std::int32_t& count) : count_(count) { ++count_; }
  ~Counted() { --count_; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

 private:
  std::int32_t& count_;
};

// Where the flow of control goes after a statement.
enum class Flow { Next, Break, Continue, Return };

// A procedure's text with its syntax tree and what its statements come to.
struct Procedure {
  Text name;
  Text text;
  Arena arena;
  Batch batch;
  const ProcedureStatement* statement = nullptr;
  StatementCache kept;
};

// Executes statements on one storage. Not reentrant.
class Interpreter {
 public:
  // Both outlive it, and `storage` runs no statement after it.
  Interpreter(Storage& storage, Catalogue& catalogue);

  // Runs `batch`. An error that a statement alone suffers lets the next one run, as on the server;
  // the batch's first error is thrown in the end, as a SqlError whose position is in the batch, the
  // procedure or the dynamic text where it arose.
  void Run(TextView batch, ResultSink& sink);

  // How the queries and changes of `batch` would run, in the order in which they stand; nothing is
  // run. Throws SqlError for a statement that could not run as things are.
  std::vector<Explanation> Explain(TextView batch);

  // The same of a batch that runs: its queries and changes and those of the procedures that it
  // calls, as they first came to run.
  std::vector<Explanation> RunExplained(TextView batch, ResultSink& sink);

  std::int64_t open_transactions() const noexcept { return session_.transactions; }

 private:
  Flow Execute(const Statement& statement);
  Flow ExecuteAt(const Statement& statement);  // without a position in the error
  void EndTransaction();
  void KeepTemporary(const std::string& table);
  bool FailedToDrop(const SqlError& error, const Statement& statement) const;
  void Locate(SqlError& error, const Statement& statement) const;
  std::optional<std::int64_t> ObjectId(TextView name);
  bool IsConstraint(const ObjectName& name);
  std::optional<std::string> Fact(std::string_view fact, std::string_view argument);  // facts.cpp
  std::optional<std::string> DescribeModule(DatabaseId database, TextView name);
  std::optional<std::string> ObjectFact(std::string_view fact, std::string_view id);
  bool BeginsTransaction(const Statement& statement) const noexcept;
  bool OnlyDescribes(const Statement& statement);
  void Describe(const Query& query);
  void BeginTransaction();
  void SetValue(TextView option, const Expr& expr, const Statement& statement);
  bool EndsHere(const SqlError& error) const;
  void Tell(const SqlError& error);
  void Inform(SqlError message, const Statement& statement);
  void Affected(std::int64_t rows);
  Binder NewBinder(Arena& arena);
  Compiler NewCompiler(Arena& arena);

  // Compiled statements (run_compiled.cpp)
  template <typename Compile>
  std::shared_ptr<KeptStatement> Prepared(const void* node, const Compile& compile);
  std::int64_t Change(KeptStatement& kept, const Statement& statement);
  void SendRows(KeptStatement& statement);
  void SelectInto(KeptStatement& kept, const Statement& statement);
  void SelectAssign(KeptStatement& statement);
  bool Holds(const Expr& condition);
  // The values, each as the type that `type_of` gives; `types` receives their own. They are
  // compiled once for `node`, unless it is nullptr; with `of_schema` once for the schema.
  std::vector<SqliteValue> Evaluate(const void* node, std::span<const Expr* const> values,
                                    const Compiler::TypeOf& type_of,
                                    std::vector<Type>* types = nullptr, bool of_schema = false);
  // What `value` is as `type`, cut off where it is longer.
  SqliteValue Evaluate(const Expr& value, const Type& type);
  // The same for an expression that is no part of the batch.
  SqliteValue EvaluateOnce(const Expr& value, const Type& type);

  // For explanations (explain.cpp)
  Explanation Describe(const Statement& statement);

  // A query or change while it runs. Does nothing where nobody asks for explanations.
  class ExplainedRun {
   public:
    ExplainedRun(Interpreter& interpreter, const Statement& statement);
    ~ExplainedRun();
    ExplainedRun(const ExplainedRun&) = delete;
    ExplainedRun& operator=(const ExplainedRun&) = delete;

   private:
    Interpreter& interpreter_;
    const int failures_ = std::uncaught_exceptions();
    std::optional<std::size_t> place_;
    std::chrono::steady_clock::time_point start_;
  };

  // Statements, one of these for each kind
  Flow Perform(const IfStatement& statement);
  Flow Perform(const WhileStatement& statement);
  Flow Perform(const BlockStatement& statement) { return RunAll(statement.body); }
  Flow Perform(const TryCatchStatement& statement);
  Flow Perform(const BreakStatement&) { return Flow::Break; }
  Flow Perform(const ContinueStatement&) { return Flow::Continue; }
  Flow Perform(const ReturnStatement& statement);
  void Perform(const SelectStatement& statement);
  void Perform(const InsertStatement& statement) { PerformChange(statement); }
  void Perform(const UpdateStatement& statement) { PerformChange(statement); }
  void Perform(const DeleteStatement& statement) { PerformChange(statement); }
  void Perform(const AssignStatement& statement);
  void Perform(const ExecuteTextStatement& statement);
  void Perform(const ExecuteProcedureStatement& statement);
  void Perform(const RaiseErrorStatement& statement);
  void Perform(const ThrowStatement& statement);
  void Perform(const SetOptionStatement& statement);
  void Perform(const UseStatement& statement);
  void Perform(const PrintStatement& statement);
  void Perform(const BeginTransactionStatement& statement);
  void Perform(const CommitTransactionStatement& statement);
  void Perform(const RollbackTransactionStatement& statement);
  void Perform(const SavePointStatement& statement);
  void Perform(const TruncateStatement& statement);
  void Perform(const CreateTableStatement& statement);
  void Perform(const AlterTableStatement& statement);
  void Perform(const CreateIndexStatement& statement);
  void Perform(const CreateViewStatement& statement);
  void Perform(const ProcedureStatement& statement);
  void Perform(const IdentityInsertStatement& statement);
  void Perform(const CheckIdentityStatement& statement);
  void Perform(const DropStatement& statement);
  void PerformChange(const Statement& statement);

  // Control flow and transactions (run_control.cpp)
  Flow RunAll(Statements statements);
  void SetDates(const DateOptions& dates);
  void SetDateOption(TextView name, const Expr& value, const Statement& statement);
  std::string NameOf(const TransactionName& name);
  void RollbackTransaction();
  void RollbackTo(const std::string& name);
  void FollowTransaction();
  void TransactionEnded();

  // Procedures and dynamic texts (procedures.cpp)
  void ExecuteSql(const ExecuteProcedureStatement& statement);
  void AssignResult(const ExecuteProcedureStatement& statement, std::int64_t result);
  std::string TextOfPart(const Expr& part);
  std::shared_ptr<Procedure> Load(const ProcedureText& procedure);
  std::vector<SqliteValue> ArgumentValues(const void* node, std::span<const Parameter> parameters,
                                          std::span<const Argument* const> arguments,
                                          TextView procedure);
  void Call(Frame& frame, Statements body);
  void CallWithArguments(Frame& frame, const void* node, Statements body,
                         std::span<const Parameter> parameters, std::span<const Argument> arguments,
                         TextView name);

  // Procedures without statements (native_procedures.cpp)
  std::int64_t RunNative(Frame& frame);
  std::int64_t GetApplicationLock(Frame& frame);
  std::int64_t ReleaseApplicationLock(Frame& frame);
  std::string ApplicationLockName(Frame& frame, TextView resource, TextView principal) const;

  // Rows that a constraint refuses (refused_rows.cpp)
  std::int64_t SettleRefused(const Statement& statement);
  void RequireValues(const Table& table, const std::string& rows, bool update);
  void RequireUnique(const Table& table, const std::string& rows);
  std::optional<std::string> DuplicateIn(const Table& table, const UniqueKey& key);
  std::optional<std::string> KeyOfFirst(const Table& table, const UniqueKey& key,
                                        const std::string& rows);

  // Rows that are changed all at once (settle.cpp): a table's new rows and its old ones, each in a
  // table of the session's, whose name is empty for none.
  struct ChangedRows {
    const Table* table;
    std::string fresh;
    std::string old;
  };
  struct Settlement {
    std::string_view word;  // the statement's
    std::vector<ChangedRows> changed = {};
    std::vector<std::string> tables = {};  // the session's
  };
  void NewRows(const Table& table, const std::string& rows, Settlement& settlement);
  std::string NewRows(const Table& table, Settlement& settlement);
  bool IsReferenced(const Table& table);
  std::int64_t PutRows(const Table& table, const std::string& rows, Settlement& settlement);
  std::int64_t ReplaceRows(const Table& table, const std::string& rows, Settlement& settlement);
  std::int64_t TakeRows(const Table& table, const std::string& rows, Settlement& settlement);
  void Cascade(ChangedRows changed, Settlement& settlement);
  bool HasRow(const std::string& sql);
  void RequireRule(const Constraint& rule, const std::string& rows, DatabaseId database,
                   std::string_view word);
  void RequireReferenced(const ChangedRows& changed, std::string_view word);
  void RequireRules(const Settlement& settlement);

  // Tables and their constraints (create_table.cpp, table_rules.cpp)
  struct NewTable;
  NewTable Declare(const CreateTableStatement& statement, DatabaseId database, Binder& binder,
                   Arena& arena);
  void AddColumn(const ColumnDefinition& definition, NewTable& made, Binder& binder);
  void AddComputed(std::span<const ColumnDefinition> definitions, NewTable& made, Arena& arena);
  void AddKeys(std::span<const TableKey> keys, NewTable& made, Binder& binder);
  void AddRules(const TableRules& rules, NewTable& made, Binder& binder, Arena& arena);
  void AddDefault(const DefaultRule& rule, NewTable& made, Binder& binder, Arena& arena);
  void AddCheck(const CheckRule& rule, NewTable& made, Binder& binder, Arena& arena);
  void AddReference(const ReferenceRule& rule, NewTable& made, Binder& binder);
  void RequireNoCycle(const Constraint& reference, const NewTable& made, Position at);
  Text NewName(const Name& written, TextView prefix, std::span<const Text> columns, NewTable& made,
               Binder& binder);
  void MakeNullIndexes(const Table& table);
  void KeepRules(const NewTable& made);
  void GuardAgain(const Table& table, std::span<const Constraint> constraints);

  // Changes of tables (alter_table.cpp, rebuild_table.cpp)
  NewTable Existing(const Table& table);
  void Add(const AlterTableStatement& statement, const Table& table, Binder& binder, Arena& arena);
  void AddColumns(const AlterTableStatement& statement, const Table& table, Binder& binder,
                  Arena& arena);
  void AddKey(const Table& table, const UniqueKey& key);
  void DropConstraint(const Table& table, const DroppedPart& part, Binder& binder);
  void DropKey(const Table& table, const UniqueKey& key, Position at);
  void DropColumn(const Table& table, const DroppedPart& part, Binder& binder);
  std::optional<Text> UserOf(const Table& table, std::int32_t column, bool by_defaults);
  void AlterColumn(const ColumnDefinition& definition, const Table& table, Binder& binder,
                   Arena& arena);
  void Switch(const AlterTableStatement& statement, const Table& table, Binder& binder);
  void Rebuild(const NewTable& made, const Table& table, const std::string& values);
  void DropAll(const Table& table);
  void RequireUnreferenced(const Table& table, Position at);

  // IDENTITY (identity.cpp)
  void ResetIdentity(const Table& table, std::optional<std::int64_t> last);
  std::optional<std::int64_t> LastIdentity(const Table& table);
  std::optional<std::string> IdentityFact(std::string_view fact, std::string_view name);

  // The schema (ddl.cpp)
  void Drop(const DropStatement& statement, const ObjectName& name);
  void DropTable(const Table& table);
  void DropIndex(const ObjectName& name);
  void SaveModule(DatabaseId database, const std::string& name, char kind,
                  const std::string* definition);

  // The last table that the storage could not drop, and why.
  struct FailedDrop {
    DatabaseId database;
    Text table;
    SqlError reason;
  };

  Storage& storage_;
  Catalogue& catalogue_;
  Session session_;
  ApplicationLocks locks_;
  ResultSink* sink_ = nullptr;
  // What a run that is explained has come by.
  struct Explanations {
    std::vector<Explanation> list;
    std::unordered_map<const Statement*, std::size_t> places;
  };

  std::optional<FailedDrop> failed_drop_;
  Explanations* explanations_ = nullptr;
  int depth_ = 0;  // of statements within statements
  std::unordered_map<Text, std::shared_ptr<Procedure>> procedures_;  // by the text
};

}  // namespace ledgerwick::tsql
