// Calls that may take long, made so that the user can stop them.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "odbc/odbc_api.h"

namespace ledgerwick::odbc {

// Makes calls on a thread of its own while the caller's waits, tells of progress and looks out for
// the wish to cancel. Without either to look out for, calls are made straight away. Serves one
// thread at a time.
class LongCalls {
 public:
  // `cancel` may be null and outlives the object; `progress` may be empty.
  LongCalls(const std::atomic<bool>* cancel, std::function<void()> progress)
      : cancel_(cancel), progress_(std::move(progress)) {}
  ~LongCalls();
  LongCalls(const LongCalls&) = delete;
  LongCalls& operator=(const LongCalls&) = delete;

  // What `call` returns, which is a call of ODBC on `statement` and throws nothing. When cancelling
  // is wished meanwhile, the server is told to stop.
  SQLRETURN Make(SQLHSTMT statement, const std::function<SQLRETURN()>& call);

  // True once cancelling is wished.
  bool Cancelled() const noexcept { return cancel_ != nullptr && cancel_->load(); }

 private:
  void Work();

  const std::atomic<bool>* cancel_;
  std::function<void()> progress_;
  std::mutex mutex_;
  std::condition_variable changed_;
  const std::function<SQLRETURN()>* call_ = nullptr;  // what the thread has to do
  SQLRETURN result_ = SQL_SUCCESS;
  bool ends_ = false;
  std::thread thread_;  // begins with the first call
};

}  // namespace ledgerwick::odbc
