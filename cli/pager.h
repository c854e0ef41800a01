// The user's pager.
#pragma once

#include <sys/types.h>

#include <memory>
#include <streambuf>
#include <string>
#include <string_view>

#include "cli/console.h"

namespace ledgerwick {

// A terminal's output that goes through the user's pager once it is longer than the screen: the
// program that the environment variable PAGER names, or `less` where there is no such variable;
// none where it is empty. While the user reads, the error stream keeps what it is given.
//
// Where the output is no terminal everything goes straight on.
class Pager {
 public:
  // `terminal` outlives the pager.
  explicit Pager(Console& terminal);
  ~Pager();
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;

  // What to write to instead of `terminal`. A flush shows what was held back to measure it.
  Console& console() noexcept { return console_; }

  // Shows everything and waits until the user has left the pager. Throws OutputError where the
  // pager cannot be run.
  void Close();

 private:
  // Hands what a stream is given to a member of the pager.
  class Buffer final : public std::streambuf {
   public:
    using Write = bool (Pager::*)(std::string_view text);
    Buffer(Pager& pager, Write write, bool holds) : pager_(pager), write_(write), holds_(holds) {}

   protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize size) override;
    int sync() override;

   private:
    Pager& pager_;
    Write write_;
    bool holds_;
  };

  bool WriteOut(std::string_view text);
  bool WriteError(std::string_view text);
  bool ShowHeld();
  void Start();
  bool Send(std::string_view text);
  void Wait();

  Console& terminal_;
  std::string program_;  // empty for none
  Buffer out_buffer_{*this, &Pager::WriteOut, true};
  Buffer error_buffer_{*this, &Pager::WriteError, false};
  std::ostream out_{&out_buffer_};
  std::ostream err_{&error_buffer_};
  Console console_;
  std::string held_;         // output that may still fit the screen
  std::size_t lines_ = 0;    // of `held_`
  std::string held_errors_;  // for after the pager
  pid_t pid_ = -1;           // of the pager while it runs
  int pipe_ = -1;            // to it
  bool cannot_run_ = false;
};

}  // namespace ledgerwick
