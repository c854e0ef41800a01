// Runs the command in this process and as a program of its own.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/temporary_folder.h"

namespace ledgerwick::testing {

// How a command ended.
struct Ended {
  int code = -1;  // the exit code; 128 and the signal's number for a program that a signal ended
  std::string out;
  std::string err;
};

using Arguments = std::vector<std::string>;

// Calls Main with these arguments and this standard input.
Ended CallMain(const Arguments& args, const std::string& input = {});

// The program as a process of its own.
class Program {
 public:
  // `prepare` runs in the new process before the program starts.
  explicit Program(const Arguments& args, const std::function<void()>& prepare = {});
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void Signal(int signal);
  Ended Wait();  // for its end

 private:
  int pid_ = -1;
  std::filesystem::path out_;
  std::filesystem::path err_;
};

void Write(const std::string& path, const std::string& text);
std::string Read(const std::string& path);

// Gives up root's rights, where the process has them, so that permission bits bind.
void DropRights();

// A small sample database, made once and copied to `path`.
void CopySample(const std::string& path);

// A sample database of the test's own in a folder of its own.
struct Sample {
  Sample() { CopySample(path); }

  // `args`, told to use the database.
  Arguments On(Arguments args) const;
  Ended Call(const Arguments& args, const std::string& input = {}) const {
    return CallMain(On(args), input);
  }

  TemporaryFolder folder;
  std::string path = folder / "s.db";
};

}  // namespace ledgerwick::testing
