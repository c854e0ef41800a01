#include "desk/worker_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>

#include "desk/worker.h"

namespace ledgerwick::desk {
namespace {

constexpr auto kTimeToEnd = std::chrono::seconds(5);
constexpr int kLookMilliseconds = 250;

[[noreturn]] void Fail(int code) {
  throw std::runtime_error(std::string("cannot start a worker: ") + std::strerror(code));
}

struct Pipe {
  Pipe() {
    if (pipe2(ends.data(), O_CLOEXEC) != 0) Fail(errno);
  }
  ~Pipe() {
    for (const int end : ends) {
      if (end >= 0) close(end);
    }
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  int Release(std::size_t end) { return std::exchange(ends[end], -1); }

  std::array<int, 2> ends{-1, -1};
};

struct FileActions {
  FileActions(int in, int events) {
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, events, kEventDescriptor);
    posix_spawn_file_actions_addclosefrom_np(&actions, kEventDescriptor + 1);
  }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  posix_spawn_file_actions_t actions;
};

// A group of its own, so that Ctrl-C at the terminal reaches the desk alone, and signals as a
// program that is started afresh has them.
struct Attributes {
  Attributes() {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~Attributes() { posix_spawnattr_destroy(&attributes); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  posix_spawnattr_t attributes;
};

// A worker that has ended already takes nothing; how it ended tells the rest.
void Send(int to, const std::string& text) {
  std::size_t sent = 0;
  while (sent < text.size()) {
    const ssize_t n = write(to, text.data() + sent, text.size() - sent);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    sent += static_cast<std::size_t>(n);
  }
}

}  // namespace

WorkerProcess::WorkerProcess(const std::filesystem::path& program, Json job) {
  job["desk"] = getpid();
  Pipe in;
  Pipe events;
  const FileActions actions(in.ends[0], events.ends[1]);
  const Attributes attributes;
  std::string name = "ledgerwick";
  std::string command = kWorkerCommand;
  std::array<char*, 3> arguments = {name.data(), command.data(), nullptr};
  const int failed = posix_spawn(&pid_, program.c_str(), &actions.actions, &attributes.attributes,
                                 arguments.data(), environ);
  if (failed != 0) Fail(failed);
  close(in.Release(0));
  close(events.Release(1));
  events_ = events.Release(0);
  Send(in.ends[1], Dump(job));
}

WorkerProcess::~WorkerProcess() {
  Stop();
  Wait();
  if (events_ >= 0) close(events_);
}

void WorkerProcess::KillIfOverdue() {
  const std::lock_guard lock(mutex_);
  if (overdue_ && !has_ended_ && std::chrono::steady_clock::now() > *overdue_) kill(pid_, SIGKILL);
}

std::optional<Json> WorkerProcess::Next() {
  for (;;) {
    if (const std::size_t end = unread_.find('\n'); end != std::string::npos) {
      Json event = Json::parse(unread_.substr(0, end), nullptr, false);
      unread_.erase(0, end + 1);
      if (event.is_object()) return event;
      continue;
    }
    pollfd waiting{events_, POLLIN, 0};
    const int ready = poll(&waiting, 1, kLookMilliseconds);
    if (ready <= 0) {
      KillIfOverdue();
      continue;
    }
    std::array<char, 1 << 16> buffer;
    const ssize_t n = read(events_, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return std::nullopt;
    unread_.append(buffer.data(), static_cast<std::size_t>(n));
  }
}

void WorkerProcess::Stop() {
  const std::lock_guard lock(mutex_);
  if (has_ended_ || overdue_) return;
  kill(pid_, SIGTERM);
  overdue_ = std::chrono::steady_clock::now() + kTimeToEnd;
}

int WorkerProcess::Wait() {
  siginfo_t info{};
  // Reaped under the lock, so that Stop never signals another's number.
  while (!has_ended_) {
    const int result = waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT | WNOHANG);
    if (result == 0 && info.si_pid == 0) {
      poll(nullptr, 0, 5);
      KillIfOverdue();
      continue;
    }
    const std::lock_guard lock(mutex_);
    int status = 0;
    waitpid(pid_, &status, 0);
    has_ended_ = true;
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }
  return 0;
}

}  // namespace ledgerwick::desk
