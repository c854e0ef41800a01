// Signals: Ctrl-C, closed pipes.
#pragma once

#include <signal.h>

#include <array>
#include <atomic>
#include <cstddef>

namespace ledgerwick {

// Gives signals other handlers while it lives.
template <std::size_t kCount>
class SignalGuard {
 public:
  // Signals that the caller has the program ignore (nohup does) stay ignored.
  SignalGuard(const std::array<int, kCount>& signals, void (*handler)(int), int flags)
      : signals_(signals) {
    for (std::size_t i = 0; i < kCount; ++i) {
      struct sigaction action {};
      sigemptyset(&action.sa_mask);
      action.sa_handler = handler;
      action.sa_flags = flags;
      sigaction(signals_[i], nullptr, &before_[i]);
      if (before_[i].sa_handler != SIG_IGN) sigaction(signals_[i], &action, nullptr);
    }
  }
  ~SignalGuard() {
    for (std::size_t i = 0; i < kCount; ++i) sigaction(signals_[i], &before_[i], nullptr);
  }
  SignalGuard(const SignalGuard&) = delete;
  SignalGuard& operator=(const SignalGuard&) = delete;

 private:
  std::array<int, kCount> signals_;
  std::array<struct sigaction, kCount> before_{};
};

// While it lives, a closed pipe or a full file is an error of the write, not the program's end.
class WriteFailureGuard {
 private:
  SignalGuard<2> guard_{{SIGPIPE, SIGXFSZ}, SIG_IGN, 0};
};

// While it lives, the first SIGINT, SIGTERM or SIGHUP sets a flag instead of ending the program,
// and a second one ends it. One at a time.
class InterruptGuard {
 public:
  InterruptGuard();

  // True once a signal has come.
  static const std::atomic<bool>& Flag() noexcept;

  // Throws Interrupted once a signal has come.
  static void Check();

  // True once a signal has come that asks the program to end, not only what it is doing: not
  // Ctrl-C.
  static bool ShallEnd() noexcept;

 private:
  SignalGuard<3> guard_;
};

}  // namespace ledgerwick
