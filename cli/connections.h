// The databases that a connection string can name.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "cli/progress_line.h"
#include "cli/server_options.h"
#include "host/runner.h"
#include "odbc/connection.h"
#include "tsql/database.h"

namespace ledgerwick {

// What a command wants of whatever database it opens.
struct ConnectionSettings {
  const std::atomic<bool>* cancel = nullptr;  // stops the running statement; outlives the database
  std::function<void()> progress;             // called while a statement runs
  std::function<void()> on_wait;              // called when another process holds the table
  std::function<void(const Text&)> note;      // told what the user should know of the database
  std::optional<std::int64_t> memory_limit;   // of an embedded statement, in bytes; 0 for none

  // Of a database in a file.
  bool read_only = false;  // the file is not written, and its tempdb is one of this command's own
  bool read_only_if_it_must = false;  // the same where the file or its folder cannot be written
  bool create = false;                // make an empty database where there is no file

  // Asked for a password where the connection string has a user without one; may be empty.
  std::function<std::optional<Text>(const Text& user, const Text& server)> password;
};

// What commands that run statements want alike: Ctrl-C stops them, `progress` shows that they run,
// notes go to the error stream, `server` says where the password is. All outlive the database.
ConnectionSettings UsualSettings(Console& console, ProgressLine& progress,
                                 const ServerOptions& server);

// The database that `connection_string` names: "embedded:PATH", or a server as odbc/target.h tells.
// Throws UsageError for a text that names none, DatabaseError when it cannot be opened.
std::unique_ptr<ReportDatabase> OpenReportDatabase(const Text& connection_string,
                                                   const ConnectionSettings& settings);

// An open connection to the server that `connection_string` names. Throws as OpenReportDatabase.
std::shared_ptr<odbc::OdbcConnection> OpenServer(const Text& connection_string,
                                                 const ConnectionSettings& settings);

// `option` or what `server` spells if either is given, else `from_request`, else the environment
// variable LEDGERWICK_CONNECTION. Throws UsageError where none or both of the options say anything.
Text ChooseConnection(const std::string& option, const ServerOptions& server,
                      const Text& from_request);

// As ChooseConnection, of the options alone; empty where they say nothing.
Text ConnectionOfOptions(const std::string& option, const ServerOptions& server);

}  // namespace ledgerwick
