#include "odbc/connection.h"

#include <algorithm>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "frame/row_set.h"
#include "odbc/driver.h"
#include "odbc/failures.h"
#include "odbc/statement.h"

namespace ledgerwick::odbc {
namespace {

constexpr int kAdosTimeout = 30;  // of a command, in seconds

// Passes everything over: an Execute whose rows nobody reads.
class UnreadRows final : public NullSink {
 public:
  bool WantsRow() override { return false; }
};

class ServerConnection;

// A command bound to its connection. Parameters go to a procedure in the order in which they were
// appended, whatever their names are, as ADO passes them; a text knows none.
class ServerCommand final : public Command {
 public:
  explicit ServerCommand(std::shared_ptr<ServerConnection> connection)
      : connection_(std::move(connection)) {}

  void SetCommandText(const Text& text) override { text_ = text; }
  void SetCommandType(std::int32_t type) override { type_ = type; }
  void SetCommandTimeout(std::int32_t seconds) override { timeout_ = seconds; }
  void AppendParameter(const Text& name, std::int32_t type, std::int32_t size,
                       const Text& value) override;
  void Execute(std::int32_t options) override;

 private:
  std::shared_ptr<ServerConnection> connection_;
  Text text_;
  std::int32_t type_ = kCommandText;
  std::int32_t timeout_ = kAdosTimeout;
  std::vector<CallParameter> parameters_;
};

class ServerConnection final : public OdbcConnection {
 public:
  explicit ServerConnection(ConnectionOptions options)
      : options_(std::move(options)), calls_(options_.cancel, options_.progress) {}
  ~ServerConnection() override { Disconnect(); }

  void Open(const Text& connection_string, const Text& user, const Text& password,
            std::int32_t) override {
    if (is_open_) throw OpenError();
    open_failure_.reset();
    try {
      Connect(connection_string, user, password);
    } catch (const DatabaseError& error) {
      open_failure_ = error;
      throw;
    }
  }

  void Execute(const Text& sql, std::int32_t) override {
    UnreadRows sink;
    RunFor(sql, 0, sink);
  }

  void Close() override {
    if (!is_open_) throw ClosedError();
    Disconnect();
  }

  std::unique_ptr<Command> NewCommand() override {
    RequireOpen();
    return std::make_unique<ServerCommand>(
        std::static_pointer_cast<ServerConnection>(shared_from_this()));
  }

  std::unique_ptr<Recordset> OpenRecordset(const Text& sql, const RecordsetOptions&) override {
    RowCollector rows;
    RunFor(sql, 0, rows);
    return rows.Take();
  }

  void Run(TextView batch, ResultSink& sink) override { RunFor(batch, 0, sink); }

  void RunFor(TextView batch, int seconds, ResultSink& sink) override {
    RequireOpen();
    Statement(dbc_->Get(), calls_, Explains(seconds), {seconds, is_free_tds_})
        .Run(Text(batch), sink);
  }

  void Call(const Text& procedure, const std::vector<CallParameter>& parameters, int seconds) {
    RequireOpen();
    UnreadRows sink;
    Statement(dbc_->Get(), calls_, Explains(seconds), {seconds, is_free_tds_})
        .Call(procedure, parameters, sink);
  }

 private:
  void RequireOpen() const {
    // Whoever passed over the failure of Open is told it again: it says more than that nothing is
    // open.
    if (!is_open_ && open_failure_) throw DatabaseError(*open_failure_);
    if (!is_open_) throw ClosedError();
    if (calls_.Cancelled()) throw CancelledError();
  }

  Statement::Explain Explains(int seconds) const {
    return [this, seconds](const Diagnostic& d) {
      return StatementFailure(target_, d, {seconds, IsGone()});
    };
  }

  bool IsGone() const {
    SQLUINTEGER dead = SQL_CD_FALSE;
    return Succeeded(SQLGetConnectAttrW(dbc_->Get(), SQL_ATTR_CONNECTION_DEAD, &dead, sizeof dead,
                                        nullptr)) &&
           dead == SQL_CD_TRUE;
  }

  void Connect(const Text& connection_string, const Text& user, const Text& password) {
    target_ = ParseTarget(connection_string);
    if (!user.empty()) target_.user = user;
    if (!password.empty()) target_.password = password;
    if (!target_.password) target_.password = options_.password;
    for (auto& [key, value] : target_.attributes) {
      if (EqualText(key, u"Driver")) value = DriverNamed(value);
    }
    const Text text = DriverString(target_, target_.has_driver ? Text() : DefaultDriver());
    environment_ = std::make_unique<Handle>(SQL_HANDLE_ENV, nullptr);
    SQLSetEnvAttr(environment_->Get(), SQL_ATTR_ODBC_VERSION, AsPointer(SQL_OV_ODBC3), 0);
    dbc_ = std::make_unique<Handle>(SQL_HANDLE_DBC, environment_->Get());
    const auto timeout = target_.login_timeout.value_or(options_.login_timeout);
    SQLSetConnectAttrW(dbc_->Get(), SQL_ATTR_LOGIN_TIMEOUT,
                       AsPointer(static_cast<SQLULEN>(timeout)), 0);
    const SQLRETURN result =
        SQLDriverConnectW(dbc_->Get(), nullptr, Wide(text), static_cast<SQLSMALLINT>(text.size()),
                          nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    if (!Succeeded(result)) {
      const DatabaseError error =
          LoginFailure(target_, ReadDiagnostics(SQL_HANDLE_DBC, dbc_->Get()));
      dbc_.reset();
      throw DatabaseError(error);
    }
    // Nothing shall keep it longer than needed.
    target_.password.reset();
    is_open_ = true;
    is_free_tds_ = FindText(DriverName(), u"tdsodbc") != Text::npos;
  }

  Text DriverName() const {
    char16_t name[100] = {};
    SQLSMALLINT length = 0;
    SQLGetInfoW(dbc_->Get(), SQL_DRIVER_NAME, name, sizeof name, &length);
    return name;
  }

  void Disconnect() noexcept {
    if (is_open_) SQLDisconnect(dbc_->Get());
    is_open_ = false;
    dbc_.reset();
    environment_.reset();
  }

  ConnectionOptions options_;
  LongCalls calls_;
  Target target_;
  std::unique_ptr<Handle> environment_;
  std::unique_ptr<Handle> dbc_;
  bool is_open_ = false;
  bool is_free_tds_ = false;
  std::optional<DatabaseError> open_failure_;  // of the last Open
};

void ServerCommand::AppendParameter(const Text&, std::int32_t type, std::int32_t size,
                                    const Text& value) {
  if (type != kVarChar && type != kLongVarChar) {
    throw DatabaseError(3001, u"ODBC",
                        u"A parameter's type must be adVarChar (200) or adLongVarChar (201).");
  }
  const auto told = static_cast<std::size_t>(std::max(size, 0));
  parameters_.push_back({type == kLongVarChar, std::max(told, AnsiLength(value)), value});
}

void ServerCommand::Execute(std::int32_t) {
  if (type_ == kCommandStoredProcedure) {
    connection_->Call(text_, parameters_, timeout_);
    return;
  }
  UnreadRows sink;
  connection_->RunFor(text_, timeout_, sink);
}

}  // namespace

std::shared_ptr<OdbcConnection> OdbcConnection::New(const ConnectionOptions& options) {
  return std::make_shared<ServerConnection>(options);
}

}  // namespace ledgerwick::odbc
