// The desk: the reports in a browser.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "desk/run.h"
#include "tds/socket.h"

namespace ledgerwick::desk {

struct DeskOptions {
  std::string version;
  tds::Address address;

  // The first is the one that reports run on unless they name another. Not empty.
  std::vector<DeskConnection> connections;

  std::filesystem::path folder;         // of saved requests; empty for none
  std::optional<std::string> password;  // asked for by the browser
  std::filesystem::path certificate;    // PEM files; both empty for no encryption
  std::filesystem::path key;
  std::filesystem::path program = "/proc/self/exe";  // that workers are made of

  int jobs = 2;                        // reports at a time; more wait
  std::int64_t most_rows = 2'000'000;  // of a run
  std::size_t most_runs = 32;          // that a session keeps
  std::size_t most_sessions = 64;
  std::chrono::seconds idle = std::chrono::hours(8);  // after which a session ends
  std::size_t most_body = std::size_t{1} << 20;       // bytes of a request
};

class Desk {
 public:
  virtual ~Desk() = default;

  // Listens. Throws std::runtime_error for the address, the certificate, and an address that other
  // machines reach without a password and encryption.
  static std::unique_ptr<Desk> Start(const DeskOptions& options);

  // What to open in a browser.
  virtual const std::string& link() const = 0;

  // Serves until `stop` is true. What runs then is stopped, and all rows are gone when it returns.
  virtual void Serve(const std::atomic<bool>& stop) = 0;
};

}  // namespace ledgerwick::desk
