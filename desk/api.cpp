#include "desk/api.h"

#include <algorithm>
#include <charconv>
#include <ctime>

#include "desk/command_line.h"
#include "desk/pick_lists.h"
#include "desk/report_list.h"
#include "desk/request_guard.h"
#include "desk/run_api.h"
#include "frame/connection_string.h"
#include "host/checks.h"
#include "host/trace.h"
#include "tsql/values/collation.h"

namespace ledgerwick::desk {
namespace {

constexpr auto kPickedAnew = std::chrono::seconds(60);
constexpr std::size_t kMostPicked = 500;

// What a worker says that went wrong, as the interface tells it.
class WorkerError : public std::runtime_error {
 public:
  explicit WorkerError(Json told)
      : std::runtime_error(told.value("text", "the worker failed")), error(std::move(told)) {}

  Json error;
};

HttpReply ErrorReply(int status, const std::string& text) {
  return JsonReply(status, {{"error", {{"text", text}}}});
}

std::vector<std::string> Split(std::string_view path) {
  std::vector<std::string> words;
  for (std::size_t from = 0; from <= path.size();) {
    const std::size_t slash = std::min(path.find('/', from), path.size());
    words.emplace_back(path.substr(from, slash - from));
    from = slash + 1;
  }
  return words;
}

std::string Today() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[sizeof "yyyy-mm-dd"];
  std::strftime(text, sizeof text, "%Y-%m-%d", &local);
  return text;
}

Json BodyOf(const HttpRequest& request) {
  Json body = Json::parse(request.body, nullptr, false);
  if (!body.is_object()) throw QueryError("the body is no JSON object");
  return body;
}

// The request in the body, which may also be the whole of it.
std::string RequestText(const Json& body) {
  const auto found = body.find("request");
  return found == body.end() ? body.dump() : found->dump();
}

std::string WordOf(const Json& body, const char* key) {
  const auto found = body.find(key);
  if (found == body.end() || found->is_null()) return {};
  if (!found->is_string()) throw QueryError(std::string("\"") + key + "\" must be a string");
  return found->get<std::string>();
}

bool Holds(const std::string& text, const std::string& needle) {
  std::size_t length = 0;
  return tsql::FindCollated(text, needle, 0, length) != std::string::npos;
}

}  // namespace

Api::Api(const DeskOptions& options, const RunSettings& settings)
    : options_(options), settings_(settings), queue_(settings.jobs), reports_(ReportsJson()) {
  if (!options.folder.empty()) saved_ = std::make_unique<SavedRequests>(options.folder);
}

HttpReply Api::Answer(Session& session, const HttpRequest& request) {
  try {
    return Route(session, request, Split(std::string_view(request.path).substr(kApi.size())));
  } catch (const NotThere& error) {
    return ErrorReply(404, error.what());
  } catch (const NoSuchRequest& error) {
    return ErrorReply(404, error.what());
  } catch (const NoRows& error) {
    return ErrorReply(409, error.what());
  } catch (const Refused& error) {
    return ErrorReply(422, error.what());
  } catch (const WorkerError& error) {
    return JsonReply(502, {{"error", error.error}});
  } catch (const QueryError& error) {
    return ErrorReply(400, error.what());
  } catch (const FileError& error) {
    return ErrorReply(400, error.what());
  } catch (const std::exception& error) {
    return ErrorReply(500, error.what());
  }
}

HttpReply Api::Route(Session& session, const HttpRequest& request, const Words& path) {
  const bool gets = request.method == "GET" || request.method == "HEAD";
  const bool posts = request.method == "POST";
  const std::string& what = path.front();
  if (what == "runs" && path.size() > 1) return RouteRun(session, request, path);
  if (what == "requests") return RouteSaved(request, path);
  if (what == "pick" && gets && path.size() == 2) return Pick(path[1], request);
  if (path.size() == 1) {
    if (what == "session" && gets) return Describe();
    if (what == "reports" && gets) return JsonReply(200, reports_);
    if (what == "check" && posts) return Check(request);
    if (what == "runs" && posts) return StartRun(session, request);
    if (what == "command" && posts) {
      const Request asked = ParsePageRequest(RequestText(BodyOf(request)));
      const Text connection = WithoutPasswords(options_.connections.front().text);
      return JsonReply(200, {{"command", CommandOf(asked, connection)}});
    }
    if (what == "trace" && posts) {
      HttpReply reply;
      reply.body = ToJson(TraceReport(ParsePageRequest(RequestText(BodyOf(request)))));
      return reply;
    }
  }
  throw NotThere("the interface has no " + request.method + " " + request.path);
}

HttpReply Api::RouteRun(Session& session, const HttpRequest& request, const Words& path) {
  const std::string& id = path[1];
  const std::shared_ptr<Run> run = session.Find(id);
  if (path.size() == 2 && request.method == "GET") return JsonReply(200, run->Status());
  if (path.size() == 2 && request.method == "DELETE") {
    session.Forget(id);
    HttpReply reply;
    reply.status = 204;
    return reply;
  }
  if (path.size() == 3 && request.method == "POST") {
    if (path[2] == "compare") return StartComparison(session, request, id);
    if (path[2] == "stop") {
      run->Stop();
      return JsonReply(200, run->Status());
    }
  }
  if (path.size() == 3 && (request.method == "GET" || request.method == "HEAD")) {
    return AnswerAboutRows(run, path[2], request);
  }
  throw NotThere("the interface has no " + request.method + " " + request.path);
}

HttpReply Api::RouteSaved(const HttpRequest& request, const Words& path) {
  if (!saved_) throw NotThere("no requests are kept: the desk was started without --folder");
  if (path.size() == 1 && request.method == "GET") {
    return JsonReply(200, {{"requests", saved_->List()}});
  }
  if (path.size() != 2) throw NotThere("no request has a name with a slash");
  HttpReply reply;
  if (request.method == "GET") {
    reply.body = saved_->Read(path[1]);
  } else if (request.method == "PUT") {
    const std::string text = RequestText(BodyOf(request));
    ParsePageRequest(text);
    saved_->Write(path[1], Json::parse(text).dump(2) + '\n');
    reply.status = 204;
  } else if (request.method == "DELETE") {
    saved_->Remove(path[1]);
    reply.status = 204;
  } else {
    throw NotThere("a kept request takes GET, PUT and DELETE");
  }
  return reply;
}

HttpReply Api::Describe() const {
  Json connections = Json::array();
  for (const DeskConnection& connection : options_.connections) {
    if (!connection.name.empty()) connections.push_back(connection.name);
  }
  return JsonReply(200,
                   {{"version", options_.version},
                    {"connection", ToUtf8(WithoutPasswords(options_.connections.front().text))},
                    {"connections", std::move(connections)},
                    {"today", Today()},
                    {"folder", saved_ != nullptr},
                    {"reports", reports_.at("reports").size()},
                    {"limits", {{"rows", options_.most_rows}, {"runs", options_.most_runs}}}});
}

const DeskConnection& Api::FindConnection(const std::string& name) const {
  for (const DeskConnection& connection : options_.connections) {
    if (connection.name == name) return connection;
  }
  throw QueryError("the desk has no connection '" + name + "'");
}

Json Api::AskWorker(Json job, const DeskConnection& connection, const char* wanted) const {
  job["connection"] = ToUtf8(connection.text);
  if (connection.password) job["password"] = ToUtf8(*connection.password);
  WorkerProcess worker(settings_.program, std::move(job));
  while (auto event = worker.Next()) {
    if (event->contains("error")) throw WorkerError((*event)["error"]);
    if (event->contains(wanted)) return std::move((*event)[wanted]);
  }
  throw WorkerError(Json{{"text", "the worker ended without a word"}});
}

std::shared_ptr<const Api::Items> Api::ItemsOf(const DeskConnection& connection,
                                               const std::string& kind) {
  const std::string key = connection.name + '\0' + kind;
  const auto now = std::chrono::steady_clock::now();
  // One at a time: whoever types fast asks for the same list again and again.
  const std::lock_guard lock(pick_mutex_);
  CachedItems& cached = picked_[key];
  if (cached.items && now - cached.read < kPickedAnew) return cached.items;
  auto items = std::make_shared<Items>();
  for (const Json& item : AskWorker({{"job", "pick"}, {"pick", kind}}, connection, "items")) {
    items->emplace_back(item.at(0).get<std::string>(), item.at(1).get<std::string>());
  }
  cached = {now, std::move(items)};
  return cached.items;
}

HttpReply Api::Pick(const std::string& kind, const HttpRequest& request) {
  if (FindPickList(kind) == nullptr) throw NotThere("there is no list of '" + kind + "'");
  std::size_t limit = 50;
  const std::string given = request.Query("limit");
  std::from_chars(given.data(), given.data() + given.size(), limit);
  limit = std::min(limit, kMostPicked);
  const auto items = ItemsOf(FindConnection(request.Query("connection")), kind);
  const std::string q = request.Query("q");
  Json found = Json::array();
  bool more = false;
  for (const auto& [code, name] : *items) {
    if (!q.empty() && !Holds(code, q) && !Holds(name, q)) continue;
    more = found.size() == limit;
    if (more) break;
    found.push_back({{"code", code}, {"name", name}});
  }
  return JsonReply(200, {{"items", std::move(found)}, {"more", more}});
}

HttpReply Api::Check(const HttpRequest& request) {
  const std::string text = RequestText(BodyOf(request));
  const std::vector<Finding> found = CheckRequest(ParseRequest(text, "request"));
  Json findings = Json::array();
  bool is_refused = false;
  try {
    ParsePageRequest(text);
  } catch (const Refused& refused) {
    is_refused = true;
    findings.push_back({{"severity", "error"},
                        {"code", nullptr},
                        {"filter", nullptr},
                        {"text", refused.what()},
                        {"instead", ""}});
  }
  for (const Finding& finding : found) findings.push_back(FindingJson(finding));
  if (request.Query("database") == "1" && !is_refused) {
    const Json told =
        AskWorker({{"job", "check"}, {"request", text}}, FindConnection(""), "findings");
    for (const Json& finding : told) findings.push_back(finding);
  }
  return JsonReply(200, {{"findings", std::move(findings)}});
}

HttpReply Api::StartRun(Session& session, const HttpRequest& request) {
  const Json body = BodyOf(request);
  const std::string text = RequestText(body);
  const Request asked = ParsePageRequest(text);
  if (!asked.report->factory) throw Refused(ReportMissing(*asked.report).what());
  const DeskConnection& connection = FindConnection(WordOf(body, "connection"));
  const std::string id = session.Add(
      [&](const std::string& new_id) {
        return std::make_shared<Run>(settings_, queue_, new_id, connection, text, asked);
      },
      options_.most_runs);
  return JsonReply(201, {{"run", id}});
}

HttpReply Api::StartComparison(Session& session, const HttpRequest& request,
                               const std::string& id) {
  const Json body = BodyOf(request);
  std::vector<std::string> keys;
  if (const auto given = body.find("keys"); given != body.end() && given->is_array()) {
    for (const Json& key : *given) {
      if (!key.is_string()) throw QueryError("\"keys\" must be a list of strings");
      keys.push_back(key.get<std::string>());
    }
  }
  const std::shared_ptr<Run> first = session.Find(id);
  const std::shared_ptr<Run> second = session.Find(WordOf(body, "with"));
  for (const auto& run : {first, second}) run->rows();  // throws where one has none
  const std::string made = session.Add(
      [&](const std::string& new_id) {
        return std::make_shared<Run>(settings_, queue_, new_id, first, second, keys);
      },
      options_.most_runs);
  return JsonReply(201, {{"run", made}});
}

}  // namespace ledgerwick::desk
