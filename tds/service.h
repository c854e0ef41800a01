// The embedded database as a server that clients of SQL Server can talk to.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "frame/text.h"
#include "tds/socket.h"

namespace ledgerwick::tds {

struct ServiceOptions {
  std::filesystem::path database;
  Address address;
  Text user = u"sa";
  Text password;
  bool read_only = false;
  std::optional<std::int64_t> memory_limit;  // of a batch, in bytes

  // PEM files; both empty for no encryption.
  std::filesystem::path certificate;
  std::filesystem::path key;

  // Clients from other machines may send their password and everything else as it is.
  bool allow_plain = false;

  std::size_t most_connections = 200;
  std::chrono::milliseconds login_time = std::chrono::seconds(15);
  std::size_t most_message = std::size_t{64} << 20;  // bytes of one request

  // How long what runs may go on once the service is told to end.
  std::chrono::milliseconds end_time = std::chrono::seconds(5);

  // Told what happens and is nobody's answer: a damaged tempdb that was mended; may be empty.
  // Called from any thread.
  std::function<void(const std::string& text)> note;
};

class Service {
 public:
  virtual ~Service() = default;

  // Opens the database once, to see that it can be, and listens. Throws DatabaseError for the
  // database, and std::runtime_error for the address, the certificate, and an address that other
  // machines reach without encryption unless `allow_plain`.
  static std::unique_ptr<Service> Start(const ServiceOptions& options);

  // Where it listens.
  virtual const std::string& address() const = 0;

  // Serves clients until `stop` is true. What runs then may go on for `end_time` and is stopped
  // after that; every connection is closed when it returns.
  virtual void Serve(const std::atomic<bool>& stop) = 0;
};

// A password that nobody guesses.
std::string RandomPassword();

}  // namespace ledgerwick::tds
