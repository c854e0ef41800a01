// A worker, as the desk sees it.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>

#include "desk/json.h"

namespace ledgerwick::desk {

// A process that does one job. Next and Wait are for one thread, Stop for any.
class WorkerProcess {
 public:
  // Starts `program` with kWorkerCommand and hands it `job`. Throws std::runtime_error
  // when the system has no process left.
  WorkerProcess(const std::filesystem::path& program, Json job);
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  pid_t pid() const noexcept { return pid_; }

  // What the worker tells next; nothing once it tells no more.
  std::optional<Json> Next();

  // Asks the process to end, and ends it if it has not done so after a while.
  void Stop();

  // How it ended: the signal that ended it, or 0.
  int Wait();

 private:
  void KillIfOverdue();

  pid_t pid_ = -1;
  int events_ = -1;
  std::string unread_;
  std::mutex mutex_;
  bool has_ended_ = false;
  std::optional<std::chrono::steady_clock::time_point> overdue_;
};

}  // namespace ledgerwick::desk
