#include "cli/interrupt.h"

#include "cli/console.h"

namespace ledgerwick {
namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void OnSignal(int) { interrupted.store(true); }

bool IsWriteFailure(int signal) { return signal == SIGPIPE || signal == SIGXFSZ; }

}  // namespace

InterruptGuard::InterruptGuard() {
  interrupted.store(false);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = IsWriteFailure(kSignals[i]) ? SIG_IGN : &OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(kSignals[i], nullptr, &before_[i]);
    // What the caller has the program ignore (nohup does), it goes on ignoring.
    if (before_[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &action, nullptr);
  }
}

InterruptGuard::~InterruptGuard() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &before_[i], nullptr);
}

const std::atomic<bool>& InterruptGuard::Flag() noexcept { return interrupted; }

void InterruptGuard::Check() {
  if (interrupted.load(std::memory_order_relaxed)) throw Interrupted();
}

}  // namespace ledgerwick
