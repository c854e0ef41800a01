// serve: an embedded database for the clients of SQL Server.
#include <cstdlib>
#include <mutex>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/server_options.h"
#include "tds/service.h"

namespace ledgerwick {
namespace {

tds::ServiceOptions ServiceOptionsOf(const ServeOptions& given) {
  tds::ServiceOptions options;
  options.database = given.path;
  try {
    options.address = tds::ParseAddress(given.listen);
  } catch (const std::invalid_argument& error) {
    throw UsageError(std::string("--listen: ") + error.what());
  }
  options.user = FromUtf8(given.user);
  options.read_only = given.read_only;
  options.memory_limit = given.memory_limit;
  options.certificate = given.certificate;
  options.key = given.key;
  options.allow_plain = given.allow_plain;
  options.most_connections = given.most_connections;
  if (given.certificate.empty() != given.key.empty()) {
    throw UsageError("--tls-cert and --tls-key go together");
  }
  return options;
}

}  // namespace

int ServeCommand(Console& console, const ServeOptions& given) {
  tds::ServiceOptions options = ServiceOptionsOf(given);
  const bool random = given.password_file.empty();
  const std::string password =
      random ? tds::RandomPassword() : ReadPasswordFile(given.password_file);
  options.password = FromUtf8(password);
  std::mutex mutex;
  options.note = [&](const std::string& text) {
    const std::lock_guard lock(mutex);
    PrintNote(console, SafeLines(text));
  };
  const InterruptGuard guard;
  std::unique_ptr<tds::Service> service;
  try {
    service = tds::Service::Start(options);
  } catch (const DatabaseError& error) {
    PrintDatabaseError(console, error, {});
    return kRefused;
  }
  console.out << "Serving " << given.path << (given.read_only ? ", read only," : "") << " on "
              << service->address() << "; Ctrl-C ends it.\n"
              << "User: " << given.user << '\n';
  if (random) console.out << "Password: " << password << '\n';
  console.out << (given.certificate.empty()
                      ? "Nothing is encrypted: --tls-cert and --tls-key give a certificate.\n"
                      : "Clients may encrypt.\n")
              << std::flush;
  service->Serve(InterruptGuard::Flag());
  console.err << "ended\n";
  return kDone;
}

}  // namespace ledgerwick
