#include "bench/served_process.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

namespace ledgerwick {
namespace {

// The text between `before` and the next of `ends` behind it.
std::string Between(const std::string& text, const std::string& before, const char* ends) {
  const std::size_t at = text.find(before);
  if (at == std::string::npos) return {};
  const std::size_t from = at + before.size();
  return text.substr(from, text.find_first_of(ends, from) - from);
}

std::string FileText(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

double ProcessorSeconds(pid_t process) {
  const std::string text = FileText("/proc/" + std::to_string(process) + "/stat");
  constexpr int kUserTime = 11;  // fields behind the program's name
  std::size_t at = text.rfind(')') + 1;
  for (int i = 0; i < kUserTime; ++i) at = text.find(' ', at + 1);
  std::size_t read = 0;
  const double user = std::stod(text.substr(at), &read);
  const double system = std::stod(text.substr(at + read));
  return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

ServedProcess::ServedProcess(const std::filesystem::path& program,
                             const std::filesystem::path& database) {
  std::array<int, 2> pipe_ends{};
  if (pipe(pipe_ends.data()) != 0) throw std::runtime_error("no pipe to be had");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe_ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, pipe_ends[0]);
  std::array<std::string, 5> words = {program.string(), "serve", database.string(), "--listen",
                                      "127.0.0.1:0"};
  std::array<char*, words.size() + 1> arguments{};
  std::transform(words.begin(), words.end(), arguments.begin(),
                 [](auto& word) { return word.data(); });
  const int result =
      posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipe_ends[1]);
  std::string told;
  std::array<char, 512> block;
  constexpr int kLines = 4;  // address, user, password, encryption
  const auto complete = [&] { return std::count(told.begin(), told.end(), '\n') == kLines; };
  while (result == 0 && !complete()) {
    const ssize_t count = read(pipe_ends[0], block.data(), block.size());
    if (count <= 0) break;
    told.append(block.data(), static_cast<std::size_t>(count));
  }
  close(pipe_ends[0]);
  if (!complete()) throw std::runtime_error("'" + program.string() + " serve' does not listen");
  connection_string_ = FromUtf8("Server=127.0.0.1," + Between(told, "127.0.0.1:", "; \n") +
                                ";UID=sa;PWD=" + Between(told, "Password: ", " \n"));
}

ServedProcess::~ServedProcess() {
  if (process_ <= 0) return;
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
}

std::int64_t ServedProcess::Memory() const {
  const std::string rollup = FileText("/proc/" + std::to_string(process_) + "/smaps_rollup");
  constexpr std::int64_t kKilobyte = 1024;
  return std::stoll(Between(rollup, "\nPss:", "k")) * kKilobyte;
}

}  // namespace ledgerwick
