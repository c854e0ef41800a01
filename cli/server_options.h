// The options that name a server, as sqlcmd spells them.
#pragma once

#include <optional>
#include <string>

#include "cli/console.h"
#include "frame/text.h"

namespace ledgerwick {

struct ServerOptions {
  std::string server;    // -S: HOST, HOST,PORT or HOST\INSTANCE
  std::string database;  // -d
  std::string user;      // -U; without one the system's account logs in
  std::string password_file;
};

// The connection string that the options spell, without a password; empty where they name no
// server. Throws UsageError for a database or a user without one.
Text ConnectionStringOf(const ServerOptions& options);

// The password of `user` on `server`: the first line of the options' file, else the environment
// variable LEDGERWICK_PASSWORD, else what is typed at a terminal, unseen. Nothing where there is no
// terminal. Throws UsageError for a file that holds none, and Interrupted.
std::optional<Text> FindPassword(Console& console, const ServerOptions& options, const Text& user,
                                 const Text& server);

// The first line of the file at `path`, which is a password. Throws UsageError.
std::string ReadPasswordFile(const std::string& path);

}  // namespace ledgerwick
