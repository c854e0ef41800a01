#include "desk/desk.h"

#include <thread>

#include "desk/api.h"
#include "desk/assets.h"
#include "desk/gate.h"
#include "desk/scratch_folder.h"

namespace ledgerwick::desk {
namespace {

constexpr auto kBetweenSweeps = std::chrono::seconds(1);

// A page of the desk's runs the desk's own scripts, and nobody shows it inside another page.
constexpr const char* kContentPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
    "connect-src 'self'; font-src 'self'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'";

HttpOptions HttpOptionsOf(const DeskOptions& options) {
  HttpOptions http;
  http.host = options.address.host;
  http.port = options.address.port;
  http.certificate = options.certificate;
  http.key = options.key;
  http.most_body = options.most_body;
  http.every_headers = {{"Content-Security-Policy", kContentPolicy},
                        {"X-Content-Type-Options", "nosniff"},
                        {"X-Frame-Options", "DENY"},
                        {"Referrer-Policy", "no-referrer"},
                        {"Cross-Origin-Opener-Policy", "same-origin"},
                        {"Cross-Origin-Resource-Policy", "same-origin"},
                        {"Cache-Control", "no-store"}};
  return http;
}

class RunningDesk final : public Desk {
 public:
  explicit RunningDesk(const DeskOptions& options)
      : options_(options),
        settings_{options.program, scratch_.path(), options.most_rows, options.jobs},
        api_(options_, settings_),
        sessions_(options.most_sessions, options.idle) {
    CheckExposure();
    server_ = HttpServer::Start(HttpOptionsOf(options_),
                                [this](const HttpRequest& request) { return Answer(request); });
    const std::string key = options_.password ? std::string() : RandomKey();
    gate_ = std::make_unique<Gate>(GateOptions{key, options_.password, options_.address.host,
                                               server_->port(), options_.certificate},
                                   sessions_);
    const std::string& host = options_.address.host;
    link_ = (options_.certificate.empty() ? "http://" : "https://") +
            (host.find(':') == std::string::npos ? host : '[' + host + ']') + ':' +
            std::to_string(server_->port()) + (key.empty() ? "/" : "/?key=" + key);
  }

  const std::string& link() const override { return link_; }

  void Serve(const std::atomic<bool>& stop) override {
    std::thread sweeper([&] {
      auto next = std::chrono::steady_clock::now();
      while (!stop.load()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (std::chrono::steady_clock::now() < next) continue;
        sessions_.EndIdle();
        next += kBetweenSweeps;
      }
    });
    server_->Serve(stop);
    sweeper.join();
    sessions_.EndAll();
  }

 private:
  void CheckExposure() const {
    if (IsLoopback(options_.address.host)) return;
    if (options_.password && !options_.certificate.empty()) return;
    throw std::runtime_error(
        "other machines would reach " + options_.address.host +
        ": give --password-file, --tls-cert and --tls-key, or listen on 127.0.0.1");
  }

  HttpReply Answer(const HttpRequest& request) {
    try {
      HttpReply reply;
      const std::shared_ptr<Session> session = gate_->Pass(request, reply);
      if (!session) return reply;
      if (request.path.starts_with(kApi)) return api_.Answer(*session, request);
      return Asset(request);
    } catch (const std::exception&) {
      HttpReply reply;
      reply.status = 500;
      reply.body = "{\"error\":{\"text\":\"the desk has no memory left for this\"}}\n";
      return reply;
    }
  }

  static HttpReply Asset(const HttpRequest& request) {
    constexpr std::string_view kFolder = "/page/";
    const std::string name = request.path == "/" ? "index.html"
                             : request.path.starts_with(kFolder)
                                 ? request.path.substr(kFolder.size())
                                 : std::string();
    HttpReply reply;
    const PageFile file = FindPageFile(name);
    const bool gets = request.method == "GET" || request.method == "HEAD";
    if (file.text.empty() || !gets) {
      reply.status = 404;
      reply.type = "text/plain; charset=utf-8";
      reply.body = "There is no such page.\n";
      return reply;
    }
    reply.type = file.type;
    reply.body = file.text;
    return reply;
  }

  ScratchFolder scratch_;  // outlives the runs
  DeskOptions options_;
  RunSettings settings_;
  Api api_;
  Sessions sessions_;  // whose runs use the interface's queue
  std::unique_ptr<HttpServer> server_;
  std::unique_ptr<Gate> gate_;
  std::string link_;
};

}  // namespace

std::unique_ptr<Desk> Desk::Start(const DeskOptions& options) {
  return std::make_unique<RunningDesk>(options);
}

}  // namespace ledgerwick::desk
