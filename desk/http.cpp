#include "desk/http.h"

#include <httplib.h>

#include <array>
#include <cstring>
#include <streambuf>
#include <thread>

#include "tds/tls.h"

namespace ledgerwick::desk {
namespace {

// Connections that are kept open hold a thread each.
constexpr std::size_t kThreads = 48;
constexpr time_t kKeepAliveSeconds = 2;
constexpr std::size_t kKeepAliveRequests = 1000;
constexpr auto kLookForStop = std::chrono::milliseconds(50);

// A stream into a reply that is being sent.
class ReplyBuffer final : public std::streambuf {
 public:
  explicit ReplyBuffer(httplib::DataSink& sink) : sink_(sink) { setp(data_.begin(), data_.end()); }

 protected:
  int_type overflow(int_type c) override {
    if (sync() != 0) return traits_type::eof();
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
      *pptr() = traits_type::to_char_type(c);
      pbump(1);
    }
    return traits_type::not_eof(c);
  }
  int sync() override {
    const auto size = static_cast<std::size_t>(pptr() - pbase());
    if (size > 0 && !sink_.write(pbase(), size)) return -1;
    setp(data_.begin(), data_.end());
    return 0;
  }

 private:
  httplib::DataSink& sink_;
  std::array<char, 1 << 16> data_;
};

HttpRequest Translated(const httplib::Request& from) {
  HttpRequest request;
  request.method = from.method;
  request.path = from.path;
  request.body = from.body;
  for (const auto& [name, value] : from.params) request.query.try_emplace(name, value);
  for (const auto& [name, value] : from.headers) {
    std::string small = name;
    for (char& c : small) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    request.headers.try_emplace(std::move(small), value);
  }
  return request;
}

void Put(HttpReply from, httplib::Response& to) {
  to.status = from.status;
  for (const auto& [name, value] : from.headers) to.set_header(name, value);
  if (!from.stream) {
    to.set_content(from.body, from.type);
    return;
  }
  to.set_chunked_content_provider(
      from.type, [stream = std::move(from.stream)](std::size_t, httplib::DataSink& sink) {
        try {
          ReplyBuffer buffer(sink);
          std::ostream out(&buffer);
          stream(out);
          out.flush();
          if (!out) return false;
        } catch (const std::exception&) {
          return false;  // the client sees that the reply ends too early
        }
        sink.done();
        return true;
      });
}

class RunningServer final : public HttpServer {
 public:
  RunningServer(const HttpOptions& options, HttpHandler handler) : handler_(std::move(handler)) {
    if (options.certificate.empty()) {
      server_ = std::make_unique<httplib::Server>();
    } else {
      tds::TlsIdentity::Load(options.certificate, options.key);  // says what is wrong with them
      server_ =
          std::make_unique<httplib::SSLServer>(options.certificate.c_str(), options.key.c_str());
    }
    if (!server_->is_valid()) {
      throw std::runtime_error("the certificate and its key cannot be used");
    }
    SetUp(options);
    port_ = options.port;
    if (port_ == 0) port_ = server_->bind_to_any_port(options.host);
    if (port_ < 0 || (options.port != 0 && !server_->bind_to_port(options.host, port_))) {
      throw std::runtime_error("cannot listen on " + options.host + ":" +
                               std::to_string(options.port) + ": " + std::strerror(errno) +
                               "; another --listen HOST:PORT may be free");
    }
  }

  int port() const override { return port_; }

  void Serve(const std::atomic<bool>& stop) override {
    std::thread listener([this] { server_->listen_after_bind(); });
    while (!stop.load() || !server_->is_running()) std::this_thread::sleep_for(kLookForStop);
    server_->stop();
    listener.join();
  }

 private:
  void SetUp(const HttpOptions& options) {
    server_->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    server_->set_payload_max_length(options.most_body);
    server_->set_keep_alive_timeout(kKeepAliveSeconds);
    server_->set_keep_alive_max_count(kKeepAliveRequests);
    server_->set_tcp_nodelay(true);
    // Its own choice would let another process listen on the same port.
    server_->set_socket_options([](int socket) {
      const int yes = 1;
      setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    httplib::Headers headers;
    for (const auto& [name, value] : options.every_headers) headers.emplace(name, value);
    server_->set_default_headers(headers);
    const auto answer = [this](const httplib::Request& request, httplib::Response& response) {
      Put(handler_(Translated(request)), response);
    };
    server_->Get(".*", answer);
    server_->Post(".*", answer);
    server_->Put(".*", answer);
    server_->Delete(".*", answer);
    // What the library itself refuses: a body that is too long, a request that is none.
    server_->set_error_handler([](const httplib::Request&, httplib::Response& response) {
      if (!response.body.empty()) return;
      const char* text = response.status == 413 ? "the request is too long" : "no such request";
      response.set_content(std::string(R"({"error":{"text":")") + text + "\"}}\n",
                           "application/json; charset=utf-8");
    });
  }

  HttpHandler handler_;
  std::unique_ptr<httplib::Server> server_;
  int port_ = 0;
};

std::string Find(const std::map<std::string, std::string>& in, const std::string& name) {
  const auto found = in.find(name);
  return found == in.end() ? std::string() : found->second;
}

}  // namespace

std::string HttpRequest::Header(const std::string& name) const { return Find(headers, name); }
std::string HttpRequest::Query(const std::string& name) const { return Find(query, name); }

std::unique_ptr<HttpServer> HttpServer::Start(const HttpOptions& options, HttpHandler handler) {
  return std::make_unique<RunningServer>(options, std::move(handler));
}

}  // namespace ledgerwick::desk
