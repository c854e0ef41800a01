#include "cli/interrupt.h"

#include "cli/console.h"

namespace ledgerwick {
namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

std::atomic<bool> shall_end = false;

extern "C" void OnSignal(int signal) {
  if (signal != SIGINT) shall_end.store(true);
  interrupted.store(true);
}

}  // namespace

InterruptGuard::InterruptGuard()
    : guard_({SIGINT, SIGTERM, SIGHUP}, &OnSignal, static_cast<int>(SA_RESETHAND)) {
  interrupted.store(false);
}

const std::atomic<bool>& InterruptGuard::Flag() noexcept { return interrupted; }

bool InterruptGuard::ShallEnd() noexcept { return shall_end.load(); }

void InterruptGuard::Check() {
  if (interrupted.load(std::memory_order_relaxed)) throw Interrupted();
}

}  // namespace ledgerwick
