// Memory for one batch's syntax tree, freed as a whole.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <memory_resource>
#include <new>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "frame/text.h"
#include "tsql/base/allowance.h"

namespace ledgerwick::tsql {

// Owns what it makes until it dies; what it makes needs no destructor. Its memory is charged to the
// batch that runs: each member throws SqlError 701 beyond its allowance.
class Arena {
 public:
  // A T made from `arguments`, valid as long as the arena.
  template <typename T, typename... Arguments>
  T* Make(Arguments&&... arguments) {
    static_assert(std::is_trivially_destructible_v<T>);
    return ::new (memory_.allocate(sizeof(T), alignof(T))) T{std::forward<Arguments>(arguments)...};
  }

  // `count` Ts, valid as long as the arena.
  template <typename T>
  std::span<T> MakeSpan(std::size_t count) {
    static_assert(std::is_trivially_destructible_v<T>);
    if (count == 0) return {};
    T* items = static_cast<T*>(memory_.allocate(count * sizeof(T), alignof(T)));
    std::uninitialized_value_construct_n(items, count);
    return {items, count};
  }

  // A copy of `items`, valid as long as the arena.
  template <typename T>
  std::span<T> Copy(std::span<const T> items) {
    static_assert(std::is_trivially_destructible_v<T>);
    if (items.empty()) return {};
    T* copy = static_cast<T*>(memory_.allocate(items.size() * sizeof(T), alignof(T)));
    std::uninitialized_copy(items.begin(), items.end(), copy);
    return {copy, items.size()};
  }
  template <typename T>
  std::span<T> Copy(const std::vector<T>& items) {
    return Copy(std::span<const T>(items));
  }
  template <typename T>
  std::span<T> Copy(std::initializer_list<T> items) {
    return Copy(std::span<const T>(items));
  }

  // A copy of `text`, valid as long as the arena.
  TextView Copy(TextView text) {
    if (text.empty()) return {};
    auto* copy =
        static_cast<char16_t*>(memory_.allocate(text.size() * sizeof(char16_t), alignof(char16_t)));
    std::copy(text.begin(), text.end(), copy);
    return {copy, text.size()};
  }

 private:
  // With what the resource adds for itself it is a power of two, which is how memory is kept.
  static constexpr std::size_t kFirstBlock = std::size_t{64} * 1024 - 64;

  std::pmr::monotonic_buffer_resource memory_{kFirstBlock, ChargedMemory()};
};

// A list that grows in an arena, which outlives it and keeps its items.
template <typename T>
class ArenaList {
 public:
  explicit ArenaList(Arena& arena) : arena_(arena) {}
  ArenaList(Arena& arena, const T& first) : arena_(arena) { push_back(first); }

  // Throws as the arena does.
  void push_back(const T& item) {
    if (size_ == room_.size()) Grow();
    room_[size_++] = item;
  }

  // Valid as long as the arena; the list must not grow while they are in use.
  std::span<T> items() const noexcept { return room_.first(size_); }

 private:
  void Grow() {
    constexpr std::size_t kFew = 4;
    const std::span<T> room = arena_.MakeSpan<T>(std::max(kFew, size_ * 2));
    std::copy(room_.begin(), room_.end(), room.begin());
    room_ = room;
  }

  Arena& arena_;
  std::span<T> room_;
  std::size_t size_ = 0;
};

}  // namespace ledgerwick::tsql
