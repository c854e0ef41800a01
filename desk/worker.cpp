#include "desk/worker.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <iterator>

#include "desk/json.h"
#include "desk/pick_lists.h"
#include "desk/row_store.h"
#include "host/checks.h"

namespace ledgerwick::desk {
namespace {

constexpr auto kBetweenCounts = std::chrono::milliseconds(200);

void Tell(const Json& event) {
  const std::string line = event.dump() + '\n';
  std::size_t sent = 0;
  while (sent < line.size()) {
    const ssize_t n = write(kEventDescriptor, line.data() + sent, line.size() - sent);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) throw std::runtime_error("the desk has gone");
    sent += static_cast<std::size_t>(n);
  }
}

void TellPhase(const char* phase) { Tell({{"phase", phase}}); }

// Tells what a running report does, and remembers what an error would be about.
class TellingListener final : public RunListener {
 public:
  void Statement(const Text& sql) override {
    statement_ = sql;
    Tell({{"statement", ToUtf8(sql)}});
  }
  void Failed(const DatabaseError& error) override { failure_ = error; }
  void Filled(const Text& title, const std::optional<Text>& sub_title) override {
    Tell({{"title", ToUtf8(title)}, {"subtitle", ToUtf8(sub_title.value_or(Text()))}});
    TellPhase("reading");
  }
  void MessageBox(const Text& text, const Text& title) override {
    has_spoken_ = true;
    Tell({{"message", ToUtf8(title.empty() ? text : title + u": " + text)}});
  }
  void Beep() override {}

  void TellError(const DatabaseError& error) const {
    Tell({{"error", ErrorJson(error, statement_)}});
  }

  // After a report that gave up.
  void TellGivingUp(const Request& request) const {
    if (failure_) return TellError(*failure_);
    std::string text = ToUtf8(request.report->name) + " gave up";
    if (!has_spoken_) text += " without a reason";
    Tell({{"error", {{"text", text}}}});
  }

 private:
  Text statement_;
  std::optional<DatabaseError> failure_;
  bool has_spoken_ = false;
};

Json ColumnsJson(const std::vector<StoredColumn>& columns) {
  Json list = Json::array();
  for (const StoredColumn& column : columns) {
    list.push_back({{"name", column.name},
                    {"caption", ToUtf8(column.info.name)},
                    {"kind", static_cast<int>(column.info.kind)},
                    {"type", ToUtf8(column.info.type)},
                    {"scale", column.info.scale},
                    {"empty", column.empty},
                    {"digits", column.digits}});
  }
  return list;
}

// Fills the report's table and copies it into the file that the job names. The table is free for
// others as soon as the last row is copied.
void RunReportJob(const Json& job, ReportDatabase& database, const Request& request) {
  using Clock = std::chrono::steady_clock;
  TellingListener listener;
  Clock::time_point told = Clock::now();
  RowStoreWriter rows(job.at("store").get<std::string>(), job.at("most_rows").get<std::int64_t>(),
                      [&](std::int64_t count) {
                        if (Clock::now() - told < kBetweenCounts) return;
                        told = Clock::now();
                        Tell({{"rows", count}});
                      });
  TellPhase("filling");
  try {
    if (!RunReport(request, database, listener, rows)) return listener.TellGivingUp(request);
  } catch (const DatabaseError& error) {
    return listener.TellError(error);
  }
  for (const Text& message : rows.messages) Tell({{"message", ToUtf8(message)}});
  const std::vector<StoredColumn> columns = rows.Finish();
  Tell({{"done", rows.count()}, {"columns", ColumnsJson(columns)}});
}

void PickJob(const Json& job, ReportDatabase& database) {
  Json items = Json::array();
  const PickList* list = FindPickList(job.at("pick").get<std::string>());
  for (const auto& [code, name] : ReadPickList(*list, database.Reader())) {
    items.push_back({ToUtf8(code), ToUtf8(name)});
  }
  Tell({{"items", std::move(items)}});
}

void CheckJob(ReportDatabase& database, const Request& request) {
  Json findings = Json::array();
  for (const Finding& finding : CheckOnDatabase(request, database.Reader())) {
    findings.push_back(FindingJson(finding));
  }
  Tell({{"findings", std::move(findings)}});
}

void Do(const Json& job, const DatabaseOpener& open, const std::atomic<bool>& stop) {
  DatabaseSettings settings;
  settings.cancel = &stop;
  settings.on_wait = [] { TellPhase("waiting for another run of this report"); };
  settings.note = [](const Text& text) { Tell({{"message", ToUtf8(text)}}); };
  if (job.contains("password")) settings.password = FromUtf8(job["password"].get<std::string>());
  TellPhase("connecting");
  const auto database = open(FromUtf8(job.at("connection").get<std::string>()), settings);
  const auto kind = job.at("job").get<std::string>();
  if (kind == "pick") return PickJob(job, *database);
  Request request = ParseRequest(job.at("request").get<std::string>(), "request");
  request.connectionString = FromUtf8(job.at("connection").get<std::string>());
  if (kind == "check") return CheckJob(*database, request);
  RunReportJob(job, *database, request);
}

}  // namespace

int DoJob(std::istream& in, const DatabaseOpener& open, const std::atomic<bool>& stop) {
  // Nobody would read the result once the desk is gone.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  try {
    const Json job = Json::parse(text);
    if (getppid() != job.at("desk").get<pid_t>()) return 1;
    try {
      Do(job, open, stop);
      return 0;
    } catch (const DatabaseError& error) {
      Tell({{"error", ErrorJson(error, {})}});
    } catch (const std::exception& error) {
      Tell({{"error", {{"text", error.what()}}}});
    }
  } catch (const std::exception&) {
    // The job is damaged, or there is nobody to tell.
  }
  return 1;
}

}  // namespace ledgerwick::desk
