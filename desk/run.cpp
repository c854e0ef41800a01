#include "desk/run.h"

#include <algorithm>
#include <cstring>

#include "desk/difference_rows.h"
#include "desk/headings.h"
#include "desk/statement_marks.h"
#include "host/checks.h"
#include "host/filters.h"
#include "host/trace.h"

namespace ledgerwick::desk {
namespace {

constexpr std::size_t kMostStatements = 1000;

std::string TitleOf(const Request& request) {
  if (!request.ReportTitle.empty()) return ToUtf8(request.ReportTitle);
  const ReportInfo* info = FindReportInfo(request.report->name);
  return ToUtf8(info != nullptr ? info->title : request.report->report);
}

// What the report hands to procedures, which its recorded doings tell.
Json ParametersOf(const Request& request) {
  Json parameters = Json::array();
  for (const Operation& operation : TraceReport(request).operations) {
    const auto* command = std::get_if<CommandOperation>(&operation);
    if (command == nullptr) continue;
    for (const CommandParameter& p : command->parameters) {
      parameters.push_back({{"procedure", ToUtf8(command->procedure)},
                            {"name", ToUtf8(p.name)},
                            {"type", p.type},
                            {"size", p.size},
                            {"length", p.value.size()},
                            {"value", ToUtf8(p.value)}});
    }
  }
  return parameters;
}

Json WarningsOf(const Request& request) {
  Json warnings = Json::array();
  for (const Finding& finding : CheckRequest(request)) {
    if (finding.severity >= Severity::Warning) warnings.push_back(FindingJson(finding));
  }
  return warnings;
}

std::vector<StoredColumn> ReadColumns(const Json& list) {
  std::vector<StoredColumn> columns;
  for (const Json& json : list) {
    StoredColumn& column = columns.emplace_back();
    column.name = json.at("name").get<std::string>();
    column.info.name = FromUtf8(json.at("caption").get<std::string>());
    column.info.kind = static_cast<ColumnKind>(json.at("kind").get<int>());
    column.info.type = FromUtf8(json.at("type").get<std::string>());
    column.info.scale = json.at("scale").get<std::int32_t>();
    column.empty = json.at("empty").get<bool>();
    column.digits = json.at("digits").get<int>();
  }
  return columns;
}

const char* NameOf(Run::State state) {
  switch (state) {
    case Run::State::Running:
      return "running";
    case Run::State::Done:
      return "done";
    case Run::State::Failed:
      return "failed";
    case Run::State::Stopped:
      break;
  }
  return "stopped";
}

}  // namespace

bool RunQueue::Enter(const std::atomic<bool>& stop) {
  std::unique_lock lock(mutex_);
  const std::uint64_t mine = next_++;
  waiting_.push_back(mine);
  changed_.wait(lock, [&] { return stop || (free_ > 0 && waiting_.front() == mine); });
  waiting_.erase(std::find(waiting_.begin(), waiting_.end(), mine));
  changed_.notify_all();
  if (stop) return false;
  --free_;
  return true;
}

void RunQueue::Wake() {
  const std::lock_guard lock(mutex_);  // whoever waits looks either before or after this
  changed_.notify_all();
}

void RunQueue::Leave() {
  const std::lock_guard lock(mutex_);
  ++free_;
  changed_.notify_all();
}

Json ColumnsJson(const std::string& report, const std::vector<StoredColumn>& columns) {
  Json list = Json::array();
  for (const StoredColumn& column : columns) {
    const Heading heading = HeadingOf(FromUtf8(report), FromUtf8(column.name));
    const bool is_date = column.info.kind == ColumnKind::DateTime;
    list.push_back({{"name", column.name},
                    {"zh", ToUtf8(heading.zh)},
                    {"en", ToUtf8(heading.en)},
                    {"kind", is_date                       ? "date"
                             : IsNumeric(column.info.kind) ? "number"
                                                           : "text"},
                    {"digits", column.digits},
                    {"empty", column.empty},
                    {"key", heading.key}});
  }
  return list;
}

Run::Run(const RunSettings& settings, RunQueue& queue, const std::string& id,
         const DeskConnection& connection, const std::string& request_text, const Request& request)
    : settings_(settings),
      queue_(queue),
      report_(ToUtf8(request.report->name)),
      file_(settings.folder / (id + ".rows")),
      request_marks_(MarksOf(request)),
      title_(TitleOf(request)),
      parameters_(ParametersOf(request)),
      warnings_(WarningsOf(request)) {
  thread_ = std::thread(
      [this, connection, request_text] { Work([&] { RunReport(connection, request_text); }); });
}

Run::Run(const RunSettings& settings, RunQueue& queue, const std::string& id,
         std::shared_ptr<Run> first, std::shared_ptr<Run> second, std::vector<std::string> keys)
    : settings_(settings),
      queue_(queue),
      report_(first->report()),
      file_(settings.folder / (id + ".rows")),
      request_marks_(Json::array()),
      title_(first->title() + " ⇄ " + second->title()),
      subtitle_(first->subtitle() + " ⇄ " + second->subtitle()) {
  thread_ =
      std::thread([this, first = std::move(first), second = std::move(second),
                   keys = std::move(keys)] { Work([&] { Compare(*first, *second, keys); }); });
}

Run::~Run() {
  Stop();
  if (rows_) rows_->Interrupt();
  thread_.join();
}

void Run::Work(const std::function<void()>& work) {
  if (!queue_.Enter(stop_)) return End(State::Stopped, {});
  try {
    work();
  } catch (const std::exception& error) {
    End(stop_ ? State::Stopped : State::Failed, {{"text", error.what()}});
  }
  queue_.Leave();
  // A worker that was killed leaves its rows behind.
  std::error_code ignored;
  std::filesystem::remove(file_, ignored);
}

void Run::RunReport(const DeskConnection& connection, const std::string& request_text) {
  Json job = {{"job", "run"},
              {"connection", ToUtf8(connection.text)},
              {"request", request_text},
              {"store", file_.string()},
              {"most_rows", settings_.most_rows}};
  if (connection.password) job["password"] = ToUtf8(*connection.password);
  WorkerProcess worker(settings_.program, std::move(job));
  {
    const std::lock_guard lock(mutex_);
    worker_ = &worker;
    phase_ = "starting";
    start_ = Clock::now();
  }
  if (stop_) worker.Stop();
  while (const auto event = worker.Next()) Take(*event);
  const int signal = worker.Wait();
  const std::lock_guard lock(mutex_);
  worker_ = nullptr;
  if (state_ != State::Running) return;
  seconds_ = std::chrono::duration<double>(Clock::now() - start_).count();
  state_ = stop_ ? State::Stopped : State::Failed;
  if (stop_) return;
  error_ = {{"text", signal != 0
                         ? std::string("the worker was ended by a signal: ") + strsignal(signal)
                         : "the worker ended without a word"}};
}

void Run::Take(const Json& event) {
  if (event.contains("error")) return End(stop_ ? State::Stopped : State::Failed, event["error"]);
  if (event.contains("done")) {
    return Keep(ReadColumns(event.at("columns")), event.at("done").get<std::int64_t>());
  }
  const std::lock_guard lock(mutex_);
  if (event.contains("phase")) phase_ = event["phase"].get<std::string>();
  if (event.contains("rows")) count_ = event["rows"].get<std::int64_t>();
  if (event.contains("message")) messages_.push_back(event["message"]);
  if (event.contains("subtitle")) subtitle_ = event["subtitle"].get<std::string>();
  if (event.contains("statement") && statements_.size() < kMostStatements) {
    const auto sql = event["statement"].get<std::string>();
    statements_.push_back({{"sql", sql}, {"marks", MarkStatement(FromUtf8(sql), request_marks_)}});
  }
}

void Run::Keep(std::vector<StoredColumn> columns, std::int64_t count) {
  auto rows = std::make_shared<RowStore>(file_, std::move(columns), count);
  const std::lock_guard lock(mutex_);
  if (stop_) return;
  rows_ = std::move(rows);
  count_ = count;
  state_ = State::Done;
  phase_ = "done";
  seconds_ = std::chrono::duration<double>(Clock::now() - start_).count();
}

void Run::End(State state, Json error) {
  const std::lock_guard lock(mutex_);
  if (state_ != State::Running) return;
  state_ = state;
  phase_ = NameOf(state);
  count_ = 0;
  seconds_ = std::chrono::duration<double>(Clock::now() - start_).count();
  if (state == State::Failed) error_ = std::move(error);
}

void Run::Compare(Run& first, Run& second, const std::vector<std::string>& keys) {
  {
    const std::lock_guard lock(mutex_);
    phase_ = "comparing";
    start_ = Clock::now();
  }
  RowStoreWriter writer(file_, settings_.most_rows, [this](std::int64_t) {
    if (stop_) throw std::runtime_error("stopped");
  });
  WriteDifferences(*first.rows(), *second.rows(), keys, writer);
  const std::int64_t count = writer.count();
  Keep(writer.Finish(), count);
  if (stop_) End(State::Stopped, {});
}

void Run::Stop() {
  const std::lock_guard lock(mutex_);
  if (state_ != State::Running) return;
  stop_ = true;
  if (worker_ != nullptr) worker_->Stop();
  queue_.Wake();
}

std::shared_ptr<RowStore> Run::rows() {
  const std::lock_guard lock(mutex_);
  if (!rows_) throw NoRows(std::string("the run has no rows: it is ") + NameOf(state_));
  return rows_;
}

bool Run::is_running() {
  const std::lock_guard lock(mutex_);
  return state_ == State::Running;
}

std::string Run::title() {
  const std::lock_guard lock(mutex_);
  return title_;
}

std::string Run::subtitle() {
  const std::lock_guard lock(mutex_);
  return subtitle_;
}

Json Run::Status() {
  const std::lock_guard lock(mutex_);
  const bool running = state_ == State::Running;
  return {{"state", NameOf(state_)},
          {"phase", phase_},
          {"seconds",
           running ? std::chrono::duration<double>(Clock::now() - start_).count() : seconds_},
          {"rows", count_},
          {"class", report_},
          {"title", title_},
          {"subtitle", subtitle_},
          {"columns", rows_ ? ColumnsJson(report_, rows_->columns()) : Json::array()},
          {"statements", statements_},
          {"parameters", parameters_},
          {"warnings", warnings_},
          {"messages", messages_},
          {"error", error_}};
}

}  // namespace ledgerwick::desk
