#include "cli/server_options.h"

#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "cli/interrupt.h"
#include "frame/connection_string.h"

namespace ledgerwick {
namespace {

// While it lives, what is typed at the terminal is not shown.
class UnseenInput {
 public:
  UnseenInput() {
    known_ = tcgetattr(STDIN_FILENO, &before_) == 0;
    if (!known_) return;
    termios unseen = before_;
    unseen.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &unseen);
  }
  ~UnseenInput() {
    if (known_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
  }
  UnseenInput(const UnseenInput&) = delete;
  UnseenInput& operator=(const UnseenInput&) = delete;

 private:
  termios before_{};
  bool known_ = false;
};

std::string ReadUnseenLine() {
  const UnseenInput unseen;
  std::string line;
  char c = 0;
  while (true) {
    const ssize_t count = read(STDIN_FILENO, &c, 1);
    if (count < 0 && errno == EINTR) {
      InterruptGuard::Check();
      continue;
    }
    if (count <= 0 || c == '\n') return line;
    line += c;
  }
}

Text Decoded(const std::string& password, const std::string& where) {
  const std::optional<Text> text = TryFromUtf8(password);
  if (!text) throw UsageError("the password " + where + " is not UTF-8");
  return *text;
}

}  // namespace

Text ConnectionStringOf(const ServerOptions& options) {
  if (options.server.empty()) {
    if (!options.database.empty()) throw UsageError("-d names a database of a server: give -S too");
    if (!options.user.empty()) throw UsageError("-U names a user of a server: give -S too");
    return {};
  }
  Text text = u"Server=" + QuotedAttribute(FromUtf8(options.server));
  if (!options.database.empty())
    text += u";Database=" + QuotedAttribute(FromUtf8(options.database));
  if (options.user.empty()) return text + u";Trusted_Connection=Yes";
  return text + u";UID=" + QuotedAttribute(FromUtf8(options.user));
}

std::string ReadPasswordFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string line;
  if (!file || !std::getline(file, line)) {
    throw UsageError("'" + path + "' holds no password: it should be the file's first line");
  }
  if (line.ends_with('\r')) line.pop_back();
  if (line.empty()) throw UsageError("the password in '" + path + "' is empty");
  Decoded(line, "in '" + path + "'");
  return line;
}

std::optional<Text> FindPassword(Console& console, const ServerOptions& options, const Text& user,
                                 const Text& server) {
  if (!options.password_file.empty()) return FromUtf8(ReadPasswordFile(options.password_file));
  if (const char* variable = std::getenv("LEDGERWICK_PASSWORD")) {
    return Decoded(variable, "in LEDGERWICK_PASSWORD");
  }
  if (&console.in != &std::cin || isatty(STDIN_FILENO) != 1) return std::nullopt;
  console.err << "Password of " << SafeLines(ToUtf8(user)) << " on " << SafeLines(ToUtf8(server))
              << ": " << std::flush;
  const std::string typed = ReadUnseenLine();
  console.err << '\n';
  return Decoded(typed, "that was typed");
}

}  // namespace ledgerwick
