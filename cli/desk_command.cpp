// desk: the reports in a browser.
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/connections.h"
#include "cli/interrupt.h"
#include "desk/desk.h"
#include "desk/worker.h"
#include "odbc/target.h"

namespace ledgerwick {
namespace {

// The path of a file stays right whatever folder a worker is started in.
Text Absolute(const Text& connection) {
  const TextView prefix = u"embedded:";
  const TextView text = Trim(connection);
  if (!EqualText(text.substr(0, prefix.size()), prefix) || text.size() == prefix.size()) {
    return connection;
  }
  const std::filesystem::path path = ToUtf8(text.substr(prefix.size()));
  return Text(prefix) + FromUtf8(std::filesystem::absolute(path).string());
}

// The database, opened once to see that it can be, and with its password.
desk::DeskConnection Connect(Console& console, const ServerOptions& server, std::string name,
                             const Text& text) {
  desk::DeskConnection connection{std::move(name), Absolute(text), std::nullopt};
  ConnectionSettings settings;
  settings.cancel = &InterruptGuard::Flag();
  settings.note = [&](const Text& note) { PrintNote(console, SafeLines(ToUtf8(note))); };
  settings.password = [&](const Text& user, const Text& host) {
    return connection.password = FindPassword(console, server, user, host);
  };
  OpenReportDatabase(connection.text, settings);
  return connection;
}

std::vector<desk::DeskConnection> ConnectAll(Console& console, const DeskOptionsGiven& given) {
  std::vector<desk::DeskConnection> connections;
  const Text first = ChooseConnection(given.connection, given.server, {});
  connections.push_back(Connect(console, given.server, "", first));
  for (const std::string& with : given.with) {
    const std::size_t equals = with.find('=');
    const std::string name = with.substr(0, equals);
    const bool known = std::any_of(connections.begin(), connections.end(),
                                   [&](const auto& c) { return c.name == name; });
    if (equals == std::string::npos || known) {
      throw UsageError("--with: '" + with + "' is not NAME=CONNECTION with a name of its own");
    }
    connections.push_back(Connect(console, given.server, name, FromUtf8(with.substr(equals + 1))));
  }
  return connections;
}

desk::DeskOptions OptionsOf(Console& console, const DeskOptionsGiven& given) {
  desk::DeskOptions options;
  options.version = kVersion;
  try {
    options.address = tds::ParseAddress(given.listen);
  } catch (const std::invalid_argument& error) {
    throw UsageError(std::string("--listen: ") + error.what());
  }
  if (given.certificate.empty() != given.key.empty()) {
    throw UsageError("--tls-cert and --tls-key go together");
  }
  options.certificate = given.certificate;
  options.key = given.key;
  if (!given.password_file.empty()) options.password = ReadPasswordFile(given.password_file);
  options.folder = given.folder;
  options.jobs = given.jobs;
  options.most_rows = given.most_rows;
  options.idle = std::chrono::minutes(given.idle_minutes);
  options.connections = ConnectAll(console, given);
  return options;
}

// The system's own way to open a link. Where there is none, the link stands on the terminal.
void OpenBrowser(const std::string& link) {
  std::string program = "xdg-open";
  std::string argument = link;
  std::array<char*, 3> arguments = {program.data(), argument.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  posix_spawnp(&pid, program.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
}

}  // namespace

int DeskCommand(Console& console, const DeskOptionsGiven& given) {
  const InterruptGuard guard;
  std::unique_ptr<desk::Desk> desk;
  try {
    desk = desk::Desk::Start(OptionsOf(console, given));
  } catch (const DatabaseError& error) {
    PrintDatabaseError(console, error, {});
    return kRefused;
  }
  console.out << "The desk is open; Ctrl-C closes it. "
              << (given.password_file.empty() ? "This link lets you in:"
                                              : "It asks for the password at")
              << '\n'
              << desk->link() << '\n'
              << std::flush;
  if (given.open) OpenBrowser(desk->link());
  desk->Serve(InterruptGuard::Flag());
  console.err << "closed\n";
  return kDone;
}

int DeskWorkerCommand(Console& console) {
  const InterruptGuard guard;
  const auto open = [](const Text& connection, const desk::DatabaseSettings& wanted) {
    ConnectionSettings settings;
    settings.cancel = wanted.cancel;
    settings.on_wait = wanted.on_wait;
    settings.note = wanted.note;
    settings.password = [password = wanted.password](const Text&, const Text&) { return password; };
    return OpenReportDatabase(connection, settings);
  };
  return desk::DoJob(console.in, open, InterruptGuard::Flag());
}

}  // namespace ledgerwick
