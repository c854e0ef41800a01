#include "cli/connections.h"

#include <cstdlib>
#include <filesystem>

#include "cli/console.h"
#include "tsql/connection.h"

namespace ledgerwick {
namespace {

class EmbeddedHold final : public TableHold {
 public:
  explicit EmbeddedHold(std::unique_ptr<tsql::TableLease> lease) : lease_(std::move(lease)) {}

 private:
  std::unique_ptr<tsql::TableLease> lease_;
};

class EmbeddedReportDatabase final : public ReportDatabase {
 public:
  EmbeddedReportDatabase(const std::filesystem::path& path, const ConnectionSettings& settings)
      : on_wait_(settings.on_wait) {
    options_.cancel = settings.cancel;
    options_.progress = settings.progress;
    options_.note = settings.note;
    if (settings.memory_limit) options_.memory_limit = *settings.memory_limit;
    database_ = tsql::Database::Open(path, options_);
  }

  std::shared_ptr<Connection> NewConnection() override {
    return tsql::EmbeddedConnection::New(options_);
  }
  std::unique_ptr<TableHold> Hold(TextView table) override {
    return std::make_unique<EmbeddedHold>(database_->Lease(table, on_wait_));
  }
  BatchRunner& Reader() override { return *database_; }

 private:
  tsql::DatabaseOptions options_;
  std::function<void()> on_wait_;
  std::unique_ptr<tsql::Database> database_;
};

}  // namespace

std::unique_ptr<ReportDatabase> OpenReportDatabase(const Text& connection_string,
                                                   const ConnectionSettings& settings) {
  const TextView prefix = tsql::kEmbeddedPrefix;
  const TextView text = Trim(connection_string);
  if (EqualText(text.substr(0, prefix.size()), prefix)) {
    const TextView path = text.substr(prefix.size());
    if (path.empty()) throw UsageError("'embedded:' lacks the database's path");
    return std::make_unique<EmbeddedReportDatabase>(std::filesystem::path(ToUtf8(path)), settings);
  }
  // A server's connection string goes here.
  throw UsageError("'" + ToUtf8(text) +
                   "': this version opens embedded:PATH alone; connection strings of servers are "
                   "not supported");
}

Text ChooseConnection(const std::string& option, const Text& from_request) {
  if (!option.empty()) return FromUtf8(option);
  if (!Trim(from_request).empty()) return from_request;
  const char* variable = std::getenv("LEDGERWICK_CONNECTION");
  if (variable == nullptr || *variable == '\0') {
    throw UsageError("no database: give --connection embedded:PATH or set LEDGERWICK_CONNECTION");
  }
  const std::optional<Text> text = TryFromUtf8(variable);
  if (!text) {
    throw UsageError("LEDGERWICK_CONNECTION: invalid UTF-8 at byte " +
                     std::to_string(FindInvalidUtf8(variable)));
  }
  return *text;
}

}  // namespace ledgerwick
