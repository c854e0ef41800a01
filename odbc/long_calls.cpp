#include "odbc/long_calls.h"

#include <chrono>

namespace ledgerwick::odbc {
namespace {

constexpr std::chrono::milliseconds kLook{50};

}  // namespace

LongCalls::~LongCalls() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

SQLRETURN LongCalls::Make(SQLHSTMT statement, const std::function<SQLRETURN()>& call) {
  if (cancel_ == nullptr && !progress_) return call();
  if (!thread_.joinable()) thread_ = std::thread([this] { Work(); });
  std::unique_lock lock(mutex_);
  call_ = &call;
  changed_.notify_all();
  const auto is_done = [this] { return call_ == nullptr; };
  bool told = false;
  while (!changed_.wait_for(lock, kLook, is_done)) {
    lock.unlock();
    if (Cancelled() && !told) {
      SQLCancel(statement);
      told = true;
    } else if (progress_) {
      progress_();
    }
    lock.lock();
  }
  return result_;
}

void LongCalls::Work() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return call_ != nullptr || ends_; });
    if (ends_) return;
    const std::function<SQLRETURN()>& call = *call_;
    lock.unlock();
    const SQLRETURN result = call();
    lock.lock();
    result_ = result;
    call_ = nullptr;
    changed_.notify_all();
  }
}

}  // namespace ledgerwick::odbc
