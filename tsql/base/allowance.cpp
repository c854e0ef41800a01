#include "tsql/base/allowance.h"

#include <new>

#include "tsql/base/errors.h"

namespace ledgerwick::tsql {
namespace {

class Charged final : public std::pmr::memory_resource {
  void* do_allocate(std::size_t bytes, std::size_t alignment) override {
    Allowance::Require(bytes);
    void* memory = std::pmr::new_delete_resource()->allocate(bytes, alignment);
    Allowance::Take(bytes);
    return memory;
  }
  void do_deallocate(void* memory, std::size_t bytes, std::size_t alignment) override {
    Allowance::Give(bytes);
    std::pmr::new_delete_resource()->deallocate(memory, bytes, alignment);
  }
  bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override {
    return this == &other;
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
