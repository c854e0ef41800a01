// What keeps nested statements from exhausting the stack: every function that calls itself on a
// part of a statement holds a Nesting.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tsql/base/allowance.h"

namespace ledgerwick::tsql {

// How deep the parser lets expressions, queries, joins and blocks nest. The passes behind it go no
// deeper than the tree, but for views, whose trees hang below it.
inline constexpr int kDeepestTree = 1200;

namespace detail {

// The address under which this thread's stack must not grow; 0 before the thread was measured.
inline constinit thread_local std::uintptr_t stack_floor = 0;

// True when `address` is really too low: measures the thread first if that was not done yet.
bool BelowStackFloor(std::uintptr_t address) noexcept;

[[noreturn]] void FailNesting();

}  // namespace detail

// How many bytes of the running thread's stack lie below the caller, without what errors need;
// SIZE_MAX where that cannot be told.
std::size_t StackLeft() noexcept;

// One level of a recursion while it lives. It looks at the stack itself, which a host's thread may
// have little of, and not only at a count. Also where a batch that was cancelled stops.
class Nesting {
 public:
  // Throws SqlError 191, without a position, where the stack comes to its end, and what
  // Allowance::Check throws.
  Nesting() {
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (here < detail::stack_floor || detail::stack_floor == 0) Measure(here);
    Allowance::Check();
  }

  // The same, and also where `depth`, which counts the levels, goes beyond `deepest`.
  explicit Nesting(int& depth, int deepest = kDeepestTree) : Nesting() {
    if (depth >= deepest) detail::FailNesting();
    depth_ = &depth;
    ++depth;
  }

  ~Nesting() {
    if (depth_ != nullptr) --*depth_;
  }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;

 private:
  static void Measure(std::uintptr_t here) {
    if (detail::BelowStackFloor(here)) detail::FailNesting();
  }

  int* depth_ = nullptr;
};

}  // namespace ledgerwick::tsql
