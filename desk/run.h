// A run: a report on its way, and its rows once it is done.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "desk/json.h"
#include "desk/row_store.h"
#include "desk/worker_process.h"
#include "host/request.h"

namespace ledgerwick::desk {

// A database that reports run on.
struct DeskConnection {
  std::string name;  // empty for the desk's own
  Text text;         // the connection string
  std::optional<Text> password;
};

// What all runs of a desk share.
struct RunSettings {
  std::filesystem::path program;  // that workers are made of
  std::filesystem::path folder;   // for rows on their way, which nobody else can look into
  std::int64_t most_rows = 0;
  int jobs = 1;  // reports at a time
};

// Lets so many runs work at once; the others wait in the order in which they came.
class RunQueue {
 public:
  explicit RunQueue(int places) : free_(places) {}

  // Waits for a place. False when `stop` turned true first; Wake makes it look.
  bool Enter(const std::atomic<bool>& stop);
  void Leave();
  void Wake();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::uint64_t> waiting_;
  std::uint64_t next_ = 0;
  int free_;
};

// The rows are not there yet, or will not be.
class NoRows : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Run {
 public:
  enum class State { Running, Done, Failed, Stopped };

  // A report on a database. `request_text` is the request's JSON. Settings and queue outlive it.
  Run(const RunSettings& settings, RunQueue& queue, const std::string& id,
      const DeskConnection& connection, const std::string& request_text, const Request& request);

  // What differs between the rows of two runs, told apart by `keys`, or by what does tell them
  // apart where there are none.
  Run(const RunSettings& settings, RunQueue& queue, const std::string& id,
      std::shared_ptr<Run> first, std::shared_ptr<Run> second, std::vector<std::string> keys);

  // Stops what still runs.
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // As the interface tells it.
  Json Status();

  // The rows. Throws NoRows while there are none.
  std::shared_ptr<RowStore> rows();

  // Makes it end without rows. Does nothing once it is done.
  void Stop();

  bool is_running();
  std::string title();
  std::string subtitle();
  const std::string& report() const noexcept { return report_; }

 private:
  using Clock = std::chrono::steady_clock;

  void RunReport(const DeskConnection& connection, const std::string& request_text);
  void Compare(Run& first, Run& second, const std::vector<std::string>& keys);
  void Work(const std::function<void()>& work);
  void Take(const Json& event);
  void End(State state, Json error);
  void Keep(std::vector<StoredColumn> columns, std::int64_t count);

  const RunSettings& settings_;
  RunQueue& queue_;
  std::string report_;  // the class
  std::filesystem::path file_;
  Json request_marks_;  // what of the filters may stand in a statement: filter and text
  std::atomic<bool> stop_ = false;

  std::mutex mutex_;
  WorkerProcess* worker_ = nullptr;  // while it lives
  State state_ = State::Running;
  std::string phase_ = "waiting for its turn";
  Clock::time_point start_ = Clock::now();
  double seconds_ = 0;
  std::int64_t count_ = 0;
  std::string title_;
  std::string subtitle_;
  Json statements_ = Json::array();
  Json parameters_ = Json::array();
  Json warnings_ = Json::array();
  Json messages_ = Json::array();
  Json error_;
  std::shared_ptr<RowStore> rows_;

  std::thread thread_;  // the last, as it uses the rest
};

// The columns as the interface tells them.
Json ColumnsJson(const std::string& report, const std::vector<StoredColumn>& columns);

}  // namespace ledgerwick::desk
