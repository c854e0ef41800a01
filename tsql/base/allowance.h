// What the batch that this thread runs may use: time until somebody cancels it, and memory.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory_resource>

namespace ledgerwick::tsql {

// While it lives, what its thread prepares and runs is charged to it. It hangs on the thread
// because SQLite's allocations know nothing else.
class Allowance {
 public:
  // `cancel` may be null and else outlives it. `memory` is in bytes; 0 for as much as there is.
  Allowance(const std::atomic<bool>* cancel, std::int64_t memory) noexcept
      : cancel_(cancel), memory_(std::min(memory, kMostMemory)), before_(current_) {
    current_ = this;
  }
  ~Allowance() { current_ = before_; }
  Allowance(const Allowance&) = delete;
  Allowance& operator=(const Allowance&) = delete;

  // Throws SqlError 0 once the thread's batch has been cancelled. Costs a few loads.
  static void Check() {
    if (IsCancelled()) FailCancelled();
  }
  static bool IsCancelled() noexcept {
    return current_ != nullptr && current_->cancel_ != nullptr &&
           current_->cancel_->load(std::memory_order_relaxed);
  }

  // Memory taken and given back; Has tells whether `bytes` more would be too many, Require throws
  // SqlError 701 then. More may be given back than was taken: what outlived an earlier batch.
  static bool Has(std::size_t bytes) noexcept {
    return current_ == nullptr || current_->memory_ == 0 ||
           current_->used_ + static_cast<std::int64_t>(bytes) <= current_->memory_;
  }
  static void Require(std::size_t bytes) {
    if (!Has(bytes)) FailMemory();
  }
  static void Take(std::size_t bytes) noexcept {
    if (current_ != nullptr) current_->used_ += static_cast<std::int64_t>(bytes);
  }
  static void Give(std::size_t bytes) noexcept {
    if (current_ != nullptr) current_->used_ -= static_cast<std::int64_t>(bytes);
  }

  // While it lives, nothing is charged or refused: for what has to happen when a batch has used its
  // allowance up, such as taking back what it did.
  class Pause {
   public:
    Pause() noexcept : before_(current_) { current_ = nullptr; }
    ~Pause() { current_ = before_; }
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

   private:
    Allowance* before_;
  };

  // While it lives, SQLite prepares a statement: it then stops at its next allocation when the
  // batch is cancelled. (SQLite 3.40 asks nobody while it prepares.)
  class Preparing {
   public:
    Preparing() noexcept : allowance_(current_) {
      if (allowance_ != nullptr) allowance_->preparing_ = true;
    }
    ~Preparing() {
      if (allowance_ != nullptr) allowance_->preparing_ = false;
    }
    Preparing(const Preparing&) = delete;
    Preparing& operator=(const Preparing&) = delete;

   private:
    Allowance* allowance_;
  };

  // True when SQLite may have `bytes` more.
  static bool Grants(std::size_t bytes) noexcept {
    return Has(bytes) && !(current_ != nullptr && current_->preparing_ && IsCancelled());
  }

 private:
  [[noreturn]] static void FailCancelled();
  [[noreturn]] static void FailMemory();

  static constexpr std::int64_t kMostMemory = INT64_MAX / 2;  // sums stay in range

  inline static constinit thread_local Allowance* current_ = nullptr;

  const std::atomic<bool>* cancel_;
  std::int64_t memory_;
  std::int64_t used_ = 0;
  bool preparing_ = false;
  Allowance* before_;
};

// Memory of the heap's that is charged to the thread's batch, for what needs it by the thousands of
// bytes: of each size up to 256 KB the thread keeps one block that was given back, charged to
// nobody. Throws SqlError 701 beyond the batch's allowance.
std::pmr::memory_resource* ChargedMemory() noexcept;

}  // namespace ledgerwick::tsql
