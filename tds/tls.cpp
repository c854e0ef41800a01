#include "tds/tls.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <array>
#include <cstring>
#include <string>

#include "tds/bytes.h"

namespace ledgerwick::tds {
namespace {

struct Free {
  void operator()(SSL_CTX* context) const noexcept { SSL_CTX_free(context); }
  void operator()(SSL* ssl) const noexcept { SSL_free(ssl); }
};

// What OpenSSL says of the last failure: its first error, which is the cause of the others.
std::string Reason() {
  const unsigned long error = ERR_peek_error();
  const char* text = ERR_SYSTEM_ERROR(error) ? std::strerror(ERR_GET_REASON(error))
                                             : ERR_reason_error_string(error);
  ERR_clear_error();
  return text == nullptr ? "unknown reason" : text;
}

class Encrypted final : public Channel {
 public:
  Encrypted(SSL_CTX* context, Channel& below) : ssl_(SSL_new(context)), below_(below) {
    if (!ssl_) throw std::bad_alloc();
    in_ = BIO_new(BIO_s_mem());
    out_ = BIO_new(BIO_s_mem());
    if (in_ == nullptr || out_ == nullptr) throw std::bad_alloc();
    SSL_set_bio(ssl_.get(), in_, out_);
    SSL_set_accept_state(ssl_.get());
  }

  // The records of the handshake travel in packets, both ways.
  void ShakeHands(PacketStream& packets) {
    for (;;) {
      ERR_clear_error();
      const int result = SSL_do_handshake(ssl_.get());
      const int reason = SSL_get_error(ssl_.get(), result);
      packets.answer() += TakeOutput();
      if (!packets.answer().empty()) packets.EndMessage(MessageType::PreLogin);
      if (result == 1) return;
      if (reason != SSL_ERROR_WANT_READ) throw ProtocolError("no encryption: " + Reason());
      const auto message = packets.ReadMessage();
      if (!message) throw ConnectionLost("the client closed before the encryption began");
      if (message->type != MessageType::PreLogin) {
        throw ProtocolError("the client did not begin the encryption that it asked for");
      }
      Give(message->data);
    }
  }

  std::size_t Read(char* to, std::size_t most) override {
    for (;;) {
      ERR_clear_error();
      const int count = SSL_read(ssl_.get(), to, static_cast<int>(most));
      const int reason = count > 0 ? SSL_ERROR_NONE : SSL_get_error(ssl_.get(), count);
      Flush();
      if (count > 0) return static_cast<std::size_t>(count);
      if (reason == SSL_ERROR_ZERO_RETURN) return 0;
      if (reason != SSL_ERROR_WANT_READ) throw ProtocolError("encryption failed: " + Reason());
      std::array<char, 16384> block;
      const std::size_t got = below_.Read(block.data(), block.size());
      if (got == 0) return 0;
      Give({block.data(), got});
    }
  }

  void Write(std::string_view bytes) override {
    while (!bytes.empty()) {
      const auto part = static_cast<int>(std::min<std::size_t>(bytes.size(), 1 << 20));
      ERR_clear_error();
      const int count = SSL_write(ssl_.get(), bytes.data(), part);
      if (count <= 0) throw ProtocolError("encryption failed: " + Reason());
      Flush();
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  bool Ready() override {
    return SSL_pending(ssl_.get()) > 0 || BIO_ctrl_pending(in_) > 0 || below_.Ready();
  }

 private:
  void Give(std::string_view bytes) {
    if (BIO_write(in_, bytes.data(), static_cast<int>(bytes.size())) !=
        static_cast<int>(bytes.size())) {
      throw std::bad_alloc();
    }
  }
  std::string TakeOutput() {
    std::string bytes(BIO_ctrl_pending(out_), '\0');
    if (!bytes.empty()) BIO_read(out_, bytes.data(), static_cast<int>(bytes.size()));
    return bytes;
  }
  void Flush() {
    const std::string bytes = TakeOutput();
    if (!bytes.empty()) below_.Write(bytes);
  }

  std::unique_ptr<SSL, Free> ssl_;
  BIO* in_ = nullptr;  // both are `ssl_`'s
  BIO* out_ = nullptr;
  Channel& below_;
};

class Identity final : public TlsIdentity {
 public:
  Identity(const std::filesystem::path& certificate, const std::filesystem::path& key)
      : context_(SSL_CTX_new(TLS_server_method())) {
    if (!context_) throw std::runtime_error("no encryption: " + Reason());
    // The protocol has the handshake in packets of its own and goes on without them, so nothing
    // may come of it later: no tickets, no sessions taken up again, and not 1.3, which sends both.
    SSL_CTX_set_min_proto_version(context_.get(), TLS1_2_VERSION);
    SSL_CTX_set_max_proto_version(context_.get(), TLS1_2_VERSION);
    SSL_CTX_set_session_cache_mode(context_.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_options(context_.get(), SSL_OP_NO_TICKET | SSL_OP_NO_RENEGOTIATION);
    if (SSL_CTX_use_certificate_chain_file(context_.get(), certificate.c_str()) != 1) {
      throw std::runtime_error("cannot use the certificate '" + certificate.string() +
                               "': " + Reason());
    }
    if (SSL_CTX_use_PrivateKey_file(context_.get(), key.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_check_private_key(context_.get()) != 1) {
      throw std::runtime_error("cannot use the key '" + key.string() + "': " + Reason());
    }
  }

  std::unique_ptr<Channel> Accept(Channel& below, PacketStream& packets) override {
    auto channel = std::make_unique<Encrypted>(context_.get(), below);
    channel->ShakeHands(packets);
    return channel;
  }

 private:
  std::unique_ptr<SSL_CTX, Free> context_;
};

}  // namespace

std::unique_ptr<TlsIdentity> TlsIdentity::Load(const std::filesystem::path& certificate,
                                               const std::filesystem::path& key) {
  return std::make_unique<Identity>(certificate, key);
}

}  // namespace ledgerwick::tds
