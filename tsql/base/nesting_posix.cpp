#include <pthread.h>

#include <algorithm>

#include "tsql/base/errors.h"
#include "tsql/base/nesting.h"

namespace ledgerwick::tsql {
namespace {

// The part of the stack that is kept for what does not look at it: SQLite, the C library, raising
// an error. SQLite's own recursion is bounded by what StackLeft tells.
constexpr std::size_t kLeastReserve = std::size_t{64} << 10;
constexpr std::size_t kMostReserve = std::size_t{256} << 10;

struct Bounds {
  std::uintptr_t low = 0;
  std::uintptr_t high = 0;
  bool known = false;
};

constinit thread_local Bounds bounds;

void MeasureThread() noexcept {
  bounds.known = true;
  detail::stack_floor = 1;  // nothing lies below it
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
  void* low = nullptr;
  std::size_t size = 0;
  const bool told = pthread_attr_getstack(&attributes, &low, &size) == 0;
  pthread_attr_destroy(&attributes);
  if (!told) return;
  bounds.low = reinterpret_cast<std::uintptr_t>(low);
  bounds.high = bounds.low + size;
  detail::stack_floor = bounds.low + std::clamp(size / 4, kLeastReserve, kMostReserve);
}

}  // namespace

namespace detail {

bool BelowStackFloor(std::uintptr_t address) noexcept {
  if (!bounds.known) MeasureThread();
  // A fibre of the host's has a stack that is not the thread's: there the counts alone hold.
  return address < stack_floor && address >= bounds.low && address < bounds.high;
}

void FailNesting() { throw errors::NestedTooDeeply({}); }

}  // namespace detail

std::size_t StackLeft() noexcept {
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  if (detail::BelowStackFloor(here)) return 0;
  if (here < bounds.low || here >= bounds.high) return SIZE_MAX;
  return here - detail::stack_floor;
}

}  // namespace ledgerwick::tsql
