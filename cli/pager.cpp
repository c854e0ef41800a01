#include "cli/pager.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <utility>

#include "output/result_writer.h"

namespace ledgerwick {
namespace {

constexpr int kNoSuchProgram = 127;  // of a shell
constexpr int kNotExecutable = 126;

bool IsInPath(const std::string& program) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (access((std::filesystem::path(folder) / program).c_str(), X_OK) == 0) return true;
  }
  return false;
}

std::string ChoosePager() {
  if (const char* pager = std::getenv("PAGER")) return pager;
  return IsInPath("less") ? "less" : "";
}

}  // namespace

Pager::Buffer::int_type Pager::Buffer::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  const char character = traits_type::to_char_type(c);
  return (pager_.*write_)({&character, 1}) ? c : traits_type::eof();
}

std::streamsize Pager::Buffer::xsputn(const char* text, std::streamsize size) {
  return (pager_.*write_)({text, static_cast<std::size_t>(size)}) ? size : 0;
}

int Pager::Buffer::sync() {
  if (!holds_) return pager_.terminal_.err.flush() ? 0 : -1;
  return pager_.ShowHeld() ? 0 : -1;
}

Pager::Pager(Console& terminal)
    : terminal_(terminal),
      console_{terminal.in,
               terminal.out_is_terminal ? out_ : terminal.out,
               terminal.out_is_terminal ? err_ : terminal.err,
               terminal.out_is_terminal,
               terminal.err_is_terminal,
               terminal.out_colour,
               terminal.err_colour,
               terminal.width,
               terminal.height} {
  if (terminal.out_is_terminal) program_ = ChoosePager();
  if (terminal.err_is_terminal) err_ << std::unitbuf;
}

Pager::~Pager() {
  ShowHeld();
  Wait();
}

void Pager::Close() {
  errno = 0;
  if (!ShowHeld()) CheckWritten(terminal_.out);
  Wait();
  if (cannot_run_) {
    throw OutputError("the pager '" + program_ +
                      "' cannot be run; PAGER= without a name does without one");
  }
}

bool Pager::WriteOut(std::string_view text) {
  if (cannot_run_) return true;  // of no use to anyone; Close() tells
  if (pid_ > 0) return Send(text);
  if (program_.empty()) return static_cast<bool>(terminal_.out << text);
  held_ += text;
  lines_ += static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  if (lines_ < terminal_.height) return true;
  Start();
  if (pid_ <= 0) return ShowHeld();
  return Send(std::exchange(held_, {}));
}

bool Pager::WriteError(std::string_view text) {
  if (pid_ > 0) {
    held_errors_ += text;
    return true;
  }
  return ShowHeld() && terminal_.err << text;
}

bool Pager::ShowHeld() {
  if (pid_ > 0) return true;
  terminal_.out << held_ << std::flush;
  held_.clear();
  lines_ = 0;
  return static_cast<bool>(terminal_.out);
}

void Pager::Start() {
  setenv("LESS", "FRX", 0);           // leave colours and short texts alone
  setenv("LESSCHARSET", "utf-8", 0);  // whatever the locale
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
  // This process ignores closed pipes; the pager shall treat them as every program does.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  sigaddset(&defaults, SIGXFSZ);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  std::string shell = "sh";
  std::string option = "-c";
  std::array<char*, 4> arguments{shell.data(), option.data(), program_.data(), nullptr};
  if (posix_spawn(&pid_, "/bin/sh", &actions, &attributes, arguments.data(), environ) != 0) {
    pid_ = -1;
  }
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[0]);
  if (pid_ > 0) {
    pipe_ = ends[1];
  } else {
    close(ends[1]);
    program_.clear();
  }
}

bool Pager::Send(std::string_view text) {
  while (!text.empty()) {
    const ssize_t n = write(pipe_, text.data(), text.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      // Either the user has left the pager or there never was one: its exit code tells.
      const int reason = errno;
      Wait();
      errno = reason;
      return cannot_run_;
    }
    text.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

void Pager::Wait() {
  if (pid_ <= 0) return;
  close(pipe_);
  int status = 0;
  while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
  cannot_run_ = code == kNoSuchProgram || code == kNotExecutable;
  terminal_.err << std::exchange(held_errors_, {}) << std::flush;
}

}  // namespace ledgerwick
