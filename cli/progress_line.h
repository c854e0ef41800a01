// A line on the terminal that tells that something is going on.
#pragma once

#include <chrono>
#include <string>

#include "cli/console.h"

namespace ledgerwick {

// Rewrites one line of the error stream, at most some times a second and not before the first
// moment has passed. Does nothing where the error stream is no terminal.
class ProgressLine {
 public:
  explicit ProgressLine(Console& console) : console_(console) {}
  ~ProgressLine() { Clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Shows `text` and the seconds since the line was made.
  void Show(const std::string& text);

  // Takes the line away: something else is about to be printed.
  void Clear();

 private:
  using Clock = std::chrono::steady_clock;

  Console& console_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_ = start_ + std::chrono::milliseconds(500);
  bool shown_ = false;
};

}  // namespace ledgerwick
