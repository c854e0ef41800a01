#include "tsql/base/allowance.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>
#include <utility>

#include "tsql/base/errors.h"

namespace ledgerwick::tsql {
namespace {

#ifdef LEDGERWICK_SANITIZE
constexpr bool kKeepsBlocks = false;  // what is used after its time shall be seen
#else
constexpr bool kKeepsBlocks = true;
#endif

// A block of each size, which is a power of two, that the thread keeps for its next statement: the
// heap would give them back to the system, which hands them out again page by page.
constexpr int kSmallestKept = 15;  // 32 KB
constexpr std::size_t kKeptSizes = 4;
constinit thread_local std::array<void*, kKeptSizes> kept_blocks{};
constinit thread_local bool thread_has_ended = false;

// The place of blocks of `bytes` among those that are kept; kKeptSizes for no place.
std::size_t PlaceOf(std::size_t bytes, std::size_t alignment) noexcept {
  const auto size = static_cast<int>(std::bit_width(bytes - 1));
  const bool usual = alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__;
  if (!kKeepsBlocks || !usual || size < kSmallestKept) return kKeptSizes;
  return std::min(static_cast<std::size_t>(size - kSmallestKept), kKeptSizes);
}

constexpr std::size_t SizeAt(std::size_t place) noexcept {
  return std::size_t{1} << (kSmallestKept + place);
}

// What an object that outlives the thread gives back is not kept any more.
struct ThreadEnd {
  ~ThreadEnd() {
    thread_has_ended = true;
    for (void*& block : kept_blocks) ::operator delete(std::exchange(block, nullptr));
  }
};

class Charged final : public std::pmr::memory_resource {
  void* do_allocate(std::size_t bytes, std::size_t alignment) override {
    Allowance::Require(bytes);
    void* memory = Allocate(bytes, alignment);
    Allowance::Take(bytes);
    return memory;
  }
  void do_deallocate(void* memory, std::size_t bytes, std::size_t alignment) override {
    Allowance::Give(bytes);
    Deallocate(memory, bytes, alignment);
  }
  bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override {
    return this == &other;
  }

  static void* Allocate(std::size_t bytes, std::size_t alignment) {
    const std::size_t place = PlaceOf(bytes, alignment);
    if (place == kKeptSizes) return std::pmr::new_delete_resource()->allocate(bytes, alignment);
    if (kept_blocks[place] != nullptr) return std::exchange(kept_blocks[place], nullptr);
    return ::operator new(SizeAt(place));
  }
  static void Deallocate(void* memory, std::size_t bytes, std::size_t alignment) {
    const std::size_t place = PlaceOf(bytes, alignment);
    if (place == kKeptSizes) {
      std::pmr::new_delete_resource()->deallocate(memory, bytes, alignment);
    } else if (kept_blocks[place] != nullptr || thread_has_ended) {
      ::operator delete(memory);
    } else {
      thread_local const ThreadEnd end;
      kept_blocks[place] = memory;
    }
  }
};

}  // namespace

void Allowance::FailCancelled() { throw errors::Cancelled(); }

void Allowance::FailMemory() { throw errors::OutOfMemory(); }

std::pmr::memory_resource* ChargedMemory() noexcept {
  // Never destroyed: a database may live until the process ends, behind every static object.
  alignas(Charged) static std::byte storage[sizeof(Charged)];
  static Charged* const memory = ::new (storage) Charged;
  return memory;
}

}  // namespace ledgerwick::tsql
