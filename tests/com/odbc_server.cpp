#include "odbc_server.h"

// What ODBC's headers need of the platform comes before them.
#include <windows.h>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "odbc/diagnostics.h"
#include "odbc/result_reader.h"
#include "odbc/target.h"

namespace ledgerwick::com::testing {
namespace {

using namespace odbc;

// Rows as ADO gives them: exact numbers are numbers, bits are truths.
class RowsOfAdo final : public NullSink {
 public:
  void Columns(std::span<const ResultColumn> columns) override {
    columns_.assign(columns.begin(), columns.end());
  }
  void Row(std::span<const Value> values) override {
    CannedRow& row = rows.emplace_back();
    for (std::size_t i = 0; i < values.size(); ++i) {
      row.emplace_back(columns_[i].name, AdosValue(values[i], columns_[i].kind));
    }
  }

  std::vector<CannedRow> rows;

 private:
  static Value AdosValue(const Value& value, ColumnKind kind) {
    if (value.IsNull()) return value;
    if (kind == ColumnKind::Decimal) return std::stod(ToUtf8(value.ToText()));
    if (kind == ColumnKind::Boolean) return *value.If<std::int64_t>() != 0;
    return value;
  }

  std::vector<ResultColumn> columns_;
};

class OdbcServer final : public Server {
 public:
  explicit OdbcServer(Text driver) : driver_(std::move(driver)) {}
  ~OdbcServer() override { Disconnect(); }

  void Open(const Text& connection_string) override {
    const Text text = DriverString(ParseTarget(connection_string), driver_);
    environment_ = std::make_unique<Handle>(SQL_HANDLE_ENV, nullptr);
    SQLSetEnvAttr(environment_->Get(), SQL_ATTR_ODBC_VERSION, AsPointer(SQL_OV_ODBC3), 0);
    dbc_ = std::make_unique<Handle>(SQL_HANDLE_DBC, environment_->Get());
    Check(SQLDriverConnectW(dbc_->Get(), nullptr, Wide(text), static_cast<SQLSMALLINT>(text.size()),
                            nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
          *dbc_);
  }
  void Execute(const Text& batch) override { Query(batch); }
  void Close() override { Disconnect(); }

  std::vector<CannedRow> Query(const Text& sql) override {
    const Handle statement(SQL_HANDLE_STMT, dbc_->Get());
    const auto call = [&](const std::function<SQLRETURN()>& make) {
      return Check(make(), statement);
    };
    RowsOfAdo sink;
    Check(SQLExecDirectW(statement.Get(), Wide(sql), static_cast<SQLINTEGER>(sql.size())),
          statement);
    do {
      std::vector<Column> columns = DescribeColumns(statement.Get());
      if (!columns.empty()) {
        ResultReader(statement.Get(), std::move(columns), call).ReadInto(sink);
      }
    } while (call([&] { return SQLMoreResults(statement.Get()); }));
    return std::move(sink.rows);
  }

 private:
  // False where nothing more comes.
  static bool Check(SQLRETURN result, const Handle& handle) {
    if (Succeeded(result) || result == SQL_NO_DATA) return result != SQL_NO_DATA;
    const std::vector<Diagnostic> told = ReadDiagnostics(handle.type(), handle.Get());
    if (told.empty()) throw DatabaseError(kErrorFailed, u"ODBC", u"The driver told no error.");
    throw ToError(told.front());
  }

  void Disconnect() {
    if (dbc_) SQLDisconnect(dbc_->Get());
    dbc_.reset();
    environment_.reset();
  }

  Text driver_;
  std::unique_ptr<Handle> environment_;
  std::unique_ptr<Handle> dbc_;
};

}  // namespace

std::shared_ptr<Server> NewOdbcServer(const Text& driver) {
  return std::make_shared<OdbcServer>(driver);
}

}  // namespace ledgerwick::com::testing
