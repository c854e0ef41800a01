#include "tds/service.h"

#include <algorithm>
#include <list>
#include <mutex>
#include <random>
#include <stdexcept>
#include <thread>
#include <utility>

#include "tds/conversation.h"
#include "tds/tls.h"
#include "tsql/database.h"

namespace ledgerwick::tds {
namespace {

using Clock = std::chrono::steady_clock;

// Has wrong passwords answered one after another, whoever sends them and over however many
// connections.
class Brake {
 public:
  // Returns when a wrong password may be answered, or `stopping`.
  void Wait(const std::atomic<bool>& stopping) {
    constexpr auto kPause = std::chrono::seconds(1);
    constexpr auto kLook = std::chrono::milliseconds(50);
    Clock::time_point turn;
    {
      const std::lock_guard lock(mutex_);
      turn = next_ = std::max(next_, Clock::now()) + kPause;
    }
    while (Clock::now() < turn && !stopping.load()) std::this_thread::sleep_for(kLook);
  }

 private:
  std::mutex mutex_;
  Clock::time_point next_;
};

// Takes as long for texts that differ early as for those that differ late.
bool SameSecret(TextView a, TextView b) noexcept {
  unsigned difference = a.size() == b.size() ? 0 : 1;
  for (std::size_t i = 0; i < a.size(); ++i) {
    difference |= static_cast<unsigned>(a[i] ^ b[b.empty() ? 0 : i % b.size()]);
  }
  return difference == 0;
}

// What all connections share.
struct Shared {
  const ServiceOptions& options;
  Text database_name;
  std::unique_ptr<TlsIdentity> identity;
  bool requires_encryption = false;
  std::atomic<bool> stopping = false;
  Brake brake;
};

// One client with its thread.
class Connection final : public Host {
 public:
  Connection(Shared& shared, Descriptor socket, std::uint16_t number)
      : shared_(shared),
        channel_(std::move(socket), shared.stopping),
        number_(number),
        thread_([this] { Run(); }) {}
  ~Connection() override { thread_.join(); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool done() const noexcept { return done_.load(); }

  // Stops what runs, and whatever waits for the client.
  void Cancel() noexcept {
    cancel_.store(true);
    channel_.Shut();
  }

  bool Accepts(const Text& user, const Text& password) override {
    const ServiceOptions& options = shared_.options;
    const bool right = SameSecret(password, options.password) && EqualText(user, options.user);
    if (!right) shared_.brake.Wait(shared_.stopping);
    return right;
  }
  void LoggedIn() override { channel_.SetDeadline(std::nullopt); }
  std::unique_ptr<tsql::Database> Open(tsql::DatabaseOptions options) override {
    options.read_only = shared_.options.read_only;
    if (shared_.options.memory_limit) options.memory_limit = *shared_.options.memory_limit;
    options.note = [this](const Text& text) { Note(ToUtf8(text)); };
    return tsql::Database::Open(shared_.options.database, options);
  }
  Text DatabaseName() const override { return shared_.database_name; }
  TlsIdentity* identity() override { return shared_.identity.get(); }
  bool requires_encryption() const override { return shared_.requires_encryption; }
  std::size_t most_message() const override { return shared_.options.most_message; }

 private:
  void Run() noexcept {
    try {
      channel_.SetDeadline(Clock::now() + shared_.options.login_time);
      Conversation(channel_, *this, number_, cancel_).Run();
    } catch (const std::exception& error) {
      // A fault of ours must not take the other connections with it.
      Note(std::string("a connection ended: ") + error.what());
    }
    channel_.Shut();
    done_.store(true);
  }
  void Note(const std::string& text) const noexcept {
    try {
      if (shared_.options.note) shared_.options.note(text);
    } catch (const std::exception&) {
      // Nowhere to tell it.
    }
  }

  Shared& shared_;
  SocketChannel channel_;
  std::uint16_t number_;
  std::atomic<bool> cancel_ = false;
  std::atomic<bool> done_ = false;
  std::thread thread_;  // the last, since it uses the others
};

class RunningService final : public Service {
 public:
  explicit RunningService(const ServiceOptions& options)
      : options_(options), shared_{options_, {}, {}, false, {}, {}}, listener_(options.address) {
    const std::string stem = std::filesystem::weakly_canonical(options.database).stem().string();
    shared_.database_name = TryFromUtf8(stem).value_or(Text());
    if (!options.certificate.empty()) {
      shared_.identity = TlsIdentity::Load(options.certificate, options.key);
    }
    if (!listener_.is_loopback() && !options.allow_plain) {
      if (!shared_.identity) {
        throw std::runtime_error(
            "other machines reach " + listener_.address() +
            ", and without encryption anyone between reads the password and the data; give "
            "--tls-cert and --tls-key, or --allow-plain if that is meant");
      }
      shared_.requires_encryption = true;
    }
    tsql::DatabaseOptions once;
    if (options.note) once.note = [&](const Text& text) { options.note(ToUtf8(text)); };
    tsql::Database::Open(options.database, once);
  }

  const std::string& address() const override { return listener_.address(); }

  void Serve(const std::atomic<bool>& stop) override {
    constexpr auto kLook = std::chrono::milliseconds(100);
    while (!stop.load()) {
      std::optional<Descriptor> client = listener_.Accept(kLook);
      RemoveEnded();
      if (!client) continue;
      // Beyond the limit a client is turned away at once.
      if (connections_.size() >= options_.most_connections) continue;
      try {
        connections_.emplace_back(shared_, *std::move(client), NextNumber());
      } catch (const std::exception& error) {
        // No thread to be had now; the client is turned away.
        if (options_.note) options_.note(std::string("a client was turned away: ") + error.what());
      }
    }
    End();
  }

 private:
  void RemoveEnded() {
    connections_.remove_if([](const Connection& connection) { return connection.done(); });
  }

  void End() {
    constexpr auto kLook = std::chrono::milliseconds(20);
    shared_.stopping.store(true);
    const auto deadline = Clock::now() + options_.end_time;
    for (; !connections_.empty() && Clock::now() < deadline; RemoveEnded()) {
      std::this_thread::sleep_for(kLook);
    }
    for (Connection& connection : connections_) connection.Cancel();
    connections_.clear();
  }

  // From 51 on, as on a server; lower ones are the system's own.
  std::uint16_t NextNumber() noexcept {
    constexpr std::uint16_t kFirst = 51;
    constexpr std::uint16_t kLast = 32767;
    next_number_ = next_number_ >= kLast ? kFirst : next_number_ + 1;
    return next_number_;
  }

  ServiceOptions options_;
  Shared shared_;
  Listener listener_;
  std::list<Connection> connections_;
  std::uint16_t next_number_ = 50;
};

}  // namespace

std::unique_ptr<Service> Service::Start(const ServiceOptions& options) {
  return std::make_unique<RunningService>(options);
}

std::string RandomPassword() {
  constexpr std::string_view kLetters = "ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz23456789";
  constexpr std::size_t kLength = 20;
  std::random_device random;  // the system's own, which is fit for secrets
  std::uniform_int_distribution<std::size_t> letter(0, kLetters.size() - 1);
  std::string password;
  for (std::size_t i = 0; i < kLength; ++i) password += kLetters[letter(random)];
  return password;
}

}  // namespace ledgerwick::tds
