#include "tds/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

namespace ledgerwick::tds {
namespace {

struct FreeAddresses {
  void operator()(addrinfo* list) const noexcept { freeaddrinfo(list); }
};

void SetOption(int socket, int level, int option, int value) noexcept {
  setsockopt(socket, level, option, &value, sizeof value);
}

std::string Told(const sockaddr_storage& address) {
  char text[INET6_ADDRSTRLEN] = "";
  if (address.ss_family == AF_INET6) {
    const auto& six = reinterpret_cast<const sockaddr_in6&>(address);
    inet_ntop(AF_INET6, &six.sin6_addr, text, sizeof text);
    return "[" + std::string(text) + "]:" + std::to_string(ntohs(six.sin6_port));
  }
  const auto& four = reinterpret_cast<const sockaddr_in&>(address);
  inet_ntop(AF_INET, &four.sin_addr, text, sizeof text);
  return std::string(text) + ":" + std::to_string(ntohs(four.sin_port));
}

bool IsLoopback(const sockaddr_storage& address) {
  if (address.ss_family == AF_INET6) {
    return IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6&>(address).sin6_addr);
  }
  const auto& four = reinterpret_cast<const sockaddr_in&>(address);
  return ntohl(four.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
}

}  // namespace

Address ParseAddress(const std::string& text) {
  Address address;
  std::string port;
  const std::size_t bracket = text.starts_with('[') ? text.find(']') : 0;
  if (bracket == std::string::npos) throw std::invalid_argument("'" + text + "' lacks a ']'");
  const std::size_t colon = text.find(':', bracket);
  std::string host = text.substr(0, colon);
  if (bracket > 0) host = text.substr(1, bracket - 1);
  if (!host.empty()) address.host = host;
  if (colon == std::string::npos) return address;
  port = text.substr(colon + 1);
  const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), address.port);
  if (error != std::errc() || end != port.data() + port.size()) {
    throw std::invalid_argument("'" + text + "': '" + port +
                                "' is no port; an address reads HOST:PORT, such as 127.0.0.1:1433");
  }
  return address;
}

Descriptor::~Descriptor() {
  if (number_ >= 0) close(number_);
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    if (number_ >= 0) close(number_);
    number_ = other.Release();
  }
  return *this;
}

int Descriptor::Release() noexcept { return std::exchange(number_, -1); }

Listener::Listener(const Address& address) {
  const std::string what =
      "cannot listen on " + address.host + ":" + std::to_string(address.port) + ": ";
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  addrinfo* list = nullptr;
  const int result =
      getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &hints, &list);
  if (result != 0) throw std::runtime_error(what + gai_strerror(result));
  const std::unique_ptr<addrinfo, FreeAddresses> addresses(list);
  socket_ = Descriptor(socket(list->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  SetOption(socket_.number(), SOL_SOCKET, SO_REUSEADDR, 1);
  constexpr int kWaiting = 128;
  if (bind(socket_.number(), list->ai_addr, list->ai_addrlen) != 0 ||
      listen(socket_.number(), kWaiting) != 0) {
    throw std::runtime_error(what + std::strerror(errno));
  }
  sockaddr_storage bound{};
  socklen_t length = sizeof bound;
  getsockname(socket_.number(), reinterpret_cast<sockaddr*>(&bound), &length);
  address_ = Told(bound);
  is_loopback_ = IsLoopback(bound);
}

std::optional<Descriptor> Listener::Accept(std::chrono::milliseconds wait) {
  pollfd waiting{socket_.number(), POLLIN, 0};
  if (poll(&waiting, 1, static_cast<int>(wait.count())) <= 0) return std::nullopt;
  Descriptor client(accept4(socket_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (client.number() < 0) return std::nullopt;
  return client;
}

SocketChannel::SocketChannel(Descriptor socket, const std::atomic<bool>& stopping)
    : socket_(std::move(socket)), stopping_(stopping) {
  const int number = socket_.number();
  SetOption(number, IPPROTO_TCP, TCP_NODELAY, 1);
  // A client whose machine has gone is noticed after a minute and a half.
  SetOption(number, SOL_SOCKET, SO_KEEPALIVE, 1);
  SetOption(number, IPPROTO_TCP, TCP_KEEPIDLE, 60);
  SetOption(number, IPPROTO_TCP, TCP_KEEPINTVL, 10);
  SetOption(number, IPPROTO_TCP, TCP_KEEPCNT, 3);
}

void SocketChannel::Shut() noexcept { shutdown(socket_.number(), SHUT_RDWR); }

// Waits until the socket can go on. Returns false when the service is ending first, which does not
// break off what is being written.
bool SocketChannel::Wait(short events) {
  using Clock = std::chrono::steady_clock;
  constexpr int kPause = 200;  // ms between looks whether the service is ending
  for (;;) {
    int wait = kPause;
    if (deadline_) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(*deadline_ - Clock::now());
      if (left.count() <= 0) throw ConnectionLost("the client was too slow");
      wait = std::min<int>(wait, static_cast<int>(left.count()) + 1);
    }
    pollfd waiting{socket_.number(), events, 0};
    if (poll(&waiting, 1, wait) > 0) return true;
    if (events == POLLIN && stopping_.load()) return false;
  }
}

std::size_t SocketChannel::Read(char* to, std::size_t most) {
  for (;;) {
    const ssize_t count = recv(socket_.number(), to, most, 0);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) throw ConnectionLost(std::strerror(errno));
    if (!Wait(POLLIN)) return 0;
  }
}

void SocketChannel::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = send(socket_.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      Wait(POLLOUT);
    } else if (errno != EINTR) {
      throw ConnectionLost(std::strerror(errno));
    }
  }
}

bool SocketChannel::Ready() {
  pollfd waiting{socket_.number(), POLLIN, 0};
  return poll(&waiting, 1, 0) > 0;
}

}  // namespace ledgerwick::tds
