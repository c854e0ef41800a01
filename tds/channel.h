// The bytes between a client and the service.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace ledgerwick::tds {

// The connection is over: the client has gone, was too slow, or the service is ending.
class ConnectionLost : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Channel {
 public:
  virtual ~Channel() = default;

  // Waits for bytes and reads at most `most`. Returns how many: at least one, 0 once the client has
  // closed. Throws ConnectionLost.
  virtual std::size_t Read(char* to, std::size_t most) = 0;

  // Writes all of `bytes`. Throws ConnectionLost.
  virtual void Write(std::string_view bytes) = 0;

  // True when Read would not wait.
  virtual bool Ready() = 0;
};

}  // namespace ledgerwick::tds
