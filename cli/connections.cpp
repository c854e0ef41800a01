#include "cli/connections.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include "cli/interrupt.h"
#include "cli/server_lock.h"
#include "frame/connection_string.h"
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

// A server, which others use too.
class ServerReportDatabase final : public ReportDatabase {
 public:
  ServerReportDatabase(const Text& connection_string, const ConnectionSettings& settings,
                       odbc::ConnectionOptions options)
      : options_(std::move(options)), settings_(settings) {
    reader_ = odbc::OdbcConnection::New(options_);
    reader_->Open(connection_string, {}, {}, kOptionUnspecified);
  }

  std::shared_ptr<Connection> NewConnection() override {
    return odbc::OdbcConnection::New(options_);
  }
  std::unique_ptr<TableHold> Hold(TextView table) override {
    return HoldOnServer(reader_, table, settings_.on_wait, settings_.note);
  }
  BatchRunner& Reader() override { return *reader_; }

 private:
  odbc::ConnectionOptions options_;
  ConnectionSettings settings_;
  std::shared_ptr<odbc::OdbcConnection> reader_;
};

// What connections to the server of that string have in common. Throws UsageError.
odbc::ConnectionOptions ServerConnectionOptions(const Text& connection_string,
                                                const ConnectionSettings& settings) {
  if (settings.read_only || settings.create) {
    throw UsageError(std::string(settings.create ? "--create" : "--read-only") +
                     " is for a database in a file, not for a server");
  }
  if (!odbc::LooksLikeServer(connection_string)) {
    throw UsageError("'" + ToUtf8(WithoutPasswords(connection_string)) +
                     "' names no database: give embedded:PATH, a server's connection string "
                     "(Server=host;Database=name;UID=user), or mssql://user@host/database");
  }
  odbc::ConnectionOptions options;
  options.cancel = settings.cancel;
  options.progress = settings.progress;
  try {
    const odbc::Target target = odbc::ParseTarget(connection_string);
    if (!target.user.empty() && !target.password && settings.password) {
      options.password = settings.password(target.user, target.server);
      if (!options.password) {
        throw UsageError("no password for " + ToUtf8(target.user) + " on " + ToUtf8(target.server) +
                         ": set LEDGERWICK_PASSWORD or give --password-file");
      }
    }
  } catch (const DatabaseError& error) {
    throw UsageError(error.what());
  }
  return options;
}

}  // namespace

std::shared_ptr<odbc::OdbcConnection> OpenServer(const Text& connection_string,
                                                 const ConnectionSettings& settings) {
  auto connection = odbc::OdbcConnection::New(ServerConnectionOptions(connection_string, settings));
  connection->Open(connection_string, {}, {}, kOptionUnspecified);
  return connection;
}

std::unique_ptr<ReportDatabase> OpenReportDatabase(const Text& connection_string,
                                                   const ConnectionSettings& settings) {
  const TextView prefix = tsql::kEmbeddedPrefix;
  const TextView text = Trim(connection_string);
  if (EqualText(text.substr(0, prefix.size()), prefix)) {
    const TextView path = text.substr(prefix.size());
    if (path.empty()) throw UsageError("'embedded:' lacks the database's path");
    return std::make_unique<EmbeddedReportDatabase>(std::filesystem::path(ToUtf8(path)), settings);
  }
  return std::make_unique<ServerReportDatabase>(
      connection_string, settings, ServerConnectionOptions(connection_string, settings));
}

ConnectionSettings UsualSettings(Console& console, ProgressLine& progress,
                                 const ServerOptions& server) {
  ConnectionSettings settings;
  settings.cancel = &InterruptGuard::Flag();
  settings.progress = [&] { progress.Show("running"); };
  settings.note = [&](const Text& text) {
    progress.Clear();
    PrintNote(console, SafeLines(ToUtf8(text)));
  };
  settings.password = [&](const Text& user, const Text& host) {
    progress.Clear();
    return FindPassword(console, server, user, host);
  };
  return settings;
}

Text ConnectionOfOptions(const std::string& option, const ServerOptions& server) {
  const Text spelt = ConnectionStringOf(server);
  if (option.empty()) return spelt;
  if (!spelt.empty()) throw UsageError("give either --connection or -S, not both");
  return FromUtf8(option);
}

Text ChooseConnection(const std::string& option, const ServerOptions& server,
                      const Text& from_request) {
  if (Text given = ConnectionOfOptions(option, server); !given.empty()) return given;
  if (!Trim(from_request).empty()) return from_request;
  const char* variable = std::getenv("LEDGERWICK_CONNECTION");
  if (variable == nullptr || *variable == '\0') {
    throw UsageError(
        "no database: give --connection embedded:PATH or a server (-S), or set "
        "LEDGERWICK_CONNECTION");
  }
  const std::optional<Text> text = TryFromUtf8(variable);
  if (!text) {
    throw UsageError("LEDGERWICK_CONNECTION: invalid UTF-8 at byte " +
                     std::to_string(FindInvalidUtf8(variable)));
  }
  return *text;
}

}  // namespace ledgerwick
