// Runs the statements of a batch one after another, each compiled when its turn comes.
#pragma once

#include <memory>

#include "frame/result_sink.h"
#include "tsql/base/nesting.h"
#include "tsql/binder/binder.h"
#include "tsql/run/session.h"
#include "tsql/storage/storage.h"
#include "tsql/syntax/clone.h"
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

// Gives the trees of a frame whose statements may run again to binding as copies, with memory of
// their own; the trees of others as they are.
class OwnTree {
 public:
  explicit OwnTree(Frame& frame) : frame_(frame), arena_before_(frame.arena) {
    if (frame.runs_again) frame.arena = &scratch_;
  }
  ~OwnTree() { frame_.arena = arena_before_; }
  OwnTree(const OwnTree&) = delete;
  OwnTree& operator=(const OwnTree&) = delete;

  Statement& Of(const Statement& statement) const {
    return frame_.runs_again ? *Clone(statement, *frame_.arena) : const_cast<Statement&>(statement);
  }
  Expr& Of(const Expr& expr) const {
    return frame_.runs_again ? *Clone(&expr, *frame_.arena) : const_cast<Expr&>(expr);
  }

 private:
  Frame& frame_;
  Arena* arena_before_;
  Arena scratch_;
};

// Where the flow of control goes after a statement.
enum class Flow { Next, Break, Continue, Return };

// A procedure's text with its syntax tree.
struct Procedure {
  Text name;
  Text text;
  Arena arena;
  Batch batch;
  const Statement* statement = nullptr;  // CREATE PROCEDURE
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

 private:
  Flow Execute(const Statement& statement);
  Flow ExecuteAt(const Statement& statement);  // without a position in the error
  void ExecuteSimple(Statement& statement);
  void ExecuteModification(Statement& statement);
  void ExecuteOther(Statement& statement);
  void EndTransaction();
  void KeepTemporary(DatabaseId database, const std::string& table);
  void Locate(SqlError& error, const Statement& statement) const;
  bool ObjectExists(TextView name);
  bool EndsHere(const SqlError& error) const;
  void Tell(const SqlError& error);
  void Affected(std::int64_t rows);
  SqliteStatement Prepare(const std::string& sql);  // with the variables' values
  std::int64_t Change(const std::string& sql);
  Binder NewBinder() { return Binder(session_.frame->text, *session_.frame->arena, catalogue_); }

  // Queries (interpreter.cpp)
  void SelectQuery(Query& query);
  void Plan(Query& query);
  void SelectRows(Query& query);
  void SelectInto(Query& query, Binder& binder);
  void SendRows(sqlite3_stmt* statement, const Query& query);

  // Changes (modify.cpp)
  void Insert(Statement& statement);
  std::string InsertSql(Statement& statement, Binder& binder, const Table& table);
  std::string InsertValues(Statement& statement, Binder& binder, const Table& table,
                           const std::vector<std::int32_t>& columns);
  void Update(Statement& statement);
  void Delete(Statement& statement);
  void Truncate(Statement& statement);

  // Variables and control flow (run_control.cpp)
  Flow RunAll(std::span<Statement* const> statements);
  bool Holds(const Expr& condition);
  Flow If(const Statement& statement);
  Flow While(const Statement& statement);
  Flow TryCatch(const Statement& statement);
  Flow Return(const Statement& statement);
  std::vector<SqliteValue> Evaluate(std::span<Expr* const> bound);
  SqliteValue Evaluate(Expr* value, const Type& type);
  void Assign(const Expr& variable, Expr* value);
  void SelectAssign(Query& query);
  void Print(Statement& statement);
  void SetOption(const Statement& statement);
  void RaiseError(Statement& statement);
  [[noreturn]] void Throw(Statement& statement);
  void BeginTransaction();
  void CommitTransaction();
  void RollbackTransaction();
  void FollowTransaction();

  // Procedures and dynamic texts (procedures.cpp)
  void ExecuteText(Statement& statement);
  void ExecuteProcedure(Statement& statement);
  void ExecuteSql(Statement& statement);
  void AssignResult(const Statement& statement, std::int64_t result);
  std::string TextOfPart(Expr& part);
  std::shared_ptr<const Procedure> Load(const ProcedureText& procedure);
  std::vector<SqliteValue> ArgumentValues(std::span<const Parameter> parameters,
                                          std::span<const Argument* const> arguments,
                                          TextView procedure);
  void Call(Frame& frame, std::span<Statement* const> body);
  void CallWithArguments(Frame& frame, std::span<Statement* const> body,
                         std::span<const Parameter> parameters, std::span<const Argument> arguments,
                         TextView name);
  void CreateProcedure(Statement& statement);

  // ddl.cpp
  void CreateTable(Statement& statement);
  void AlterTable(Statement& statement);
  void CreateIndex(Statement& statement);
  void CreateView(Statement& statement);
  void Drop(const Statement& statement, const ObjectName& name);
  void DropTable(const Table& table);
  void DropIndex(const ObjectName& name);
  void SaveModule(DatabaseId database, const std::string& name, char kind,
                  const std::string* definition);

  // The last table that the storage could not drop: what making it anew fails with, and why.
  struct FailedDrop {
    std::string message;
    SqlError reason;
  };

  Storage& storage_;
  Catalogue& catalogue_;
  Session session_;
  ResultSink* sink_ = nullptr;
  std::optional<FailedDrop> failed_drop_;
  int depth_ = 0;                                         // of statements within statements
  TextMap<std::shared_ptr<const Procedure>> procedures_;  // keyed by the text
};

// The declaration of a column in SQLite, with its collation and nullability.
std::string ColumnDeclaration(std::string_view name, const Type& type);

}  // namespace ledgerwick::tsql
