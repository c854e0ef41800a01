#include "cli/interrupt.h"

#include "cli/console.h"

namespace ledgerwick {
namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void OnSignal(int) { interrupted.store(true); }

}  // namespace

InterruptGuard::InterruptGuard()
    : guard_({SIGINT, SIGTERM, SIGHUP}, &OnSignal, static_cast<int>(SA_RESETHAND)) {
  interrupted.store(false);
}

const std::atomic<bool>& InterruptGuard::Flag() noexcept { return interrupted; }

void InterruptGuard::Check() {
  if (interrupted.load(std::memory_order_relaxed)) throw Interrupted();
}

}  // namespace ledgerwick
