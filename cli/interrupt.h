// Ctrl-C.
#pragma once

#include <signal.h>

#include <array>
#include <atomic>

namespace ledgerwick {

// While it lives, the first SIGINT, SIGTERM or SIGHUP sets a flag instead of ending the program,
// and a second one ends it. A closed pipe or a full file is an error of the write, not the
// program's end. One at a time.
class InterruptGuard {
 public:
  InterruptGuard();
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

  // True once a signal has come.
  static const std::atomic<bool>& Flag() noexcept;

  // Throws Interrupted once a signal has come.
  static void Check();

 private:
  static constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ};

  std::array<struct sigaction, kSignals.size()> before_{};
};

}  // namespace ledgerwick
