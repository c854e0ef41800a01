// Sockets: those that wait for clients, and those that clients are on.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "tds/channel.h"

namespace ledgerwick::tds {

// Where a service listens.
struct Address {
  std::string host = "127.0.0.1";  // a number or a name
  std::uint16_t port = 1433;       // 0 for one that is free
};

// Reads "HOST:PORT", "HOST", ":PORT" or "[IPv6]:PORT". Throws std::invalid_argument that says what
// is wrong.
Address ParseAddress(const std::string& text);

// A file descriptor that is closed in the end.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) noexcept : number_(number) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : number_(other.Release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;

  int number() const noexcept { return number_; }
  int Release() noexcept;

 private:
  int number_;
};

// Listens for clients.
class Listener {
 public:
  // Throws std::runtime_error that names the address and what the system says of it.
  explicit Listener(const Address& address);

  // The address that it got, as "127.0.0.1:1433".
  const std::string& address() const noexcept { return address_; }

  // True when only this machine's own clients reach it.
  bool is_loopback() const noexcept { return is_loopback_; }

  // A client's socket, or none when none came for `wait`.
  std::optional<Descriptor> Accept(std::chrono::milliseconds wait);

 private:
  Descriptor socket_;
  std::string address_;
  bool is_loopback_ = false;
};

// A client's connection.
class SocketChannel final : public Channel {
 public:
  // Once `stopping` is true, waiting for a request ends as if the client had closed.
  SocketChannel(Descriptor socket, const std::atomic<bool>& stopping);

  // What is not read or written until then fails; nothing for no limit.
  void SetDeadline(std::optional<std::chrono::steady_clock::time_point> deadline) noexcept {
    deadline_ = deadline;
  }

  // Makes whoever waits in Read or Write fail. From any thread.
  void Shut() noexcept;

  std::size_t Read(char* to, std::size_t most) override;
  void Write(std::string_view bytes) override;
  bool Ready() override;

 private:
  bool Wait(short events);

  Descriptor socket_;
  const std::atomic<bool>& stopping_;
  std::optional<std::chrono::steady_clock::time_point> deadline_;
};

}  // namespace ledgerwick::tds
