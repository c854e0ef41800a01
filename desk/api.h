// The JSON interface, version 1. docs/desk-api.md describes it.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "desk/desk.h"
#include "desk/http.h"
#include "desk/saved_requests.h"
#include "desk/session.h"

namespace ledgerwick::desk {

// The whole path to the interface.
inline constexpr std::string_view kApi = "/api/1/";

// Answers what has passed the gate. From any thread.
class Api {
 public:
  // All of them outlive the interface.
  Api(const DeskOptions& options, const RunSettings& settings);

  // The reply to a request under kApi. Throws nothing but std::bad_alloc.
  HttpReply Answer(Session& session, const HttpRequest& request);

 private:
  using Words = std::vector<std::string>;                          // the path's, behind the version
  using Items = std::vector<std::pair<std::string, std::string>>;  // codes and names

  HttpReply Route(Session& session, const HttpRequest& request, const Words& path);
  HttpReply RouteRun(Session& session, const HttpRequest& request, const Words& path);
  HttpReply RouteSaved(const HttpRequest& request, const Words& path);

  HttpReply Describe() const;
  HttpReply Pick(const std::string& kind, const HttpRequest& request);
  HttpReply Check(const HttpRequest& request);
  HttpReply StartRun(Session& session, const HttpRequest& request);
  HttpReply StartComparison(Session& session, const HttpRequest& request, const std::string& id);

  const DeskConnection& FindConnection(const std::string& name) const;
  std::shared_ptr<const Items> ItemsOf(const DeskConnection& connection, const std::string& kind);
  // Has a worker do a job and gives the event that has `wanted`. Throws WorkerError.
  Json AskWorker(Json job, const DeskConnection& connection, const char* wanted) const;

  struct CachedItems {
    std::chrono::steady_clock::time_point read;
    std::shared_ptr<const Items> items;
  };

  const DeskOptions& options_;
  const RunSettings& settings_;
  RunQueue queue_;
  std::unique_ptr<SavedRequests> saved_;  // null without a folder
  Json reports_;

  std::mutex pick_mutex_;
  std::map<std::string, CachedItems> picked_;  // by connection and kind
};

}  // namespace ledgerwick::desk
