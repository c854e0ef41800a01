// Who may talk to the desk.
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "desk/http.h"
#include "desk/session.h"

namespace ledgerwick::desk {

struct GateOptions {
  std::string key;                      // of the first link; empty where there is a password
  std::optional<std::string> password;  // asked for by the browser, in place of the key
  std::string host;                     // that is listened on
  int port = 0;
  std::filesystem::path certificate;  // empty without encryption
};

// Lets those in who have the link or the password, and keeps other sites' pages out.
class Gate {
 public:
  Gate(GateOptions options, Sessions& sessions);
  ~Gate();

  // The session that the request belongs to, or the reply that turns it away or lets it in.
  // Takes a while for a wrong key or password.
  std::shared_ptr<Session> Pass(const HttpRequest& request, HttpReply& reply);

  // The name of the cookie: that of another desk on this machine is another.
  const std::string& cookie() const noexcept { return cookie_; }

 private:
  struct Names;

  bool IsOwnHost(const std::string& host) const;
  bool ComesFromElsewhere(const HttpRequest& request) const;
  void LetIn(HttpReply& reply);
  void TurnAway(HttpReply& reply, int status, const std::string& sentence) const;
  bool TellsPassword(const HttpRequest& request) const;
  // False, after a while, for a wrong secret; at once where too many are being tried.
  void SlowDown();

  GateOptions options_;
  Sessions& sessions_;
  std::string cookie_;
  std::unique_ptr<Names> names_;  // of the certificate
  std::mutex slow_;
  std::atomic<int> trying_ = 0;
};

// True for an address that only this machine's own clients reach.
bool IsLoopback(const std::string& host);

}  // namespace ledgerwick::desk
