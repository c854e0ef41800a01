#include "odbc/failures.h"

#include <netdb.h>

#include <algorithm>
#include <memory>

namespace ledgerwick::odbc {
namespace {

constexpr const char16_t* kSource = u"ODBC";

constexpr std::int32_t kLeastFatalSeverity = 20;  // from here on the server ends the connection
constexpr std::int32_t kLoginFailed = 18456;
constexpr std::int32_t kLoginFailedTrusted = 18452;
constexpr std::int32_t kCannotOpenDatabase = 4060;
constexpr std::int32_t kNoSuchDatabase = 911;

bool HostIsKnown(const Text& host) {
  addrinfo* found = nullptr;
  const bool known = getaddrinfo(ToUtf8(host).c_str(), nullptr, nullptr, &found) == 0;
  if (found != nullptr) freeaddrinfo(found);
  return known;
}

// What the driver said of its own, for whoever has to look further.
Text Told(const std::vector<Diagnostic>& diagnostics) {
  return diagnostics.empty() ? Text(u"no reason given") : diagnostics.front().text;
}

DatabaseError Failure(const Text& sentence, const Diagnostic* diagnostic = nullptr) {
  DatabaseError error(kErrorFailed, kSource, sentence);
  if (diagnostic == nullptr) return error;
  error.native = diagnostic->native;
  error.severity = diagnostic->severity;
  if (diagnostic->server_state > 0) error.state = diagnostic->server_state;
  return error;
}

const Diagnostic* Find(const std::vector<Diagnostic>& diagnostics,
                       std::initializer_list<std::int32_t> numbers) {
  const auto found = std::find_if(diagnostics.begin(), diagnostics.end(), [&](const Diagnostic& d) {
    return std::find(numbers.begin(), numbers.end(), d.native) != numbers.end();
  });
  return found == diagnostics.end() ? nullptr : &*found;
}

const Diagnostic* FindState(const std::vector<Diagnostic>& diagnostics, TextView beginning) {
  const auto found = std::find_if(diagnostics.begin(), diagnostics.end(), [&](const Diagnostic& d) {
    return d.state.starts_with(beginning);
  });
  return found == diagnostics.end() ? nullptr : &*found;
}

// `text` as a sentence of its own.
Text Sentence(const Text& text) {
  const bool ends = text.ends_with(u'.') || text.ends_with(u'!') || text.ends_with(u'?');
  return ends ? text : text + u".";
}

bool IsAboutRights(std::int32_t native) {
  constexpr std::int32_t kNumbers[] = {229, 230, 262, 297, 300, 916, 1088, 2571, 15247};
  return std::find(std::begin(kNumbers), std::end(kNumbers), native) != std::end(kNumbers);
}

}  // namespace

DatabaseError LoginFailure(const Target& target, const std::vector<Diagnostic>& diagnostics) {
  if (const Diagnostic* wrong = Find(diagnostics, {kCannotOpenDatabase, kNoSuchDatabase})) {
    return Failure(
        Sentence(wrong->text) + u" Check the database's name, and that the login may use it.",
        wrong);
  }
  const Diagnostic* refused = Find(diagnostics, {kLoginFailed, kLoginFailedTrusted});
  if (refused == nullptr) refused = FindState(diagnostics, u"28");
  if (refused != nullptr) {
    const Text remedy =
        target.user.empty()
            ? Text(u" Name a user of the server (UID, or -U), or log in to its domain first.")
            : u" Check the user's name and password; the password is taken from the connection "
              u"string, --password-file, LEDGERWICK_PASSWORD or a prompt.";
    return Failure(Sentence(refused->text) + remedy, refused);
  }
  if (FindState(diagnostics, u"IM002") || FindState(diagnostics, u"IM003") ||
      FindState(diagnostics, u"IM004")) {
    return Failure(
        u"The ODBC driver or data source cannot be used: " + Told(diagnostics) +
        u". Install the driver (on Debian apt-get install tdsodbc), or correct Driver= or "
        u"DSN= in the connection string; odbcinst -q -d lists the drivers with a name.");
  }
  const bool is_driver =
      !diagnostics.empty() && FindText(Told(diagnostics), u"Can't open lib") != Text::npos;
  if (is_driver) {
    return Failure(u"The ODBC driver is not installed: " + Told(diagnostics) +
                   u". Install it (on Debian apt-get install tdsodbc), or correct Driver= in the "
                   u"connection string; odbcinst -q -d lists the drivers with a name.");
  }
  if (!target.host.empty() && !HostIsKnown(target.host)) {
    return Failure(u"No computer of the name " + target.host +
                   u" is known: check the server's name in the connection string.");
  }
  if (FindState(diagnostics, u"08") || FindState(diagnostics, u"HYT")) {
    return Failure(u"No SQL Server answers at " + target.server + u" (" + Told(diagnostics) +
                   u"): check that it runs, the port, and whether a firewall is between.");
  }
  return Failure(u"Logging in to " + target.server + u" failed: " + Told(diagnostics));
}

DatabaseError StatementFailure(const Target& target, const Diagnostic& diagnostic,
                               const StatementFacts& facts) {
  const bool servers_own = diagnostic.severity > 0 && diagnostic.severity < kLeastFatalSeverity;
  // A USE that is refused has the state of a connection that fails.
  const bool is_refusal =
      diagnostic.native == kNoSuchDatabase || diagnostic.native == kCannotOpenDatabase;
  if ((diagnostic.IsConnectionFailure() && !is_refusal) ||
      (facts.connection_gone && !servers_own)) {
    return Failure(u"The connection to " + target.server +
                   u" broke while a statement ran, which may have been done or not (" +
                   diagnostic.text + u"). Look whether the server runs, and start again.");
  }
  if (diagnostic.state == u"HYT00" && facts.seconds > 0) {
    const Text limit = Value(std::int64_t{facts.seconds}).ToText();
    return Failure(u"The statement took longer than its " + limit +
                   u" seconds and was cancelled on the server.");
  }
  DatabaseError error = ToError(diagnostic);
  if (!IsAboutRights(diagnostic.native)) return error;
  DatabaseError explained =
      Failure(Sentence(diagnostic.text) +
                  u" The login lacks a right: docs/servers.md lists those that it "
                  u"needs, and an administrator of the server grants them.",
              &diagnostic);
  explained.number = error.number;
  explained.line = error.line;
  explained.procedure = error.procedure;
  return explained;
}

DatabaseError CancelledError() { return {kErrorFailed, kSource, u"The statement was cancelled."}; }

DatabaseError ClosedError() {
  return {3704, kSource, u"Operation is not allowed when the object is closed."};
}

DatabaseError OpenError() {
  return {3705, kSource, u"Operation is not allowed when the object is open."};
}

}  // namespace ledgerwick::odbc
