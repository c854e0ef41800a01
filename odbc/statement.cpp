#include "odbc/statement.h"

#include <algorithm>

#include "odbc/failures.h"
#include "odbc/result_reader.h"

namespace ledgerwick::odbc {
namespace {

constexpr std::size_t kLongestVarchar = 8000;  // bytes

// A server whose connection has gone answers every further call alike.
constexpr int kMostErrorsInARow = 1000;

}  // namespace

Statement::Statement(SQLHDBC connection, LongCalls& calls, Explain explain, int seconds)
    : handle_(SQL_HANDLE_STMT, connection), calls_(calls), explain_(std::move(explain)) {
  if (handle_.Get() == nullptr) Fail(ReadDiagnostics(SQL_HANDLE_DBC, connection));
  if (seconds > 0) {
    SQLSetStmtAttrW(handle_.Get(), SQL_ATTR_QUERY_TIMEOUT, AsPointer(static_cast<SQLULEN>(seconds)),
                    0);
  }
}

Statement::~Statement() {
  // What the sink did not want to hear to the end.
  if (handle_.Get() != nullptr && !broken_) SQLFreeStmt(handle_.Get(), SQL_CLOSE);
}

void Statement::Fail(const std::vector<Diagnostic>& diagnostics) {
  if (calls_.Cancelled()) throw CancelledError();
  for (const Diagnostic& d : diagnostics) {
    if (!d.IsInformation()) throw explain_(d);
  }
  throw DatabaseError(kErrorFailed, u"ODBC", u"The driver failed without a reason.");
}

SQLRETURN Statement::Make(const std::function<SQLRETURN()>& call) {
  const SQLRETURN result = calls_.Make(handle_.Get(), call);
  // Whatever came of it: the user has stopped waiting.
  if (calls_.Cancelled()) throw CancelledError();
  return result;
}

// Messages go to the sink, the first error waits for the end.
void Statement::Tell(const std::vector<Diagnostic>& diagnostics, ResultSink& sink) {
  for (const Diagnostic& d : diagnostics) {
    if (d.IsInformation()) {
      // What the driver remarks about its own options is nothing to the user.
      if (d.native > 0 || d.state == u"01000") sink.Information(ToError(d));
      continue;
    }
    broken_ = broken_ || d.IsConnectionFailure();
    const DatabaseError error = explain_(d);
    if (first_error_) {
      sink.Error(error);
    } else {
      first_error_ = error;
      sink.FirstError(error);
    }
  }
}

void Statement::ReadResult(ResultSink& sink) {
  std::vector<Column> columns = DescribeColumns(handle_.Get());
  if (columns.empty()) {
    SQLLEN count = -1;
    if (Succeeded(SQLRowCount(handle_.Get(), &count)) && count >= 0) sink.RowsAffected(count);
    return;
  }
  const auto call = [&](const std::function<SQLRETURN()>& fetch) {
    const SQLRETURN result = Make(fetch);
    if (result == SQL_SUCCESS || result == SQL_NO_DATA) return result == SQL_SUCCESS;
    const std::vector<Diagnostic> diagnostics = ReadDiagnostics(SQL_HANDLE_STMT, handle_.Get());
    if (!Succeeded(result)) {
      if (diagnostics.empty()) Fail(diagnostics);
      Tell(diagnostics, sink);
      throw DatabaseError(*first_error_);
    }
    // A long value comes in pieces, each of which is told to be cut off.
    std::vector<Diagnostic> told;
    std::copy_if(diagnostics.begin(), diagnostics.end(), std::back_inserter(told),
                 [](const Diagnostic& d) { return d.state != u"01004"; });
    Tell(told, sink);
    return true;
  };
  ResultReader reader(handle_.Get(), std::move(columns), call);
  try {
    reader.ReadInto(sink);
  } catch (const DatabaseError&) {
    // An error of the server waits for the end; one of this side goes on.
    if (!first_error_) throw;
  }
}

void Statement::ReadResults(SQLRETURN result, ResultSink& sink) {
  int errors = 0;
  while (result != SQL_NO_DATA) {
    if (result != SQL_SUCCESS) {
      const std::vector<Diagnostic> diagnostics = ReadDiagnostics(SQL_HANDLE_STMT, handle_.Get());
      if (!Succeeded(result) && diagnostics.empty()) Fail(diagnostics);
      Tell(diagnostics, sink);
    }
    if (Succeeded(result)) {
      ReadResult(sink);
      errors = 0;
    } else if (broken_ || ++errors > kMostErrorsInARow) {
      break;
    }
    result = Make([this] { return SQLMoreResults(handle_.Get()); });
  }
  if (first_error_) throw DatabaseError(*first_error_);
}

void Statement::Run(const Text& batch, ResultSink& sink) {
  const auto length = static_cast<SQLINTEGER>(batch.size());
  ReadResults(Make([&] { return SQLExecDirectW(handle_.Get(), Wide(batch), length); }), sink);
}

void Statement::Bind(SQLUSMALLINT number, const CallParameter& parameter, SQLLEN& length) {
  const SQLSMALLINT type = parameter.is_long || parameter.size > kLongestVarchar
                               ? SQLSMALLINT{SQL_LONGVARCHAR}
                               : SQLSMALLINT{SQL_VARCHAR};
  // A size of 0 is not one that drivers take.
  const auto size = static_cast<SQLULEN>(std::max<std::size_t>(parameter.size, 1));
  length = static_cast<SQLLEN>(parameter.value.size() * sizeof(char16_t));
  if (!Succeeded(SQLBindParameter(handle_.Get(), number, SQL_PARAM_INPUT, SQL_C_WCHAR, type, size,
                                  0, Wide(parameter.value), length, &length))) {
    Fail(ReadDiagnostics(SQL_HANDLE_STMT, handle_.Get()));
  }
}

void Statement::Call(const Text& procedure, const std::vector<CallParameter>& parameters,
                     ResultSink& sink) {
  Text call = u"{call " + procedure;
  std::vector<SQLLEN> lengths(parameters.size());
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    call += i == 0 ? u"(?" : u",?";
    Bind(static_cast<SQLUSMALLINT>(i + 1), parameters[i], lengths[i]);
  }
  call += parameters.empty() ? u"}" : u")}";
  Run(call, sink);
}

}  // namespace ledgerwick::odbc
