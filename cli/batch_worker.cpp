#include "cli/batch_worker.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <sstream>
#include <utility>

#include "cli/command_line.h"
#include "cli/connections.h"
#include "cli/findings.h"
#include "cli/interrupt.h"
#include "cli/report_run.h"

namespace ledgerwick {
namespace {

constexpr std::size_t kMostMessages = 4000;  // bytes; less than a pipe takes at once

// Runs the request and fills in what becomes of it, but for the messages.
void RunRequest(Console& console, const BatchRequest& batch_request, const BatchOptions& options,
                const OutputFormat& format, BatchEntry& entry) {
  Request request = ParseRequest(batch_request.text, batch_request.origin);
  request.connectionString = ChooseConnection(options.connection, {}, request.connectionString);
  if (!TellFindings(console, request, options.strict)) return;
  OutputOptions output_options = options.output;
  const std::string ending(format.endings.substr(0, format.endings.find(' ')));
  const std::string file = entry.name + '.' + (ending.empty() ? "txt" : ending);
  output_options.file = (std::filesystem::path(options.folder) / file).string();
  ResultOutput output(console, output_options, format, true);
  RunSettings settings;
  settings.memory_limit = options.memory_limit;
  settings.limit = output_options.limit;
  const auto rows = RunReportInto(console, output.writer(), request, settings);
  InterruptGuard::Check();
  if (!rows) return;
  output.Finish();
  entry.done = true;
  entry.file = file;
  entry.rows = *rows;
}

BatchEntry RunHere(const BatchRequest& request, const BatchOptions& options,
                   const OutputFormat& format) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream err;
  Console console{in, out, err};
  BatchEntry entry;
  entry.name = request.name;
  try {
    RunRequest(console, request, options, format, entry);
  } catch (const std::exception& error) {
    PrintError(console, error.what());
  }
  entry.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  entry.messages = err.str();
  if (entry.messages.size() > kMostMessages) {
    // The error stands at the end.
    entry.messages.erase(0, entry.messages.size() - kMostMessages);
    entry.messages.erase(0, entry.messages.find('\n') + 1);
  }
  return entry;
}

}  // namespace

BatchWorker::BatchWorker(const BatchRequest& request, const BatchOptions& options,
                         const OutputFormat& format)
    : name_(request.name) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw OutputError(std::string("cannot start a process: ") + std::strerror(errno));
  }
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ < 0) {
    close(ends[0]);
    close(ends[1]);
    throw OutputError(std::string("cannot start a process: ") + std::strerror(errno));
  }
  if (pid_ == 0) {
    // Nobody would note what a process does whose batch is gone.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(kRefused);
    const std::string told = ToJson(RunHere(request, options, format));
    const ssize_t n = write(ends[1], told.data(), told.size());
    _exit(n == static_cast<ssize_t>(told.size()) ? kDone : kRefused);
  }
  close(ends[1]);
  pipe_ = ends[0];
}

BatchWorker::~BatchWorker() {
  if (pid_ > 0) {
    Stop();
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  if (pipe_ >= 0) close(pipe_);
}

void BatchWorker::Stop() const noexcept {
  if (pid_ > 0) kill(pid_, SIGTERM);
}

BatchEntry BatchWorker::Collect(int status) {
  pid_ = -1;
  std::string told;
  std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t n = read(pipe_, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    told.append(buffer.data(), static_cast<std::size_t>(n));
  }
  if (auto entry = ParseBatchEntry(told)) return *std::move(entry);
  BatchEntry entry;
  entry.name = name_;
  entry.messages = WIFSIGNALED(status)
                       ? "ended by signal " + std::to_string(WTERMSIG(status)) + '\n'
                       : "ended without a word\n";
  return entry;
}

}  // namespace ledgerwick
