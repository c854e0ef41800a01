// HTTP and HTTPS: requests in, replies out.
#pragma once

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace ledgerwick::desk {

struct HttpRequest {
  std::string method;                          // in capitals
  std::string path;                            // decoded, without the query
  std::map<std::string, std::string> query;    // decoded; of a name given twice the first value
  std::map<std::string, std::string> headers;  // names in small letters; as the query
  std::string body;

  // The header or the part of the query of that name; empty without one.
  std::string Header(const std::string& name) const;
  std::string Query(const std::string& name) const;
};

struct HttpReply {
  int status = 200;
  std::string type = "application/json; charset=utf-8";
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;

  // Writes the body as it is sent, in place of `body`; may be empty. The stream fails once the
  // client has gone. What it throws cuts the reply off.
  std::function<void(std::ostream& out)> stream;
};

// Called from many threads at once. Throws nothing.
using HttpHandler = std::function<HttpReply(const HttpRequest& request)>;

struct HttpOptions {
  std::string host;
  int port = 0;  // 0 for one that is free

  // PEM files; both empty for no encryption.
  std::filesystem::path certificate;
  std::filesystem::path key;

  std::size_t most_body = 0;                                       // bytes of a request
  std::vector<std::pair<std::string, std::string>> every_headers;  // of every reply
};

// A server that listens.
class HttpServer {
 public:
  virtual ~HttpServer() = default;

  // Throws std::runtime_error that says what is wrong with the address or the certificate.
  static std::unique_ptr<HttpServer> Start(const HttpOptions& options, HttpHandler handler);

  // The port that it got.
  virtual int port() const = 0;

  // Answers until `stop` is true.
  virtual void Serve(const std::atomic<bool>& stop) = 0;
};

}  // namespace ledgerwick::desk
