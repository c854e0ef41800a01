// One request of a batch, in a process of its own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "cli/batch_journal.h"
#include "cli/commands.h"

namespace ledgerwick {

// A request of a batch.
struct BatchRequest {
  std::string name;    // unique in the batch; the result's file is called so
  std::string text;    // JSON
  std::string origin;  // stands in messages
};

// Runs one request into its file, beside others that do the same.
class BatchWorker {
 public:
  // Starts at once. Throws OutputError when the system has no process left.
  BatchWorker(const BatchRequest& request, const BatchOptions& options, const OutputFormat& format);
  ~BatchWorker();
  BatchWorker(const BatchWorker&) = delete;
  BatchWorker& operator=(const BatchWorker&) = delete;

  pid_t pid() const noexcept { return pid_; }

  // Asks the process to stop.
  void Stop() const noexcept;

  // How it ended, after the system has said that it has.
  BatchEntry Collect(int status);

 private:
  std::string name_;
  pid_t pid_ = -1;
  int pipe_ = -1;  // what the process tells in the end
};

}  // namespace ledgerwick
