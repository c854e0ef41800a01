#include "desk/gate.h"

#include <arpa/inet.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <thread>
#include <vector>

namespace ledgerwick::desk {
namespace {

constexpr auto kWrongKey = std::chrono::seconds(1);
constexpr int kMostTrying = 8;

std::string Bracketed(const std::string& host) {
  return host.find(':') == std::string::npos ? host : '[' + host + ']';
}

std::string CookieOf(const HttpRequest& request, const std::string& name) {
  const std::string cookies = request.Header("cookie");
  for (std::size_t from = 0; from < cookies.size();) {
    const std::size_t end = std::min(cookies.find(';', from), cookies.size());
    const std::string_view cookie = std::string_view(cookies).substr(from, end - from);
    const std::size_t begin = std::min(cookie.find_first_not_of(' '), cookie.size());
    const std::string_view trimmed = cookie.substr(begin);
    if (trimmed.starts_with(name) && trimmed.substr(name.size()).starts_with('=')) {
      return std::string(trimmed.substr(name.size() + 1));
    }
    from = end + 1;
  }
  return {};
}

std::string FromBase64(const std::string& text) {
  std::vector<unsigned char> bytes(text.size() + 4);
  const int n = EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                static_cast<int>(text.size()));
  if (n < 0) return {};
  const auto padding = static_cast<std::size_t>(std::count(text.begin(), text.end(), '='));
  return {reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(n) - padding};
}

bool Writes(const HttpRequest& request) {
  return request.method != "GET" && request.method != "HEAD";
}

}  // namespace

bool IsLoopback(const std::string& host) {
  if (host == "localhost") return true;
  std::array<unsigned char, sizeof(in6_addr)> address{};
  if (inet_pton(AF_INET, host.c_str(), address.data()) == 1) return address[0] == 127;
  if (inet_pton(AF_INET6, host.c_str(), address.data()) != 1) return false;
  return std::count(address.begin(), address.end() - 1, 0) == 15 && address.back() == 1;
}

// The names that browsers accept the certificate for.
struct Gate::Names {
  explicit Names(const std::filesystem::path& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "r"),
                                                               &std::fclose);
    if (file) certificate = PEM_read_X509(file.get(), nullptr, nullptr, nullptr);
  }
  ~Names() { X509_free(certificate); }
  Names(const Names&) = delete;
  Names& operator=(const Names&) = delete;

  bool Have(const std::string& host) const {
    return certificate != nullptr &&
           (X509_check_host(certificate, host.data(), host.size(), 0, nullptr) == 1 ||
            X509_check_ip_asc(certificate, host.c_str(), 0) == 1);
  }

  X509* certificate = nullptr;
};

Gate::Gate(GateOptions options, Sessions& sessions)
    : options_(std::move(options)),
      sessions_(sessions),
      cookie_("ledgerwick-" + std::to_string(options_.port)) {
  if (!options_.certificate.empty()) names_ = std::make_unique<Names>(options_.certificate);
}

Gate::~Gate() = default;

// A name that a foreign page has had pointed at this machine is not among them.
bool Gate::IsOwnHost(const std::string& host) const {
  const std::string port = ':' + std::to_string(options_.port);
  if (!host.ends_with(port)) {
    // Browsers leave the usual port out.
    const int usual = options_.certificate.empty() ? 80 : 443;
    return options_.port == usual && IsOwnHost(host + port);
  }
  const std::string name = host.substr(0, host.size() - port.size());
  for (const std::string& own : {std::string("127.0.0.1"), std::string("localhost"),
                                 std::string("[::1]"), Bracketed(options_.host)}) {
    if (name == own) return true;
  }
  if (!names_) return false;
  const bool has_brackets = name.size() > 2 && name.front() == '[' && name.back() == ']';
  return names_->Have(has_brackets ? name.substr(1, name.size() - 2) : name);
}

bool Gate::ComesFromElsewhere(const HttpRequest& request) const {
  const char* scheme = options_.certificate.empty() ? "http://" : "https://";
  const std::string origin = request.Header("origin");
  if (!origin.empty() && origin != scheme + request.Header("host")) return true;
  const std::string site = request.Header("sec-fetch-site");
  if (site.empty() || site == "same-origin" || site == "none") return false;
  // A link may stand anywhere, and leads to the page.
  const bool is_link = request.Header("sec-fetch-mode") == "navigate";
  return !is_link || request.path != "/" || Writes(request);
}

void Gate::TurnAway(HttpReply& reply, int status, const std::string& sentence) const {
  reply.status = status;
  reply.type = "text/plain; charset=utf-8";
  reply.body = sentence + '\n';
}

void Gate::LetIn(HttpReply& reply) {
  std::string cookie = cookie_ + '=' + sessions_.Open() + "; Path=/; HttpOnly; SameSite=Strict";
  if (!options_.certificate.empty()) cookie += "; Secure";
  reply.status = 303;
  reply.headers.emplace_back("Set-Cookie", std::move(cookie));
  reply.headers.emplace_back("Location", "/");
  reply.type = "text/plain; charset=utf-8";
  reply.body = "Come in.\n";
}

void Gate::SlowDown() {
  // Guesses are slow one after another, however many come at once.
  if (++trying_ <= kMostTrying) {
    const std::lock_guard lock(slow_);
    std::this_thread::sleep_for(kWrongKey);
  }
  --trying_;
}

bool Gate::TellsPassword(const HttpRequest& request) const {
  constexpr std::string_view kBasic = "Basic ";
  const std::string header = request.Header("authorization");
  if (!header.starts_with(kBasic)) return false;
  const std::string told = FromBase64(header.substr(kBasic.size()));
  const std::size_t colon = told.find(':');
  return colon != std::string::npos && SameSecret(told.substr(colon + 1), *options_.password);
}

std::shared_ptr<Session> Gate::Pass(const HttpRequest& request, HttpReply& reply) {
  if (!IsOwnHost(request.Header("host"))) {
    TurnAway(reply, 403, "The desk does not go by this name.");
    return nullptr;
  }
  if (ComesFromElsewhere(request)) {
    TurnAway(reply, 403, "Another site's page may not use the desk.");
    return nullptr;
  }
  const bool is_key =
      request.path == "/" && request.method == "GET" && request.query.contains("key");
  if (is_key && !options_.password) {
    if (SameSecret(request.Query("key"), options_.key)) {
      LetIn(reply);
      return nullptr;
    }
    SlowDown();
    TurnAway(reply, 403, "The link's key is not this desk's.");
    return nullptr;
  }
  std::shared_ptr<Session> session = sessions_.Find(CookieOf(request, cookie_));
  if (session && Writes(request) && request.Header("x-ledgerwick") != "1") {
    TurnAway(reply, 403, "The header X-Ledgerwick: 1 is missing.");
    return nullptr;
  }
  if (session) {
    session->Touch();
    return session;
  }
  if (options_.password && request.path == "/" && request.method == "GET") {
    if (TellsPassword(request)) {
      LetIn(reply);
      return nullptr;
    }
    if (!request.Header("authorization").empty()) SlowDown();
    TurnAway(reply, 401, "The desk asks for its password.");
    reply.headers.emplace_back("WWW-Authenticate", "Basic realm=\"Ledgerwick\", charset=\"UTF-8\"");
    return nullptr;
  }
  TurnAway(reply, 403,
           options_.password ? "Open the desk at / and give its password."
                             : "Open the link that `ledgerwick desk` printed.");
  return nullptr;
}

}  // namespace ledgerwick::desk
