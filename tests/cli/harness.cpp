#include "tests/cli/harness.h"

#include <doctest/doctest.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>

#include "cli/command_line.h"

namespace ledgerwick::testing {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;

fs::path NewFile() {
  std::string name = (fs::temp_directory_path() / "ledgerwick-output-XXXXXX").string();
  const int descriptor = mkstemp(name.data());
  REQUIRE(descriptor >= 0);
  close(descriptor);
  return name;
}

void Redirect(const fs::path& file, int descriptor) {
  const int opened = open(file.c_str(), O_WRONLY | O_TRUNC);
  dup2(opened, descriptor);
  close(opened);
}

std::string TakeFile(const fs::path& path) {
  std::string text = Read(path.string());
  fs::remove(path);
  return text;
}

}  // namespace

Ended CallMain(const Arguments& args, const std::string& input) {
  std::istringstream in(input);
  std::ostringstream out;
  std::ostringstream err;
  const int code = Main(args, in, out, err);
  return {code, out.str(), err.str()};
}

Program::Program(const Arguments& args, const std::function<void()>& prepare)
    : out_(NewFile()), err_(NewFile()) {
  pid_ = fork();
  REQUIRE(pid_ >= 0);
  if (pid_ != 0) return;
  Redirect(out_, STDOUT_FILENO);
  Redirect(err_, STDERR_FILENO);
  if (prepare) prepare();
  std::vector<char*> argv = {const_cast<char*>("ledgerwick")};
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  execv(LEDGERWICK_PROGRAM, argv.data());
  _exit(127);
}

Program::~Program() {
  if (pid_ <= 0) return;
  Signal(SIGKILL);
  Wait();
}

void Program::Signal(int signal) { kill(pid_, signal); }

Ended Program::Wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {code, TakeFile(out_), TakeFile(err_)};
}

void Write(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void DropRights() {
  if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) _exit(126);
}

void CopySample(const std::string& path) {
  static const TemporaryFolder folder;
  static const std::string sample = [] {
    std::string made = folder / "sample.db";
    const Ended ended = CallMain({"sample", "create", made, "--lines", "500"});
    REQUIRE_MESSAGE(ended.code == kDone, ended.err);
    return made;
  }();
  fs::copy_file(sample, path);
}

Arguments Sample::On(Arguments args) const {
  args.insert(args.end(), {"--connection", "embedded:" + path});
  return args;
}

}  // namespace ledgerwick::testing
