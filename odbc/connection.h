// A SQL Server behind the component's Connection, through ODBC.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

#include "frame/database.h"
#include "frame/result_sink.h"
#include "odbc/target.h"

namespace ledgerwick::odbc {

struct ConnectionOptions {
  // When it turns true, the running statement is cancelled on the server and fails. May be set from
  // a signal handler. May be null; outlives the connection.
  const std::atomic<bool>* cancel = nullptr;

  // Called every so often while a statement runs; throws nothing; may be empty.
  std::function<void()> progress;

  // Stands in where a connection string has a user and no password.
  std::optional<Text> password;

  int login_timeout = 15;  // in seconds, where the connection string sets none
};

// A connection to a server, opened by whatever ParseTarget reads. Statements run without a time
// limit, commands for 30 seconds unless they are told otherwise, as ADO's do. Serves one thread at
// a time. Every member throws DatabaseError: with the server's number, text and line where the
// server has refused, and a sentence with a remedy where it could not be asked. No error holds a
// password.
class OdbcConnection : public Connection, public BatchRunner {
 public:
  static std::shared_ptr<OdbcConnection> New(const ConnectionOptions& options);

  // As Run, for `seconds` at most; 0 for no limit.
  virtual void RunFor(TextView batch, int seconds, ResultSink& sink) = 0;
};

}  // namespace ledgerwick::odbc
