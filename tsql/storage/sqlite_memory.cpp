#include "tsql/storage/sqlite_memory.h"

#include <malloc.h>
#include <sqlite3.h>

#include <cstdlib>

#include "tsql/base/allowance.h"

namespace ledgerwick::tsql {
namespace {

int SizeOf(void* memory) { return static_cast<int>(malloc_usable_size(memory)); }

void* Allocate(int bytes) {
  const auto size = static_cast<std::size_t>(bytes);
  if (!Allowance::Grants(size)) return nullptr;
  void* memory = std::malloc(size);
  if (memory != nullptr) Allowance::Take(malloc_usable_size(memory));
  return memory;
}

void Free(void* memory) {
  Allowance::Give(malloc_usable_size(memory));
  std::free(memory);
}

void* Reallocate(void* memory, int bytes) {
  const auto size = static_cast<std::size_t>(bytes);
  const std::size_t before = malloc_usable_size(memory);
  if (size > before && !Allowance::Grants(size - before)) return nullptr;
  void* moved = std::realloc(memory, size);
  if (moved == nullptr) return nullptr;
  Allowance::Give(before);
  Allowance::Take(malloc_usable_size(moved));
  return moved;
}

int RoundUp(int bytes) { return (bytes + 7) & ~7; }

int Start(void*) { return SQLITE_OK; }
void Stop(void*) {}

}  // namespace

void ChargeSqliteMemory() noexcept {
  // SQLite copies it.
  const sqlite3_mem_methods methods{Allocate, Free,  Reallocate, SizeOf,
                                    RoundUp,  Start, Stop,       nullptr};
  sqlite3_config(SQLITE_CONFIG_MALLOC, &methods);
}

}  // namespace ledgerwick::tsql
