#include "odbc/statement.h"

#include <algorithm>
#include <utility>

#include "odbc/failures.h"
#include "odbc/result_reader.h"

namespace ledgerwick::odbc {
namespace {

constexpr std::size_t kLongestVarchar = 8000;  // bytes

// A server whose connection has gone answers every further call alike.
constexpr int kMostErrorsInARow = 1000;

constexpr std::int32_t kStatementTerminated = 3621;

// A result of no use before the batch.
constexpr TextView kGuard = u"SELECT 0; ";

// The first word of `batch`, comments left out.
TextView FirstWord(TextView batch) {
  constexpr TextView kBlanks = u" \t\r\n;(";
  while (true) {
    batch.remove_prefix(std::min(batch.find_first_not_of(kBlanks), batch.size()));
    std::size_t end = 0;
    if (batch.starts_with(u"--")) {
      end = batch.find(u'\n');
    } else if (batch.starts_with(u"/*")) {
      end = batch.find(u"*/");
      if (end != TextView::npos) end += 2;
    } else {
      return batch.substr(0, batch.find_first_of(u" \t\r\n;(@'[\"*-"));
    }
    batch.remove_prefix(std::min(end, batch.size()));
  }
}

// True for a batch that means the same behind a SELECT: not one that creates what has to be a
// batch's only statement, calls a procedure without EXEC, or may ask what the last statement did.
bool TakesGuard(TextView batch) {
  static constexpr TextView kWords[] = {
      u"BEGIN",    u"COMMIT", u"DECLARE",  u"DELETE", u"DROP",  u"EXEC",
      u"EXECUTE",  u"IF",     u"INSERT",   u"MERGE",  u"PRINT", u"RAISERROR",
      u"ROLLBACK", u"SELECT", u"TRUNCATE", u"UPDATE", u"WHILE", u"WITH"};
  if (batch.find(u"@@") != TextView::npos || FindText(batch, u"ROWCOUNT") != TextView::npos) {
    return false;
  }
  const TextView first = FirstWord(batch);
  return std::any_of(std::begin(kWords), std::end(kWords),
                     [&](TextView word) { return EqualText(word, first); });
}

}  // namespace

Statement::Statement(SQLHDBC connection, LongCalls& calls, Explain explain,
                     const StatementSettings& settings)
    : handle_(SQL_HANDLE_STMT, connection),
      calls_(calls),
      explain_(std::move(explain)),
      settings_(settings) {
  if (handle_.Get() == nullptr) Fail(ReadDiagnostics(SQL_HANDLE_DBC, connection));
  if (settings.seconds > 0) {
    SQLSetStmtAttrW(handle_.Get(), SQL_ATTR_QUERY_TIMEOUT,
                    AsPointer(static_cast<SQLULEN>(settings.seconds)), 0);
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

// A line may be one of a procedure that the driver does not tell of.
DatabaseError Statement::Located(DatabaseError error, const Diagnostic& diagnostic) const {
  if (calls_procedure_ && !diagnostic.knows_procedure) error.line = 0;
  return error;
}

// Messages go to the sink, the first error waits for the end.
void Statement::Tell(std::vector<Diagnostic> diagnostics, ResultSink& sink) {
  // Drivers put errors first, whatever a PRINT said before them; what a server adds to an error
  // comes behind it.
  std::stable_partition(diagnostics.begin(), diagnostics.end(), [](const Diagnostic& d) {
    return d.IsInformation() && d.native != kStatementTerminated;
  });
  for (const Diagnostic& d : diagnostics) {
    if (d.IsInformation()) {
      // What the driver remarks about its own options is nothing to the user.
      if (d.native > 0 || d.state == u"01000") sink.Information(Located(ToError(d), d));
      continue;
    }
    broken_ = broken_ || d.IsConnectionFailure();
    const DatabaseError error = Located(explain_(d), d);
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
  SQLLEN count = -1;
  const bool has_count = Succeeded(SQLRowCount(handle_.Get(), &count)) && count >= 0;
  if (columns.empty()) {
    if (has_count) sink.RowsAffected(count);
    return;
  }
  // What is said while rows are read waits for their end.
  std::vector<Diagnostic> behind;
  bool broke = false;
  const auto call = [&](const std::function<SQLRETURN()>& fetch) {
    const SQLRETURN result = Make(fetch);
    if (result == SQL_SUCCESS) return true;
    for (Diagnostic& d : ReadDiagnostics(SQL_HANDLE_STMT, handle_.Get())) {
      // A long value comes in pieces, each of which is told to be cut off.
      if (d.state != u"01004") behind.push_back(std::move(d));
    }
    if (Succeeded(result) || result == SQL_NO_DATA) return result != SQL_NO_DATA;
    if (behind.empty()) Fail(behind);
    broke = true;
    throw ToError(behind.front());
  };
  ResultReader reader(handle_.Get(), std::move(columns), call);
  if (settings_.counts_empty_results && has_count && count == 0) reader.SetEmpty();
  try {
    reader.ReadInto(sink);
  } catch (const DatabaseError&) {
    // An error of the server waits for the batch's end; one of this side goes on.
    if (!broke) throw;
  }
  Tell(std::move(behind), sink);
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
  Tell(ReadDiagnostics(SQL_HANDLE_STMT, handle_.Get()), sink);
  if (first_error_) throw DatabaseError(*first_error_);
}

SQLRETURN Statement::Execute(const Text& text) {
  const auto length = static_cast<SQLINTEGER>(text.size());
  return Make([&] { return SQLExecDirectW(handle_.Get(), Wide(text), length); });
}

void Statement::Run(const Text& batch, ResultSink& sink) {
  calls_procedure_ = FindText(batch, u"EXEC") != Text::npos;
  // The driver manager gives up a batch whose first statement fails: nothing more of it can be
  // read, and the driver has the server stop it. Behind a result it does not. The guard stands in
  // the batch's first line, so that lines keep their numbers.
  if (!TakesGuard(batch)) return ReadResults(Execute(batch), sink);
  const SQLRETURN result = Execute(Text(kGuard) + batch);
  if (!Succeeded(result)) return ReadResults(result, sink);
  ReadResults(Make([this] { return SQLMoreResults(handle_.Get()); }), sink);
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
  calls_procedure_ = true;
  call += parameters.empty() ? u"}" : u")}";
  ReadResults(Execute(call), sink);
}

}  // namespace ledgerwick::odbc
