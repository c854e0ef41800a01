// An embedded database that clients of SQL Server reach while the object lives.
#pragma once

#include <atomic>
#include <filesystem>
#include <thread>

#include "tds/service.h"

namespace ledgerwick::testing {

class ServedDatabase {
 public:
  explicit ServedDatabase(const std::filesystem::path& path) {
    tds::ServiceOptions options;
    options.database = path;
    options.address = tds::ParseAddress("127.0.0.1:0");
    options.password = u"geheim";
    options.end_time = std::chrono::milliseconds(200);
    service_ = tds::Service::Start(options);
    thread_ = std::thread([this] { service_->Serve(stop_); });
  }
  ~ServedDatabase() { Stop(); }
  ServedDatabase(const ServedDatabase&) = delete;
  ServedDatabase& operator=(const ServedDatabase&) = delete;

  void Stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }

  // The connection string of its only user, in ADO's words.
  Text ConnectionString() const {
    Text server = FromUtf8(service_->address());
    server[server.find(u':')] = u',';
    return u"Provider=SQLOLEDB;Data Source=" + server + u";User ID=sa;Password=geheim";
  }

 private:
  std::unique_ptr<tds::Service> service_;
  std::atomic<bool> stop_ = false;
  std::thread thread_;
};

}  // namespace ledgerwick::testing
