// One statement on its way to the server and back.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "frame/error.h"
#include "frame/result_sink.h"
#include "odbc/diagnostics.h"
#include "odbc/long_calls.h"
#include "odbc/odbc_api.h"

namespace ledgerwick::odbc {

// A parameter of a call: text for varchar or text.
struct CallParameter {
  bool is_long = false;
  std::size_t size = 0;  // in bytes of the ANSI code page
  Text value;
};

// What a statement has to know of its connection.
struct StatementSettings {
  int seconds = 0;  // the time limit; 0 for none

  // The driver loses what a batch says behind an empty result when it is asked for rows, and knows
  // before that there are none.
  bool counts_empty_results = false;
};

// Runs one batch or call and hands everything that comes back to a sink, in its order.
class Statement {
 public:
  // Words an error of the server or the driver.
  using Explain = std::function<DatabaseError(const Diagnostic&)>;

  // All outlive the statement. Throws DatabaseError.
  Statement(SQLHDBC connection, LongCalls& calls, Explain explain,
            const StatementSettings& settings);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Runs `batch`. The first error is thrown when everything else has come; further ones go to the
  // sink.
  void Run(const Text& batch, ResultSink& sink);

  // Calls the procedure of that name with the parameters in their order.
  void Call(const Text& procedure, const std::vector<CallParameter>& parameters, ResultSink& sink);

 private:
  void ReadResults(SQLRETURN result, ResultSink& sink);
  void ReadResult(ResultSink& sink);
  SQLRETURN Make(const std::function<SQLRETURN()>& call);
  SQLRETURN Execute(const Text& text);
  void Tell(std::vector<Diagnostic> diagnostics, ResultSink& sink);
  DatabaseError Located(DatabaseError error, const Diagnostic& diagnostic) const;
  [[noreturn]] void Fail(const std::vector<Diagnostic>& diagnostics);
  void Bind(SQLUSMALLINT number, const CallParameter& parameter, SQLLEN& length);

  Handle handle_;
  LongCalls& calls_;
  Explain explain_;
  StatementSettings settings_;
  std::optional<DatabaseError> first_error_;
  bool calls_procedure_ = false;
  bool broken_ = false;  // nothing more comes
};

}  // namespace ledgerwick::odbc
