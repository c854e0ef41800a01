// Runs the statements of a batch one after another, each compiled when its turn comes.
#pragma once

#include <memory>

#include "frame/result_sink.h"
#include "tsql/binder.h"
#include "tsql/storage.h"

namespace ledgerwick::tsql {

// Executes statements on one storage. Not reentrant.
class Interpreter {
 public:
  Interpreter(Storage& storage, Catalogue& catalogue) : storage_(storage), catalogue_(catalogue) {}

  // Runs `batch`. Throws SqlError; its position is in the batch.
  void Run(TextView batch, ResultSink& sink);

 private:
  void Execute(Statement& statement);
  void ExecuteAt(Statement& statement);  // without a position in the error
  bool Holds(const Expr& condition);
  void If(Statement& statement);
  void Print(Statement& statement);
  void SelectRows(Query& query);
  void SelectInto(Query& query, Binder& binder);
  void Insert(Statement& statement);
  std::string InsertSql(Statement& statement, Binder& binder, const Table& table);
  std::string InsertValues(Statement& statement, Binder& binder, const Table& table,
                           const std::vector<std::int32_t>& columns);
  void Update(Statement& statement);
  void Delete(Statement& statement);
  void Truncate(Statement& statement);

  // ddl.cpp
  void CreateTable(Statement& statement);
  void CreateIndex(Statement& statement);
  void CreateView(Statement& statement);
  void Drop(const ObjectName& name, StatementKind kind);
  void DropIndex(const ObjectName& name);
  void SaveView(DatabaseId database, const std::string& name, const std::string* definition);

  void SendRows(sqlite3_stmt* statement, const Query& query);
  Binder NewBinder() { return Binder(batch_, *arena_, catalogue_); }

  Storage& storage_;
  Catalogue& catalogue_;
  TextView batch_;
  Arena* arena_ = nullptr;
  ResultSink* sink_ = nullptr;
};

// The declaration of a column in SQLite, with its collation and nullability.
std::string ColumnDeclaration(std::string_view name, const Type& type);

}  // namespace ledgerwick::tsql
