#include "cli/connections.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include "cli/console.h"
#include "output/result_writer.h"
#include "tsql/connection.h"

namespace ledgerwick {
namespace {

class EmbeddedHold final : public TableHold {
 public:
  explicit EmbeddedHold(std::unique_ptr<tsql::TableLease> lease) : lease_(std::move(lease)) {}

 private:
  std::unique_ptr<tsql::TableLease> lease_;
};

bool CanOnlyBeRead(const std::filesystem::path& path) {
  const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
  return access(path.c_str(), R_OK) == 0 &&
         (access(path.c_str(), W_OK) != 0 || access(folder.c_str(), W_OK) != 0);
}

// A folder for what a database that is only read keeps while it is open.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "ledgerwick-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw OutputError("cannot make a folder for tempdb: " + name + ": " + std::strerror(errno));
    }
    path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

class EmbeddedReportDatabase final : public ReportDatabase {
 public:
  EmbeddedReportDatabase(const std::filesystem::path& path, const ConnectionSettings& settings)
      : on_wait_(settings.on_wait) {
    options_.cancel = settings.cancel;
    options_.progress = settings.progress;
    options_.note = settings.note;
    if (settings.memory_limit) options_.memory_limit = *settings.memory_limit;
    const bool must = !settings.read_only && settings.read_only_if_it_must && CanOnlyBeRead(path);
    if (must && settings.note) {
      settings.note(FromUtf8(path.string() + " cannot be written: it is opened to be read, with a "
                                             "tempdb of its own"));
    }
    if (settings.read_only || must) options_.read_only_with = scratch_.emplace().path();
    std::error_code ignored;
    if (settings.create && !std::filesystem::exists(path, ignored)) {
      tsql::DatabaseOptions creating = options_;
      creating.create = true;
      database_ = tsql::Database::Open(path, creating);
      return;
    }
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
  std::optional<ScratchFolder> scratch_;  // outlives what lies in it
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
